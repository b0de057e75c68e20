#include "VeskLoopManagement/platform/audiofile/AudioFileLayout.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace vesk {

FourCC FourCC::fromBytes(const std::byte* four) {
  FourCC id;
  std::memcpy(id.code, four, sizeof id.code);
  return id;
}

bool FourCC::isPrintable() const {
  return std::all_of(std::begin(code), std::end(code), [](char c) { return c >= 0x20 && c <= 0x7E; });
}

std::string_view containerName(ContainerKind kind) {
  switch (kind) {
    case ContainerKind::aiff:
      return "AIFF";
    case ContainerKind::aifc:
      return "AIFF-C";
    case ContainerKind::wav:
      return "WAV";
    case ContainerKind::rf64:
      return "RF64";
    case ContainerKind::bw64:
      return "BW64";
    case ContainerKind::rifx:
      return "RIFX";
    case ContainerKind::caf:
      return "CAF";
    case ContainerKind::soundDesigner2:
      return "Sound Designer II";
  }
  return "";
}

const AudioChunk* AudioFileContents::firstChunk(FourCC id) const {
  const auto found =
      std::find_if(chunks.begin(), chunks.end(), [&](const AudioChunk& chunk) { return chunk.id == id; });
  return found == chunks.end() ? nullptr : &*found;
}

size_t AudioFileContents::count(FourCC id) const {
  const auto matches = [&](const AudioChunk& chunk) { return chunk.id == id; };
  return static_cast<size_t>(std::count_if(chunks.begin(), chunks.end(), matches));
}

void AudioFileContents::noteBenign(std::string_view sentence) {
  if (std::find(benign.begin(), benign.end(), sentence) == benign.end()) benign.emplace_back(sentence);
}

void AudioFileContents::noteAmbiguous(std::string_view sentence) {
  if (std::find(ambiguous.begin(), ambiguous.end(), sentence) == ambiguous.end()) ambiguous.emplace_back(sentence);
}

}  // namespace vesk
