#include "fileio/LCCommentsChunk.h"

#include "fileio/LCChunkBytes.h"

std::optional<LCCommentsChunk> LCCommentsChunk::decode(std::span<const std::byte> payload) {
  constexpr size_t kTextOffset = 10;
  if (payload.size() <= kTextOffset) return std::nullopt;
  const size_t count = lc::chunk::bigEndian16(payload, 0);
  const size_t length = lc::chunk::bigEndian16(payload, 8);
  if (count == 0 || length == 0 || length > payload.size() - kTextOffset) return std::nullopt;

  const auto text = lc::chunk::utf8Text(payload.subspan(kTextOffset, length));
  if (!text) return std::nullopt;
  return LCCommentsChunk{.text = vesk::text::trimmed(*text)};
}
