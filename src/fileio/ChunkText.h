// Texts in the payloads of tagging chunks. Plain functions on bytes that someone else holds.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/audiofile/ByteWriter.h"

namespace lc {

std::string_view characters(std::span<const std::byte> bytes);

// The whole of `bytes` as text; nullopt when they are no UTF-8.
std::optional<std::string> utf8Text(std::span<const std::byte> bytes);

// A field of `width` bytes at `offset`: UTF-8 that ends at the first NUL, or fills the field when there is none.
// nullopt when the payload ends before the field begins or the text is no UTF-8.
std::optional<std::string> textField(std::span<const std::byte> payload, size_t offset, size_t width);
// The same, written: what stands before the text's first NUL, cut to leave room for one, filled up with zeros. A text
// that is missing is empty.
void appendTextField(vesk::ByteWriter& writer, const std::optional<std::string>& text, size_t width);
// The same into a field that stands in `payload` already, which grows when it ends before.
void putTextField(std::vector<std::byte>& payload, size_t offset, const std::optional<std::string>& text, size_t width);

}  // namespace lc
