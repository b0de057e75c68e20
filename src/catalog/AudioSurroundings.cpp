#include "catalog/AudioSurroundings.h"

#include "platform/audiofile/EditedLayout.h"
#include "VeskLoopManagement/fileio/MurmurHash.h"

lc::AudioPlace lc::audioPlaceIn(const vesk::AudioFile& file) {
  const vesk::AudioChunk* chunk = file.contents().firstChunk(vesk::audioChunkID(file.kind()));
  if (chunk == nullptr) return {.fileSize = file.fileSize()};
  return {.fileSize = file.fileSize(), .offset = chunk->dataOffset, .size = chunk->size};
}

std::optional<std::vector<std::byte>> lc::surroundings(vesk::ByteSource& bytes, const AudioPlace& audio) {
  if (bytes.size() != audio.fileSize || !audio.isSound()) return std::nullopt;
  if (audio.fileSize - audio.size > kLargestSurroundings) return std::nullopt;
  std::vector<std::byte> both(static_cast<size_t>(audio.fileSize - audio.size));
  const auto before = std::span(both).first(static_cast<size_t>(audio.offset));
  const auto behind = std::span(both).subspan(before.size());
  if (!bytes.read(0, before) || !bytes.read(audio.offset + audio.size, behind)) return std::nullopt;
  return both;
}

lc::FileImage lc::imageOf(const AudioPlace& audio, std::span<const std::byte> surroundings) {
  constexpr uint64_t kSeed = 7;
  const auto size = static_cast<uint32_t>(surroundings.size());
  return {.audio = audio, .hash = lc::MurmurHash64A(surroundings.data(), size, kSeed)};
}

bool lc::hasImage(vesk::ByteSource& bytes, const FileImage& image) {
  const auto found = surroundings(bytes, image.audio);
  return found && imageOf(image.audio, *found) == image;
}

vesk::Splice lc::spliceAround(const AudioPlace& from, const AudioPlace& to, std::span<const std::byte> surroundings) {
  const auto before = static_cast<size_t>(to.offset);
  vesk::Splice splice;
  splice.add(surroundings.first(before));
  splice.keep(from.offset, from.size);
  splice.add(surroundings.subspan(before));
  return splice;
}
