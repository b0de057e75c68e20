// The chunk list: where chunks are found in regular, sloppy and broken files, and what is said about it.
#include "AudioFileProbe.h"

#include <fmt/format.h>

#include <chrono>

using namespace fixture;
using vesk::FourCC;
using vesk::OpenError;
using vesk::Regularity;

namespace {

const Chunk kComm = commChunk(1, 4, 16, 44100.0);
const Chunk kFmt = fmtChunk(1, 1, 44100, 16, 2);
const Chunk kDesc = cafDescChunk(44100, "lpcm", 0, 2, 1, 1, 16);

Chunk lying(Chunk chunk, uint64_t declaredSize) {
  chunk.declaredSize = declaredSize;
  return chunk;
}

Chunk unpadded(Chunk chunk) {
  chunk.hasPad = false;
  return chunk;
}

Bytes wav(const std::vector<Chunk>& chunks, const FormLies& lies = {}) {
  return formFile("RIFF", "WAVE", chunks, lies);
}
Bytes aiff(const std::vector<Chunk>& chunks, const FormLies& lies = {}) {
  return formFile("FORM", "AIFF", chunks, lies);
}

// A file of well-formed chunks whose form's size is `difference` off.
Bytes wavOffBy(int difference, const std::vector<Chunk>& chunks, const Bytes& trailing = {}) {
  const auto size = static_cast<uint32_t>(static_cast<int>(wav(chunks).size()) - 8 + difference);
  return wav(chunks, {.size = size, .trailing = trailing});
}

struct Case {
  const char* name;
  Bytes bytes;
  Regularity regularity;
  std::string chunks;
  std::string sentences;  // a part of what is said
};

void expectCases(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const Probe opened = probe(c.bytes);
    ASSERT_TRUE(opened.file) << opened.detail;
    EXPECT_EQ(chunkLine(*opened.file), c.chunks);
    EXPECT_EQ(opened.file->regularity(), c.regularity) << irregularityLine(*opened.file);
    EXPECT_NE(irregularityLine(*opened.file).find(c.sentences), std::string::npos) << irregularityLine(*opened.file);
    EXPECT_EQ(opened.file->irregularities().empty(), c.regularity == Regularity::regular);
  }
}

}  // namespace

TEST(AudioFileChunks, ARunOfChunksIsFoundWhateverTheSizesSay) {
  const Chunk data = dataChunk(8);
  const Chunk name = chunk("NAME", "odd");
  Chunk letteredPad = name;
  letteredPad.pad = 'x';
  const Chunk list = chunk("LIST", infoListPayload({{"INAM", "abc"}}));  // 16 bytes
  const Bytes tag = bytesOf("TAGTitle of a song, thirty bytes and more of text");
  expectCases({
      {"regular", aiff({name, kComm, ssndChunk(8), name}), Regularity::regular, "NAME 3+, COMM 18, SSND 16, NAME 3+",
       ""},
      {"a pad that is not zero", aiff({letteredPad, kComm, ssndChunk(8)}), Regularity::regular,
       "NAME 3+, COMM 18, SSND 16", ""},
      {"form one byte too large", wavOffBy(1, {kFmt, data}), Regularity::benign, "fmt  16, data 8", "larger"},
      {"form far too large", wavOffBy(0x10000000, {kFmt, data}), Regularity::benign, "fmt  16, data 8", "larger"},
      {"form forgets its last chunk", wavOffBy(-24, {kFmt, data, list}), Regularity::benign, "fmt  16, data 8, LIST 16",
       "smaller"},
      {"form ends inside a chunk", wavOffBy(-3, {kFmt, data, list}), Regularity::benign, "fmt  16, data 8, LIST 16",
       "smaller"},
      {"form of size 0", wav({kFmt, data, list}, {.size = 0}), Regularity::benign, "fmt  16, data 8, LIST 16",
       "its size"},
      {"form of size 2^32 - 1", wav({kFmt, data}, {.size = 0xFFFFFFFF}), Regularity::benign, "fmt  16, data 8",
       "its size"},
      {"last pad missing", aiff({kComm, ssndChunk(8), unpadded(name)}), Regularity::benign, "COMM 18, SSND 16, NAME 3",
       "pad byte of the last"},
      {"text behind the form", wavOffBy(0, {kFmt, data}, tag), Regularity::benign, "fmt  16, data 8", "bytes follow"},
      {"text behind a form that ends unpadded", wav({kFmt, unpadded(dataChunk(7))}, {.trailing = tag}),
       Regularity::benign, "fmt  16, data 7", "bytes follow"},
      {"a few zeros in the form", wavOffBy(4, {kFmt, data}, Builder{}.zeros(4).bytes), Regularity::benign,
       "fmt  16, data 8", "a few bytes"},
      {"many zeros in the form", wavOffBy(400, {kFmt, data}, Builder{}.zeros(400).bytes), Regularity::ambiguous,
       "fmt  16, data 8", "no chunks"},
      {"two files in one", wav({kFmt, data}, {.trailing = wavFile()}), Regularity::ambiguous, "fmt  16, data 8",
       "second form"},
      {"two audio chunks", wav({kFmt, data, dataChunk(6)}), Regularity::ambiguous, "fmt  16, data 8, data 6",
       "two audio"},
      {"two format chunks", aiff({kComm, ssndChunk(8), kComm}), Regularity::ambiguous, "COMM 18, SSND 16, COMM 18",
       "two format"},
      {"audio of unknown size", wav({kFmt, unpadded(lying(dataChunk(9), 0xFFFFFFFF))}), Regularity::benign,
       "fmt  16, data 9", "unknown"},
      {"AIFF streamed", aiff({kComm, lying(ssndChunk(8), 0x7FFFFFFF)}, {.size = 0x7FFFFFFF}), Regularity::benign,
       "COMM 18, SSND 16", "unknown"},
      {"audio cut off", wav({kFmt, lying(data, 1000)}), Regularity::ambiguous, "fmt  16, data 8", "audio is cut off"},
      {"last chunk cut off", wav({kFmt, data, lying(list, 17)}), Regularity::ambiguous, "fmt  16, data 8, LIST 16",
       "last chunk is cut off"},
      {"an unknown size that is not the audio's", wav({kFmt, data, lying(list, 0xFFFFFFFF)}), Regularity::ambiguous,
       "fmt  16, data 8, LIST 16", "last chunk is cut off"},
      {"audio that was never given its size", wav({kFmt, lying(data, 0)}), Regularity::ambiguous, "fmt  16, data 0",
       "says that it is empty"},
      {"empty audio at the end", wav({kFmt, dataChunk(0)}), Regularity::regular, "fmt  16, data 0", ""},
  });
}

TEST(AudioFileChunks, AMissingPadByteDoesNotHideTheNextChunk) {
  const Chunk odd = chunk("NAME", "odd");
  const Chunk sampler = chunk("smpl", Builder{}.zeros(36).bytes);  // its size is "$", its payload begins with zeros
  expectCases({
      {"AIFF", aiff({unpadded(odd), kComm, ssndChunk(8)}), Regularity::ambiguous, "NAME 3, COMM 18, SSND 16", "no pad"},
      {"twice", aiff({unpadded(odd), unpadded(odd), kComm, ssndChunk(8)}), Regularity::ambiguous,
       "NAME 3, NAME 3, COMM 18, SSND 16", "no pad"},
      {"WAV, where letters and a size look like an id", wav({kFmt, unpadded(dataChunk(7)), sampler, dataChunk(0)}),
       Regularity::ambiguous, "fmt  16, data 7, smpl 36, data 0", "no pad"},
      {"a pad that looks like the letter of an id",
       aiff({{.id = "NAME", .payload = bytesOf("odd"), .pad = 'X'}, kComm, ssndChunk(8)}), Regularity::regular,
       "NAME 3+, COMM 18, SSND 16", ""},
      {"padded before a chunk that is cut off", aiff({kComm, odd, lying(ssndChunk(8), 500)}), Regularity::ambiguous,
       "COMM 18, NAME 3+, SSND 16", "audio is cut off"},
  });
}

TEST(AudioFileChunks, CAFChunksStandWithoutPadding) {
  const Chunk data = cafDataChunk(8);
  const Chunk odd = chunk("strg", "odd");
  expectCases({
      {"regular", cafFileOf({kDesc, odd, data, odd}), Regularity::regular, "desc 32, strg 3, data 12, strg 3", ""},
      {"streamed", cafFileOf({kDesc, lying(data, ~uint64_t{0})}), Regularity::benign, "desc 32, data 12", "unknown"},
      {"-1 elsewhere", cafFileOf({kDesc, data, lying(odd, ~uint64_t{0})}), Regularity::ambiguous, "desc 32, data 12",
       "no chunks"},
      {"size near 2^63", cafFileOf({kDesc, lying(data, 0x7FFFFFFFFFFFFFFF)}), Regularity::ambiguous, "desc 32, data 12",
       "audio is cut off"},
      {"cut off", cafFileOf({kDesc, data, lying(odd, 4)}), Regularity::ambiguous, "desc 32, data 12, strg 3",
       "cut off"},
      {"zeros at the end", cafFileOf({kDesc, data, chunk("free", Builder{}.zeros(5).bytes), {.id = "\0\0\0\0"}}),
       Regularity::ambiguous, "desc 32, data 12, free 5", "no chunks"},
      {"description behind the audio", cafFileOf({data, kDesc}), Regularity::ambiguous, "data 12, desc 32",
       "not its first"},
      {"two audio chunks", cafFileOf({kDesc, data, data}), Regularity::ambiguous, "desc 32, data 12, data 12",
       "two audio"},
  });
}

TEST(AudioFileChunks, RF64TakesItsLongSizesFromDs64) {
  const Chunk longData = lying(dataChunk(8), 0xFFFFFFFF);
  const Chunk longLabel = lying(chunk("labl", "12345678"), 0xFFFFFFFF);
  Chunk table = ds64Chunk(0, 8, 4);
  table.payload.resize(24);
  table.payload = Builder{table.payload}.u32le(2).text("labl").u64le(8).text("labl").u64le(6).bytes;
  const auto rf64 = [](const std::vector<Chunk>& chunks) { return formFile("RF64", "WAVE", chunks); };
  const auto sized = [&](const std::vector<Chunk>& chunks) {  // with the true form size in ds64
    std::vector<Chunk> all = chunks;
    const Bytes size = Builder{}.u64le(rf64(all).size() - 8).bytes;
    std::copy(size.begin(), size.end(), all.front().payload.begin());
    return rf64(all);
  };
  expectCases({
      {"regular, chunks behind the audio", sized({ds64Chunk(0, 8, 4), kFmt, longData, chunk("cue ", "1234")}),
       Regularity::regular, "ds64 28, fmt  16, data 8, cue  4", ""},
      {"a table for other chunks",
       sized({table, kFmt, longLabel, longData, lying(chunk("labl", "123456"), 0xFFFFFFFF)}), Regularity::regular,
       "ds64 52, fmt  16, labl 8, data 8, labl 6", ""},
      {"a table that counts more than it holds", sized({ds64Chunk(0, 8, 4), kFmt, longData}), Regularity::regular,
       "ds64 28, fmt  16, data 8", ""},
      {"without ds64", rf64({kFmt, longData}), Regularity::ambiguous, "fmt  16, data 8", "ds64"},
      {"ds64 behind the format", rf64({kFmt, ds64Chunk(0, 8, 4), dataChunk(8)}), Regularity::ambiguous,
       "fmt  16, ds64 28, data 8", "ds64"},
      {"ds64 with less than its three sizes", rf64({chunk("ds64", "12345678"), kFmt, longData}), Regularity::ambiguous,
       "ds64 8, fmt  16, data 8", "ds64"},
      {"audio size near 2^64", sized({ds64Chunk(0, ~uint64_t{0} - 7, 4), kFmt, longData}), Regularity::ambiguous,
       "ds64 28, fmt  16, data 8", "audio is cut off"},
      {"audio size -1", sized({ds64Chunk(0, ~uint64_t{0}, 4), kFmt, longData}), Regularity::benign,
       "ds64 28, fmt  16, data 8", "unknown"},
  });

  constexpr uint64_t kAudioSize = uint64_t{5} << 30;
  const Bytes head =
      rf64({ds64Chunk(kAudioSize + 92, kAudioSize, kAudioSize / 2), kFmt, lying(dataChunk(0), 0xFFFFFFFF)});
  const Bytes label = Builder{}.text("labl").u32le(4).text("last").bytes;
  const Probe large = probe(head, head.size() + kAudioSize, label);
  ASSERT_TRUE(large.file);
  EXPECT_EQ(large.file->audioDataPacketCount(), static_cast<int64_t>(kAudioSize / 2));
  EXPECT_EQ(large.file->userData("labl"), bytesOf("last"));
}

TEST(AudioFileChunks, SizesNearTheEndOf32BitsDoNotWrapTheWalk) {
  for (const uint32_t size : {0xFFFFFFF0u, 0xFFFFFFF8u, 0xFFFFFFFFu, 0x80000000u}) {
    const Probe opened = probe(wav({kFmt, lying(chunk("junk", "1234"), size), dataChunk(8)}));
    ASSERT_TRUE(opened.file) << size;
    EXPECT_EQ(chunkLine(*opened.file), "fmt  16, junk 20") << size;
  }
}

TEST(AudioFileChunks, WhatFollowsTheChunksIsKnownToTheByte) {
  const Bytes tag = bytesOf("TAG and more than eight bytes");
  const Bytes whole = wav({kFmt, dataChunk(8), chunk("odd ", "abc")}, {.trailing = tag});
  const Probe opened = probe(whole);
  const auto& contents = opened.file->contents();
  EXPECT_EQ(contents.chunksEnd, whole.size() - tag.size());
  EXPECT_EQ(contents.formSize, whole.size() - tag.size() - 8);
  const vesk::AudioChunk& last = contents.chunks.back();
  EXPECT_EQ(last.headerOffset, contents.chunksEnd - 12);
  EXPECT_EQ(last.dataOffset, contents.chunksEnd - 4);
}

TEST(AudioFileChunks, AnIndexCountsTheChunksOfOneId) {
  const Probe opened =
      probe(cafFile({chunk("uuid", "first"), chunk("midi", "notes"), chunk("uuid", ""), chunk("uuid", "third")}));
  const vesk::AudioFile& file = *opened.file;
  EXPECT_EQ(file.userDataCount("uuid"), 3u);
  EXPECT_EQ(file.userData("uuid", 0), bytesOf("first"));
  EXPECT_EQ(file.userData("uuid", 1), Bytes{});
  EXPECT_EQ(file.userData("uuid", 2), bytesOf("third"));
  EXPECT_EQ(file.userData("uuid", 2, 2), bytesOf("th"));
  EXPECT_EQ(file.userData("uuid", 2, 99), bytesOf("third"));
  EXPECT_EQ(file.userData("uuid", 3), std::nullopt);
  EXPECT_EQ(file.userDataSize("uuid", 3), std::nullopt);
  EXPECT_EQ(file.userDataSize("UUID"), std::nullopt);
}

TEST(AudioFileChunks, APayloadIsNeverLongerThanTheFile) {
  const Probe cut = probe(aiff({kComm, ssndChunk(8), lying(chunk("cate", "cut off!"), 0x7FFFFFF0)}));
  EXPECT_EQ(cut.file->userDataSize("cate"), 8u);
  EXPECT_EQ(cut.file->userData("cate"), bytesOf("cut off!"));

  // 300 MiB that are there, but are nothing to read in one piece.
  constexpr uint32_t kLarge = 300u << 20;
  const Bytes head = aiff({kComm, lying(chunk("junk", ""), kLarge)});
  const Probe large = probe(head, head.size() + kLarge);
  EXPECT_EQ(large.file->userDataSize("junk"), kLarge);
  EXPECT_EQ(large.file->userData("junk"), std::nullopt);
  EXPECT_EQ(large.file->userData("junk", 0, 20000), Bytes(20000));
}

TEST(AudioFileChunks, FiftyThousandChunksAreReadInLinearTimeAndOneMoreIsRefused) {
  const std::vector<Chunk> many(49998, chunk("uuid", "x"));
  const auto start = std::chrono::steady_clock::now();
  for (const auto& [bytes, id] : {std::pair(cafFile(many, 1, 1), "uuid"), std::pair(aiffFile(many, 1, 1), "uuid")}) {
    const Probe opened = probe(bytes);
    ASSERT_TRUE(opened.file) << opened.detail;
    const size_t count = opened.file->userDataCount("uuid");
    EXPECT_EQ(count, many.size());
    size_t total = 0;
    for (size_t i = 0; i < count; ++i) total += *opened.file->userDataSize("uuid", i);
    EXPECT_EQ(total, many.size());
  }
  // Quadratic work would take minutes; the limit only tells those two apart.
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));

  const std::vector<Chunk> tooMany(49999, chunk("uuid", "x"));
  for (const Bytes& bytes : {cafFile(tooMany, 1, 1), aiffFile(tooMany, 1, 1)}) {
    const Probe opened = probe(bytes);
    EXPECT_EQ(opened.error, OpenError::malformed);
    EXPECT_NE(opened.detail.find("50,000"), std::string::npos);
  }
}
