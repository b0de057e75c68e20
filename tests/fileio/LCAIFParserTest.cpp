#include "fileio/LCAIFParser.h"

#include "ParserFixture.h"

#include <algorithm>

using namespace fixture;

namespace {

LCFileData parsed(const std::vector<Chunk>& chunks, Parse parse = Parse::plain) {
  return recordOf("q.aif", aiffFile(chunks), parse);
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
  const auto record = parsed(
      {chunk("basc", bascPayload(16, 57, 2, 6, 8, 1)),
       chunk("cate", catePayload("Bass", "Electric Bass", "Jazz", {"Dry", "Dark"})),
       chunk("coll", collPayload("Garage", "Night")), chunk("AUTH", "Ann"),  // odd, so a pad byte follows
       chunk("(c) ", "2004 Ann "), chunk("NAME", "Walk\u00FCre"), chunk("COMT", comtPayload({" first \n", "second"}))});
  EXPECT_EQ(numbersOf(record), "16 57 2 6/8 1");
  EXPECT_EQ(tagsOf(record), "Bass|Electric Bass|Jazz|Dark,Dry|Garage|Night|");
  EXPECT_EQ(textsOf(record), "Walk\u00FCre|Ann|2004 Ann |first|");  // only the comment is trimmed
  EXPECT_EQ(flagsOf(record), "authored typed");
  const auto untagged = parsed({chunk("AUTH", "")});
  EXPECT_EQ(tagsOf(untagged) + textsOf(untagged), "-|-|-|-|-|-|-|-|-|-|");
}

TEST(LCAIFParser, ChunksOfTheRightSizeDecideTheFlags) {
  const Bytes basc = bascPayload(4, 0, 0, 4, 4, 1), cate = catePayload("Bass", "", ""), coll = collPayload("c", "t");
  const std::pair<Chunk, const char*> cases[] = {
      {chunk("basc", cut(basc, 84)), "authored typed 4"},
      {chunk("basc", cut(basc, 83)), " 0"},
      {chunk("cate", cut(cate, 221)), " 0"},
      {chunk("cate", withBytes(cate, 0, "abcd")), "authored typed 0"},  // of any version
      {{.id = "cate", .payload = cate, .declaredSize = 272}, " 0"},     // cut off by the end of the file
      {chunk("coll", cut(coll, 103)), " 0"},
      {chunk("coll", withBytes(coll, 0, "abcd")), "authored typed 0"},
      {chunk("genI", "no archive"), "authored typed 0"},
      {chunk("adLD", archiveNamed("additional-icon-only.archive")), "authored  0"},
      {chunk("Sequ", "x"), " 0"},  // for a plain parse
  };
  for (const auto& [tagging, result] : cases) {
    const auto record = parsed({tagging});
    EXPECT_EQ(fmt::format("{} {}", flagsOf(record), record.beatCount), result) << tagging.id << tagging.payload.size();
    EXPECT_EQ(record.collectionTag, std::nullopt);
  }
  EXPECT_EQ(flagsOf(parsed({chunk("Sequ", "x")}, Parse::enhanced)), "authored typed");
}

TEST(LCAIFParser, OurOrderCountsAndNotTheFiles) {
  const auto midi = chunk("midi", "m"), steps = chunk("StSq", "s"), patch = chunk("PTCH", "p");
  const auto bassPlayer = chunk("genI", archiveNamed("geninst-bass-player.archive"));
  EXPECT_EQ(parsed({chunk("midi", ""), chunk(".mid", "m")}).vireoLoopType, kLoopTypeMIDI);
  EXPECT_EQ(parsed({{.id = "midi", .declaredSize = 1}}).vireoLoopType, kLoopTypeMIDI) << "cut off";
  EXPECT_EQ(parsed({bassPlayer, midi}).vireoLoopType, kLoopTypeBassPlayer);
  EXPECT_EQ(parsed({steps, bassPlayer, midi}).vireoLoopType, kLoopTypeStepSequencer);
  EXPECT_EQ(tagsOf(parsed({chunk("coll", collPayload("from coll", "its theme")),
                           chunk("cate", cateV2Payload("Bass", "", "", {}, "from cate", "theme of cate"))})),
            "Bass||||from coll|its theme|");
  EXPECT_EQ(parsed({patch, chunk("adLD", archiveNamed("additional-icon-only.archive"))}).patchInfo, 1);
  EXPECT_EQ(parsed({patch, chunk("adLD", archiveNamed("additional-all-keys.archive"))}).patchInfo, 2);
}

TEST(LCAIFParser, OnlyAnEnhancedParseKeepsTheBulkyPayloads) {
  const ParsedFile file("q.aif",
                        aiffFile({chunk("midi", "first"), chunk(".mid", "second"), chunk("Sequ", "events"),
                                  chunk("StSq", "steps"), chunk("genI", archiveNamed("geninst-bass-player.archive"))}));
  LCFileData enhanced = file.record(Parse::enhanced);
  EXPECT_TRUE(std::exchange(enhanced.enhancedFileDataAvailable, false));
  EXPECT_EQ(std::exchange(enhanced.midiData, {}), bytesOf("first"));
  EXPECT_EQ(std::exchange(enhanced.eventSequenceData, {}), bytesOf("events"));
  EXPECT_EQ(std::exchange(enhanced.stepSequencerData, {}), bytesOf("steps"));
  EXPECT_TRUE(std::exchange(enhanced.genInstDictionary, {}).value().contains("kGenInst_Chunk_CharacterDict"));
  EXPECT_EQ(file.record(), enhanced);
}

TEST(LCAIFParser, CategoryChunksOfAnyShapeStayWithinTheirBytes) {
  const std::string longWord(50, 'x');
  const Bytes none = catePayload("Bass", "", ""), one = catePayload("Bass", "", "", {"Dry"});
  const Bytes second = cateV2Payload("Bass", "", "", {"Dry"}, "C", "T");
  const std::pair<Bytes, std::string> cases[] = {
      {none, "Bass||||-|-|"},                                   // empty fields are not absent
      {withBytes(one, 220, "\xFF\xFF"), "Bass|||Dry|-|-|"},     // a lying count
      {cut(one, 271), "Bass||||-|-|"},                          // half a descriptor
      {withBytes(one, 222, "\xFF"), "Bass||||-|-|"},            // a descriptor that is no UTF-8
      {withBytes(one, 4, longWord), longWord + "|||Dry|-|-|"},  // a field without a NUL
      {withBytes(one, 4, "\xE9t\xE9"), "-|||Dry|-|-|"},
      {cut(second, 323), "Bass||||C|T|"},  // version 2 without a count
      {cut(second, 270), "Bass||||C|-|"},  // without a theme
  };
  for (const auto& [payload, tags] : cases) EXPECT_EQ(tagsOf(parsed({chunk("cate", payload)})), tags);
}

TEST(LCAIFParser, CommentIsTheFirstOneAndBelievedOnlyWithinTheChunk) {
  const std::pair<const char*, const char*> cases[] = {
      {"0001 00000000 0000 0003 20616200", "ab"},
      {"0000 00000000 0000 0002 6162", "none"},  // no comments
      {"0001 00000000 0000 0003 6162", "none"},  // beyond the chunk
      {"0001 00000000 0000 0002 2009", ""},      // white space
      {"0001 00000000 0000 0002 FFFE", "none"},  // no UTF-8
      {"0001 00000000", "none"},
  };
  for (const auto& [hex, comment] : cases) {
    EXPECT_EQ(parsed({chunk("COMT", bytesFromHex(hex))}).commentTag.value_or("none"), comment) << hex;
  }
}
