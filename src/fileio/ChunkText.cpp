#include "fileio/ChunkText.h"

#include "VeskLoopManagement/platform/Text.h"

#include <algorithm>

namespace lc {

std::string_view characters(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::optional<std::string> utf8Text(std::span<const std::byte> bytes) {
  if (!vesk::text::isValidUTF8(bytes)) return std::nullopt;
  return std::string(characters(bytes));
}

std::optional<std::string> textField(std::span<const std::byte> payload, size_t offset, size_t width) {
  if (offset >= payload.size()) return std::nullopt;
  const auto field = payload.subspan(offset, std::min(width, payload.size() - offset));
  const auto end = std::find(field.begin(), field.end(), std::byte{0});
  return utf8Text(field.first(static_cast<size_t>(end - field.begin())));
}

void appendTextField(vesk::ByteWriter& writer, const std::optional<std::string>& text, size_t width) {
  const std::string_view whole = text ? std::string_view(*text) : std::string_view();
  const std::string_view kept = vesk::text::cut(whole.substr(0, whole.find('\0')), width - 1);
  writer.raw(std::as_bytes(std::span(kept)));
  writer.zeros(width - kept.size());
}

void putTextField(std::vector<std::byte>& payload, size_t offset, const std::optional<std::string>& text,
                  size_t width) {
  vesk::ByteWriter writer(std::endian::big);
  appendTextField(writer, text, width);
  const auto field = writer.take();
  payload.resize(std::max(payload.size(), offset + width));
  std::copy(field.begin(), field.end(), payload.begin() + static_cast<std::ptrdiff_t>(offset));
}

}  // namespace lc
