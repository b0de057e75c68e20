// Any bytes as a loop file: the parsers of all containers read whatever opens, whichever container it is.
#include "fileio/LCAIFParser.h"
#include "fileio/LCCAFParser.h"
#include "fileio/LCWAVParser.h"
#include "VeskLoopManagement/platform/audiofile/AudioFile.h"
#include "VeskLoopManagement/platform/audiofile/MemoryBytes.h"

#include "Require.h"

#include <cstdint>

namespace {

// What the parser makes of the bytes; false when they are no audio file.
template <typename Parser>
bool parse(std::span<const std::byte> input) {
  static const vesk::URL url = vesk::URL::fileURLWithPath("/fuzz/q", false);
  auto file = vesk::AudioFile::open(std::make_unique<vesk::MemoryBytes>(input));
  if (!file) return false;
  Parser parser(url, std::move(*file), true);
  const LCFileData* plain = parser.fileData();
  require(plain && plain->frameCount >= 0 && !plain->midiData);
  const int64_t identity = plain->hash;
  const LCFileData* enhanced = parser.enhancedFileData();
  require(enhanced && enhanced->hash == identity);
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const auto input = std::as_bytes(std::span(data, size));
  if (!parse<LCAIFParser>(input)) return 0;
  parse<LCCAFParser>(input);
  parse<LCWAVParser>(input);
  return 0;
}
