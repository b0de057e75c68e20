// Sound Designer II: the data fork is headerless big-endian PCM; the resource fork holds the parameters as "STR "
// resources, each a text with its length in the first byte: 1000 the sample size in bytes, 1001 the sample rate, 1002
// the channels. Where there are no forks it stands in a file of its own, bare or inside an AppleDouble file. Numbers
// are big-endian.
//   AppleDouble   offset 0   uint32  0x00051607                     offset 26  entries of uint32 id (2: resource fork),
//                 offset 24  uint16  count of entries                          uint32 offset and uint32 length
//   resource fork offset 0   uint32  offset of the data             offset 8   uint32  length of the data
//                 offset 4   uint32  offset of the map              offset 12  uint32  length of the map
//   map           offset 24  uint16  offset of the type list, from the map's start
//   type list     offset 0   uint16  count of types - 1, then for each 4 bytes type, uint16 count of resources - 1 and
//                            uint16 offset of its references, from the list's start
//   reference     offset 0   int16   id                             offset 4   uint32  attributes in the upper 8 bits,
//                 offset 2   uint16  name                                      offset in the data in the lower 24
//                                                                   offset 8   uint32  reserved
//   resource      offset 0   uint32  length                         offset 4   the bytes
#include "platform/audiofile/ByteReader.h"
#include "platform/audiofile/Containers.h"

#include <algorithm>
#include <charconv>
#include <map>

namespace vesk {
namespace {

constexpr uint32_t kAppleDoubleMagic = 0x00051607;
constexpr uint32_t kResourceForkEntry = 2;
constexpr uint64_t kAppleDoubleHeaderSize = 26;
constexpr uint64_t kAppleDoubleEntrySize = 12;
constexpr uint64_t kForkHeaderSize = 16;
constexpr uint64_t kTypeListOffsetInMap = 24;
constexpr uint64_t kTypeSize = 8;
constexpr uint64_t kReferenceSize = 12;
constexpr FourCC kStringType = "STR ";
constexpr int kSampleSizeID = 1000;
constexpr int kRateID = 1001;
constexpr int kChannelsID = 1002;
constexpr size_t kParameterCount = 3;

// A part of the file that holds the fork. Reads outside it answer nothing.
struct Extent {
  ByteSource* bytes;  // borrowed
  uint64_t offset = 0;
  uint64_t size = 0;

  std::vector<std::byte> read(uint64_t position, uint64_t count) const {
    if (position > size || count > size - position) return {};
    return bytes->upTo(offset + position, count).value_or(std::vector<std::byte>{});
  }
  // The part from `position` on; `count` bytes that are not all there leave an empty one.
  Extent part(uint64_t position, uint64_t count) const {
    if (position > size || count > size - position) return {bytes, offset, 0};
    return {bytes, offset + position, count};
  }
};

uint16_t u16At(const Extent& extent, uint64_t position) {
  return ByteReader(extent.read(position, 2), std::endian::big).u16();
}

// The bare fork, or the one inside an AppleDouble file.
Extent findFork(ByteSource& bytes) {
  const Extent file{&bytes, 0, bytes.size()};
  const auto header = file.read(0, kAppleDoubleHeaderSize);
  ByteReader reader(header, std::endian::big);
  if (header.empty() || reader.u32() != kAppleDoubleMagic) return file;
  const uint16_t entryCount = u16At(file, 24);
  for (uint16_t i = 0; i < entryCount; ++i) {
    const auto entry = file.read(kAppleDoubleHeaderSize + i * kAppleDoubleEntrySize, kAppleDoubleEntrySize);
    ByteReader entryReader(entry, std::endian::big);
    if (entryReader.u32() != kResourceForkEntry) continue;
    const uint32_t offset = entryReader.u32();
    const uint32_t length = entryReader.u32();
    return file.part(offset, length);
  }
  return file.part(0, 0);
}

// The text of the resource whose reference is given: its bytes start at `offset` of the fork's data.
std::string resourceText(const Extent& data, uint64_t offset) {
  const auto lengths = data.read(offset, 5);  // of the resource and of its text
  ByteReader reader(lengths, std::endian::big);
  const uint32_t resourceSize = reader.u32();
  const uint8_t textSize = reader.u8();
  if (reader.failed() || resourceSize == 0 || textSize > resourceSize - 1) return {};
  const auto text = data.read(offset + lengths.size(), textSize);
  return std::string(reinterpret_cast<const char*>(text.data()), text.size());
}

// The texts of the fork's "STR " resources with the three ids; empty when it is no resource fork.
std::map<int, std::string> parameterTexts(const Extent& fork) {
  const auto header = fork.read(0, kForkHeaderSize);
  ByteReader reader(header, std::endian::big);
  const uint32_t dataOffset = reader.u32();
  const uint32_t mapOffset = reader.u32();
  const uint32_t dataSize = reader.u32();
  const uint32_t mapSize = reader.u32();
  if (reader.failed()) return {};
  const Extent data = fork.part(dataOffset, dataSize);
  const Extent map = fork.part(mapOffset, mapSize);
  const uint64_t typeList = u16At(map, kTypeListOffsetInMap);
  const uint32_t typeCount = uint32_t{u16At(map, typeList)} + 1;

  std::map<int, std::string> texts;
  for (uint32_t i = 0; i < typeCount; ++i) {
    const auto type = map.read(typeList + 2 + i * kTypeSize, kTypeSize);
    ByteReader typeReader(type, std::endian::big);
    if (typeReader.fourCC() != kStringType) continue;
    const uint32_t count = uint32_t{typeReader.u16()} + 1;
    const uint64_t references = typeList + typeReader.u16();
    for (uint32_t k = 0; k < count; ++k) {
      const auto reference = map.read(references + k * kReferenceSize, kReferenceSize);
      ByteReader referenceReader(reference, std::endian::big);
      const int id = referenceReader.s16();
      referenceReader.skip(2);
      const uint32_t offset = referenceReader.u32() & 0x00FFFFFF;
      const bool isWanted = !referenceReader.failed() && id >= kSampleSizeID && id <= kChannelsID;
      if (isWanted) texts.emplace(id, resourceText(data, offset));
    }
    break;
  }
  return texts;
}

// The whole text as a number, blanks around it allowed.
template <typename Number>
std::optional<Number> numberOf(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\0')) text.remove_suffix(1);
  Number number{};
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (failure != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return number;
}

}  // namespace

bool isSoundDesigner2Fork(ByteSource& fork) {
  return parameterTexts(findFork(fork)).size() == kParameterCount;
}

std::optional<AudioFileContents> readSoundDesigner2(const ByteSource& bytes, ByteSource& fork, std::string& refusal) {
  const auto texts = parameterTexts(findFork(fork));
  const auto sampleSize = numberOf<uint32_t>(texts.at(kSampleSizeID));
  const auto rate = numberOf<double>(texts.at(kRateID));
  const auto channels = numberOf<uint32_t>(texts.at(kChannelsID));
  const bool isSensible =
      sampleSize && rate && channels && *sampleSize >= 1 && *sampleSize <= 8 && *channels >= 1 && *channels <= 65535;
  if (!isSensible) {
    refusal = "its resource fork gives no sensible format";
    return std::nullopt;
  }
  AudioFormat format;
  format.sampleRate = *rate;
  format.formatID = "lpcm";
  format.formatFlags = AudioFormat::kIsBigEndian | AudioFormat::kIsSignedInteger | AudioFormat::kIsPacked;
  format.bytesPerFrame = *sampleSize * *channels;
  format.bytesPerPacket = format.bytesPerFrame;
  format.framesPerPacket = 1;
  format.channelsPerFrame = *channels;
  format.bitsPerChannel = 8 * *sampleSize;

  AudioFileContents contents{.kind = ContainerKind::soundDesigner2};
  contents.format = format;
  contents.packetCount = static_cast<int64_t>(bytes.size() / format.bytesPerFrame);
  return contents;
}

}  // namespace vesk
