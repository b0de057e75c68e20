#include "fileio/LCBasicTaggingChunk.h"

#include "fileio/LCChunkBytes.h"

std::optional<LCBasicTaggingChunk> LCBasicTaggingChunk::decode(std::span<const std::byte> payload) {
  if (!admitsSize(payload.size())) return std::nullopt;
  const auto signed16 = [&](size_t offset) { return static_cast<int16_t>(lc::chunk::bigEndian16(payload, offset)); };
  return LCBasicTaggingChunk{
      .beatCount = static_cast<int32_t>(lc::chunk::bigEndian32(payload, 4)),
      .midiRootNote = signed16(8),
      .keyType = signed16(10),
      .signatureTop = signed16(12),
      .signatureBottom = signed16(14),
      .fileType = signed16(16),
  };
}
