#include "fileio/LCAIFParser.h"

#include "ParserFixture.h"

#include <filesystem>

using namespace fixture;

namespace {

LCFileData parsed(const std::vector<Chunk>& chunks, Parse parse = Parse::plain) {
  return recordOf("q.aif", aiffFile(chunks), parse);
}

struct Flags {
  bool authored;
  bool loopType;
  bool operator==(const Flags&) const = default;
};
constexpr Flags kNone{false, false}, kAuthored{true, false}, kBoth{true, true};
Flags flagsOf(const LCFileData& record) {
  return {record.hasAuthoredChunks, record.hasLoopTypeChunks};
}
std::ostream& operator<<(std::ostream& out, Flags flags) {
  return out << flags.authored << flags.loopType;
}

Bytes withBytes(Bytes payload, size_t offset, std::string_view bytes) {
  const Bytes replacement = bytesOf(bytes);
  std::copy(replacement.begin(), replacement.end(), payload.begin() + static_cast<ptrdiff_t>(offset));
  return payload;
}

Bytes cut(Bytes payload, size_t size) {
  payload.resize(size);
  return payload;
}

}  // namespace

TEST(LCAIFParser, TaggingChunksFillTheirFields) {
  const auto record = parsed({
      chunk("basc", bascPayload(16, 57, 2, 6, 8, 1)),
      chunk("cate", catePayload("Bass", "Electric Bass", "Jazz", {"Dry", "Dark"})),
      chunk("coll", collPayload("Garage", "Night")),
      chunk("AUTH", "Ann"),  // odd, so a pad byte follows
      chunk("(c) ", "2004 Ann "),
      chunk("NAME", "Walk\u00FCre"),
      chunk("COMT", comtPayload({" first \n", "second"})),
  });
  EXPECT_EQ(record.beatCount, 16);
  EXPECT_EQ(record.midiRootNote, 57);
  EXPECT_EQ(record.keyType, 2);
  EXPECT_EQ(record.signatureTop, 6);
  EXPECT_EQ(record.signatureBottom, 8);
  EXPECT_EQ(record.fileType, 1);
  EXPECT_EQ(record.instrumentTypeTag, "Bass");
  EXPECT_EQ(record.instrumentSubTypeTag, "Electric Bass");
  EXPECT_EQ(record.genreTag, "Jazz");
  EXPECT_EQ(record.descriptors, (vesk::StringSet{"Dark", "Dry"}));
  EXPECT_EQ(record.collectionTag, "Garage");
  EXPECT_EQ(record.themeTag, "Night");
  EXPECT_EQ(record.authorTag, "Ann");
  EXPECT_EQ(record.copyrightTag, "2004 Ann ");  // nothing is taken off
  EXPECT_EQ(record.title, "Walk\u00FCre");
  EXPECT_EQ(record.commentTag, "first");
  EXPECT_EQ(flagsOf(record), kBoth);

  const auto untagged = parsed({chunk("AUTH", "")});
  EXPECT_EQ(untagged.authorTag, std::nullopt);
  EXPECT_EQ(untagged.descriptors, std::nullopt);
  EXPECT_EQ(flagsOf(untagged), kNone);
}

TEST(LCAIFParser, ChunksDecideTheFlags) {
  struct Case {
    const char* what;
    Chunk tagging;
    Flags plain;
    Flags enhanced;
  };
  const Bytes cate = catePayload("Bass", "", "");
  const Bytes basc = bascPayload(4, 0, 0, 4, 4, 1);
  const Case cases[] = {
      {"basc of 82 bytes", chunk("basc", basc), kBoth, kBoth},
      {"basc of 84 bytes", chunk("basc", cut(basc, 84)), kBoth, kBoth},
      {"basc of 83 bytes", chunk("basc", cut(basc, 83)), kNone, kNone},
      {"basc of 100 bytes", chunk("basc", cut(basc, 100)), kNone, kNone},
      {"cate of 221 bytes", chunk("cate", cut(cate, 221)), kNone, kNone},
      {"cate of an unknown version", chunk("cate", withBytes(cate, 0, "abcd")), kBoth, kBoth},
      {"coll of 103 bytes", chunk("coll", cut(collPayload("c", "t"), 103)), kNone, kNone},
      {"coll of an unknown version", chunk("coll", withBytes(collPayload("c", "t"), 0, "abcd")), kBoth, kBoth},
      {"genI that is no archive", chunk("genI", "x"), kBoth, kBoth},
      {"adLD", chunk("adLD", archiveNamed("additional-icon-only.archive")), kAuthored, kAuthored},
      {"Sequ", chunk("Sequ", "x"), kNone, kBoth},
      {"StSq", chunk("StSq", "x"), kBoth, kBoth},
      {"PTCH", chunk("PTCH", "x"), kBoth, kBoth},
      {".mid", chunk(".mid", "x"), kNone, kNone},
  };
  for (const auto& [what, tagging, plain, enhanced] : cases) {
    const auto record = parsed({tagging});
    EXPECT_EQ(flagsOf(record), plain) << what;
    EXPECT_EQ(flagsOf(parsed({tagging}, Parse::enhanced)), enhanced) << what;
    EXPECT_EQ(record.beatCount, tagging.id == "basc" && plain == kBoth ? 4 : 0) << what;
    EXPECT_EQ(record.collectionTag, std::nullopt) << what;
  }
}

TEST(LCAIFParser, OurOrderCountsAndNotTheFiles) {
  const auto midi = chunk("midi", "m");
  const auto bassPlayer = chunk("genI", archiveNamed("geninst-bass-player.archive"));
  const auto steps = chunk("StSq", "s");
  EXPECT_EQ(parsed({midi}).vireoLoopType, kLoopTypeMIDI);
  EXPECT_EQ(parsed({chunk("midi", ""), chunk(".mid", "m")}).vireoLoopType, kLoopTypeMIDI);
  EXPECT_EQ(parsed({chunk("midi", "")}).vireoLoopType, kLoopTypeAudio);
  EXPECT_EQ(parsed({bassPlayer, midi}).vireoLoopType, kLoopTypeBassPlayer);
  EXPECT_EQ(parsed({steps, bassPlayer, midi}).vireoLoopType, kLoopTypeStepSequencer);

  const auto twice = parsed({chunk("coll", collPayload("from coll", "theme of coll")),
                             chunk("cate", cateV2Payload("Bass", "", "", {}, "from cate", "theme of cate"))});
  EXPECT_EQ(twice.collectionTag, "from coll");
  EXPECT_EQ(twice.themeTag, "theme of coll");

  const auto patch = chunk("PTCH", "p");
  EXPECT_EQ(parsed({patch, chunk("adLD", archiveNamed("additional-icon-only.archive"))}).patchInfo, 1);
  EXPECT_EQ(parsed({patch, chunk("adLD", archiveNamed("additional-all-keys.archive"))}).patchInfo, 2);
}

TEST(LCAIFParser, OnlyAnEnhancedParseKeepsTheBulkyPayloads) {
  const std::vector<Chunk> chunks = {chunk("midi", "first"), chunk(".mid", "second"), chunk("Sequ", "events"),
                                     chunk("StSq", "steps"),
                                     chunk("genI", archiveNamed("geninst-bass-player.archive"))};
  LCFileData enhanced = parsed(chunks, Parse::enhanced);
  EXPECT_TRUE(enhanced.enhancedFileDataAvailable);
  EXPECT_EQ(enhanced.midiData, bytesOf("first"));
  EXPECT_EQ(enhanced.eventSequenceData, bytesOf("events"));
  EXPECT_EQ(enhanced.stepSequencerData, bytesOf("steps"));
  ASSERT_TRUE(enhanced.genInstDictionary);
  EXPECT_TRUE(enhanced.genInstDictionary->contains("kGenInst_Chunk_CharacterDict"));

  LCFileData plain = parsed(chunks);
  enhanced.enhancedFileDataAvailable = false;
  enhanced.midiData = enhanced.eventSequenceData = enhanced.stepSequencerData = std::nullopt;
  enhanced.genInstDictionary = std::nullopt;
  plain.storedFileURL = enhanced.storedFileURL;  // each in a folder of its own
  EXPECT_EQ(plain, enhanced);
}

TEST(LCAIFParser, CategoryChunksOfAnyShapeStayWithinTheirBytes) {
  const vesk::StringSet none;
  struct Case {
    const char* what;
    Bytes payload;
    vesk::StringSet descriptors;
    Text instrument;
    Text collection;
    Text theme;
  };
  const std::string longWord(60, 'x');
  const Bytes one = catePayload("Bass", "", "", {"Dry"});
  const Bytes second = cateV2Payload("Bass", "", "", {"Dry"}, "C", "T");
  const Case cases[] = {
      {"smallest", catePayload("Bass", "", ""), none, "Bass", {}, {}},
      {"room for one, count 0", cut(catePayload("Bass", "", ""), 272), none, "Bass", {}, {}},
      {"lying count", withBytes(one, 220, "\xFF\xFF"), {"Dry"}, "Bass", {}, {}},
      {"half a descriptor", cut(one, 271), none, "Bass", {}, {}},
      {"descriptor that is no UTF-8", withBytes(one, 222, "\xFF"), none, "Bass", {}, {}},
      {"field without a NUL", withBytes(one, 4, longWord.substr(0, 50)), {"Dry"}, longWord.substr(0, 50), {}, {}},
      {"field that is no UTF-8", withBytes(one, 4, "\xE9t\xE9"), {"Dry"}, {}, {}, {}},
      {"version 2", second, {"Dry"}, "Bass", "C", "T"},
      {"version 2, lying count", withBytes(second, 322, "\xFF\xFF"), {"Dry"}, "Bass", "C", "T"},
      {"version 2 without a count", cut(second, 323), none, "Bass", "C", "T"},
      {"version 2 without a theme", cut(second, 270), none, "Bass", "C", {}},
      {"version 2 in the smallest size", cut(second, 222), none, "Bass", "C", {}},
  };
  for (const auto& [what, payload, descriptors, instrument, collection, theme] : cases) {
    const auto record = parsed({chunk("cate", payload)});
    EXPECT_EQ(record.descriptors, descriptors) << what;
    EXPECT_EQ(record.instrumentTypeTag, instrument) << what;
    EXPECT_EQ(record.genreTag, "") << what;  // empty, which is not absent
    EXPECT_EQ(record.collectionTag, collection) << what;
    EXPECT_EQ(record.themeTag, theme) << what;
  }
}

TEST(LCAIFParser, CommentIsTheFirstOneAndBelievedOnlyWithinTheChunk) {
  struct Case {
    const char* what;
    const char* hex;
    Text comment;
  };
  const Case cases[] = {
      {"as our writers make it", "0001 00000000 0000 0003 20616200", "ab"},
      {"no comments", "0000 00000000 0000 0002 6162", {}},
      {"no text", "0001 00000000 0000 0000 6162", {}},
      {"longer than the chunk", "0001 00000000 0000 0003 6162", {}},
      {"only white space", "0001 00000000 0000 0002 2009", ""},
      {"no UTF-8", "0001 00000000 0000 0002 FFFE", {}},
      {"header only", "0001 00000000 0000 0001", {}},
      {"cut header", "0001 00000000", {}},
  };
  for (const auto& [what, hex, comment] : cases) {
    EXPECT_EQ(parsed({chunk("COMT", bytesFromHex(hex))}).commentTag, comment) << what;
  }
}

// Each prefix of a tagged file either has no parser or gives a record; sanitizers watch the reads.
TEST(LCAIFParser, FilesCutAtAnyByteAreHarmless) {
  const std::vector<Chunk> tags = {
      chunk("basc", bascPayload(4, 0, 0, 4, 4, 1)), chunk("cate", catePayload("Bass", "", "", {"Dry"})),
      chunk("adLD", archiveNamed("additional-all-keys.archive")), chunk("COMT", comtPayload({"x"}))};
  const std::vector<Chunk> uuids = {chunk("uuid", searchInfoPayload({{"category", "Bass"}, {"beat count", "4"}})),
                                    chunk("uuid", uuidPayload(kAdditionalDataID, bytesOf("bplist00")))};
  const std::pair<const char*, Bytes> files[] = {
      {"q.aif", aiffFile(tags, 1, 4, 8)},
      {"q.wav", wavFile({chunk("acid", acidPayload(2, 60, 4, 4, 4, 90)), tags[2]}, 1, 4, 8)},
      {"q.caf", cafFile(uuids, 1, 4, 8)},
  };
  for (const auto& [name, file] : files) {
    const LoopFile loop(name, file);
    size_t records = 0;
    for (size_t size = file.size(); size > 0; --size) {
      std::filesystem::resize_file(loop.url().path(), size);
      const auto parser = LCFileParser::fileParserForURL(loop.url());
      if (parser && parser->enhancedFileData()) ++records;
    }
    EXPECT_GT(records, 0u) << name;
  }
}
