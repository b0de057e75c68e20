#include "platform/audiofile/EditedLayout.h"

#include "platform/audiofile/ByteReader.h"
#include "platform/audiofile/ByteWriter.h"
#include "platform/audiofile/ChunkWalk.h"

#include <algorithm>
#include <bit>
#include <limits>

namespace vesk {
namespace {

constexpr uint64_t kFormHeaderSize = 12;  // id, size, type; the size counts from the type on
constexpr uint64_t kFormSizeOrigin = 8;
constexpr uint64_t kFormChunkHeaderSize = 8;
constexpr uint64_t kCAFHeaderSize = 8;
constexpr uint64_t kCAFChunkHeaderSize = 12;
constexpr uint64_t kLargestFormSize = std::numeric_limits<uint32_t>::max();

uint64_t sizeOf(const PlannedChunk& chunk) {
  return chunk.kept ? chunk.kept->size : chunk.payload->size();
}

// Audio that says "to the end".
bool isOfUnknownSize(const AudioChunk& chunk) {
  return chunk.size != chunk.declaredSize;
}

class Layouter {
 public:
  Layouter(const AudioFileContents& old, ByteSource& bytes)
      : m_old(old), m_bytes(bytes), m_isCAF(old.kind == ContainerKind::caf), m_layout{.expected = old} {
    const bool isBig = !isWAVKind(old.kind) || old.kind == ContainerKind::rifx;
    m_order = isBig ? std::endian::big : std::endian::little;
  }

  std::optional<EditedLayout> layOut(std::span<const PlannedChunk> chunks, std::string& refusal) {
    if (!isGapless()) {
      refusal = "there is a gap between its chunks";
      return std::nullopt;
    }
    if (!measure(chunks)) {
      refusal = "it would grow past 4 GiB, which its container cannot hold";
      return std::nullopt;
    }
    if (!addHeader()) {
      refusal = "reading it failed";
      return std::nullopt;
    }
    for (const PlannedChunk& chunk : chunks) addChunk(chunk);
    m_splice.keep(m_old.chunksEnd, m_bytes.size() - m_old.chunksEnd);
    m_layout.splice = std::make_shared<const Splice>(std::move(m_splice));
    return std::move(m_layout);
  }

 private:
  uint64_t headerSize() const { return m_isCAF ? kCAFHeaderSize : kFormHeaderSize; }
  uint64_t chunkHeaderSize() const { return m_isCAF ? kCAFChunkHeaderSize : kFormChunkHeaderSize; }
  bool needsPad(uint64_t size) const { return !m_isCAF && size % 2 == 1; }

  bool isGapless() const {
    uint64_t position = headerSize();
    for (const AudioChunk& chunk : m_old.chunks) {
      if (chunk.headerOffset != position || chunk.dataOffset != position + chunkHeaderSize()) return false;
      position = chunk.dataOffset + chunk.size + (chunk.hasPad ? 1 : 0);
    }
    return position == m_old.chunksEnd && position <= m_bytes.size();
  }

  // Computes what a reader must find.
  bool measure(std::span<const PlannedChunk> chunks) {
    AudioFileContents& expected = m_layout.expected;
    expected.chunks.clear();
    uint64_t position = headerSize();
    for (const PlannedChunk& planned : chunks) {
      const uint64_t size = sizeOf(planned);
      AudioChunk chunk{.id = planned.id, .headerOffset = position, .dataOffset = position + chunkHeaderSize()};
      chunk.declaredSize = chunk.size = size;
      chunk.hasPad = needsPad(size);
      if (planned.kept && chunk.hasPad) chunk.pad = planned.kept->pad;
      expected.chunks.push_back(chunk);
      position = chunk.dataOffset + size + (chunk.hasPad ? 1 : 0);
    }
    expected.chunksEnd = position;
    if (m_isCAF) return true;
    expected.formSize = position - kFormSizeOrigin;
    return hasLongSizes(m_old.kind) || *expected.formSize <= kLargestFormSize;
  }

  bool addHeader() {
    if (m_isCAF) {
      m_splice.keep(0, kCAFHeaderSize);
      return true;
    }
    const auto oldSize = m_bytes.upTo(4, 4);
    if (!oldSize || oldSize->size() != 4) return false;
    const bool wasElsewhere = hasLongSizes(m_old.kind) && ByteReader(*oldSize, m_order).u32() == kSizeElsewhere;
    const uint64_t size = *m_layout.expected.formSize;
    ByteWriter writer(m_order);
    writer.u32(wasElsewhere || size > kLargestFormSize ? kSizeElsewhere : static_cast<uint32_t>(size));
    m_splice.keep(0, 4);
    m_splice.add(writer.take());
    m_splice.keep(8, 4);
    return true;
  }

  void addChunk(const PlannedChunk& chunk) {
    if (chunk.kept) {
      addKeptHeader(*chunk.kept);
      addKeptPayload(*chunk.kept);
    } else {
      addNewHeader(chunk.id, chunk.payload->size());
      m_splice.add(*chunk.payload);
    }
    if (!needsPad(sizeOf(chunk))) return;
    if (chunk.kept && chunk.kept->hasPad) {
      m_splice.keep(chunk.kept->dataOffset + chunk.kept->size, 1);
    } else {
      m_splice.add(std::vector{std::byte{0}});
    }
  }

  void addKeptHeader(const AudioChunk& chunk) {
    if (!isOfUnknownSize(chunk)) {
      m_splice.keep(chunk.headerOffset, chunkHeaderSize());
    } else {
      addNewHeader(chunk.id, hasLongSizes(m_old.kind) ? kSizeElsewhere : chunk.size);
    }
  }

  void addNewHeader(FourCC id, uint64_t size) {
    ByteWriter writer(m_order);
    writer.fourCC(id);
    if (m_isCAF) {
      writer.u64(size);
    } else {
      writer.u32(static_cast<uint32_t>(size));
    }
    m_splice.add(writer.take());
  }

  // "ds64" gets the sizes of the form and, where that was unknown, of the audio.
  void addKeptPayload(const AudioChunk& chunk) {
    uint64_t taken = 0;
    if (hasLongSizes(m_old.kind) && &chunk == m_old.chunks.data()) {
      ByteWriter writer(m_order);
      writer.u64(*m_layout.expected.formSize);
      const AudioChunk* audio = m_old.firstChunk(audioChunkID(m_old.kind));
      if (audio && isOfUnknownSize(*audio)) writer.u64(audio->size);
      const auto sizes = writer.take();
      m_splice.add(sizes);
      taken = sizes.size();
    }
    m_splice.keep(chunk.dataOffset + taken, chunk.size - taken);
  }

  const AudioFileContents& m_old;
  ByteSource& m_bytes;
  bool m_isCAF;
  std::endian m_order = std::endian::big;
  EditedLayout m_layout;
  Splice m_splice;
};

bool isSameChunk(const AudioChunk& one, const AudioChunk& other) {
  return one.id == other.id && one.headerOffset == other.headerOffset && one.dataOffset == other.dataOffset &&
         one.declaredSize == other.declaredSize && one.size == other.size && one.isCutOff == other.isCutOff &&
         one.hasPad == other.hasPad && one.pad == other.pad;
}

// To the bit, for a rate may be no number.
bool isSameFormat(const AudioFormat& one, const AudioFormat& other) {
  return std::bit_cast<uint64_t>(one.sampleRate) == std::bit_cast<uint64_t>(other.sampleRate) &&
         one.formatID == other.formatID && one.formatFlags == other.formatFlags &&
         one.bytesPerPacket == other.bytesPerPacket && one.framesPerPacket == other.framesPerPacket &&
         one.bytesPerFrame == other.bytesPerFrame && one.channelsPerFrame == other.channelsPerFrame &&
         one.bitsPerChannel == other.bitsPerChannel;
}

bool isSameTable(const std::optional<PacketTableInfo>& one, const std::optional<PacketTableInfo>& other) {
  if (!one || !other) return !one && !other;
  return one->validFrames == other->validFrames && one->primingFrames == other->primingFrames &&
         one->remainderFrames == other->remainderFrames;
}

}  // namespace

std::optional<EditedLayout> layOut(const AudioFileContents& old, ByteSource& bytes,
                                   std::span<const PlannedChunk> chunks, std::string& refusal) {
  return Layouter(old, bytes).layOut(chunks, refusal);
}

bool readsAs(const AudioFileContents& expected, const AudioFileContents& found) {
  return found.ambiguous.empty() && found.kind == expected.kind && found.formSize == expected.formSize &&
         found.chunksEnd == expected.chunksEnd && found.packetCount == expected.packetCount && found.format &&
         isSameFormat(*found.format, *expected.format) && isSameTable(found.packetTable, expected.packetTable) &&
         std::equal(found.chunks.begin(), found.chunks.end(), expected.chunks.begin(), expected.chunks.end(),
                    isSameChunk);
}

bool hasChunkLayout(ContainerKind kind) {
  return kind == ContainerKind::aiff || kind == ContainerKind::aifc || kind == ContainerKind::caf || isWAVKind(kind);
}

bool isWAVKind(ContainerKind kind) {
  return kind == ContainerKind::wav || kind == ContainerKind::rifx || hasLongSizes(kind);
}

bool hasLongSizes(ContainerKind kind) {
  return kind == ContainerKind::rf64 || kind == ContainerKind::bw64;
}

FourCC audioChunkID(ContainerKind kind) {
  return kind == ContainerKind::aiff || kind == ContainerKind::aifc ? FourCC("SSND") : FourCC("data");
}

}  // namespace vesk
