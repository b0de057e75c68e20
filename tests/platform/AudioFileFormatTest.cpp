// What well-formed and half-true headers say about the audio: format and counts.
#include "AudioFileProbe.h"

using namespace fixture;

namespace {

Chunk longer(Chunk format, const Builder& more) {
  format.payload.insert(format.payload.end(), more.bytes.begin(), more.bytes.end());
  return format;
}

Bytes aifcWith(std::string_view codec, int channels, uint32_t frames, int bits, size_t audioBytes) {
  const Chunk comm = commChunk(channels, frames, bits, extended(44100), codec);
  return formFile("FORM", "AIFC", {comm, ssndChunk(audioBytes)});
}

Bytes aiffWith(int channels, uint32_t frames, int bits, const Chunk& sound = ssndChunk(400)) {
  return formFile("FORM", "AIFF", {commChunk(channels, frames, bits, extended(44100)), sound});
}

Bytes wavWith(const Chunk& format, size_t audioBytes, std::string_view form = "RIFF") {
  return formFile(form, "WAVE", {format, dataChunk(audioBytes)});
}

// "AIFF lpcm BSP 4/1 x 100": container, format, flags (float, big-endian, signed, packed, high), bytes and frames of a
// packet, packets.
std::string formatLine(const vesk::AudioFile& file) {
  const auto format = file.dataFormat().value_or(vesk::AudioFormat{});
  std::string flags;
  for (size_t bit = 0; bit < 5; ++bit) {
    if (format.formatFlags >> bit & 1) flags += "FBSPH"[bit];
  }
  return fmt::format("{} {} {} {}/{} x {}", containerName(file.kind()), format.formatID.text(), flags,
                     format.bytesPerPacket, format.framesPerPacket, file.audioDataPacketCount().value_or(-1));
}

}  // namespace

TEST(AudioFileFormat, EveryContainerAndCodecGivesItsFormatAndCount) {
  const Chunk extensible = longer(fmtChunk(0xFFFE, 2, 48000, 32, 8),  // its sub-format is float
                                  Builder{}.u16le(22).u16le(32).u32le(3).u16le(3).zeros(14));
  const Chunk adpcm = longer(fmtChunk(0x11, 1, 44100, 4, 256), Builder{}.u16le(2).u16le(505));
  const Chunk pcm = fmtChunk(1, 2, 44100, 16, 4);
  Chunk longData = dataChunk(400);
  longData.declaredSize = 0xFFFFFFFF;
  const std::pair<Bytes, std::string> cases[] = {
      {aiffFile({}, 2, 100, 16), "AIFF lpcm BSP 4/1 x 100"},
      {aiffFile({}, 1, 100, 12), "AIFF lpcm BSH 2/1 x 100"},
      {aifcWith("sowt", 2, 100, 24, 600), "AIFF-C lpcm SP 6/1 x 100"},
      {aifcWith("raw ", 1, 100, 8, 100), "AIFF-C lpcm P 1/1 x 100"},
      {aifcWith("fl32", 1, 100, 16, 400), "AIFF-C lpcm FBP 4/1 x 100"},  // wrong bits
      {aifcWith("ULAW", 2, 100, 16, 200), "AIFF-C ulaw  2/1 x 100"},     // wrong bits
      {aifcWith("ima4", 2, 5, 16, 680), "AIFF-C ima4  68/64 x 10"},      // counts packets of one channel
      {aifcWith("ima4", 2, 640, 16, 680), "AIFF-C ima4  68/64 x 10"},    // counts frames
      {aifcWith("QDM2", 2, 5000, 16, 77), "AIFF-C QDM2  0/1 x 5000"},    // an unknown codec
      {aifcWith("", 1, 9, 16, 18), "AIFF-C lpcm BSP 2/1 x 9"},           // no codec
      {wavFile({}, 2, 100, 24), "WAV lpcm SP 6/1 x 100"},
      {wavFile({}, 1, 100, 8), "WAV lpcm P 1/1 x 100"},
      {formFile("RIFF", "WAVE", {dataChunk(800), fmtChunk(3, 2, 48000, 32, 8)}), "WAV lpcm FP 8/1 x 100"},
      {wavWith(extensible, 800), "WAV lpcm FP 8/1 x 100"},
      {wavWith(fmtChunk(6, 1, 8000, 8, 1), 100), "WAV alaw  1/1 x 100"},
      {wavWith(adpcm, 1024 + 100), std::string("WAV ms\0\x11  256/505 x 4", 21)},
      {wavWith(fmtChunk(1, 2, 44100, 16, 4, true), 400, "RIFX"), "RIFX lpcm BSP 4/1 x 100"},
      {formFile("RF64", "WAVE", {ds64Chunk(0, 400, 100), pcm, longData}), "RF64 lpcm SP 4/1 x 100"},
      {formFile("BW64", "WAVE", {ds64Chunk(0, 0, 0), pcm, dataChunk(400)}), "BW64 lpcm SP 4/1 x 100"},  // a true size
      {cafFile({}, 2, 100, 16), "CAF lpcm BSP 4/1 x 100"},
      {cafFileOf({cafDescChunk(48000, "lpcm", 3, 8, 1, 2, 32), cafDataChunk(800)}), "CAF lpcm FP 8/1 x 100"},
  };
  for (const auto& [bytes, line] : cases) {
    const Probe opened = probe(bytes);
    ASSERT_TRUE(opened.file) << line << opened.detail;
    EXPECT_EQ(formatLine(*opened.file), line);
    EXPECT_EQ(opened.file->isBigEndian(), !line.starts_with("WAV") && line.substr(2, 2) != "64");
  }
}

TEST(AudioFileFormat, TheCountIsTheSmallerOfWhatIsSaidAndWhatIsThere) {
  const auto filler = [](uint32_t size) { return chunk("SSND", Builder{}.u32be(size).u32be(0).zeros(400).bytes); };
  const auto caf = [](const Chunk& table, const Chunk& desc) { return cafFileOf({desc, cafDataChunk(400), table}); };
  const Chunk constant = cafDescChunk(44100, "lpcm", 0, 4, 1, 2, 16);  // 100 packets in caf()
  const Chunk variable = cafDescChunk(44100, "aac ", 0, 0, 1024, 2, 0);
  const Chunk unknown = cafDescChunk(44100, "opus", 0, 0, 0, 2, 0);
  const std::tuple<const char*, Bytes, const char*> cases[] = {
      {"more frames said than there", aiffWith(2, 500, 16), "100!"},
      {"fewer frames said than there", aiffWith(2, 50, 16), "50!"},
      {"filler before the frames", aiffWith(2, 100, 16, filler(8)), "98!"},
      {"filler longer than the chunk", aiffWith(2, 100, 16, filler(0xFFFFFFF0)), "0!"},
      {"audio chunk shorter than its header", aiffWith(2, 100, 16, chunk("SSND", "abcd")), "0!"},
      {"no audio chunk", aiffWith(2, 100, 16, chunk("ANNO", "")), "0!"},
      {"less than no channels", aiffWith(-2, 100, 16), "none!"},
      {"no block align", wavWith(fmtChunk(0x11, 2, 44100, 4, 0), 400), "none!"},
      {"wrong block align is believed", wavWith(fmtChunk(1, 2, 44100, 16, 3), 399), "133!"},
      {"CAF whose packets have no size", cafFileOf({cafDescChunk(8000, "lpcm", 0, 0, 1, 1, 8), cafDataChunk(4)}),
       "none!"},
      {"CAF without audio", cafFileOf({constant}), "none!"},
      {"CAF whose audio lacks its edit count", cafFileOf({constant, chunk("data", "ab")}), "0!"},
      {"CAF with unknown packet size", cafFileOf({unknown, cafDataChunk(400)}), "none"},
      {"variable packets", caf(cafPaktChunk(10, 10000, 200, 40, 12), variable), "10 of 10000 frames"},
      {"constant packets and no count", caf(cafPaktChunk(0, 90, 6, 4), constant), "100 of 90 frames"},
      {"packets of unknown length", caf(cafPaktChunk(7, 5000, 312, 9), unknown), "7 of 5000 frames"},
      {"constant packets, wrong sum", caf(cafPaktChunk(0, 4000000, 0, 0), constant), "100!"},
      {"negative valid frames", caf(cafPaktChunk(10, -1, 0, 0), variable), "10!"},
      {"negative priming", caf(cafPaktChunk(10, 10241, -1, 0), variable), "10!"},
      {"negative count", caf(cafPaktChunk(-5, 100, 0, 0), constant), "100!"},
      {"as many packets as bytes", caf(cafPaktChunk(400, 1024 * 400, 0, 0), variable), "400 of 409600 frames"},
      {"more", caf(cafPaktChunk(401, 1024 * 401, 0, 0), variable), "none!"},
      {"more, constant", caf(cafPaktChunk(INT64_MAX, 100, 0, 0), constant), "100!"},
      {"sum beyond 63 bits", caf(cafPaktChunk(10, INT64_MAX, INT32_MAX, INT32_MAX), variable), "10!"},
      {"cut in its header", caf(chunk("pakt", Builder{}.u64be(10).u64be(10240).u32be(0).bytes), variable), "none"},
  };
  for (const auto& [name, bytes, counts] : cases) {
    const Probe opened = probe(bytes);
    ASSERT_TRUE(opened.file) << name << opened.detail;
    const auto packets = opened.file->audioDataPacketCount();
    const auto table = opened.file->packetTableInfo();  // none, or one that is not believed: no frames
    std::string line = packets ? std::to_string(*packets) : "none";
    if (table) line += fmt::format(" of {} frames", table->validFrames);
    if (opened.file->regularity() != vesk::Regularity::regular) line += "!";
    EXPECT_EQ(line, counts) << name;
  }
}

TEST(AudioFileFormat, OddSampleRatesSurvive) {
  const std::pair<const char*, const char*> cases[] = {
      {"400D AC43 FFFF 0000 0000", "22049.999992370605 regular"},
      {"0000 0000 0000 0000 0001", "0"},  // denormal
      {"C00E AC44 0000 0000 0000", "-44100"},
      {"7FFE FFFF FFFF FFFF FFFF", "inf"},  // too large for a double
      {"7FFF C000 0000 0000 0000", "nan"},
  };
  for (const auto& [extendedHex, rate] : cases) {
    const Probe opened = probe(formFile("FORM", "AIFF", {commChunk(1, 0, 16, bytesFromHex(extendedHex))}));
    const bool isRegular = opened.file->regularity() == vesk::Regularity::regular;
    EXPECT_EQ(fmt::format("{}{}", opened.file->dataFormat()->sampleRate, isRegular ? " regular" : ""), rate);
  }
}

TEST(AudioFileFormat, InfoTextsComeUnderTheirCommonNames) {
  const auto list = [](const Bytes& payload) { return wavFile({chunk("LIST", payload)}); };
  const auto info = [](const Bytes& payload) { return cafFile({chunk("info", payload)}); };
  const Chunk bigEndian = chunk("LIST", Builder{}.text("INFOINAM").u32be(4).text("Rifx").bytes);
  const std::pair<Bytes, std::string> cases[] = {
      {list(infoListPayload({{"INAM", "Groove"}, {"IART", "J\xC3\xB6rg"}, {"IXYZ", "left out"}})),
       "artist=J\xC3\xB6rg;title=Groove;"},
      {list(infoListPayload({{"ICOP", "J\xF6rg"}})), "copyright=J\xC3\xB6rg;"},
      {list(Builder{}.text("INFOICMT").u32le(3).text("abcIGNR").u32le(4).text("Jazz").bytes),  // unpadded
       "comments=abc;genre=Jazz;"},
      {list(Builder{}.text("INFOISFT").u32le(5000).text("Maker").bytes), "encoder=Maker;"},
      {wavFile({chunk("LIST", infoListPayload({{"INAM", ""}, {"IPRD", "one"}})),
                chunk("LIST", infoListPayload({{"INAM", "b"}, {"IPRD", "two"}}))}),
       "album=one;title=b;"},
      {list(bytesOf("adtl")), "none"},
      {wavFile({chunk("LIST", ""), chunk("LIST", infoListPayload({{"ICRD", "1999"}}))}), "date=1999;"},
      {formFile("RIFX", "WAVE", {fmtChunk(1, 1, 44100, 16, 2, true), dataChunk(2), bigEndian}), "title=Rifx;"},
      {cafFile({cafInfoChunk({{"artist", "A"}, {"comment", "C"}})}), "artist=A;comment=C;comments=C;"},
      {cafFile({cafInfoChunk({{"comment", "C"}, {"comments", "D"}})}), "comment=C;comments=D;"},
      {cafFile({cafInfoChunk({{"title", "J\xF6rg"}, {"title", "later"}})}), "title=J\xC3\xB6rg;"},
      {info(Builder{}.u32be(0xFFFFFFFF).text("title").u8(0).text("open").bytes), "title=open;"},
      {info(Builder{}.u32be(2).text("title").u8(0).bytes), ""},
      {aiffFile({chunk("NAME", "Title")}), "none"},
  };
  for (const auto& [bytes, expected] : cases) {
    const auto dictionary = probe(bytes).file->infoDictionary();
    std::string line = dictionary ? "" : "none";
    if (dictionary) {
      for (const auto& [key, value] : *dictionary) line += fmt::format("{}={};", key, value);
    }
    EXPECT_EQ(line, expected);
  }
}
