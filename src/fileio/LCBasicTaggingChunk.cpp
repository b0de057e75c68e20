#include "fileio/LCBasicTaggingChunk.h"

#include "platform/audiofile/ByteReader.h"
#include "platform/audiofile/ByteWriter.h"

#include <algorithm>

namespace {

constexpr uint32_t kVersion = 1;
constexpr size_t kReservedSize = 64;
constexpr size_t kFieldsOffset = sizeof kVersion;
constexpr size_t kFieldsEnd = LCBasicTaggingChunk::kSize - kReservedSize;

}  // namespace

std::optional<LCBasicTaggingChunk> LCBasicTaggingChunk::decode(std::span<const std::byte> payload) {
  if (!admitsSize(payload.size())) return std::nullopt;
  vesk::ByteReader reader(payload, std::endian::big);
  LCBasicTaggingChunk decoded;
  reader.skip(sizeof kVersion);
  decoded.beatCount = reader.s32();
  decoded.midiRootNote = reader.s16();
  decoded.keyType = reader.s16();
  decoded.signatureTop = reader.s16();
  decoded.signatureBottom = reader.s16();
  decoded.fileType = reader.s16();
  return decoded;
}

std::vector<std::byte> LCBasicTaggingChunk::encode() const {
  vesk::ByteWriter writer(std::endian::big);
  writer.u32(kVersion);
  writer.s32(beatCount);
  writer.s16(midiRootNote);
  writer.s16(keyType);
  writer.s16(signatureTop);
  writer.s16(signatureBottom);
  writer.s16(fileType);
  writer.zeros(kReservedSize);
  return writer.take();
}

std::vector<std::byte> LCBasicTaggingChunk::encodeOver(std::span<const std::byte> payload) const {
  const auto fields = encode();
  std::vector<std::byte> edited(payload.begin(), payload.end());
  std::copy(fields.begin() + kFieldsOffset, fields.begin() + kFieldsEnd, edited.begin() + kFieldsOffset);
  return edited;
}
