// Writes a tagged loop as a new AIFF, WAV or CAF file. These are the demo's own small writers, with just the chunks
// that its loops need; they never open an existing file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace demo {

enum class Container { aiff, wav, caf };

struct LoopTags {
  int16_t beats = 0;
  int16_t rootNote = 0;  // MIDI note number, 48 (C) to 59 (B); 0: none
  int16_t scale = 3;     // 1 minor, 2 major, 3 neither, 4 both
  int16_t signatureTop = 4;
  int16_t signatureBottom = 4;
  std::string instrument;
  std::string subInstrument;
  std::string genre;
  std::vector<std::string> descriptors;
  std::string title;
  std::string author;
};

// False when the file could not be written; an existing file is replaced.
bool writeTaggedAudio(const std::string& path, Container container, const std::vector<float>& samples,
                      const LoopTags& tags);

}  // namespace demo
