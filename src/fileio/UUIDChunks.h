// The "uuid" chunks of a CAF file that is being edited: 16 bytes that say what it is, then the payload.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "platform/audiofile/AudioFileEdit.h"
#include "VeskLoopManagement/fileio/LCChunkIDs.h"

namespace lc {

// The indices among all "uuid" chunks of those with `identifier`, ascending. nullopt when there is no such chunk, or
// when any "uuid" chunk cannot be read.
std::optional<std::vector<uint32_t>> uuidChunks(const vesk::AudioFileEdit& file, const LCChunkIdentifier& identifier);

// The index of the last one whose payload `counts`; of none, the last one. nullopt when there is none.
std::optional<size_t> lastUUIDChunk(const vesk::AudioFileEdit& file, const LCChunkIdentifier& identifier,
                                    const std::function<bool(std::span<const std::byte>)>& counts);

// What follows the identifier of the chunk at `index`; nullopt when it cannot be read.
std::optional<std::vector<std::byte>> uuidPayload(const vesk::AudioFileEdit& file, size_t index);

// A whole chunk.
std::vector<std::byte> uuidChunk(const LCChunkIdentifier& identifier, std::span<const std::byte> payload);

}  // namespace lc
