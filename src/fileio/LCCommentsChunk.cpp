#include "fileio/LCCommentsChunk.h"

#include "fileio/ChunkText.h"
#include "platform/audiofile/ByteReader.h"
#include "VeskLoopManagement/platform/Text.h"

#include <algorithm>

namespace {

constexpr size_t kCountSize = 2;
constexpr size_t kTimeAndMarkerSize = 6;
constexpr size_t kTextOffset = 10;
constexpr size_t kLongestText = 0xFFFF;

// With the blank before it, cut to what the length can say.
std::string storedText(std::string_view text) {
  const std::string stored = " " + vesk::text::trimmed(text);
  return std::string(vesk::text::cut(stored, kLongestText));
}

}  // namespace

std::optional<LCCommentsChunk> LCCommentsChunk::decode(std::span<const std::byte> payload) {
  if (payload.size() <= kTextOffset) return std::nullopt;
  vesk::ByteReader reader(payload, std::endian::big);
  const uint16_t count = reader.u16();
  reader.skip(kTimeAndMarkerSize);
  const uint16_t length = reader.u16();
  if (count == 0 || length == 0 || length > reader.left()) return std::nullopt;

  const auto text = lc::utf8Text(reader.take(length));
  if (!text) return std::nullopt;
  return LCCommentsChunk{.text = vesk::text::trimmed(*text)};
}

std::vector<std::byte> LCCommentsChunk::encode() const {
  const std::string kept = storedText(text);
  vesk::ByteWriter writer(std::endian::big);
  writer.u16(1);
  writer.zeros(kTimeAndMarkerSize);
  writer.u16(static_cast<uint16_t>(kept.size()));
  writer.raw(std::as_bytes(std::span(kept)));
  writer.zeros(1);
  return writer.take();
}

// A text of odd length has a pad byte that its length does not count.
std::optional<std::vector<std::byte>> LCCommentsChunk::encodeOver(std::span<const std::byte> payload) const {
  if (payload.size() < kTextOffset) return std::nullopt;
  const size_t length = vesk::ByteReader(payload.subspan(kTextOffset - kCountSize), std::endian::big).u16();
  if (length > payload.size() - kTextOffset) return std::nullopt;
  const size_t end = std::min(kTextOffset + length + length % 2, payload.size());
  const std::string kept = text.empty() ? std::string() : storedText(text);

  vesk::ByteWriter writer(std::endian::big);
  writer.u16(std::max<uint16_t>(countOf(payload), 1));
  writer.raw(payload.subspan(kCountSize, kTimeAndMarkerSize));
  writer.u16(static_cast<uint16_t>(kept.size()));
  writer.raw(std::as_bytes(std::span(kept)));
  writer.zeros(kept.size() % 2);
  writer.raw(payload.subspan(end));
  return writer.take();
}

uint16_t LCCommentsChunk::countOf(std::span<const std::byte> payload) {
  return vesk::ByteReader(payload, std::endian::big).u16();
}
