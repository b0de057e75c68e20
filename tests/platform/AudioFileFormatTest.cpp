// What well-formed and half-true headers say about the audio: format and counts.
#include "AudioFileProbe.h"

#include <fmt/format.h>

#include <cmath>

using namespace fixture;
using vesk::AudioFormat;
using vesk::ContainerKind;

namespace {

constexpr uint32_t kBigSigned = AudioFormat::kIsBigEndian | AudioFormat::kIsSignedInteger | AudioFormat::kIsPacked;
constexpr uint32_t kLittleSigned = AudioFormat::kIsSignedInteger | AudioFormat::kIsPacked;
constexpr uint32_t kLittleFloat = AudioFormat::kIsFloat | AudioFormat::kIsPacked;

Bytes aifcWith(std::string_view codec, int channels, uint32_t frames, int bits, size_t audioBytes) {
  const Chunk comm = commChunk(channels, frames, bits, Builder{}.f80be(44100).bytes, codec);
  return formFile("FORM", "AIFC", {comm, ssndChunk(audioBytes)});
}

Bytes wavWith(const Chunk& format, size_t audioBytes, std::string_view form = "RIFF") {
  return formFile(form, "WAVE", {format, dataChunk(audioBytes)});
}

Chunk extensibleFormat(uint16_t realTag) {
  Chunk format = fmtChunk(0xFFFE, 2, 48000, 32, 8);
  Builder payload{format.payload};
  format.payload = payload.u16le(22).u16le(32).u32le(3).u16le(realTag).zeros(14).bytes;
  return format;
}

Chunk adpcmFormat(uint16_t tag, uint16_t blockAlign, uint16_t framesPerBlock) {
  Chunk format = fmtChunk(tag, 1, 44100, 4, blockAlign);
  Builder payload{format.payload};
  format.payload = payload.u16le(2).u16le(framesPerBlock).bytes;
  return format;
}

Bytes rf64With(const std::vector<Chunk>& chunks) {
  return formFile("RF64", "WAVE", chunks);
}

Bytes cafWith(const Chunk& description, const std::vector<Chunk>& chunks) {
  std::vector<Chunk> all = {description};
  all.insert(all.end(), chunks.begin(), chunks.end());
  return cafFileOf(all);
}

Chunk longData(size_t audioBytes) {
  Chunk data = dataChunk(audioBytes);
  data.declaredSize = 0xFFFFFFFF;
  return data;
}

}  // namespace

TEST(AudioFileFormat, EveryContainerAndCodecGivesItsFormatAndCount) {
  struct Case {
    const char* name;
    Bytes bytes;
    ContainerKind kind;
    std::string formatID;
    uint32_t flags;
    uint32_t bytesPerPacket;
    uint32_t framesPerPacket;
    int64_t packets;
  };
  const Case cases[] = {
      {"AIFF", aiffFile({}, 2, 100, 16), ContainerKind::aiff, "lpcm", kBigSigned, 4, 1, 100},
      {"AIFF with 12 bits in 2 bytes", aiffFile({}, 1, 100, 12), ContainerKind::aiff, "lpcm",
       AudioFormat::kIsBigEndian | AudioFormat::kIsSignedInteger | AudioFormat::kIsAlignedHigh, 2, 1, 100},
      {"sowt", aifcFile("sowt", {}, 2, 100, 24), ContainerKind::aifc, "lpcm", kLittleSigned, 6, 1, 100},
      {"raw", aifcFile("raw ", {}, 1, 100, 8), ContainerKind::aifc, "lpcm", AudioFormat::kIsPacked, 1, 1, 100},
      {"fl32 that says 16 bits", aifcWith("fl32", 1, 100, 16, 400), ContainerKind::aifc, "lpcm",
       AudioFormat::kIsFloat | AudioFormat::kIsBigEndian | AudioFormat::kIsPacked, 4, 1, 100},
      {"ULAW that says 16 bits", aifcWith("ULAW", 2, 100, 16, 200), ContainerKind::aifc, "ulaw", 0, 2, 1, 100},
      {"ima4 counting packets", aifcWith("ima4", 2, 10, 16, 680), ContainerKind::aifc, "ima4", 0, 68, 64, 10},
      {"ima4 counting frames", aifcWith("ima4", 2, 640, 16, 680), ContainerKind::aifc, "ima4", 0, 68, 64, 10},
      {"unknown codec", aifcWith("QDM2", 2, 5000, 16, 77), ContainerKind::aifc, "QDM2", 0, 0, 1, 5000},
      {"AIFF-C without a codec", formFile("FORM", "AIFC", {commChunk(1, 9, 16, 44100.0), ssndChunk(18)}),
       ContainerKind::aifc, "lpcm", kBigSigned, 2, 1, 9},
      {"WAV", wavFile({}, 2, 100, 24), ContainerKind::wav, "lpcm", kLittleSigned, 6, 1, 100},
      {"WAV of 8 bits is unsigned", wavFile({}, 1, 100, 8), ContainerKind::wav, "lpcm", AudioFormat::kIsPacked, 1, 1,
       100},
      {"WAV float, format behind the audio", formFile("RIFF", "WAVE", {dataChunk(800), fmtChunk(3, 2, 48000, 32, 8)}),
       ContainerKind::wav, "lpcm", kLittleFloat, 8, 1, 100},
      {"WAV extensible float", wavWith(extensibleFormat(3), 800), ContainerKind::wav, "lpcm", kLittleFloat, 8, 1, 100},
      {"WAV A-law", wavWith(fmtChunk(6, 1, 8000, 8, 1), 100), ContainerKind::wav, "alaw", 0, 1, 1, 100},
      {"WAV IMA ADPCM", wavWith(adpcmFormat(0x11, 256, 505), 1024 + 100), ContainerKind::wav,
       std::string("ms\0\x11", 4), 0, 256, 505, 4},
      {"RIFX", wavWith(fmtChunk(1, 2, 44100, 16, 4, true), 400, "RIFX"), ContainerKind::rifx, "lpcm", kBigSigned, 4, 1,
       100},
      {"RF64", rf64With({ds64Chunk(0, 400, 100), fmtChunk(1, 2, 44100, 16, 4), longData(400)}), ContainerKind::rf64,
       "lpcm", kLittleSigned, 4, 1, 100},
      {"BW64 with a true 32-bit size",
       formFile("BW64", "WAVE", {ds64Chunk(0, 0, 0), fmtChunk(1, 2, 44100, 16, 4), dataChunk(400)}),
       ContainerKind::bw64, "lpcm", kLittleSigned, 4, 1, 100},
      {"CAF", cafFile({}, 2, 100, 16), ContainerKind::caf, "lpcm", kBigSigned, 4, 1, 100},
      {"CAF little-endian float", cafWith(cafDescChunk(48000, "lpcm", 3, 8, 1, 2, 32), {cafDataChunk(800)}),
       ContainerKind::caf, "lpcm", kLittleFloat, 8, 1, 100},
      {"CAF of variable packets",
       cafWith(cafDescChunk(48000, "aac ", 2, 0, 1024, 2, 0), {cafPaktChunk(3, 3000, 72, 0), cafDataChunk(50)}),
       ContainerKind::caf, "aac ", 2, 0, 1024, 3},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const Probe opened = probe(c.bytes);
    ASSERT_TRUE(opened.file) << opened.detail;
    const auto format = opened.file->dataFormat();
    EXPECT_EQ(opened.file->kind(), c.kind);
    EXPECT_EQ(opened.file->isBigEndian(),
              c.kind != ContainerKind::wav && c.kind != ContainerKind::rf64 && c.kind != ContainerKind::bw64);
    EXPECT_EQ(format->formatID.text(), c.formatID);
    EXPECT_EQ(format->formatFlags, c.flags);
    EXPECT_EQ(format->bytesPerPacket, c.bytesPerPacket);
    EXPECT_EQ(format->framesPerPacket, c.framesPerPacket);
    EXPECT_EQ(opened.file->audioDataPacketCount(), c.packets);
  }
}

TEST(AudioFileFormat, TheCountIsTheSmallerOfWhatIsSaidAndWhatIsThere) {
  const auto aiff = [](uint32_t frames, const Chunk& sound) {
    return formFile("FORM", "AIFF", {commChunk(2, frames, 16, 44100.0), sound});
  };
  const auto ssndWithOffset = [](uint32_t offset, size_t bytesBehindHeader) {
    return chunk("SSND", Builder{}.u32be(offset).u32be(0).zeros(bytesBehindHeader).bytes);
  };
  const Chunk desc = cafDescChunk(44100, "lpcm", 0, 4, 1, 2, 16);
  struct Case {
    const char* name;
    Bytes bytes;
    std::optional<int64_t> packets;
  };
  const Case cases[] = {
      {"more frames said than there", aiff(500, ssndChunk(400)), 100},
      {"fewer frames said than there", aiff(50, ssndChunk(400)), 50},
      {"filler before the frames", aiff(100, ssndWithOffset(8, 400)), 98},
      {"filler longer than the chunk", aiff(100, ssndWithOffset(0xFFFFFFF0, 400)), 0},
      {"audio chunk shorter than its header", aiff(100, chunk("SSND", "abcd")), 0},
      {"no audio chunk", formFile("FORM", "AIFF", {commChunk(2, 100, 16, 44100.0)}), 0},
      {"no channels", formFile("FORM", "AIFF", {commChunk(0, 100, 16, 44100.0), ssndChunk(400)}), std::nullopt},
      {"less than no channels", formFile("FORM", "AIFF", {commChunk(-2, 100, 16, 44100.0), ssndChunk(400)}),
       std::nullopt},
      {"no bits", formFile("FORM", "AIFF", {commChunk(2, 100, 0, 44100.0), ssndChunk(400)}), std::nullopt},
      {"no block align", wavWith(fmtChunk(1, 2, 44100, 16, 0), 400), std::nullopt},
      {"wrong block align is believed", wavWith(fmtChunk(1, 2, 44100, 16, 3), 400), 133},
      {"CAF without audio", cafWith(desc, {}), std::nullopt},
      {"CAF whose audio lacks its edit count", cafWith(desc, {chunk("data", "ab")}), 0},
      {"CAF with unknown packet size", cafWith(cafDescChunk(44100, "lpcm", 0, 0, 1, 2, 16), {cafDataChunk(400)}),
       std::nullopt},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const Probe opened = probe(c.bytes);
    ASSERT_TRUE(opened.file) << opened.detail;
    EXPECT_EQ(opened.file->audioDataPacketCount(), c.packets);
    EXPECT_FALSE(opened.file->packetTableInfo());
  }
}

TEST(AudioFileFormat, APacketTableCountsOnlyWhenItCanBeTrue) {
  const Chunk constant = cafDescChunk(44100, "lpcm", 0, 4, 1, 2, 16);  // 100 packets below
  const Chunk variable = cafDescChunk(44100, "aac ", 0, 0, 1024, 2, 0);
  const Chunk unknown = cafDescChunk(44100, "opus", 0, 0, 0, 2, 0);
  constexpr int64_t kLargest = std::numeric_limits<int64_t>::max();
  struct Case {
    const char* name;
    Chunk description;
    Chunk table;
    std::optional<int64_t> validFrames;  // nullopt: the table is not believed
    std::optional<int64_t> packets;
  };
  const Case cases[] = {
      {"variable packets", variable, cafPaktChunk(10, 10000, 200, 40, 12), 10000, 10},
      {"constant packets and no count", constant, cafPaktChunk(0, 90, 6, 4), 90, 100},
      {"constant packets, wrong sum", constant, cafPaktChunk(0, 4000000, 0, 0), std::nullopt, 100},
      {"wrong sum", variable, cafPaktChunk(10, 10240, 1, 0), std::nullopt, 10},
      {"negative valid frames", variable, cafPaktChunk(10, -1, 0, 0), std::nullopt, 10},
      {"negative priming", variable, cafPaktChunk(10, 10241, -1, 0), std::nullopt, 10},
      {"negative count", constant, cafPaktChunk(-5, 100, 0, 0), std::nullopt, 100},
      {"count that overflows times the frames", variable, cafPaktChunk(kLargest, 0, 0, 0), std::nullopt, kLargest},
      {"sum beyond 63 bits", variable, cafPaktChunk(10, kLargest, 0x7FFFFFFF, 0x7FFFFFFF), std::nullopt, 10},
      {"packets of unknown length", unknown, cafPaktChunk(7, 5000, 312, 9), 5000, 7},
      {"table cut inside its header", variable, chunk("pakt", Builder{}.u64be(10).u64be(10240).u32be(0).bytes),
       std::nullopt, std::nullopt},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const Probe opened = probe(cafWith(c.description, {cafDataChunk(400), c.table}));
    ASSERT_TRUE(opened.file) << opened.detail;
    const auto info = opened.file->packetTableInfo();
    EXPECT_EQ(info ? std::optional(info->validFrames) : std::nullopt, c.validFrames);
    EXPECT_EQ(opened.file->audioDataPacketCount(), c.packets);
  }
}

TEST(AudioFileFormat, OddSampleRatesSurvive) {
  const auto rateOf = [](const std::string& extendedHex) {
    const Chunk comm = commChunk(1, 0, 16, bytesFromHex(extendedHex));
    const Probe opened = probe(formFile("FORM", "AIFF", {comm}));
    return opened.file ? opened.file->dataFormat()->sampleRate : -1234.0;
  };
  EXPECT_EQ(rateOf("400E AC44 0000 0000 0000"), 44100.0);
  EXPECT_EQ(rateOf("400D AC43 FFFF 0000 0000"), 22049.999992370605);  // a fraction
  EXPECT_EQ(rateOf("0000 0000 0000 0000 0000"), 0.0);
  EXPECT_EQ(rateOf("C00E AC44 0000 0000 0000"), -44100.0);
  EXPECT_EQ(rateOf("7FFF 8000 0000 0000 0000"), std::numeric_limits<double>::infinity());
  EXPECT_EQ(rateOf("FFFF 0000 0000 0000 0000"), -std::numeric_limits<double>::infinity());
  EXPECT_EQ(rateOf("7FFE FFFF FFFF FFFF FFFF"), std::numeric_limits<double>::infinity());  // too large for a double
  EXPECT_TRUE(std::isnan(rateOf("7FFF C000 0000 0000 0000")));
  EXPECT_EQ(rateOf("0000 0000 0000 0000 0001"), 0.0);      // denormal, too small for a double
  EXPECT_EQ(rateOf("400F 5622 0000 0000 0000"), 44100.0);  // without the leading one

  const Probe caf = probe(cafFile({}, 1, 10, 16, std::nan("")));
  EXPECT_TRUE(std::isnan(caf.file->dataFormat()->sampleRate));
}

TEST(AudioFileFormat, InfoTextsComeUnderTheirCommonNames) {
  const auto list = [](const Bytes& payload) { return chunk("LIST", payload); };
  const auto info = [](const Bytes& bytes) {
    const Probe opened = probe(bytes);
    const auto dictionary = opened.file->infoDictionary();
    if (!dictionary) return std::string("none");
    std::string line;
    for (const auto& [key, value] : *dictionary) line += fmt::format("{}={};", key, value);
    return line;
  };
  // WAV: terminated or not, padded or not, in either text code.
  EXPECT_EQ(info(wavFile({list(infoListPayload({{"INAM", "Groove"}, {"IART", "J\xC3\xB6rg"}, {"IXYZ", "left out"}}))})),
            "artist=J\xC3\xB6rg;title=Groove;");
  EXPECT_EQ(info(wavFile({list(infoListPayload({{"ICOP", "J\xF6rg"}}))})), "copyright=J\xC3\xB6rg;");
  Builder unpadded;
  unpadded.text("INFO").text("ICMT").u32le(3).text("abc").text("IGNR").u32le(4).text("Jazz");
  EXPECT_EQ(info(wavFile({list(unpadded.bytes)})), "comments=abc;genre=Jazz;");
  Builder lying;
  lying.text("INFO").text("ISFT").u32le(5000).text("Maker");
  EXPECT_EQ(info(wavFile({list(lying.bytes)})), "encoder=Maker;");
  EXPECT_EQ(info(wavFile({list(infoListPayload({{"INAM", ""}, {"IPRD", "one"}})),
                          list(infoListPayload({{"INAM", "b"}, {"IPRD", "two"}}))})),
            "album=one;title=b;");
  EXPECT_EQ(info(wavFile({list(bytesOf("adtl"))})), "none");
  EXPECT_EQ(info(wavFile({list({}), list(infoListPayload({{"ICRD", "1999"}}))})), "date=1999;");
  Chunk bigEndianText = chunk("LIST", Builder{}.text("INFO").text("INAM").u32be(4).text("Rifx").bytes);
  EXPECT_EQ(info(formFile("RIFX", "WAVE", {fmtChunk(1, 1, 44100, 16, 2, true), dataChunk(2), bigEndianText})),
            "title=Rifx;");

  // CAF: pairs as they are, and "comment" where "comments" is missing.
  EXPECT_EQ(info(cafFile({cafInfoChunk({{"artist", "A"}, {"comment", "C"}})})), "artist=A;comment=C;comments=C;");
  EXPECT_EQ(info(cafFile({cafInfoChunk({{"comment", "C"}, {"comments", "D"}})})), "comment=C;comments=D;");
  EXPECT_EQ(info(cafFile({cafInfoChunk({{"title", "J\xF6rg"}, {"title", "later"}})})), "title=J\xC3\xB6rg;");
  EXPECT_EQ(info(cafFile({chunk("info", Builder{}.u32be(0xFFFFFFFF).text("title").u8(0).text("open").bytes)})),
            "title=open;");
  EXPECT_EQ(info(cafFile({chunk("info", Builder{}.u32be(2).text("title").u8(0).bytes)})), "");
  EXPECT_EQ(info(cafFile()), "none");
  EXPECT_EQ(info(aiffFile({chunk("NAME", "Title")})), "none");
}
