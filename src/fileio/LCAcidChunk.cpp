#include "fileio/LCAcidChunk.h"

#include "fileio/LCChunkBytes.h"

#include <bit>

std::optional<LCAcidChunk> LCAcidChunk::decode(std::span<const std::byte> payload) {
  if (payload.size() != kSize) return std::nullopt;
  const uint32_t flags = lc::chunk::littleEndian32(payload, 0);
  const bool hasRootNote = (flags & 2) != 0;
  return LCAcidChunk{
      .isOneShot = (flags & 1) != 0,
      .midiRootNote = hasRootNote ? lc::chunk::littleEndian16(payload, 4) : uint16_t{0},
      .beatCount = lc::chunk::littleEndian16(payload, 12),
      .signatureTop = lc::chunk::littleEndian16(payload, 16),
      .signatureBottom = lc::chunk::littleEndian16(payload, 18),
      .tempo = std::bit_cast<float>(lc::chunk::littleEndian32(payload, 20)),
  };
}
