#include "fileio/LCCAFParser.h"

#include "ParserFixture.h"
#include "VeskLoopManagement/model/LCTimeSignature.h"

#include <tuple>

using namespace fixture;

namespace {

LCFileData parsed(const std::vector<Chunk>& chunks, Parse parse = Parse::plain) {
  return recordOf("q.caf", cafFile(chunks), parse);
}

const auto searchInfo = [](const Pairs& entries) { return chunk("uuid", searchInfoPayload(entries)); };
const auto uuid = [](std::string_view id, const Bytes& bytes = {}) { return chunk("uuid", uuidPayload(id, bytes)); };

}  // namespace

TEST(LCCAFParser, SearchInfoFillsItsFields) {
  const Pairs tags = {{"category", "Bass"},  {"subcategory", "Electric Bass"}, {"genre", "Jazz,Funk"},
                      {"key type", "minor"}, {"descriptors", "Dry, Dark,Dry"}, {"key signature", "Bb"},
                      {"beat count", "16"},  {"time signature", "6/8"}};
  const auto record =
      parsed({searchInfo(tags), cafInfoChunk({{"artist", "Ann"}, {"title", "Walk"}, {"copyright", "2004"}})});
  EXPECT_EQ(tagsOf(record), "Bass|Electric Bass|Jazz| Dark,Dry|-|-|");  // the first genre, and blanks stay
  EXPECT_EQ(numbersOf(record), "16 58 1 6/8 1");
  EXPECT_EQ(textsOf(record), "Walk|Ann|2004|-|");
  EXPECT_EQ(flagsOf(record), "authored typed");
}

TEST(LCCAFParser, SecondSearchInfoReplacesEveryFieldAndAnEmptyOneNone) {
  const auto first = searchInfo({{"category", "Bass"}, {"genre", "Jazz"}, {"descriptors", "Dry"}, {"beat count", "8"}});
  const auto record = parsed({first, searchInfo({{"genre", ""}})});
  EXPECT_EQ(tagsOf(record), "-|-|||-|-|");
  EXPECT_EQ(record.descriptors, vesk::StringSet{});
  EXPECT_EQ(numbersOf(record), "0 0 0 0/0 2");
  EXPECT_EQ(tagsOf(parsed({first, searchInfo({})})), "Bass|-|Jazz|Dry|-|-|");
  EXPECT_EQ(parsed({searchInfo({{"descriptors", ""}})}).descriptors, vesk::StringSet{""});
  Chunk cut = searchInfo({{"category", "Drums"}});
  cut.declaredSize = cut.payload.size() + 1;
  EXPECT_EQ(tagsOf(parsed({first, cut})), "Bass|-|Jazz|Dry|-|-|");
}

TEST(LCCAFParser, ConvertsTheTextsOfTheSearchInfo) {
  using Numbers = std::vector<std::pair<const char*, int64_t>>;
  const Numbers roots = {{"C", 48}, {"F#", 54},  {"E#", 53}, {"Gb", 54}, {"A", 57},
                         {"B", 59}, {"D##", 51}, {"c", 0},   {"H", 0},   {"", 0}};
  for (const auto& [key, root] : roots) EXPECT_EQ(lc::rootNoteFromKeySignature(key), root) << key;
  for (const auto& [text, type] : Numbers{{"major", 2}, {"minor", 1}, {"neither", 3}, {"both", 4}, {"Major", 0}}) {
    EXPECT_EQ(lc::keyTypeFromText(text), type);
  }
  const std::pair<const char*, const char*> signatures[] = {{"12/8", "12/8"}, {"/44", "0/44"},  {"44/", "44/0"},
                                                            {"4/", "0/0"},    {"3/4/4", "0/0"}, {"444", "0/0"}};
  for (const auto& [text, signature] : signatures) {
    const LCTimeSignature read = LCTimeSignature::fromText(text);
    EXPECT_EQ(fmt::format("{}/{}", read.top, read.bottom), signature) << text;
  }
  EXPECT_EQ(numbersOf(parsed({searchInfo({{"beat count", " 12 beats"}})})), "12 0 0 0/0 2");  // no signature, no loop
}

TEST(LCCAFParser, SearchInfoOfAnyShapeStaysWithinItsBytes) {
  using namespace std::string_view_literals;
  const std::tuple<uint32_t, std::string_view, LCSearchInfo::Entries> cases[] = {
      {3, "a\0b\0c\0d\0"sv, {{"a", {"b"}}, {"c", {"d"}}}},
      {1, "a\0b\0c\0d\0"sv, {{"a", {"b"}}}},
      {0xFFFFFFFF, "a\0b\0"sv, {{"a", {"b"}}}},
      {1, "a\0b,c"sv, {{"a", {"b", "c"}}}},  // a last value without its NUL
      {2, "a\0b\0c\0"sv, {{"a", {"b"}}}},    // a key without a value
      {1, "abc"sv, {}},
      {2, "a\0b\0a\0d\0"sv, {{"a", {"d"}}}},
      {2, "a\0caf\xE9\0\u00E9\0d\0"sv, {{"a", {"caf\u00E9"}}, {"\u00E9", {"d"}}}},  // Latin-1 and UTF-8
  };
  for (const auto& [count, area, entries] : cases) {
    EXPECT_EQ(LCSearchInfo::decode(Builder{}.u32be(count).text(area).bytes).entries, entries) << area;
  }
  EXPECT_TRUE(LCSearchInfo::decode(bytesOf("\0\0\1"sv)).entries.empty());
}

TEST(LCCAFParser, IdentifiersDecideWhatAChunkTells) {
  const auto stateOf = [](const Chunk& tagging) {  // the flags, then loop type, patch info and web loop
    const auto r = parsed({tagging});
    return fmt::format("{} {:d} {} {:d}", flagsOf(r), r.vireoLoopType, r.patchInfo, r.isWebLoop);
  };
  const Bytes x = bytesOf("x"), drummer = archiveNamed("geninst-drummer.archive");
  for (const auto marker : {kMarkerAID, kMarkerBID, kMarkerCID, kMarkerDID, kSearchInfoID}) {
    EXPECT_EQ(stateOf(uuid(marker)), "authored typed 0 0 0") << marker;
  }
  EXPECT_EQ(stateOf(uuid(kWebLoopID)), "authored typed 0 0 1");
  EXPECT_EQ(stateOf(uuid(kPatchMarkerID, x)), "authored typed 0 1 0");
  EXPECT_EQ(stateOf(uuid(kGeneratedInstrumentID, drummer)), "authored typed 2 0 0");
  EXPECT_EQ(stateOf(uuid(kAdditionalDataID, archiveNamed("additional-all-keys.archive"))), "authored  0 2 0");
  EXPECT_EQ(stateOf(uuid(kStepSequencerID, x)), "authored typed 6 0 0");
  EXPECT_EQ(stateOf(uuid(kEventSequenceID, x)), " 0 0 0") << "skipped by a plain parse";
  EXPECT_EQ(stateOf(uuid(kAdditionalDataID)) + stateOf(uuid(kStepSequencerID)), " 0 0 0 0 0 0") << "no content";
  EXPECT_EQ(stateOf(chunk("uuid", bytesFromHex("CEE5B7CA83E4472C97644CE0C35CF0"))), " 0 0 0") << "a byte too few";
  EXPECT_EQ(parsed({uuid(kGeneratedInstrumentID, drummer)}).contentIdentifier, "rock|-|kyle");
  EXPECT_EQ(parsed({uuid(kStepSequencerID, x)}).stepSequencerData, x) << "kept by a plain parse too";
  const auto enhanced = parsed({uuid(kEventSequenceID, x)}, Parse::enhanced);
  EXPECT_EQ(enhanced.eventSequenceData, x);
  EXPECT_EQ(flagsOf(enhanced), "authored typed");
  const auto undecodable = uuid(kGeneratedInstrumentID, x), instrument = uuid(kGeneratedInstrumentID, drummer);
  EXPECT_TRUE(parsed({undecodable, instrument}, Parse::enhanced).genInstDictionary);
  EXPECT_FALSE(parsed({instrument, undecodable}, Parse::enhanced).genInstDictionary) << "the last one counts";
  // A patch mark before the additional data is cleared by it, and raises it when it comes after.
  const auto icon = uuid(kAdditionalDataID, archiveNamed("additional-icon-only.archive"));
  EXPECT_EQ(parsed({uuid(kPatchMarkerID), icon}).patchInfo, 0);
  EXPECT_EQ(parsed({icon, uuid(kPatchMarkerID)}).patchInfo, 1);
}
