#include "fileio/LCAcidChunk.h"

#include "platform/audiofile/ByteReader.h"
#include "platform/audiofile/ByteWriter.h"

#include <algorithm>

namespace {

constexpr uint32_t kOneShotFlag = 1;
constexpr uint32_t kRootNoteFlag = 2;
constexpr uint32_t kKnownFlags = kOneShotFlag | kRootNoteFlag;
constexpr size_t kUpperBeatsSize = 2;

}  // namespace

std::optional<LCAcidChunk> LCAcidChunk::decode(std::span<const std::byte> payload) {
  if (payload.size() != kSize) return std::nullopt;
  vesk::ByteReader reader(payload, std::endian::little);
  LCAcidChunk decoded;
  const uint32_t flags = reader.u32();
  decoded.isOneShot = (flags & kOneShotFlag) != 0;
  decoded.otherFlags = flags & ~kKnownFlags;
  const uint16_t rootNote = reader.u16();
  decoded.midiRootNote = (flags & kRootNoteFlag) != 0 ? rootNote : uint16_t{0};
  const auto unknown = reader.take(decoded.unknown.size());
  std::copy(unknown.begin(), unknown.end(), decoded.unknown.begin());
  decoded.beatCount = reader.u16();
  reader.skip(kUpperBeatsSize);
  decoded.signatureTop = reader.u16();
  decoded.signatureBottom = reader.u16();
  decoded.tempo = reader.f32();
  return decoded;
}

std::vector<std::byte> LCAcidChunk::encode() const {
  vesk::ByteWriter writer(std::endian::little);
  writer.u32((otherFlags & ~kKnownFlags) | (isOneShot ? kOneShotFlag : 0) | (midiRootNote != 0 ? kRootNoteFlag : 0));
  writer.u16(midiRootNote);
  writer.raw(unknown);
  writer.u16(beatCount);
  writer.zeros(kUpperBeatsSize);
  writer.u16(signatureTop);
  writer.u16(signatureBottom);
  writer.f32(tempo);
  return writer.take();
}
