// Reading numbers and texts out of a chunk's payload. Plain functions on bytes that someone else holds.
// A caller of the number readers has checked that the number lies within the payload; texts are bounded here.
#pragma once

#include "VeskLoopManagement/platform/Text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace lc::chunk {

inline uint16_t bigEndian16(std::span<const std::byte> payload, size_t offset) {
  const auto high = std::to_integer<unsigned>(payload[offset]);
  const auto low = std::to_integer<unsigned>(payload[offset + 1]);
  return static_cast<uint16_t>(high << 8 | low);
}

inline uint32_t bigEndian32(std::span<const std::byte> payload, size_t offset) {
  return uint32_t{bigEndian16(payload, offset)} << 16 | bigEndian16(payload, offset + 2);
}

inline uint16_t littleEndian16(std::span<const std::byte> payload, size_t offset) {
  const auto low = std::to_integer<unsigned>(payload[offset]);
  const auto high = std::to_integer<unsigned>(payload[offset + 1]);
  return static_cast<uint16_t>(high << 8 | low);
}

inline uint32_t littleEndian32(std::span<const std::byte> payload, size_t offset) {
  return uint32_t{littleEndian16(payload, offset + 2)} << 16 | littleEndian16(payload, offset);
}

inline std::string_view characters(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// The whole of `bytes` as text; nullopt when they are no UTF-8.
inline std::optional<std::string> utf8Text(std::span<const std::byte> bytes) {
  if (!vesk::text::isValidUTF8(bytes)) return std::nullopt;
  return std::string(characters(bytes));
}

// A field of `width` bytes at `offset`: UTF-8 that ends at the first NUL, or fills the field when there is none.
// nullopt when the payload ends before the field begins or the text is no UTF-8.
inline std::optional<std::string> textField(std::span<const std::byte> payload, size_t offset, size_t width) {
  if (offset >= payload.size()) return std::nullopt;
  const auto field = payload.subspan(offset, std::min(width, payload.size() - offset));
  const auto end = std::find(field.begin(), field.end(), std::byte{0});
  return utf8Text(field.first(static_cast<size_t>(end - field.begin())));
}

}  // namespace lc::chunk
