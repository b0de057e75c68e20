// AIFF and AIFF-C. Numbers are big-endian.
//   "FORM"  offset 0  uint32  size of what follows, pads included     offset 4   4 bytes  "AIFF" or "AIFC"
//   "COMM"  offset 0  int16   channels                                offset 8   80-bit   sample rate
//           offset 2  uint32  frames (ima4: says nothing)             offset 18  4 bytes  codec, AIFF-C only;
//           offset 6  int16   bits per sample                                             a name follows
//   "SSND"  offset 0  uint32  offset of the first frame               offset 8   filler, then the frames
//           offset 4  uint32  block size, not used
#include "platform/audiofile/ByteReader.h"
#include "platform/audiofile/ChunkWalk.h"
#include "platform/audiofile/Containers.h"

#include <algorithm>
#include <array>

namespace vesk {
namespace {

constexpr size_t kCommonSizeWithCodec = 22;
constexpr uint64_t kSoundHeaderSize = 8;
constexpr uint32_t kIMA4BytesPerChannel = 34;
constexpr uint32_t kIMA4FramesPerPacket = 64;
constexpr FourCC kCommonID = "COMM";
constexpr FourCC kSoundID = "SSND";
constexpr FourCC kLinearPCM = "lpcm";
constexpr FourCC kIMA4 = "ima4";

struct CommonChunk {
  int16_t channels = 0;
  uint32_t frames = 0;
  int16_t bits = 0;
  double rate = 0;
  FourCC codec = "NONE";

  // nullopt when the chunk is too short. A codec that AIFF-C leaves out is none.
  static std::optional<CommonChunk> decode(std::span<const std::byte> payload, bool mayHaveCodec);
};

std::optional<CommonChunk> CommonChunk::decode(std::span<const std::byte> payload, bool mayHaveCodec) {
  ByteReader reader(payload, std::endian::big);
  CommonChunk common;
  common.channels = reader.s16();
  common.frames = reader.u32();
  common.bits = reader.s16();
  common.rate = reader.f80();
  if (reader.failed()) return std::nullopt;
  if (mayHaveCodec && reader.left() >= 4) common.codec = reader.fourCC();
  return common;
}

// Codecs with one frame in a packet.
struct Codec {
  FourCC code;
  FourCC formatID;
  uint32_t flags = 0;
  uint32_t bytesPerSample = 0;  // 0: as many as the bits fill
};

constexpr uint32_t kSigned = AudioFormat::kIsSignedInteger;
constexpr uint32_t kBig = AudioFormat::kIsBigEndian;
constexpr uint32_t kFloat = AudioFormat::kIsFloat;

const Codec* codecFor(FourCC code) {
  static constexpr std::array kCodecs = {
      Codec{"NONE", kLinearPCM, kSigned | kBig, 0},
      Codec{"twos", kLinearPCM, kSigned | kBig, 0},
      Codec{"sowt", kLinearPCM, kSigned, 0},
      Codec{"in24", kLinearPCM, kSigned | kBig, 3},
      Codec{"in32", kLinearPCM, kSigned | kBig, 4},
      Codec{"raw ", kLinearPCM, 0, 1},
      Codec{"fl32", kLinearPCM, kFloat | kBig, 4},
      Codec{"FL32", kLinearPCM, kFloat | kBig, 4},
      Codec{"fl64", kLinearPCM, kFloat | kBig, 8},
      Codec{"FL64", kLinearPCM, kFloat | kBig, 8},
      Codec{"alaw", "alaw", 0, 1},
      Codec{"ALAW", "alaw", 0, 1},
      Codec{"ulaw", "ulaw", 0, 1},
      Codec{"ULAW", "ulaw", 0, 1},
  };
  const auto found =
      std::find_if(kCodecs.begin(), kCodecs.end(), [&](const Codec& codec) { return codec.code == code; });
  return found == kCodecs.end() ? nullptr : &*found;
}

AudioFormat formatOf(const CommonChunk& common) {
  AudioFormat format;
  format.sampleRate = common.rate;
  format.formatID = common.codec;
  format.framesPerPacket = 1;  // also for codecs that are not known: COMM counts their frames
  format.channelsPerFrame = static_cast<uint32_t>(std::max<int16_t>(common.channels, 0));
  if (common.codec == kIMA4) {
    format.framesPerPacket = kIMA4FramesPerPacket;
    format.bytesPerPacket = kIMA4BytesPerChannel * format.channelsPerFrame;
    return format;
  }
  const Codec* codec = codecFor(common.codec);
  if (!codec) return format;
  const auto bits = static_cast<uint32_t>(std::max<int16_t>(common.bits, 0));
  const uint32_t bytesPerSample = codec->bytesPerSample != 0 ? codec->bytesPerSample : (bits + 7) / 8;
  format.formatID = codec->formatID;
  format.bitsPerChannel = codec->bytesPerSample != 0 ? 8 * codec->bytesPerSample : bits;
  format.bytesPerFrame = bytesPerSample * format.channelsPerFrame;
  format.bytesPerPacket = format.bytesPerFrame;
  format.formatFlags = codec->flags;
  if (format.formatID == kLinearPCM) {
    format.formatFlags |= format.bitsPerChannel % 8 == 0 ? AudioFormat::kIsPacked : AudioFormat::kIsAlignedHigh;
  }
  return format;
}

// Bytes of frames that are there: behind the chunk's header and filler.
uint64_t audioBytes(ByteSource& bytes, AudioFileContents& contents) {
  const AudioChunk* sound = contents.firstChunk(kSoundID);
  if (!sound) return 0;
  const auto header = bytes.upTo(sound->dataOffset, std::min(sound->size, kSoundHeaderSize));
  const bool isWhole = header && header->size() == kSoundHeaderSize;
  const uint64_t filler = isWhole ? ByteReader(*header, std::endian::big).u32() : 0;
  if (!isWhole || filler > sound->size - kSoundHeaderSize) {
    contents.noteAmbiguous("the audio chunk is shorter than its own header");
    return 0;
  }
  return sound->size - kSoundHeaderSize - filler;
}

// The smaller of what COMM says and what is there. Of ima4 only what is there: some writers count packets of all
// channels, some those of one, some frames. The result is part of a loop's identity: changing the rule gives
// loops of existing libraries other ids.
std::optional<int64_t> packetCountOf(const CommonChunk& common, const AudioFormat& format, uint64_t audioSize) {
  const bool isIMA4 = common.codec == kIMA4;
  if (!isIMA4 && !codecFor(common.codec)) return common.frames;
  if (format.bytesPerPacket == 0) return std::nullopt;
  const uint64_t packetsThere = audioSize / format.bytesPerPacket;
  return static_cast<int64_t>(isIMA4 ? packetsThere : std::min<uint64_t>(common.frames, packetsThere));
}

void noteAudio(const CommonChunk& common, uint64_t audioSize, AudioFileContents& contents) {
  noteDoubles(kCommonID, kSoundID, contents);
  if (!contents.firstChunk(kSoundID)) {
    if (common.frames > 0) contents.noteAmbiguous("it has no audio chunk");
    return;
  }
  const uint32_t bytesPerFrame = contents.format->bytesPerFrame;
  if (bytesPerFrame != 0 && audioSize / bytesPerFrame != common.frames) {
    contents.noteBenign("the frame count does not match the audio");
  }
}

}  // namespace

std::optional<AudioFileContents> readAIFF(ByteSource& bytes, ContainerKind kind, std::string& refusal) {
  const auto formSize = bytes.upTo(4, 4);
  if (!formSize) return std::nullopt;
  AudioFileContents contents{.kind = kind};
  const Form form{
      .order = std::endian::big, .formSize = ByteReader(*formSize, std::endian::big).u32(), .audioID = kSoundID};
  if (!walkForm(bytes, form, contents, refusal)) return std::nullopt;

  const AudioChunk* chunk = contents.firstChunk(kCommonID);
  if (!chunk) {
    refusal = "it has no COMM chunk, which holds the format";
    return std::nullopt;
  }
  const auto payload = bytes.upTo(chunk->dataOffset, std::min<uint64_t>(chunk->size, kCommonSizeWithCodec));
  const auto common = payload ? CommonChunk::decode(*payload, kind == ContainerKind::aifc) : std::nullopt;
  if (!common) {
    refusal = "its COMM chunk, which holds the format, is too short";
    return std::nullopt;
  }
  const uint64_t audioSize = audioBytes(bytes, contents);
  contents.format = formatOf(*common);
  contents.packetCount = packetCountOf(*common, *contents.format, audioSize);
  noteAudio(*common, audioSize, contents);
  return contents;
}

}  // namespace vesk
