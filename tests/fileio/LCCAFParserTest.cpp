#include "fileio/LCCAFParser.h"

#include "ParserFixture.h"

#include <functional>

using namespace fixture;

namespace {

LCFileData parsed(const std::vector<Chunk>& chunks, Parse parse = Parse::plain) {
  return recordOf("q.caf", cafFile(chunks), parse);
}

Chunk searchInfo(const Pairs& entries) {
  return chunk("uuid", searchInfoPayload(entries));
}
Chunk uuid(std::string_view identifier, std::string_view payload = {}) {
  return chunk("uuid", uuidPayload(identifier, bytesOf(payload)));
}

}  // namespace

TEST(LCCAFParser, SearchInfoFillsItsFields) {
  const auto record = parsed({searchInfo({{"category", "Bass"},
                                          {"subcategory", "Electric Bass"},
                                          {"genre", "Jazz,Funk"},
                                          {"descriptors", "Dry, Dark,Dry"},
                                          {"key signature", "Bb"},
                                          {"key type", "minor"},
                                          {"beat count", "16"},
                                          {"time signature", "6/8"}}),
                              cafInfoChunk({{"artist", "Ann"}, {"title", "Walk"}, {"copyright", "2004"}})});
  EXPECT_EQ(record.instrumentTypeTag, "Bass");
  EXPECT_EQ(record.instrumentSubTypeTag, "Electric Bass");
  EXPECT_EQ(record.genreTag, "Jazz");  // the first of several
  EXPECT_EQ(record.descriptors, (vesk::StringSet{" Dark", "Dry"}));
  EXPECT_EQ(record.midiRootNote, 58);
  EXPECT_EQ(record.keyType, 1);
  EXPECT_EQ(record.beatCount, 16);
  EXPECT_EQ(record.signatureTop, 6);
  EXPECT_EQ(record.signatureBottom, 8);
  EXPECT_EQ(record.fileType, 1);
  EXPECT_EQ(record.authorTag, "Ann");
  EXPECT_EQ(record.title, "Walk");
  EXPECT_EQ(record.copyrightTag, "2004");
  EXPECT_EQ(record.commentTag, std::nullopt);
  EXPECT_TRUE(record.hasAuthoredChunks);
  EXPECT_TRUE(record.hasLoopTypeChunks);
  EXPECT_FALSE(record.isWebLoop);
}

TEST(LCCAFParser, SecondSearchInfoReplacesEveryFieldAndAnEmptyOneNone) {
  const auto first = searchInfo({{"category", "Bass"}, {"genre", "Jazz"}, {"descriptors", "Dry"}, {"beat count", "8"}});
  const auto record = parsed({first, searchInfo({{"genre", ""}})});
  EXPECT_EQ(record.instrumentTypeTag, std::nullopt);
  EXPECT_EQ(record.genreTag, "");
  EXPECT_EQ(record.descriptors, vesk::StringSet{});
  EXPECT_EQ(record.beatCount, 0);
  EXPECT_EQ(record.fileType, 2);

  EXPECT_EQ(parsed({first, searchInfo({})}).instrumentTypeTag, "Bass");
  EXPECT_EQ(parsed({searchInfo({{"descriptors", ""}})}).descriptors, vesk::StringSet{""});
}

TEST(LCCAFParser, ConvertsTheTextsOfTheSearchInfo) {
  struct Case {
    const char* key;
    const char* value;
    int64_t root = 0, keyType = 0, beats = 0, top = 0, bottom = 0, fileType = 2;
  };
  const Case cases[] = {
      {"key signature", "C", 48},
      {"key signature", "F#", 54},
      {"key signature", "E#", 53},
      {"key signature", "Gb", 54},
      {"key signature", "A", 57},
      {"key signature", "B", 59},
      {"key signature", "D##", 51},
      {"key signature", "c", 0},
      {"key signature", "H", 0},
      {"key signature", "", 0},
      {.key = "key type", .value = "major", .keyType = 2},
      {.key = "key type", .value = "neither", .keyType = 3},
      {.key = "key type", .value = "both", .keyType = 4},
      {.key = "key type", .value = "Major"},
      {.key = "beat count", .value = " 12 beats", .beats = 12},  // without a signature no loop
      {.key = "time signature", .value = "12/8", .top = 12, .bottom = 8},
      {.key = "time signature", .value = "/44", .bottom = 44},
      {.key = "time signature", .value = "4/"},
      {.key = "time signature", .value = "44/", .top = 44},
      {.key = "time signature", .value = "3/4/4"},
      {.key = "time signature", .value = "444"},
  };
  for (const Case& c : cases) {
    const auto record = parsed({searchInfo({{c.key, c.value}})});
    EXPECT_EQ(record.midiRootNote, c.root) << c.value;
    EXPECT_EQ(record.keyType, c.keyType) << c.value;
    EXPECT_EQ(record.beatCount, c.beats) << c.value;
    EXPECT_EQ(record.signatureTop, c.top) << c.value;
    EXPECT_EQ(record.signatureBottom, c.bottom) << c.value;
    EXPECT_EQ(record.fileType, c.fileType) << c.value;
  }
}

TEST(LCCAFParser, SearchInfoOfAnyShapeStaysWithinItsBytes) {
  struct Case {
    const char* what;
    uint32_t count;
    std::string_view area;
    LCSearchInfo::Entries entries;
  };
  using namespace std::string_view_literals;
  const Case cases[] = {
      {"more promised than there is", 3, "a\0b\0c\0d\0"sv, {{"a", {"b"}}, {"c", {"d"}}}},
      {"fewer promised", 1, "a\0b\0c\0d\0"sv, {{"a", {"b"}}}},
      {"as many as there can be", 0xFFFFFFFF, "a\0b\0"sv, {{"a", {"b"}}}},
      {"last value without its NUL", 1, "a\0b,c"sv, {{"a", {"b", "c"}}}},
      {"key without a value", 2, "a\0b\0c\0"sv, {{"a", {"b"}}}},
      {"key without its NUL", 1, "abc"sv, {}},
      {"same key twice", 2, "a\0b\0a\0d\0"sv, {{"a", {"d"}}}},
      {"several bytes a character", 2, "\u00E9\0\u00FC\0c\0d\0"sv, {{"\u00E9", {"\u00FC"}}, {"c", {"d"}}}},
      {"Latin-1", 2, "a\0caf\xE9\0c\0d\0"sv, {{"a", {"caf\u00E9"}}, {"c", {"d"}}}},
      {"nothing", 1, ""sv, {}},
  };
  for (const auto& [what, count, area, entries] : cases) {
    EXPECT_EQ(LCSearchInfo::decode(Builder{}.u32be(count).text(area).bytes).entries, entries) << what;
  }
  EXPECT_TRUE(LCSearchInfo::decode(bytesOf("\0\0\1"sv)).entries.empty());
}

TEST(LCCAFParser, IdentifiersDecideWhatAChunkTells) {
  struct Case {
    const char* what;
    Chunk chunk;
    bool authored, loopType;
    std::function<bool(const LCFileData&)> holds = [](const LCFileData&) { return true; };
  };
  const auto archive = [](std::string_view identifier, const char* name) {
    return chunk("uuid", uuidPayload(identifier, archiveNamed(name)));
  };
  const Case cases[] = {
      {"web loop", uuid(kWebLoopID), true, true, [](const LCFileData& r) { return r.isWebLoop; }},
      {"generated instrument", archive(kGeneratedInstrumentID, "geninst-drummer.archive"), true, true,
       [](const LCFileData& r) { return r.vireoLoopType == 2 && r.contentIdentifier == "rock|-|kyle"; }},
      {"additional data", archive(kAdditionalDataID, "additional-all-keys.archive"), true, false,
       [](const LCFileData& r) { return r.patchInfo == 2 && r.metaInfos->size() == 2; }},
      {"steps, kept by a plain parse too", uuid(kStepSequencerID, "steps"), true, true,
       [](const LCFileData& r) { return r.vireoLoopType == 6 && r.stepSequencerData == bytesOf("steps"); }},
      {"events, skipped by a plain parse", uuid(kEventSequenceID, "events"), false, false,
       [](const LCFileData& r) { return !r.eventSequenceData; }},
      {"marker A", uuid(kMarkerAID), true, true},
      {"marker B", uuid(kMarkerBID), true, true},
      {"marker C", uuid(kMarkerCID), true, true},
      {"marker D", uuid(kMarkerDID), true, true},
      {"patch", uuid(kPatchMarkerID, "x"), true, true, [](const LCFileData& r) { return r.patchInfo == 1; }},
      {"search info without content", uuid(kSearchInfoID), true, true},
      {"steps without content", uuid(kStepSequencerID), false, false,
       [](const LCFileData& r) { return r.vireoLoopType == 0; }},
      {"additional data without content", uuid(kAdditionalDataID), false, false},
      {"unknown", uuid("00000000-0000-0000-0000-000000000000", "x"), false, false},
      {"too short for an identifier", chunk("uuid", bytesFromHex("CEE5B7CA83E4472C97644CE0C35CF0")), false, false},
  };
  for (const auto& [what, tagging, authored, loopType, holds] : cases) {
    const auto record = parsed({tagging});
    EXPECT_EQ(record.hasAuthoredChunks, authored) << what;
    EXPECT_EQ(record.hasLoopTypeChunks, loopType) << what;
    EXPECT_TRUE(holds(record)) << what;
  }

  const auto enhanced = parsed({uuid(kEventSequenceID, "events")}, Parse::enhanced);
  EXPECT_EQ(enhanced.eventSequenceData, bytesOf("events"));
  EXPECT_TRUE(enhanced.hasLoopTypeChunks);
}

// A patch mark before the additional data is cleared by it, and raises it when it comes after.
TEST(LCCAFParser, LaterChunksOverrideEarlierOnes) {
  const auto icon = chunk("uuid", uuidPayload(kAdditionalDataID, archiveNamed("additional-icon-only.archive")));
  EXPECT_EQ(parsed({uuid(kPatchMarkerID), icon}).patchInfo, 0);
  EXPECT_EQ(parsed({icon, uuid(kPatchMarkerID)}).patchInfo, 1);
}
