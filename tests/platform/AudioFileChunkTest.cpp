// The chunk list: where chunks are found in regular, sloppy and broken files, and what is said about it.
#include "AudioFileProbe.h"

#include <fmt/ranges.h>

#include <algorithm>

using namespace fixture;
using enum vesk::Regularity;

namespace {

const Chunk kComm = commChunk(1, 4, 16, extended(44100));
const Chunk kFmt = fmtChunk(1, 1, 44100, 16, 2);
const Chunk kDesc = cafDescChunk(44100, "lpcm", 0, 2, 1, 1, 16);
const Chunk kOdd = chunk("NAME", "odd");
const Chunk kSsnd = ssndChunk(8);
const Chunk kData = dataChunk(8);
const Chunk kList = chunk("LIST", infoListPayload({{"INAM", "abc"}}));  // 16 bytes

using Chunks = std::vector<Chunk>;
const auto wav = [](const Chunks& all, const FormLies& lies = {}) { return formFile("RIFF", "WAVE", all, lies); };
const auto aiff = [](const Chunks& all, const FormLies& lies = {}) { return formFile("FORM", "AIFF", all, lies); };
const auto rf64 = [](const Chunks& all) { return formFile("RF64", "WAVE", all); };

// A file of well-formed chunks whose form's size is `difference` off.
Bytes wavOffBy(int difference, const std::vector<Chunk>& chunks, const Bytes& trailing = {}) {
  const uint32_t size = wav(chunks).size() - 8 + difference;
  return wav(chunks, {.size = size, .trailing = trailing});
}

using Case = std::tuple<const char*, Bytes, vesk::Regularity, const char*, const char*>;

void expectCases(const std::vector<Case>& cases) {
  for (const auto& [name, bytes, regularity, chunks, partOfWhatIsSaid] : cases) {
    SCOPED_TRACE(name);
    const Probe opened = probe(bytes);
    ASSERT_TRUE(opened.file) << opened.detail;
    EXPECT_EQ(chunkLine(*opened.file), chunks);
    const std::string said = fmt::format("{}", fmt::join(opened.file->irregularities(), "; "));
    EXPECT_EQ(opened.file->regularity(), regularity) << said;
    EXPECT_NE(said.find(partOfWhatIsSaid), std::string::npos) << said;
    EXPECT_EQ(said.empty(), regularity == regular);
  }
}

}  // namespace

TEST(AudioFileChunks, ARunOfChunksIsFoundWhateverTheSizesSay) {
  const Chunk sampler = chunk("smpl", Bytes(36));  // its size is "$", its payload begins with zeros
  const Chunk lettered = {.id = "NAME", .payload = bytesOf("odd"), .pad = 'X'};
  const Bytes tag = bytesOf("TAGTitle of a song, thirty bytes and more of text");
  expectCases({
      {"all well", aiff({kOdd, kComm, kSsnd, kOdd}), regular, "NAME 3+, COMM 18, SSND 16, NAME 3+", ""},
      {"form too large", wavOffBy(1, {kFmt, kData}), benign, "fmt  16, data 8", "larger"},
      {"form forgets a chunk", wavOffBy(-24, {kFmt, kData, kList}), benign, "fmt  16, data 8, LIST 16", "smaller"},
      {"form of size 0", wav({kFmt, kData, kList}, {.size = 0}), benign, "fmt  16, data 8, LIST 16", "its size"},
      {"last pad missing", aiff({kComm, kSsnd, unpadded(kOdd)}), benign, "COMM 18, SSND 16, NAME 3", "pad byte"},
      {"text behind the form", wavOffBy(0, {kFmt, kData}, tag), benign, "fmt  16, data 8", "bytes follow"},
      {"and no pad", wav({kFmt, unpadded(dataChunk(7))}, {.trailing = tag}), benign, "fmt  16, data 7", "bytes follow"},
      {"a few zeros in the form", wavOffBy(4, {kFmt, kData}, Bytes(4)), benign, "fmt  16, data 8", "a few bytes"},
      {"many zeros in the form", wavOffBy(400, {kFmt, kData}, Bytes(400)), ambiguous, "fmt  16, data 8", "no chunks"},
      {"two files in one", wav({kFmt, kData}, {.trailing = wavFile()}), ambiguous, "fmt  16, data 8", "second form"},
      {"two audio chunks", wav({kFmt, kData, kData}), ambiguous, "fmt  16, data 8, data 8", "two audio"},
      {"two format chunks", aiff({kComm, kSsnd, kComm}), ambiguous, "COMM 18, SSND 16, COMM 18", "two format"},
      {"streamed", wav({kFmt, unpadded(lying(dataChunk(9), 0xFFFFFFFF))}), benign, "fmt  16, data 9", "unknown"},
      {"AIFF", aiff({kComm, lying(kSsnd, 0x7FFFFFFF)}, {.size = 0x7FFFFFFF}), benign, "COMM 18, SSND 16", "unknown"},
      {"audio cut off", wav({kFmt, lying(kData, 1000)}), ambiguous, "fmt  16, data 8", "audio is cut off"},
      {"cut off", wav({kFmt, kData, lying(kList, 17)}), ambiguous, "fmt  16, data 8, LIST 16", "last chunk is cut off"},
      {"a size that would wrap", wav({kFmt, lying(kList, 0xFFFFFFF8), kData}), ambiguous, "fmt  16, LIST 32", "is cut"},
      {"crashed recorder", wav({kFmt, lying(kData, 0)}), ambiguous, "fmt  16, data 0", "says that it is empty"},
      {"empty audio at the end", wav({kFmt, dataChunk(0)}), regular, "fmt  16, data 0", ""},
      {"no pads", aiff({unpadded(kOdd), unpadded(kOdd), kComm}), ambiguous, "NAME 3, NAME 3, COMM 18", "no pad"},
      {"where letters and a size look like an id", wav({kFmt, unpadded(dataChunk(7)), sampler, dataChunk(0)}),
       ambiguous, "fmt  16, data 7, smpl 36, data 0", "no pad"},
      {"a pad like a letter", aiff({lettered, kComm, kSsnd}), regular, "NAME 3+, COMM 18, SSND 16", ""},
      {"a pad, then a cut", aiff({kComm, kOdd, lying(kSsnd, 500)}), ambiguous, "COMM 18, NAME 3+, SSND 16", "cut off"},
  });
}

TEST(AudioFileChunks, CAFChunksStandWithoutPadding) {
  const Chunk data = cafDataChunk(8);
  expectCases({
      {"all well", cafFileOf({kDesc, kOdd, data, kOdd}), regular, "desc 32, NAME 3, data 12, NAME 3", ""},
      {"streamed", cafFileOf({kDesc, lying(data, ~uint64_t{0})}), benign, "desc 32, data 12", "unknown"},
      {"-1 elsewhere", cafFileOf({kDesc, data, lying(kOdd, ~uint64_t{0})}), ambiguous, "desc 32, data 12", "no chunks"},
      {"near 2^63", cafFileOf({kDesc, lying(data, ~uint64_t{0} >> 1)}), ambiguous, "desc 32, data 12", "is cut off"},
      {"cut off", cafFileOf({kDesc, data, lying(kOdd, 4)}), ambiguous, "desc 32, data 12, NAME 3", "cut off"},
      {"no id", cafFileOf({kDesc, data, {.id = "dat\x7F"}}), ambiguous, "desc 32, data 12", "no chunks"},
      {"description behind the audio", cafFileOf({data, kDesc}), ambiguous, "data 12, desc 32", "not its first"},
  });
}

TEST(AudioFileChunks, RF64TakesItsLongSizesFromDs64) {
  const Chunk longData = lying(kData, 0xFFFFFFFF);
  const Chunk longLabel = lying(chunk("labl", "12345678"), 0xFFFFFFFF);
  const Chunk shorterLabel = lying(chunk("labl", "123456"), 0xFFFFFFFF);
  Chunk table = ds64Chunk(0, 8, 4);
  table.payload.resize(24);
  table.payload = Builder{table.payload}.u32le(2).text("labl").u64le(8).text("labl").u64le(6).bytes;
  const auto sized = [](std::vector<Chunk> chunks) {  // with the true form size in ds64
    const Bytes size = Builder{}.u64le(rf64(chunks).size() - 8).bytes;
    std::copy(size.begin(), size.end(), chunks.front().payload.begin());
    return rf64(chunks);
  };
  expectCases({
      {"chunks behind the audio", sized({ds64Chunk(0, 8, 4), kFmt, longData, kList}), regular,
       "ds64 28, fmt  16, data 8, LIST 16", ""},
      {"a table for other chunks", sized({table, kFmt, longLabel, longData, shorterLabel}), regular,
       "ds64 52, fmt  16, labl 8, data 8, labl 6", ""},
      {"no ds64", rf64({kFmt, longData}), ambiguous, "fmt  16, data 8", "ds64"},
      {"late ds64", rf64({kFmt, ds64Chunk(0, 8, 4), kData}), ambiguous, "fmt  16, ds64 28, data 8", "ds64"},
      {"short ds64", rf64({chunk("ds64", "12345678"), kFmt, longData}), ambiguous, "ds64 8, fmt  16, data 8", "ds64"},
      {"audio size near 2^64", sized({ds64Chunk(0, ~uint64_t{0} - 7, 4), kFmt, longData}), ambiguous,
       "ds64 28, fmt  16, data 8", "audio is cut off"},
      {"-1", sized({ds64Chunk(0, ~uint64_t{0}, 4), kFmt, longData}), benign, "ds64 28, fmt  16, data 8", "unknown"},
  });

  constexpr uint64_t kAudioSize = uint64_t{5} << 30;
  const Bytes head =
      rf64({ds64Chunk(kAudioSize + 92, kAudioSize, kAudioSize / 2), kFmt, lying(dataChunk(0), 0xFFFFFFFF)});
  const Bytes tail = Builder{}.text("labl").u32le(4).text("last").bytes;
  const Probe large(std::make_unique<Sparse>(head, kAudioSize, tail));
  ASSERT_TRUE(large.file);
  EXPECT_EQ(large.file->audioDataPacketCount(), static_cast<int64_t>(kAudioSize / 2));
  EXPECT_EQ(large.file->userData("labl"), bytesOf("last"));
}

TEST(AudioFileChunks, AnIndexCountsTheChunksOfOneId) {
  const auto opened = probe(cafFile({chunk("uuid", "first"), kOdd, chunk("uuid", ""), chunk("uuid", "third")}));
  const vesk::AudioFile& file = *opened.file;
  EXPECT_EQ(file.userDataCount("uuid"), 3u);
  EXPECT_EQ(file.userData("uuid", 1), Bytes{});
  EXPECT_EQ(file.userData("uuid", 2, 2), bytesOf("th"));
  EXPECT_EQ(file.userData("uuid", 2, 99), bytesOf("third"));
  EXPECT_EQ(file.userData("uuid", 3), std::nullopt);
  EXPECT_EQ(file.userDataSize("UUID"), std::nullopt);
}

TEST(AudioFileChunks, NothingReachesBeyondTheFile) {
  const Bytes tag = bytesOf("TAG and more than eight bytes");
  const Bytes tagged = wav({kFmt, kData, kOdd}, {.trailing = tag});
  EXPECT_EQ(probe(tagged).file->contents().chunksEnd, tagged.size() - tag.size());

  const Probe cut = probe(aiff({kComm, kSsnd, lying(chunk("cate", "cut off!"), 0x7FFFFFF0)}));
  EXPECT_EQ(cut.file->userDataSize("cate"), 0x7FFFFFF0u);
  EXPECT_EQ(cut.file->userData("cate", 0, 4), std::nullopt) << "half a tag is no tag";

  // 300 MiB that are there, but are nothing to read in one piece.
  constexpr uint32_t kLarge = 300u << 20;
  const Bytes head = aiff({kComm, lying(chunk("junk", ""), kLarge)});
  const Probe large(std::make_unique<Sparse>(head, kLarge));
  EXPECT_EQ(large.file->userDataSize("junk"), kLarge);
  EXPECT_EQ(large.file->userData("junk"), std::nullopt);
  EXPECT_EQ(large.file->userData("junk", 0, 20000), Bytes(20000));
}

// Quadratic work would take minutes, which no test may.
TEST(AudioFileChunks, FiftyThousandChunksAreReadInLinearTimeAndOneMoreIsRefused) {
  for (const auto container : {cafFile, aiffFile}) {
    const Probe opened = probe(container(std::vector<Chunk>(49998, chunk("uuid", "x")), 1, 1, 16, 44100));
    ASSERT_TRUE(opened.file) << opened.detail;
    ASSERT_EQ(opened.file->userDataCount("uuid"), 49998u);
    for (size_t i = 0; i < 49998; ++i) ASSERT_EQ(opened.file->userDataSize("uuid", i), 1u);
    const Probe refused = probe(container(std::vector<Chunk>(49999, chunk("uuid", "x")), 1, 1, 16, 44100));
    EXPECT_EQ(refused.error, vesk::OpenError::malformed);
    EXPECT_NE(refused.detail.find("50,000"), std::string::npos);
  }
}
