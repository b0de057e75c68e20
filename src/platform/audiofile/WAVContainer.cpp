// WAV, RF64 and BW64 (little-endian) and RIFX (big-endian).
//   "RIFF"  offset 0   uint32  size of what follows, pads included     offset 4   4 bytes  "WAVE"
//   "fmt "  offset 0   uint16  format tag                  offset 12  uint16  block align: bytes per frame or packet
//           offset 2   uint16  channels                    offset 14  uint16  bits per sample
//           offset 4   uint32  sample rate                 offset 16  uint16  size of the extension, when there is one
//           offset 8   uint32  bytes per second,           offset 18  uint16  frames per packet (ADPCM, GSM)
//                              not used                    offset 24  uint16  the real tag, when the tag is 0xFFFE
//   "ds64"  offset 0   uint64  form size                   offset 24  uint32  count of table entries
//           offset 8   uint64  size of "data"              offset 28  entries of 4 bytes id and uint64 size
//           offset 16  uint64  sample count, not used
//   "LIST"  offset 0   4 bytes "INFO", then chunks whose payloads are zero-terminated texts
// In RF64 and BW64 a 32-bit size of 0xFFFFFFFF means: see "ds64", which is the first chunk.
#include "platform/audiofile/ByteReader.h"
#include "platform/audiofile/ChunkWalk.h"
#include "platform/audiofile/Containers.h"

#include <algorithm>
#include <array>

namespace vesk {
namespace {

constexpr uint64_t kFirstChunkOffset = 12;
constexpr uint64_t kChunkHeaderSize = 8;
constexpr size_t kFormatSizeExtensible = 40;
constexpr size_t kLongSizesSize = 28;
constexpr size_t kLongSizesEntrySize = 12;
constexpr FourCC kFormatID = "fmt ";
constexpr FourCC kDataID = "data";
constexpr FourCC kLongSizesID = "ds64";
constexpr FourCC kListID = "LIST";
constexpr FourCC kInfoType = "INFO";

constexpr uint16_t kTagPCM = 1;
constexpr uint16_t kTagMicrosoftADPCM = 2;
constexpr uint16_t kTagFloat = 3;
constexpr uint16_t kTagALaw = 6;
constexpr uint16_t kTagULaw = 7;
constexpr uint16_t kTagIMAADPCM = 0x11;
constexpr uint16_t kTagGSM = 0x31;
constexpr uint16_t kTagExtensible = 0xFFFE;

std::endian orderOf(ContainerKind kind) {
  return kind == ContainerKind::rifx ? std::endian::big : std::endian::little;
}

struct FormatChunk {
  uint16_t tag = 0;
  uint16_t channels = 0;
  uint32_t rate = 0;
  uint16_t blockAlign = 0;
  uint16_t bits = 0;
  uint16_t framesPerPacket = 0;  // 0: the chunk does not say

  // nullopt when the chunk is too short.
  static std::optional<FormatChunk> decode(std::span<const std::byte> payload, std::endian order);
};

std::optional<FormatChunk> FormatChunk::decode(std::span<const std::byte> payload, std::endian order) {
  ByteReader reader(payload, order);
  FormatChunk format;
  format.tag = reader.u16();
  format.channels = reader.u16();
  format.rate = reader.u32();
  reader.skip(4);
  format.blockAlign = reader.u16();
  format.bits = reader.u16();
  if (reader.failed()) return std::nullopt;
  reader.skip(2);
  if (format.tag != kTagExtensible) {
    format.framesPerPacket = reader.u16();  // 0 when there is no extension
    return format;
  }
  reader.skip(6);
  const uint16_t realTag = reader.u16();
  if (!reader.failed()) format.tag = realTag;
  return format;
}

// Formats without an id of their own are "ms" and the tag's two bytes, the higher one first.
FourCC formatIDOf(uint16_t tag) {
  if (tag == kTagPCM || tag == kTagFloat) return "lpcm";
  if (tag == kTagALaw) return "alaw";
  if (tag == kTagULaw) return "ulaw";
  FourCC id = "ms  ";
  id.code[2] = static_cast<char>(tag >> 8);
  id.code[3] = static_cast<char>(tag & 0xFF);
  return id;
}

uint32_t linearFlags(const FormatChunk& chunk, std::endian order) {
  uint32_t flags = order == std::endian::big ? AudioFormat::kIsBigEndian : 0;
  flags |= chunk.bits % 8 == 0 ? AudioFormat::kIsPacked : AudioFormat::kIsAlignedHigh;
  if (chunk.tag == kTagFloat) return flags | AudioFormat::kIsFloat;
  return chunk.bits > 8 ? flags | AudioFormat::kIsSignedInteger : flags;  // up to 8 bits are unsigned
}

AudioFormat formatOf(const FormatChunk& chunk, std::endian order) {
  AudioFormat format;
  format.sampleRate = chunk.rate;
  format.formatID = formatIDOf(chunk.tag);
  format.bytesPerPacket = chunk.blockAlign;
  format.channelsPerFrame = chunk.channels;
  format.bitsPerChannel = chunk.bits;
  if (format.formatID == FourCC("lpcm")) format.formatFlags = linearFlags(chunk, order);
  const bool hasFrames =
      chunk.tag == kTagPCM || chunk.tag == kTagFloat || chunk.tag == kTagALaw || chunk.tag == kTagULaw;
  if (hasFrames) {
    format.framesPerPacket = 1;
    format.bytesPerFrame = chunk.blockAlign;
  } else if (chunk.tag == kTagMicrosoftADPCM || chunk.tag == kTagIMAADPCM || chunk.tag == kTagGSM) {
    format.framesPerPacket = chunk.framesPerPacket;
  }
  return format;
}

// What the form says of its own size, and the sizes that "ds64" gives for others.
struct FormSizes {
  uint64_t formSize = 0;
  LongSizes longSizes;
  bool lacksLongSizes = false;  // an RF64 or BW64 file without a "ds64" at its place
};

FormSizes readFormSizes(ByteSource& bytes, ContainerKind kind) {
  FormSizes sizes;
  const std::endian order = orderOf(kind);
  if (const auto size = bytes.upTo(4, 4)) sizes.formSize = ByteReader(*size, order).u32();
  if (kind != ContainerKind::rf64 && kind != ContainerKind::bw64) return sizes;

  sizes.lacksLongSizes = true;
  const auto header = bytes.upTo(kFirstChunkOffset, kChunkHeaderSize);
  if (!header) return sizes;
  ByteReader headerReader(*header, order);
  if (headerReader.fourCC() != kLongSizesID) return sizes;
  const uint64_t mostNeeded = kLongSizesSize + kMaximumChunkCount * kLongSizesEntrySize;
  const uint64_t size = std::min<uint64_t>(headerReader.u32(), mostNeeded);
  const auto payload = bytes.upTo(kFirstChunkOffset + kChunkHeaderSize, size);
  if (!payload) return sizes;
  ByteReader reader(*payload, order);
  const uint64_t formSize = reader.u64();
  const uint64_t dataSize = reader.u64();
  reader.skip(8);
  if (reader.failed()) return sizes;
  sizes.lacksLongSizes = false;
  if (sizes.formSize == kSizeElsewhere) sizes.formSize = formSize;
  sizes.longSizes.emplace(kDataID, dataSize);
  const uint32_t entryCount = reader.u32();
  for (uint32_t i = 0; i < entryCount && reader.left() >= kLongSizesEntrySize; ++i) {
    const FourCC id = reader.fourCC();
    sizes.longSizes.emplace(id, reader.u64());
  }
  return sizes;
}

// Where every block is a frame it has room for each channel's bits, in whole bytes.
void noteBlocks(const FormatChunk& chunk, AudioFileContents& contents) {
  const uint32_t frameSize = chunk.channels * ((chunk.bits + 7u) / 8);
  const bool isFrame = contents.format->bytesPerFrame != 0;
  if (chunk.blockAlign == 0) {
    contents.noteBenign("its packets have no size");
  } else if (isFrame && chunk.blockAlign != frameSize) {
    contents.noteBenign("the block size does not match channels and bits");
  }
}

void noteAudio(const ByteSource& bytes, AudioFileContents& contents) {
  noteDoubles(kFormatID, kDataID, contents);
  const AudioChunk* data = contents.firstChunk(kDataID);
  if (!data) {
    contents.noteAmbiguous("it has no audio chunk");
  } else if (data->declaredSize == 0 && data->dataOffset < bytes.size()) {
    contents.noteAmbiguous("the audio chunk says that it is empty, but bytes follow it");
  }
}

// What is there of the audio, in blocks. The result is part of a loop's identity: changing the rule gives loops of
// existing libraries other ids.
std::optional<int64_t> packetCountOf(const AudioFileContents& contents) {
  const AudioChunk* data = contents.firstChunk(kDataID);
  if (contents.format->bytesPerPacket == 0) return std::nullopt;
  return data ? static_cast<int64_t>(data->size / contents.format->bytesPerPacket) : 0;
}

const char* infoKeyFor(FourCC id) {
  struct Key {
    FourCC id;
    const char* key;
  };
  static constexpr std::array kKeys = {
      Key{"INAM", "title"}, Key{"IART", "artist"}, Key{"ICMT", "comments"}, Key{"ICOP", "copyright"},
      Key{"IPRD", "album"}, Key{"IGNR", "genre"},  Key{"ICRD", "date"},     Key{"ISFT", "encoder"},
  };
  const auto found = std::find_if(kKeys.begin(), kKeys.end(), [&](const Key& key) { return key.id == id; });
  return found == kKeys.end() ? nullptr : found->key;
}

std::string textOf(ByteSource& bytes, const AudioChunk& chunk, bool& isCut) {
  const auto payload = bytes.upTo(chunk.dataOffset, std::min<uint64_t>(chunk.size, kMaximumTextSize + 1));
  if (!payload || payload->empty()) return {};
  const std::string_view text(reinterpret_cast<const char*>(payload->data()), payload->size());
  return infoText(text.substr(0, text.find('\0')), isCut);
}

// False when the list is of another type.
bool addInfoList(ByteSource& bytes, const AudioChunk& list, std::endian order, InfoDictionary& dictionary,
                 bool& isCut) {
  if (list.size < 4 || list.isCutOff) return false;
  const auto type = bytes.upTo(list.dataOffset, 4);
  if (!type || FourCC::fromBytes(type->data()) != kInfoType) return false;
  ChunkRun run{.order = order, .begin = list.dataOffset + 4, .end = list.dataOffset + list.size};
  run.declaredEnd = run.end;
  AudioFileContents texts;
  std::string refusal;
  walkChunks(bytes, std::move(run), texts, refusal);  // a list that is too long is read as far as the walk went
  for (const AudioChunk& chunk : texts.chunks) {
    if (const char* key = infoKeyFor(chunk.id)) addInfo(dictionary, key, textOf(bytes, chunk, isCut));
  }
  return true;
}

}  // namespace

std::optional<AudioFileContents> readWAV(ByteSource& bytes, ContainerKind kind, std::string& refusal) {
  const std::endian order = orderOf(kind);
  FormSizes sizes = readFormSizes(bytes, kind);
  AudioFileContents contents{.kind = kind};
  if (sizes.lacksLongSizes) contents.noteAmbiguous("its 64-bit sizes (ds64) are missing");
  const Form form{
      .order = order, .formSize = sizes.formSize, .audioID = kDataID, .longSizes = std::move(sizes.longSizes)};
  if (!walkForm(bytes, form, contents, refusal)) return std::nullopt;

  const AudioChunk* chunk = contents.firstChunk(kFormatID);
  if (!chunk) {
    refusal = "it has no format chunk (fmt)";
    return std::nullopt;
  }
  const auto payload = bytes.upTo(chunk->dataOffset, std::min<uint64_t>(chunk->size, kFormatSizeExtensible));
  const auto format = payload ? FormatChunk::decode(*payload, order) : std::nullopt;
  if (!format) {
    refusal = "its format chunk (fmt) is too short";
    return std::nullopt;
  }
  contents.format = formatOf(*format, order);
  contents.packetCount = packetCountOf(contents);
  noteBlocks(*format, contents);
  noteAudio(bytes, contents);
  return contents;
}

std::optional<InfoDictionary> wavInfo(ByteSource& bytes, const AudioFileContents& contents, bool& isCut) {
  InfoDictionary dictionary;
  bool hasInfo = false;
  for (const AudioChunk& chunk : contents.chunks) {
    if (chunk.id != kListID) continue;
    if (addInfoList(bytes, chunk, orderOf(contents.kind), dictionary, isCut)) hasInfo = true;
  }
  if (!hasInfo) return std::nullopt;
  return dictionary;
}

}  // namespace vesk
