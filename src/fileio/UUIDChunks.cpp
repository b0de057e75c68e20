#include "fileio/UUIDChunks.h"

#include <algorithm>

std::optional<std::vector<uint32_t>> lc::uuidChunks(const vesk::AudioFileEdit& file,
                                                    const LCChunkIdentifier& identifier) {
  const size_t count = file.userDataCount(kUUIDChunkCode);
  std::vector<uint32_t> indices;
  for (size_t index = 0; index < count; ++index) {
    const auto chunk = file.userData(kUUIDChunkCode, index);
    if (!chunk) return std::nullopt;
    const auto head = std::span(*chunk).first(std::min(chunk->size(), identifier.size()));
    if (std::ranges::equal(head, identifier)) indices.push_back(static_cast<uint32_t>(index));
  }
  return indices.empty() ? std::nullopt : std::optional(std::move(indices));
}

std::optional<size_t> lc::lastUUIDChunk(const vesk::AudioFileEdit& file, const LCChunkIdentifier& identifier,
                                        const std::function<bool(std::span<const std::byte>)>& counts) {
  const auto indices = uuidChunks(file, identifier);
  if (!indices) return std::nullopt;
  const auto found = std::find_if(indices->rbegin(), indices->rend(), [&](uint32_t index) {
    const auto payload = uuidPayload(file, index);
    return payload && counts(*payload);
  });
  return found == indices->rend() ? indices->back() : *found;
}

std::optional<std::vector<std::byte>> lc::uuidPayload(const vesk::AudioFileEdit& file, size_t index) {
  auto chunk = file.userData(kUUIDChunkCode, index);
  if (!chunk || chunk->size() < sizeof(LCChunkIdentifier)) return std::nullopt;
  chunk->erase(chunk->begin(), chunk->begin() + sizeof(LCChunkIdentifier));
  return chunk;
}

std::vector<std::byte> lc::uuidChunk(const LCChunkIdentifier& identifier, std::span<const std::byte> payload) {
  std::vector<std::byte> chunk(identifier.begin(), identifier.end());
  chunk.insert(chunk.end(), payload.begin(), payload.end());
  return chunk;
}
