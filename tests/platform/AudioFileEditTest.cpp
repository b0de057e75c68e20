// Editing audio files: what a commit writes, what never changes, and what is refused.
#include "platform/audiofile/AudioFileEdit.h"

#include "AudioFileProbe.h"
#include "platform/audiofile/SplicedFile.h"
#include "platform/Path.h"
#include "support/TestEnvironment.h"

#include <sys/stat.h>

#include <algorithm>

using namespace fixture;
using vesk::AudioFileEdit;
using enum vesk::EditError;
using enum vesk::AudioFileEdit::Outcome;

namespace {

using Chunks = std::vector<Chunk>;
const auto wav = [](const Chunks& all, const FormLies& lies = {}) { return formFile("RIFF", "WAVE", all, lies); };
const auto aiff = [](const Chunks& all, const FormLies& lies = {}) { return formFile("FORM", "AIFF", all, lies); };
const auto rf64 = [](const Chunks& all, const FormLies& lies = {}) { return formFile("RF64", "WAVE", all, lies); };

const Bytes kSound = bytesFromHex("01 FF 80 7F 00 2A 13");
const Chunk kComm = commChunk(1, 7, 8, extended(44100));
const Chunk kSsnd = chunk("SSND", Builder{}.u32be(2).u32be(9).u16be(0xABCD).raw(kSound).bytes);
const Chunk kFmt = fmtChunk(1, 1, 44100, 8, 1);
const Chunk kData = chunk("data", kSound);
const Chunk kLongData = lying(kData, 0xFFFFFFFF);
const Chunk kDesc = cafDescChunk(44100, "lpcm", 0, 1, 1, 1, 8);
const Chunk kCAFData = chunk("data", Builder{}.u32be(77).raw(kSound).bytes);  // the edit count stays
const Chunk kLettered = {.id = "APPL", .payload = bytesOf("odd"), .pad = 'X'};
const Chunk kNew = chunk("cate", "new");
const Chunk kOld = chunk("cate", "older");

struct Edit {
  vesk::FourCC id;
  size_t index = 0;
  std::optional<Bytes> payload = {};  // none: remove
};
using Edits = std::vector<Edit>;
const Edits kAppend = {{"cate", 0, kNew.payload}};

std::unique_ptr<AudioFileEdit> editOf(std::unique_ptr<vesk::ByteSource> bytes) {
  vesk::WriteFailure failure;
  auto edit = AudioFileEdit::open(std::move(bytes), failure);
  EXPECT_TRUE(edit) << failure.message;
  return edit;
}

std::unique_ptr<AudioFileEdit> editOf(std::span<const std::byte> bytes) {
  return editOf(std::make_unique<vesk::MemoryBytes>(bytes));
}

void apply(AudioFileEdit& edit, const Edits& edits) {
  for (const auto& [id, index, payload] : edits) {
    EXPECT_EQ(payload ? edit.setUserData(id, index, *payload) : edit.removeUserData(id, index), none) << id.text();
  }
}

Bytes bytesAt(const std::string& path) {
  vesk::OpenError error;
  std::string detail;
  const auto file = vesk::FileBytes::open(path, error, detail);
  return *file->upTo(0, file->size());
}

// Commits the edits to a file of these bytes, twice; the second time nothing may be touched.
Bytes committed(const Bytes& before, const Edits& edits) {
  const TemporaryFolder folder;
  const std::string path = folder.path("loop");
  writeFile(path, before);
  for (const auto expected : {written, unchanged}) {
    struct stat status = {};
    ::stat(path.c_str(), &status);
    vesk::WriteFailure failure;
    const auto edit = AudioFileEdit::open(path, failure);
    if (!edit) return bytesOf(failure.message);
    // What was removed or appended the first time is not there, or is, the second time.
    for (const Edit& each : edits) {
      if (expected == written || each.payload) apply(*edit, {each});
    }
    EXPECT_EQ(edit->commit(failure), expected) << failure.message;
    const ino_t inode = status.st_ino;
    ::stat(path.c_str(), &status);
    EXPECT_EQ(status.st_ino == inode, expected == unchanged);
  }
  EXPECT_EQ(vesk::path::subpaths(folder.path()), Texts{"loop"});
  return bytesAt(path);
}

}  // namespace

TEST(AudioFileEdit, OnlyTheEditedChunksAndTheSizesAroundThemChange) {
  const Bytes tag = bytesOf("TAGTitle of a song, thirty bytes and more of text");
  const Chunk filler = chunk("free", Bytes(5));
  const Chunk uuid = chunk("uuid", "same id");
  Chunk table = ds64Chunk(0, 7, 4);
  table.payload.resize(24);
  table.payload = Builder{table.payload}.u32le(1).text("labl").u64le(8).bytes;
  const Chunk longLabel = lying(chunk("labl", "12345678"), 0xFFFFFFFF);
  const auto sized = [](Chunks chunks, const FormLies& lies = {}) {  // with the true form size in ds64
    const Bytes size = Builder{}.u64le(rf64(chunks).size() - 8).bytes;
    std::copy(size.begin(), size.end(), chunks.front().payload.begin());
    return rf64(chunks, lies);
  };
  const auto streamedDs64 = [](uint64_t size) { return ds64Chunk(0, size, 7); };
  const std::tuple<const char*, Bytes, Edits, Bytes> cases[] = {
      {"AIFF: appended", aiff({kLettered, kComm, kSsnd}), kAppend, aiff({kLettered, kComm, kSsnd, kNew})},
      {"replaced before the audio", aiff({kOld, kLettered, kComm, kSsnd}), kAppend,
       aiff({kNew, kLettered, kComm, kSsnd})},
      {"removed between others",
       aiff({kComm, kLettered, kOld, kLettered, kSsnd}),
       {{"cate"}},
       aiff({kComm, kLettered, kLettered, kSsnd})},
      {"the second of three",
       aiff({kComm, kOld, kOld, kSsnd, kOld}),
       {{"cate", 1, kNew.payload}},
       aiff({kComm, kOld, kNew, kSsnd, kOld})},
      {"several at once",
       aiff({kComm, kOld, kSsnd, kLettered}),
       {{"cate"}, {"NAME", 0, bytesOf("a")}, {"basc", 0, bytesOf("bb")}},
       aiff({kComm, kSsnd, kLettered, chunk("NAME", "a"), chunk("basc", "bb")})},
      {"an empty chunk", aiff({kComm, kSsnd}), {{"cate", 0, Bytes{}}}, aiff({kComm, kSsnd, chunk("cate", "")})},
      {"last pad missing", aiff({kComm, kSsnd, unpadded(kLettered)}), kAppend,
       aiff({kComm, kSsnd, {.id = "APPL", .payload = kLettered.payload}, kNew})},
      {"last pad missing, form too large", aiff({kOld, kComm, unpadded(kSsnd)}, {.size = 900}), kAppend,
       aiff({kNew, kComm, kSsnd})},
      {"audio to the end", aiff({kComm, lying(unpadded(kSsnd), 0x7FFFFFFF)}, {.size = 0x7FFFFFFF}), kAppend,
       aiff({kComm, kSsnd, kNew})},
      {"RIFX", formFile("RIFX", "WAVE", {fmtChunk(1, 1, 44100, 8, 1, true), kData, kLettered}), kAppend,
       formFile("RIFX", "WAVE", {fmtChunk(1, 1, 44100, 8, 1, true), kData, kLettered, kNew})},
      {"WAV: form too small", wav({kFmt, kData, kLettered}, {.size = 36}), kAppend,
       wav({kFmt, kData, kLettered, kNew})},
      {"form without a size", wav({kFmt, kData, kLettered}, {.size = 0}), kAppend, wav({kFmt, kData, kLettered, kNew})},
      {"form one too large", wav({kFmt, kData}, {.size = 45}), kAppend, wav({kFmt, kData, kNew})},
      {"text behind the form", wav({kFmt, kData}, {.trailing = tag}), kAppend,
       wav({kFmt, kData, kNew}, {.trailing = tag})},
      {"and no pad", wav({kFmt, unpadded(kData)}, {.trailing = tag}), kAppend,
       wav({kFmt, kData, kNew}, {.trailing = tag})},
      {"a few zeros in the form", wav({kFmt, kData}, {.size = 48, .trailing = Bytes(4)}), kAppend,
       wav({kFmt, kData, kNew}, {.trailing = Bytes(4)})},
      {"streamed", wav({kFmt, unpadded(kLongData)}, {.size = 0xFFFFFFFF}), kAppend, wav({kFmt, kData, kNew})},
      {"streamed, chunk before", wav({kFmt, kOld, unpadded(kLongData)}, {.size = 0xFFFFFFFF}), kAppend,
       wav({kFmt, kNew, kData})},
      {"empty audio", wav({kFmt, kLettered, dataChunk(0)}), kAppend, wav({kFmt, kLettered, kNew, dataChunk(0)})},
      {"RF64", sized({ds64Chunk(0, 7, 7), kFmt, kLongData, kLettered}), kAppend,
       sized({ds64Chunk(0, 7, 7), kFmt, kLongData, kLettered, kNew})},
      {"with a table",
       sized({table, kFmt, longLabel, kLongData, kOld}),
       {{"cate"}},
       sized({table, kFmt, longLabel, kLongData})},
      {"streamed RF64", sized({streamedDs64(~uint64_t{0}), kFmt, unpadded(kLongData)}), kAppend,
       sized({streamedDs64(7), kFmt, kLongData, kNew})},
      {"with a true short size", rf64({ds64Chunk(0, 7, 7), kFmt, kLongData}, {.size = 80}), kAppend,
       sized({ds64Chunk(0, 7, 7), kFmt, kLongData, kNew}, {.size = 92})},
      {"CAF",
       cafFileOf({kDesc, kCAFData, filler, uuid}),
       {{"uuid", 1, kNew.payload}},
       cafFileOf({kDesc, kCAFData, filler, uuid, chunk("uuid", "new")})},
      {"CAF, streamed", cafFileOf({kDesc, filler, lying(kCAFData, ~uint64_t{0})}), kAppend,
       cafFileOf({kDesc, filler, kCAFData, kNew})},
      {"removed and appended",
       cafFileOf({kDesc, uuid, kCAFData, filler}),
       {{"uuid"}, {"uuid", 0, uuid.payload}},
       cafFileOf({kDesc, kCAFData, filler, uuid})},
  };
  for (const auto& [name, before, edits, after] : cases) {
    SCOPED_TRACE(name);
    EXPECT_EQ(committed(before, edits), after);
  }
}

TEST(AudioFileEdit, WhatReadsTheSameIsNotWritten) {
  const Chunk other = chunk("uuid", "other");
  const Bytes before = cafFileOf({kDesc, kCAFData, other, chunk("uuid", "last")});
  const auto edit = editOf(before);
  apply(*edit,
        {{"uuid", 0, other.payload}, {"uuid", 1}, {"uuid", 1, bytesOf("last")}, {"cate", 0, bytesOf("x")}, {"cate"}});
  EXPECT_FALSE(edit->hasChanges());
  apply(*edit, {{"uuid", 1}, {"uuid", 1, bytesOf("Last")}});
  EXPECT_TRUE(edit->hasChanges());
}

TEST(AudioFileEdit, EditsAreReadBackBeforeTheCommitAndForgottenWithoutOne) {
  const TemporaryFolder folder;
  const Bytes before = cafFileOf({kDesc, chunk("uuid", "a"), kCAFData, chunk("uuid", "b"), chunk("uuid", "c")});
  writeFile(folder.path("a.caf"), before);
  vesk::WriteFailure failure;
  {
    const auto edit = AudioFileEdit::open(folder.path("a.caf"), failure);
    apply(*edit, {{"uuid", 1}, {"uuid", 2, bytesOf("four")}, {"uuid", 0, bytesOf("one")}});
    EXPECT_EQ(edit->userDataCount("uuid"), 3u);
    EXPECT_EQ(edit->userData("uuid", 0), bytesOf("one"));
    EXPECT_EQ(edit->userData("uuid", 1), bytesOf("c"));
    EXPECT_EQ(edit->userDataSize("uuid", 2), 4u);
    EXPECT_EQ(edit->userData("uuid", 3), std::nullopt);
    EXPECT_EQ(chunkLine(*edit->preview(failure)), "desc 32, uuid 3, data 11, uuid 1, uuid 4");
  }
  EXPECT_EQ(bytesAt(folder.path("a.caf")), before);

  const auto edit = AudioFileEdit::open(folder.path("a.caf"), failure);
  apply(*edit, {{"uuid", 0}});
  EXPECT_EQ(edit->commit(failure), written);
  EXPECT_EQ(chunkLine(edit->file()), "desc 32, data 11, uuid 1, uuid 1") << "it goes on with the new file";
  apply(*edit, {{"uuid", 0}});
  EXPECT_EQ(edit->commit(failure), written) << failure.message;
  EXPECT_EQ(bytesAt(folder.path("a.caf")), cafFileOf({kDesc, kCAFData, chunk("uuid", "c")}));
}

TEST(AudioFileEdit, WhatDoesNotReadBackDoesNotBecomeTheFile) {
  const TemporaryFolder folder;
  vesk::WriteFailure failure;
  const auto found = vesk::FoundFile::open(folder.addFile("a", "abcdef"), failure);
  vesk::Splice splice;
  splice.keep(3, 2);
  splice.add(bytesOf("new"));
  const auto shared = std::make_shared<const vesk::Splice>(splice);
  const auto isMeant = [](bool answer) {
    return [answer](auto written) { return *written->upTo(0, 9) == bytesOf("denew") && answer; };
  };
  EXPECT_FALSE(vesk::replaceBySplice(*found, shared, isMeant(false), {}, failure));
  EXPECT_EQ(failure.error, vesk::WriteError::notReadBack);
  EXPECT_EQ(bytesAt(folder.path("a")), bytesOf("abcdef"));
  EXPECT_TRUE(vesk::replaceBySplice(*found, shared, isMeant(true), {}, failure));
  EXPECT_EQ(bytesAt(folder.path("a")), bytesOf("denew"));
}

TEST(AudioFileEdit, EachEditThatIsNoneHasItsCode) {
  Chunk table = ds64Chunk(0, 7, 4);
  table.payload.resize(24);
  table.payload = Builder{table.payload}.u32le(1).text("labl").u64le(4).bytes;
  const Bytes longs = rf64({table, kFmt, lying(chunk("labl", "1234"), 0xFFFFFFFF), kLongData});
  const auto set = [](const Bytes& file, vesk::FourCC id, size_t index, size_t size = 5) {
    return editOf(file)->setUserData(id, index, Bytes(size));
  };
  EXPECT_EQ(vesk::codeOf(editOf(aiffFile())->removeUserData("NAME")), vesk::FourCC("chk?"));
  for (const auto& [file, ids] : {std::pair(aiffFile(), Texts{"COMM", "SSND", "FVER"}),
                                  std::pair(wavFile(), Texts{"fmt ", "data", "fact", "ds64"}),
                                  std::pair(cafFile(), Texts{"desc", "data", "pakt", "kuki", "chan"})}) {
    for (const std::string& id : ids) {
      const auto code = vesk::FourCC::fromBytes(std::as_bytes(std::span(id)).data());
      EXPECT_EQ(set(file, code, 0), structuralChunk) << id;
      EXPECT_EQ(editOf(file)->removeUserData(code), structuralChunk) << id;
    }
  }
  EXPECT_EQ(set(aiffFile({kOld}), "cate", 2), badIndex);
  EXPECT_EQ(set(aiffFile(), "abc\n", 0), badID);
  EXPECT_EQ(set(wavFile(), "RIFF", 0), badID);
  EXPECT_EQ(set(wavFile(), "LIST", 0, 4), emptyList);
  EXPECT_EQ(set(wavFile(), "LIST", 0, 14), none);
  EXPECT_EQ(set(longs, "labl", 0), longSize);
  EXPECT_EQ(editOf(longs)->removeUserData("labl"), longSize);
  EXPECT_EQ(set(longs, "labl", 1), none);
  EXPECT_EQ(set(cafFile(Chunks(49998, chunk("uuid", "x"))), "uuid", 49998), tooManyChunks);
  EXPECT_EQ(editOf(wavFile())->mergeInfo(std::vector<vesk::InfoEdit>{{"title", "x"}}), noInfoDictionary);
  EXPECT_EQ(editOf(cafFile())->mergeInfo(std::vector<vesk::InfoEdit>{{"title", std::string("a\0b", 3)}}), badText);
}

TEST(AudioFileEdit, TheInfoDictionaryIsMerged) {
  const auto info = [](const std::vector<Bytes>& texts, uint32_t count, std::string_view rest = {}) {
    Builder payload;
    payload.u32be(count);
    for (const Bytes& text : texts) payload.raw(text);
    return payload.text(rest).bytes;
  };
  const auto pair = [](std::string_view key, std::string_view value) {
    return Builder{}.text(key).u8(0).text(value).u8(0).bytes;
  };
  const Bytes latin = pair("artist", "J\xF6rg");
  const Bytes title = pair("title", "old");
  const Bytes tempo = pair("tempo", "120");
  using Merge = std::vector<vesk::InfoEdit>;
  const Merge set = {{"title", "new"}};
  const std::tuple<const char*, Bytes, Merge, std::optional<Bytes>> cases[] = {
      {"in its place", info({latin, title, tempo}, 3), set, info({latin, pair("title", "new"), tempo}, 3)},
      {"at the end", info({latin}, 1), set, info({latin, pair("title", "new")}, 2)},
      {"in the order given", info({}, 0), {{"z", "1"}, {"a", "2"}}, info({pair("z", "1"), pair("a", "2")}, 2)},
      {"it stands once", info({title, tempo, title}, 3), set, info({pair("title", "new"), tempo}, 2)},
      {"taken out", info({title, tempo, title}, 3), {{"title", std::nullopt}}, info({tempo}, 1)},
      {"the last one taken out", info({title}, 1), {{"title", std::nullopt}}, std::nullopt},
      {"reads so already",
       info({latin, title}, 2),
       {{"title", "old"}, {"artist", "Jörg"}, {"x", std::nullopt}},
       info({latin, title}, 2)},
      {"the count lies", info({latin}, 9), set, info({latin, pair("title", "new")}, 2)},
      {"bytes behind the pairs", info({latin}, 1, "rest"), set, info({latin, pair("title", "new")}, 2, "rest")},
      {"no zero at the end", info({bytesFromHex("61 00 62")}, 1), set, info({pair("a", "b"), pair("title", "new")}, 2)},
      {"half a pair", info({latin}, 2, "half"), set, info({latin, pair("title", "new")}, 2, "half")},
  };
  for (const auto& [name, before, edits, after] : cases) {
    SCOPED_TRACE(name);
    const auto edit = editOf(cafFileOf({kDesc, chunk("info", before), kCAFData}));
    EXPECT_EQ(edit->mergeInfo(edits), none);
    EXPECT_EQ(edit->userData("info"), after);
    EXPECT_EQ(edit->hasChanges(), before != after);
  }
  const auto edit = editOf(cafFile());
  EXPECT_EQ(edit->mergeInfo(Merge{{"artist", "Jörg"}}), none);
  EXPECT_EQ(edit->infoDictionary()->at("artist"), "Jörg");
}

TEST(AudioFileEdit, WhatIsNotSafeToRewriteIsRefusedWithTheReason) {
  using enum vesk::WriteError;
  const TemporaryFolder folder;
  const std::tuple<Bytes, vesk::WriteError, const char*> cases[] = {
      {wav({kFmt, lying(kData, 1000)}), irregular, "the audio is cut off"},
      {wav({kFmt, lying(kData, 0), kLettered}), irregular, "says that it is empty"},
      {wav({kFmt, kData, kData}), irregular, "two audio chunks"},
      {wav({kFmt, kData}, {.trailing = wavFile()}), irregular, "a second form"},
      {aiff({kComm, unpadded(kLettered), kSsnd}), irregular, "no pad byte"},
      {rf64({kFmt, kLongData}), irregular, "ds64"},
      {cafFileOf({kDesc, kCAFData, lying(kOld, 9)}), irregular, "cut off"},
      {Builder{}.text("ID3").zeros(20).bytes, notAudio, "ID3"},
      {wav({kData}), malformed, "no format chunk"},
  };
  for (const auto& [bytes, error, reason] : cases) {
    writeFile(folder.path("a"), bytes);
    vesk::WriteFailure failure;
    EXPECT_FALSE(AudioFileEdit::open(folder.path("a"), failure));
    EXPECT_EQ(failure.error, error) << failure.message;
    EXPECT_TRUE(failure.message.starts_with(folder.path("a: ")) && failure.message.find(reason) != std::string::npos)
        << failure.message;
  }
  writeFile(folder.path("a"), Bytes(402));
  writeFile(folder.path("._a"), soundDesignerFork('2', "44100.0000", '2'));
  vesk::WriteFailure failure;
  EXPECT_FALSE(AudioFileEdit::open(folder.path("a"), failure));
  EXPECT_EQ(failure.error, noChunks) << failure.message;
}

TEST(AudioFileEdit, AFormOf32BitsDoesNotGrowPast4GiB) {
  constexpr uint64_t kAudioSize = 0xFFFFFFFF - 100;
  const auto append = [](const Bytes& head, size_t size) {
    const auto edit = editOf(std::make_unique<Sparse>(head, kAudioSize - 1));
    apply(*edit, {{"cate", 0, Bytes(size)}});
    vesk::WriteFailure failure;
    edit->edited(failure);
    return failure.error;
  };
  const Bytes form = wav({kFmt, lying(dataChunk(0), kAudioSize - 1)}, {.size = 0});
  EXPECT_EQ(append(form, 56), vesk::WriteError::none);
  EXPECT_EQ(append(form, 57), vesk::WriteError::tooLarge);
  EXPECT_EQ(append(rf64({ds64Chunk(0, kAudioSize - 1, 1), kFmt, lying(dataChunk(0), 0xFFFFFFFF)}), 999),
            vesk::WriteError::none);
}
