#include "fileio/LCSearchInfo.h"

#include "fileio/ChunkText.h"
#include "platform/audiofile/ByteReader.h"
#include "platform/audiofile/ByteWriter.h"
#include "VeskLoopManagement/platform/Text.h"

namespace {

constexpr size_t kCountSize = 4;
constexpr char kItemSeparator = ',';

std::string decodedText(std::string_view bytes) {
  return vesk::text::isValidUTF8(bytes) ? std::string(bytes) : vesk::text::utf8FromLatin1(bytes);
}

// The text at the front of `rest` up to its NUL or the end; takes it and the NUL off.
std::string_view takeText(std::string_view& rest) {
  const size_t length = std::min(rest.find('\0'), rest.size());
  const std::string_view taken = rest.substr(0, length);
  rest.remove_prefix(std::min(length + 1, rest.size()));
  return taken;
}

void appendText(vesk::ByteWriter& writer, std::string_view text) {
  writer.raw(std::as_bytes(std::span(text.substr(0, text.find('\0')))));
}

}  // namespace

LCSearchInfo LCSearchInfo::decode(std::span<const std::byte> payload) {
  LCSearchInfo decoded;
  if (payload.size() < kCountSize || payload.size() > kLargestSize) return decoded;
  const uint32_t count = vesk::ByteReader(payload, std::endian::big).u32();
  std::string_view rest = lc::characters(payload.subspan(kCountSize));
  for (uint32_t i = 0; i < count && !rest.empty(); ++i) {
    const std::string_view key = takeText(rest);
    if (rest.empty()) break;  // a key whose value is not there
    const std::string_view value = takeText(rest);
    decoded.entries[decodedText(key)] = vesk::text::split(decodedText(value), kItemSeparator);
  }
  return decoded;
}

std::vector<std::byte> LCSearchInfo::encode() const {
  vesk::ByteWriter writer(std::endian::big);
  writer.u32(static_cast<uint32_t>(entries.size()));
  for (const auto& [key, items] : entries) {
    appendText(writer, key);
    writer.zeros(1);
    for (size_t i = 0; i < items.size(); ++i) {
      if (i > 0) writer.u8(kItemSeparator);
      appendText(writer, items[i]);
    }
    writer.zeros(1);
  }
  return writer.take();
}

std::optional<std::string> LCSearchInfo::firstItem(std::string_view key) const {
  const auto found = entries.find(key);
  if (found == entries.end() || found->second.empty()) return std::nullopt;
  return found->second.front();
}

namespace lc {

int64_t rootNoteFromKeySignature(std::string_view text) {
  constexpr int64_t kNotesFromA[] = {57, 59, 48, 50, 52, 53, 55};
  if (text.empty()) return 0;
  int64_t note = text[0] >= 'A' && text[0] <= 'G' ? kNotesFromA[text[0] - 'A'] : 0;
  if (text.size() > 1 && text[1] == '#') ++note;
  if (text.size() > 1 && text[1] == 'b') --note;
  return note;
}

int64_t keyTypeFromText(std::string_view text) {
  if (text == "minor") return 1;
  if (text == "major") return 2;
  if (text == "neither") return 3;
  if (text == "both") return 4;
  return 0;
}

}  // namespace lc
