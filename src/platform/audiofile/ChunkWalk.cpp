#include "platform/audiofile/ChunkWalk.h"

#include "platform/audiofile/ByteReader.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vesk {
namespace {

constexpr uint64_t kChunkHeaderSize = 8;
constexpr uint64_t kFormHeaderSize = 12;  // id, size, type; the size counts from the type on
constexpr uint64_t kFormSizeOrigin = 8;

struct ChunkHeader {
  FourCC id;
  uint64_t declaredSize = 0;
  bool usesLongSize = false;  // the next of its id in the run's longSizes
  bool reachesToEnd = false;  // its size is unknown
};

bool isFormID(FourCC id) {
  static constexpr std::array kFormIDs = {FourCC("FORM"), FourCC("RIFF"), FourCC("RIFX"), FourCC("RF64"),
                                          FourCC("BW64")};
  return std::find(kFormIDs.begin(), kFormIDs.end(), id) != kFormIDs.end();
}

class Walker {
 public:
  Walker(ByteSource& bytes, ChunkRun run, AudioFileContents& contents)
      : m_bytes(bytes), m_run(std::move(run)), m_contents(contents) {}

  bool walk(std::string& refusal) {
    uint64_t position = m_run.begin;
    while (const auto header = headerAt(position)) {
      if (position >= m_run.declaredEnd && !isBelievedBehindTheForm(*header, position)) break;
      if (isFormID(header->id)) m_contents.noteAmbiguous("a form stands inside the form");
      const AudioChunk chunk = chunkOf(*header, position);
      if (!appendChunk(chunk, m_contents, refusal)) return false;
      position = chunk.dataOffset + chunk.size + (chunk.hasPad ? 1 : 0);
    }
    m_contents.chunksEnd = position;
    return true;
  }

 private:
  // The header at `position`; nullopt when there is no room for one or the id is not printable.
  std::optional<ChunkHeader> headerAt(uint64_t position) {
    std::array<std::byte, kChunkHeaderSize> bytes;
    if (position > m_run.end || m_run.end - position < bytes.size() || !m_bytes.read(position, bytes))
      return std::nullopt;
    ByteReader reader(bytes, m_run.order);
    ChunkHeader header{.id = reader.fourCC()};
    if (!header.id.isPrintable()) return std::nullopt;
    const uint32_t size = reader.u32();
    header.declaredSize = size;
    const auto [nextLong, lastLong] = m_run.longSizes.equal_range(header.id);
    header.usesLongSize = size == kSizeElsewhere && nextLong != lastLong;
    if (header.usesLongSize) header.declaredSize = nextLong->second;
    const bool isUnknown =
        header.usesLongSize ? header.declaredSize == kSizeUnknown64 : size == kSizeElsewhere || size == kSizeUnknown;
    header.reachesToEnd = isUnknown && header.id == m_run.audioID;
    return header;
  }

  bool fits(const ChunkHeader& header, uint64_t position) const {
    return header.reachesToEnd || header.declaredSize <= m_run.end - position - kChunkHeaderSize;
  }

  bool chunkStartsAt(uint64_t position) {
    const auto header = headerAt(position);
    return header && fits(*header, position);
  }

  // Behind the declared end stand chunks that the form's size forgot, or bytes that belong to nobody.
  bool isBelievedBehindTheForm(const ChunkHeader& header, uint64_t position) {
    if (!isFormID(header.id)) return fits(header, position);
    m_contents.noteAmbiguous("a second form follows the first");
    return false;
  }

  AudioChunk chunkOf(const ChunkHeader& header, uint64_t position) {
    AudioChunk chunk{.id = header.id, .headerOffset = position, .dataOffset = position + kChunkHeaderSize};
    const uint64_t left = m_run.end - chunk.dataOffset;
    chunk.declaredSize = header.declaredSize;
    chunk.size = header.reachesToEnd ? left : std::min(left, header.declaredSize);
    noteSize(chunk, m_run.audioID, header.reachesToEnd, m_contents);
    if (header.usesLongSize) m_run.longSizes.erase(m_run.longSizes.lower_bound(header.id));
    const bool isWhole = chunk.size == chunk.declaredSize;
    if (isWhole && chunk.size % 2 == 1) findPad(chunk);
    return chunk;
  }

  // Whether the chunk at `position` is followed by another one or by the end.
  bool leadsOn(uint64_t position) {
    const auto header = headerAt(position);
    if (!header || !fits(*header, position)) return false;
    if (header->reachesToEnd) return true;
    const uint64_t payloadEnd = position + kChunkHeaderSize + header->declaredSize;
    const uint64_t behindPad = payloadEnd + header->declaredSize % 2;
    return payloadEnd == m_run.end || behindPad == m_run.end || chunkStartsAt(behindPad) || chunkStartsAt(payloadEnd);
  }

  // Two headers are possible, a byte apart: three letters of an id and the first byte of a small little-endian size can
  // look like an id. The true one leads on to the next chunk.
  bool isLikelierThan(uint64_t position, uint64_t other) { return leadsOn(position) && !leadsOn(other); }

  // Decides whether the byte behind an odd payload is its pad.
  void findPad(AudioChunk& chunk) {
    const uint64_t payloadEnd = chunk.dataOffset + chunk.size;
    std::array<std::byte, 1> next;
    if (payloadEnd == m_run.end || !m_bytes.read(payloadEnd, next)) {
      m_contents.noteBenign("the pad byte of the last chunk is missing");
      return;
    }
    const uint64_t behindPad = payloadEnd + 1;
    const bool isFollowed = behindPad == m_run.end || chunkStartsAt(behindPad);
    if (chunkStartsAt(payloadEnd) && (!isFollowed || isLikelierThan(payloadEnd, behindPad))) {
      m_contents.noteAmbiguous("a chunk of odd size has no pad byte before the next chunk");
      return;
    }
    // What follows is no chunk. A byte that the form counts is the pad, and so is a zero.
    chunk.hasPad = isFollowed || payloadEnd < m_run.declaredEnd || next[0] == std::byte{0};
    chunk.pad = chunk.hasPad ? next[0] : std::byte{0};
  }

  ByteSource& m_bytes;
  ChunkRun m_run;
  AudioFileContents& m_contents;
};

bool isUnknownFormSize(uint64_t size) {
  return size == 0 || size == kSizeElsewhere || size == kSizeUnknown || size == kSizeUnknown64;
}

void noteFormSize(const ByteSource& bytes, uint64_t formSize, AudioFileContents& contents) {
  const uint64_t counted = bytes.size() - kFormSizeOrigin;
  const uint64_t stray = bytes.size() - contents.chunksEnd;
  if (isUnknownFormSize(formSize)) {
    contents.noteBenign("the form does not give its size");
  } else if (formSize > counted) {
    contents.noteBenign("the form's size is larger than the file");
  } else if (kFormSizeOrigin + formSize < contents.chunksEnd) {
    contents.noteBenign("the form's size is smaller than its chunks");
  }
  if (stray == 0) return;
  const bool isOutside = !isUnknownFormSize(formSize) && formSize <= contents.chunksEnd - kFormSizeOrigin;
  if (isOutside) {
    contents.noteBenign("bytes follow the form");
  } else {
    noteStrayBytes(bytes.size(), kChunkHeaderSize, contents);
  }
}

}  // namespace

bool appendChunk(const AudioChunk& chunk, AudioFileContents& contents, std::string& refusal) {
  if (contents.chunks.size() == kMaximumChunkCount) {
    refusal = "it has more than 50,000 chunks";
    return false;
  }
  contents.chunks.push_back(chunk);
  return true;
}

void noteSize(AudioChunk& chunk, FourCC audioID, bool reachesToEnd, AudioFileContents& contents) {
  chunk.isCutOff = !reachesToEnd && chunk.size < chunk.declaredSize;
  if (reachesToEnd) {
    contents.noteBenign("the size of the audio is unknown; it is taken to reach to the end of the file");
  } else if (chunk.isCutOff) {
    contents.noteAmbiguous(chunk.id == audioID ? "the audio is cut off" : "the last chunk is cut off");
  }
}

void noteStrayBytes(uint64_t end, uint64_t headerSize, AudioFileContents& contents) {
  const uint64_t stray = end - contents.chunksEnd;
  if (stray >= headerSize) {
    contents.noteAmbiguous("bytes that are no chunks follow the last chunk");
  } else if (stray > 0) {
    contents.noteBenign("a few bytes that are no chunk follow the last chunk");
  }
}

void noteDoubles(FourCC formatID, FourCC audioID, AudioFileContents& contents) {
  if (contents.count(formatID) > 1) contents.noteAmbiguous("there are two format chunks");
  if (contents.count(audioID) > 1) contents.noteAmbiguous("there are two audio chunks");
}

bool walkChunks(ByteSource& bytes, ChunkRun run, AudioFileContents& contents, std::string& refusal) {
  return Walker(bytes, std::move(run), contents).walk(refusal);
}

bool walkForm(ByteSource& bytes, const Form& form, AudioFileContents& contents, std::string& refusal) {
  contents.formSize = form.formSize;
  ChunkRun run{.order = form.order, .begin = kFormHeaderSize, .end = bytes.size(), .audioID = form.audioID};
  run.longSizes = form.longSizes;
  const bool reachesToEnd = isUnknownFormSize(form.formSize) || form.formSize > run.end - kFormSizeOrigin;
  run.declaredEnd = reachesToEnd ? run.end : kFormSizeOrigin + form.formSize;
  if (!walkChunks(bytes, std::move(run), contents, refusal)) return false;
  noteFormSize(bytes, form.formSize, contents);
  return true;
}

}  // namespace vesk
