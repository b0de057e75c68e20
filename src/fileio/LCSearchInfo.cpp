#include "fileio/LCSearchInfo.h"

#include "fileio/ChunkText.h"
#include "platform/audiofile/ByteReader.h"
#include "platform/audiofile/ByteWriter.h"
#include "VeskLoopManagement/platform/Text.h"

#include <algorithm>
#include <utility>

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

// Of equal keys the last one counts, so it gets the value.
std::vector<std::byte> LCSearchInfo::edited(std::span<const std::byte> payload, std::string_view key,
                                            const std::optional<std::string>& value) {
  const uint32_t count = vesk::ByteReader(payload, std::endian::big).u32();
  std::string_view rest = lc::characters(payload.subspan(std::min(payload.size(), kCountSize)));
  std::vector<std::pair<std::string_view, std::string_view>> pairs;
  for (uint32_t i = 0; i < count && !rest.empty(); ++i) {
    const std::string_view itsKey = takeText(rest);
    if (!rest.empty()) pairs.emplace_back(itsKey, takeText(rest));
  }
  const auto isKey = [&](const auto& pair) { return pair.first == key; };
  if (!value) {
    std::erase_if(pairs, isKey);
  } else if (const auto found = std::find_if(pairs.rbegin(), pairs.rend(), isKey); found != pairs.rend()) {
    found->second = *value;
  } else {
    pairs.emplace_back(key, *value);
  }
  vesk::ByteWriter writer(std::endian::big);
  writer.u32(static_cast<uint32_t>(pairs.size()));
  for (const auto& [itsKey, itsValue] : pairs) {
    appendText(writer, itsKey);
    writer.zeros(1);
    appendText(writer, itsValue);
    writer.zeros(1);
  }
  writer.raw(std::as_bytes(std::span(rest)));
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

std::optional<std::string> keySignatureFromRootNote(int64_t midiNote) {
  constexpr int64_t kLowest = 48;
  constexpr std::string_view kNames[] = {"C", "Db", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};
  const bool hasName = midiNote >= kLowest && midiNote < kLowest + std::ssize(kNames);
  return hasName ? std::optional<std::string>(kNames[midiNote - kLowest]) : std::nullopt;
}

std::string textFromKeyType(int64_t keyType) {
  constexpr std::string_view kNames[] = {"any", "minor", "major", "neither", "both"};
  return std::string(kNames[keyType >= 0 && keyType < std::ssize(kNames) ? keyType : 0]);
}

int64_t keyTypeFromText(std::string_view text) {
  if (text == "minor") return 1;
  if (text == "major") return 2;
  if (text == "neither") return 3;
  if (text == "both") return 4;
  return 0;
}

}  // namespace lc
