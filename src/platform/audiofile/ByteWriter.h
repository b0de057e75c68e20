// Puts numbers and bytes one after the other, in either byte order; ByteReader reads them back. A plain value.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "VeskLoopManagement/platform/audiofile/AudioFileLayout.h"

namespace vesk {

class ByteWriter {
 public:
  explicit ByteWriter(std::endian order) : m_order(order) {}

  void u8(uint8_t value) { number(value); }
  void u16(uint16_t value) { number(value); }
  void u32(uint32_t value) { number(value); }
  void u64(uint64_t value) { number(value); }
  void s16(int16_t value) { u16(static_cast<uint16_t>(value)); }
  void s32(int32_t value) { u32(static_cast<uint32_t>(value)); }
  void s64(int64_t value) { u64(static_cast<uint64_t>(value)); }
  void f32(float value) { u32(std::bit_cast<uint32_t>(value)); }
  void f64(double value) { u64(std::bit_cast<uint64_t>(value)); }
  void fourCC(FourCC id) { raw(std::as_bytes(std::span(id.code))); }
  void raw(std::span<const std::byte> bytes) { m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end()); }
  void zeros(size_t count) { m_bytes.resize(m_bytes.size() + count); }

  // What was put; the writer is empty again.
  std::vector<std::byte> take() { return std::exchange(m_bytes, {}); }

 private:
  template <std::unsigned_integral Number>
  void number(Number value) {
    auto bytes = std::bit_cast<std::array<std::byte, sizeof(Number)>>(value);
    if (m_order != std::endian::native) std::reverse(bytes.begin(), bytes.end());
    raw(bytes);
  }

  std::vector<std::byte> m_bytes;
  std::endian m_order;
};

}  // namespace vesk
