// Reads numbers one after the other out of bytes of either order. A read beyond the end answers 0 and is remembered:
// ask failed() after a group of reads. A plain value; the bytes are borrowed and must outlive it.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

#include "VeskLoopManagement/platform/audiofile/AudioFileLayout.h"

namespace vesk {

class ByteReader {
 public:
  ByteReader(std::span<const std::byte> bytes, std::endian order) : m_bytes(bytes), m_order(order) {}

  bool failed() const { return m_failed; }
  size_t left() const { return m_bytes.size(); }

  // The next `count` bytes; empty when there are fewer.
  std::span<const std::byte> take(size_t count) {
    if (count > m_bytes.size()) {
      m_failed = true;
      m_bytes = {};
      return {};
    }
    const auto taken = m_bytes.first(count);
    m_bytes = m_bytes.subspan(count);
    return taken;
  }
  void skip(size_t count) { take(count); }

  uint8_t u8() { return number<uint8_t>(); }
  uint16_t u16() { return number<uint16_t>(); }
  uint32_t u32() { return number<uint32_t>(); }
  uint64_t u64() { return number<uint64_t>(); }
  int16_t s16() { return static_cast<int16_t>(u16()); }
  int32_t s32() { return static_cast<int32_t>(u32()); }
  int64_t s64() { return static_cast<int64_t>(u64()); }
  float f32() { return std::bit_cast<float>(u32()); }
  double f64() { return std::bit_cast<double>(u64()); }

  FourCC fourCC() {
    const auto four = take(4);
    return four.empty() ? FourCC{} : FourCC::fromBytes(four.data());
  }

  // 80-bit extended: sign and 15-bit exponent (bias 16383) in 2 bytes, then 64 bits of mantissa with an explicit one.
  // Infinities, NaN and unnormalised values come through; what is too small or too large for a double becomes 0 or
  // infinite.
  double f80() {
    const uint16_t signAndExponent = u16();
    const uint64_t mantissa = u64();
    const int exponent = signAndExponent & 0x7FFF;
    const double sign = (signAndExponent & 0x8000) != 0 ? -1.0 : 1.0;
    if (exponent != 0x7FFF) return sign * std::ldexp(static_cast<double>(mantissa), exponent - 16383 - 63);
    const bool isInfinite = (mantissa << 1) == 0;
    return isInfinite ? sign * std::numeric_limits<double>::infinity() : std::numeric_limits<double>::quiet_NaN();
  }

 private:
  template <std::unsigned_integral Number>
  Number number() {
    const auto bytes = take(sizeof(Number));
    if (bytes.empty()) return 0;
    std::array<std::byte, sizeof(Number)> ordered;
    std::copy(bytes.begin(), bytes.end(), ordered.begin());
    if (m_order != std::endian::native) std::reverse(ordered.begin(), ordered.end());
    return std::bit_cast<Number>(ordered);
  }

  std::span<const std::byte> m_bytes;
  std::endian m_order;
  bool m_failed = false;
};

}  // namespace vesk
