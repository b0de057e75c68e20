// What of an audio file is not audio: the bytes before and behind the one run of samples. Tags are among them, so that
// they are what an edit of tags changes, and what it takes to undo one. Pure but for the bytes that are read; nothing
// throws.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/audiofile/SplicedBytes.h"
#include "VeskLoopManagement/platform/audiofile/AudioFile.h"
#include "VeskLoopManagement/platform/audiofile/ByteSource.h"

namespace lc {

// Where the payload of the audio chunk lies; of a file without audio, nothing at its beginning.
struct AudioPlace {
  uint64_t fileSize = 0;
  uint64_t offset = 0;
  uint64_t size = 0;
  bool isSound() const { return size <= fileSize && offset <= fileSize - size; }
  bool operator==(const AudioPlace&) const = default;
};
AudioPlace audioPlaceIn(const vesk::AudioFile& file);

// Enough to tell whether a file still has these surroundings.
struct FileImage {
  AudioPlace audio;
  uint64_t hash = 0;  // MurmurHash64A of the surroundings, seed 7
  bool operator==(const FileImage&) const = default;
};

inline constexpr uint64_t kLargestSurroundings = uint64_t{256} << 20;

// Both parts, one behind the other; nullopt when they cannot be read or are larger than that.
std::optional<std::vector<std::byte>> surroundings(vesk::ByteSource& bytes, const AudioPlace& audio);
FileImage imageOf(const AudioPlace& audio, std::span<const std::byte> surroundings);
// Whether these are the bytes of the image, as far as it tells.
bool hasImage(vesk::ByteSource& bytes, const FileImage& image);
// The file that has these surroundings, made of the audio of one that is like `from`.
vesk::Splice spliceAround(const AudioPlace& from, const AudioPlace& to, std::span<const std::byte> surroundings);

}  // namespace lc
