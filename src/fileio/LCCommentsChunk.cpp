#include "fileio/LCCommentsChunk.h"

#include "fileio/ChunkText.h"
#include "platform/audiofile/ByteReader.h"
#include "VeskLoopManagement/platform/Text.h"

namespace {

constexpr size_t kTimeAndMarkerSize = 6;
constexpr size_t kTextOffset = 10;
constexpr size_t kLongestText = 0xFFFF;

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
  const std::string stored = " " + vesk::text::trimmed(text);
  const std::string_view kept = vesk::text::cut(stored, kLongestText);
  vesk::ByteWriter writer(std::endian::big);
  writer.u16(1);
  writer.zeros(kTimeAndMarkerSize);
  writer.u16(static_cast<uint16_t>(kept.size()));
  writer.raw(std::as_bytes(std::span(kept)));
  writer.zeros(1);
  return writer.take();
}
