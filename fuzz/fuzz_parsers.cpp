// Any bytes as a loop file: the parsers of all containers read whatever opens, whichever container it is. The same
// bytes as the resource fork of a Sound Designer II file, and as a loop metadata file.
#include "fileio/LCAIFParser.h"
#include "fileio/LCCAFParser.h"
#include "fileio/LCMetaDataParser.h"
#include "fileio/LCSDIIParser.h"
#include "fileio/LCWAVParser.h"
#include "VeskLoopManagement/platform/audiofile/AudioFile.h"
#include "VeskLoopManagement/platform/audiofile/MemoryBytes.h"

#include "Require.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

namespace {

// What the parser makes of the bytes; false when they are no audio file.
template <typename Parser>
bool parse(std::span<const std::byte> input, std::unique_ptr<vesk::ByteSource> fork = nullptr) {
  static const vesk::URL url = vesk::URL::fileURLWithPath("/fuzz/q", false);
  auto file = vesk::AudioFile::open(std::make_unique<vesk::MemoryBytes>(input), nullptr, nullptr, std::move(fork));
  if (!file) return false;
  Parser parser(url, std::move(*file), true);
  const LCFileData* plain = parser.fileData();
  require(plain && plain->frameCount >= 0 && !plain->midiData);
  const int64_t identity = plain->hash;
  const LCFileData* enhanced = parser.enhancedFileData();
  require(enhanced && enhanced->hash == identity);
  return true;
}

// The parser opens a file by its path.
void parseLoopData(std::span<const std::byte> input) {
  static const int file = ::memfd_create("loopdata", MFD_CLOEXEC);
  require(::ftruncate(file, 0) == 0);
  require(::pwrite(file, input.data(), input.size(), 0) == static_cast<ssize_t>(input.size()));
  LCMetaDataParser parser(vesk::URL::fileURLWithPath("/proc/self/fd/" + std::to_string(file), false));
  const LCFileData* plain = parser.fileData();
  require((plain != nullptr) == LCFileData::unarchived(input).has_value());
  require((parser.enhancedFileData() != nullptr) == (plain != nullptr));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static constexpr std::byte kSilence[64] = {};
  const auto input = std::as_bytes(std::span(data, size));
  parse<LCSDIIParser>(kSilence, std::make_unique<vesk::MemoryBytes>(input));
  parseLoopData(input);
  if (!parse<LCAIFParser>(input)) return 0;
  parse<LCCAFParser>(input);
  parse<LCWAVParser>(input);
  return 0;
}
