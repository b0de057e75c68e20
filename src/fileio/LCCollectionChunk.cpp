#include "fileio/LCCollectionChunk.h"

#include "fileio/LCChunkBytes.h"

std::optional<LCCollectionChunk> LCCollectionChunk::decode(std::span<const std::byte> payload) {
  if (payload.size() < kSize) return std::nullopt;
  LCCollectionChunk decoded;
  decoded.version = lc::chunk::bigEndian32(payload, 0);
  if (!decoded.hasKnownVersion()) return decoded;
  decoded.collection = lc::chunk::textField(payload, 4, 50);
  decoded.theme = lc::chunk::textField(payload, 54, 50);
  return decoded;
}
