// The one walk over the chunks of FORM, RIFF, RIFX, RF64 and BW64 files and of the lists inside them.
//   offset 0  4 bytes  id, printable ASCII      offset 8      n bytes  payload
//   offset 4  uint32   payload size n           offset 8 + n  1 byte   pad when n is odd, not counted in n
// It touches headers only, is linear in the number of chunks and never believes a size further than the file goes.
// Where a writer left out the pad byte of an odd chunk, the walk finds the next header one byte earlier and says so.
//
// CAF chunks are walked by their own rules (CAFContainer.cpp). The limit, and what is said of chunks, stand here for
// both.
#pragma once

#include <bit>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "VeskLoopManagement/platform/audiofile/AudioFileLayout.h"
#include "VeskLoopManagement/platform/audiofile/ByteSource.h"

namespace vesk {

inline constexpr size_t kMaximumChunkCount = 50000;
inline constexpr uint32_t kSizeElsewhere = 0xFFFFFFFF;    // in RF64 and BW64: see "ds64"; else: to the end
inline constexpr uint32_t kSizeUnknown = 0x7FFFFFFF;      // what some streaming writers leave
inline constexpr uint64_t kSizeUnknown64 = ~uint64_t{0};  // the same in 64 bits: -1

// Adds `chunk` to the list. False when it is one too many; `refusal` then says so.
bool appendChunk(const AudioChunk& chunk, AudioFileContents& contents, std::string& refusal);
// Says, of the chunk too, when less of it is there than it declares, or when it declares to reach to the end.
void noteSize(AudioChunk& chunk, FourCC audioID, bool reachesToEnd, AudioFileContents& contents);
// Says when bytes that are no chunk stand between contents.chunksEnd and `end`; fewer than a chunk's header do no harm.
void noteStrayBytes(uint64_t end, uint64_t headerSize, AudioFileContents& contents);
// Says when there is more than one format chunk or audio chunk.
void noteDoubles(FourCC formatID, FourCC audioID, AudioFileContents& contents);

// 64-bit sizes of chunks whose header says kSizeElsewhere. Chunks with the same id use theirs in turn.
using LongSizes = std::multimap<FourCC, uint64_t>;

struct ChunkRun {
  std::endian order = std::endian::big;
  uint64_t begin = 0;        // of the first header
  uint64_t declaredEnd = 0;  // where the container says that it ends, not beyond `end`
  uint64_t end = 0;          // where the bytes end: of the file, or of the list
  FourCC audioID;            // the one chunk whose size may be unknown; none of a list
  LongSizes longSizes;
};

// Appends the chunks of `run` to `contents` and notes what is odd about them. False when there are more than
// kMaximumChunkCount; `refusal` then says so.
bool walkChunks(ByteSource& bytes, ChunkRun run, AudioFileContents& contents, std::string& refusal);

// A whole form: begin 12, to the end of the file. Sets contents.formSize, which is `formSize`, and notes what it gets
// wrong.
struct Form {
  std::endian order = std::endian::big;
  uint64_t formSize = 0;
  FourCC audioID;
  LongSizes longSizes;
};
bool walkForm(ByteSource& bytes, const Form& form, AudioFileContents& contents, std::string& refusal);

}  // namespace vesk
