#include "fileio/LCCategoryChunk.h"

#include "fileio/LCChunkBytes.h"

#include <algorithm>

namespace {

constexpr size_t kFieldWidth = 50;

vesk::StringSet descriptorsAt(std::span<const std::byte> payload, size_t countOffset) {
  const size_t start = countOffset + 2;
  if (payload.size() < start) return {};
  const size_t present = (payload.size() - start) / kFieldWidth;
  const size_t count = std::min<size_t>(lc::chunk::bigEndian16(payload, countOffset), present);
  vesk::StringSet descriptors;
  for (size_t i = 0; i < count; ++i) {
    auto descriptor = lc::chunk::textField(payload, start + i * kFieldWidth, kFieldWidth);
    if (descriptor) descriptors.insert(std::move(*descriptor));
  }
  return descriptors;
}

}  // namespace

std::optional<LCCategoryChunk> LCCategoryChunk::decode(std::span<const std::byte> payload) {
  if (payload.size() < kSmallestSize) return std::nullopt;
  LCCategoryChunk decoded;
  decoded.version = lc::chunk::bigEndian32(payload, 0);
  if (!decoded.hasKnownVersion()) return decoded;

  decoded.instrumentType = lc::chunk::textField(payload, 4, kFieldWidth);
  decoded.instrumentSubType = lc::chunk::textField(payload, 54, kFieldWidth);
  decoded.genre = lc::chunk::textField(payload, 104, kFieldWidth);
  if (decoded.version == 1) {
    decoded.descriptors = descriptorsAt(payload, 220);
    return decoded;
  }
  decoded.collection = lc::chunk::textField(payload, 220, kFieldWidth);
  decoded.theme = lc::chunk::textField(payload, 270, kFieldWidth);
  decoded.descriptors = descriptorsAt(payload, 322);
  return decoded;
}
