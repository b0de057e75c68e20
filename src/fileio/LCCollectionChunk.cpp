#include "fileio/LCCollectionChunk.h"

#include "fileio/ChunkText.h"
#include "platform/audiofile/ByteReader.h"

namespace {

constexpr uint32_t kVersion = 1;
constexpr size_t kFieldWidth = 50;
constexpr size_t kCollectionOffset = 4;
constexpr size_t kThemeOffset = 54;

}  // namespace

std::optional<LCCollectionChunk> LCCollectionChunk::decode(std::span<const std::byte> payload) {
  if (payload.size() < kSize) return std::nullopt;
  LCCollectionChunk decoded;
  decoded.version = vesk::ByteReader(payload, std::endian::big).u32();
  if (!decoded.hasKnownVersion()) return decoded;
  decoded.collection = lc::textField(payload, kCollectionOffset, kFieldWidth);
  decoded.theme = lc::textField(payload, kThemeOffset, kFieldWidth);
  return decoded;
}

std::vector<std::byte> LCCollectionChunk::encode() const {
  vesk::ByteWriter writer(std::endian::big);
  writer.u32(kVersion);
  lc::appendTextField(writer, collection, kFieldWidth);
  lc::appendTextField(writer, theme, kFieldWidth);
  return writer.take();
}

std::vector<std::byte> LCCollectionChunk::encodeOver(std::span<const std::byte> payload) const {
  const auto before = decode(payload).value_or(LCCollectionChunk());
  std::vector<std::byte> edited(payload.begin(), payload.end());
  if (collection != before.collection) lc::putTextField(edited, kCollectionOffset, collection, kFieldWidth);
  if (theme != before.theme) lc::putTextField(edited, kThemeOffset, theme, kFieldWidth);
  return edited;
}
