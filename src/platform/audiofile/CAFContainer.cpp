// Core Audio Format. Numbers are big-endian; chunks stand back to back without padding.
//   "caff"  offset 4   uint16   version, 1                        offset 6   uint16  flags, 0
//   chunk   offset 0   4 bytes  type                              offset 4   int64   payload size; -1 in "data" only:
//                                                                                    to the end
//   "desc"  offset 0   float64  sample rate                       offset 16  uint32  bytes per packet, 0: variable
//           offset 8   4 bytes  format                            offset 20  uint32  frames per packet, 0: variable
//           offset 12  uint32   flags (lpcm: 1 float,             offset 24  uint32  channels
//                               2 little-endian)                  offset 28  uint32  bits per channel
//   "data"  offset 0   uint32   edit count                        offset 4   the audio
//   "pakt"  offset 0   int64    packets                           offset 16  int32   priming frames
//           offset 8   int64    valid frames                      offset 20  int32   remainder frames; then a table
//   "info"  offset 0   uint32   count                             offset 4   count pairs of zero-terminated texts
#include "platform/audiofile/ByteReader.h"
#include "platform/audiofile/ByteWriter.h"
#include "platform/audiofile/ChunkWalk.h"
#include "platform/audiofile/Containers.h"

#include <algorithm>
#include <array>

namespace vesk {
namespace {

constexpr uint64_t kFileHeaderSize = 8;
constexpr uint64_t kChunkHeaderSize = 12;
constexpr uint64_t kEditCountSize = 4;
constexpr size_t kDescriptionSize = 32;
constexpr size_t kPacketTableHeaderSize = 24;
constexpr size_t kInfoCountSize = 4;
constexpr uint64_t kMaximumInfoSize = uint64_t{1} << 20;  // a longer "info" is read as far as this
constexpr FourCC kDescriptionID = "desc";
constexpr FourCC kDataID = "data";
constexpr FourCC kPacketTableID = "pakt";
constexpr FourCC kInfoID = "info";
constexpr FourCC kLinearPCM = "lpcm";
constexpr uint32_t kFileFlagFloat = 1;
constexpr uint32_t kFileFlagLittleEndian = 2;

struct PacketTableHeader {
  int64_t packets = 0;
  PacketTableInfo info;
};

// The first `size` bytes of the first chunk with this id, or fewer when there are fewer; nullopt without such a chunk.
std::optional<std::vector<std::byte>> headOf(ByteSource& bytes, const AudioFileContents& contents, FourCC id,
                                             uint64_t size) {
  const AudioChunk* chunk = contents.firstChunk(id);
  if (!chunk) return std::nullopt;
  return bytes.upTo(chunk->dataOffset, std::min(chunk->size, size));
}

// The header at `position`; nullopt when there is no room for one, or it is none.
std::optional<AudioChunk> chunkAt(ByteSource& bytes, uint64_t position) {
  std::array<std::byte, kChunkHeaderSize> header;
  if (!bytes.read(position, header)) return std::nullopt;
  ByteReader reader(header, std::endian::big);
  AudioChunk chunk{.id = reader.fourCC(), .headerOffset = position, .dataOffset = position + kChunkHeaderSize};
  const int64_t size = reader.s64();
  const bool reachesToEnd = size == -1 && chunk.id == kDataID;
  if (!chunk.id.isPrintable() || (size < 0 && !reachesToEnd)) return std::nullopt;
  chunk.declaredSize = static_cast<uint64_t>(size);
  chunk.size = std::min(chunk.declaredSize, bytes.size() - chunk.dataOffset);
  return chunk;
}

bool walk(ByteSource& bytes, AudioFileContents& contents, std::string& refusal) {
  uint64_t position = kFileHeaderSize;
  while (auto chunk = chunkAt(bytes, position)) {
    noteSize(*chunk, kDataID, chunk->declaredSize == kSizeUnknown64, contents);
    if (!appendChunk(*chunk, contents, refusal)) return false;
    position = chunk->dataOffset + chunk->size;
  }
  contents.chunksEnd = position;
  noteStrayBytes(bytes.size(), kChunkHeaderSize, contents);
  return true;
}

// There is a format chunk.
void noteLayout(AudioFileContents& contents) {
  if (contents.chunks.front().id != kDescriptionID) contents.noteAmbiguous("the format is not its first chunk");
  noteDoubles(kDescriptionID, kDataID, contents);
  const AudioChunk* data = contents.firstChunk(kDataID);
  if (!data) contents.noteAmbiguous("it has no audio chunk");
  if (data && data->size < kEditCountSize) contents.noteAmbiguous("the audio chunk is shorter than its own header");
}

std::optional<AudioFormat> formatOf(std::span<const std::byte> description) {
  ByteReader reader(description, std::endian::big);
  AudioFormat format;
  format.sampleRate = reader.f64();
  format.formatID = reader.fourCC();
  const uint32_t flags = reader.u32();
  format.bytesPerPacket = reader.u32();
  format.framesPerPacket = reader.u32();
  format.channelsPerFrame = reader.u32();
  format.bitsPerChannel = reader.u32();
  if (reader.failed()) return std::nullopt;
  format.bytesPerFrame = format.framesPerPacket == 1 ? format.bytesPerPacket : 0;
  format.formatFlags = flags;
  if (format.formatID != kLinearPCM) return format;
  const uint64_t usedBits = uint64_t{format.channelsPerFrame} * format.bitsPerChannel;
  const bool isPacked = usedBits == 8 * uint64_t{format.bytesPerFrame};
  format.formatFlags = (flags & kFileFlagFloat) != 0 ? AudioFormat::kIsFloat : AudioFormat::kIsSignedInteger;
  format.formatFlags |= (flags & kFileFlagLittleEndian) != 0 ? 0 : AudioFormat::kIsBigEndian;
  format.formatFlags |= isPacked ? AudioFormat::kIsPacked : AudioFormat::kIsAlignedHigh;
  return format;
}

std::optional<PacketTableHeader> packetTableHeader(ByteSource& bytes, const AudioFileContents& contents) {
  const auto payload = headOf(bytes, contents, kPacketTableID, kPacketTableHeaderSize);
  if (!payload) return std::nullopt;
  ByteReader reader(*payload, std::endian::big);
  PacketTableHeader header;
  header.packets = reader.s64();
  header.info.validFrames = reader.s64();
  header.info.primingFrames = reader.s32();
  header.info.remainderFrames = reader.s32();
  if (reader.failed()) return std::nullopt;
  return header;
}

// As many packets as the audio that is there can hold: of one byte each where their size varies.
int64_t greatestPacketCount(const AudioFileContents& contents) {
  const AudioChunk* data = contents.firstChunk(kDataID);
  const uint64_t audioSize = data ? data->size - std::min(data->size, kEditCountSize) : 0;
  return static_cast<int64_t>(audioSize / std::max(contents.format->bytesPerPacket, 1u));
}

std::optional<int64_t> packetCountOf(const AudioFileContents& contents, const std::optional<PacketTableHeader>& table) {
  const int64_t greatest = greatestPacketCount(contents);
  if (table && table->packets > 0 && table->packets <= greatest) return table->packets;
  if (!contents.firstChunk(kDataID) || contents.format->bytesPerPacket == 0) return std::nullopt;
  return greatest;
}

// Whether the table's figures can be true: none is negative, the audio has room for the packets and, where these have a
// known length, all frames together are those of the packets.
bool isSane(const PacketTableHeader& table, const AudioFileContents& contents) {
  const PacketTableInfo& info = table.info;
  if (table.packets < 0 || info.validFrames < 0 || info.primingFrames < 0 || info.remainderFrames < 0) return false;
  if (table.packets > greatestPacketCount(contents)) return false;
  const uint32_t framesPerPacket = contents.format->framesPerPacket;
  if (framesPerPacket == 0 || !contents.packetCount) return true;
  const uint64_t frames = static_cast<uint64_t>(info.validFrames) + static_cast<uint64_t>(info.primingFrames) +
                          static_cast<uint64_t>(info.remainderFrames);  // below 2^63 + 2^32
  const auto packets = static_cast<uint64_t>(*contents.packetCount);
  return frames % framesPerPacket == 0 && frames / framesPerPacket == packets;
}

// The text up to the next zero, or to the end; nullopt when nothing is left.
std::optional<std::string_view> takeText(std::string_view& texts) {
  if (texts.empty()) return std::nullopt;
  const size_t end = texts.find('\0');
  const std::string_view text = texts.substr(0, end);
  texts.remove_prefix(end == std::string_view::npos ? texts.size() : end + 1);
  return text;
}

// The pairs of an info payload, and what stands behind them. Borrows the payload, and the texts of edits.
class InfoPairs {
 public:
  explicit InfoPairs(std::span<const std::byte> payload) {
    if (payload.size() < kInfoCountSize) return;
    const uint32_t count = ByteReader(payload, std::endian::big).u32();
    m_rest = std::string_view(reinterpret_cast<const char*>(payload.data()), payload.size());
    m_rest.remove_prefix(kInfoCountSize);
    for (uint32_t i = 0; i < count; ++i) {
      std::string_view left = m_rest;
      const auto key = takeText(left);
      const auto value = takeText(left);
      if (!key || !value) break;
      m_pairs.push_back({*key, *value});
      m_rest = left;
    }
  }

  const auto& pairs() const { return m_pairs; }

  // What the key reads as: its first value that is not empty; nullopt when it is not there.
  std::optional<std::string> valueOf(std::string_view key) const {
    std::optional<std::string> found;
    bool isCut = false;
    for (const auto& [held, value] : m_pairs) {
      if (held == key && (!found || found->empty())) found = infoText(value, isCut);
    }
    return found;
  }

  void set(const std::string& key, const std::optional<std::string>& value) {
    const auto isKey = [&](const Pair& pair) { return pair.key == key; };
    auto first = std::find_if(m_pairs.begin(), m_pairs.end(), isKey);
    if (value) {
      if (first == m_pairs.end()) first = m_pairs.insert(first, {key, {}});
      first->value = *value;
      ++first;
    }
    m_pairs.erase(std::remove_if(first, m_pairs.end(), isKey), m_pairs.end());
  }

  std::vector<std::byte> encode() const {
    ByteWriter writer(std::endian::big);
    writer.u32(static_cast<uint32_t>(m_pairs.size()));
    for (const auto& [key, value] : m_pairs) {
      for (const std::string_view text : {key, value}) {
        writer.raw(std::as_bytes(std::span(text)));
        writer.zeros(1);
      }
    }
    writer.raw(std::as_bytes(std::span(m_rest)));
    return writer.take();
  }

 private:
  struct Pair {
    std::string_view key;
    std::string_view value;
  };
  std::vector<Pair> m_pairs;
  std::string_view m_rest;
};

}  // namespace

std::optional<AudioFileContents> readCAF(ByteSource& bytes, std::string& refusal) {
  const auto header = bytes.upTo(0, kFileHeaderSize);
  if (!header) return std::nullopt;
  ByteReader reader(*header, std::endian::big);
  reader.skip(4);
  const uint16_t version = reader.u16();
  reader.skip(2);
  if (reader.failed() || version != 1) {
    refusal = reader.failed() ? "it ends inside its header" : "it is a CAF file of an unknown version";
    return std::nullopt;
  }
  AudioFileContents contents{.kind = ContainerKind::caf};
  if (!walk(bytes, contents, refusal)) return std::nullopt;
  const auto description = headOf(bytes, contents, kDescriptionID, kDescriptionSize);
  contents.format = description ? formatOf(*description) : std::nullopt;
  if (!contents.format) {
    refusal = description ? "its format chunk (desc) is too short" : "it has no format chunk (desc)";
    return std::nullopt;
  }
  noteLayout(contents);
  // The rule of these counts is part of a loop's identity: changing it gives loops of existing libraries other ids.
  const auto table = packetTableHeader(bytes, contents);
  contents.packetCount = packetCountOf(contents, table);
  if (table && isSane(*table, contents)) contents.packetTable = table->info;
  if (table && !contents.packetTable) contents.noteBenign("the packet table does not match the audio");
  return contents;
}

std::optional<InfoDictionary> cafInfo(ByteSource& bytes, const AudioFileContents& contents, bool& isCut) {
  const AudioChunk* chunk = contents.firstChunk(kInfoID);
  if (!chunk || chunk->isCutOff) return std::nullopt;
  const auto payload = headOf(bytes, contents, kInfoID, kMaximumInfoSize);
  if (!payload || payload->size() < kInfoCountSize) return std::nullopt;
  if (chunk->size > kMaximumInfoSize) isCut = true;
  InfoDictionary dictionary;
  const InfoPairs info(*payload);
  for (const auto& [key, value] : info.pairs()) {
    addInfo(dictionary, infoText(key, isCut), infoText(value, isCut));
  }
  const auto comment = dictionary.find("comment");
  if (comment != dictionary.end() && !dictionary.contains("comments")) dictionary["comments"] = comment->second;
  return dictionary;
}

std::optional<std::vector<std::byte>> mergedCAFInfo(std::span<const std::byte> payload,
                                                    std::span<const InfoEdit> edits) {
  InfoPairs pairs(payload);
  bool isChanged = false;
  for (const auto& [key, value] : edits) {
    if (pairs.valueOf(key) == value) continue;
    pairs.set(key, value);
    isChanged = true;
  }
  if (!isChanged) return std::nullopt;
  return pairs.encode();
}

}  // namespace vesk
