#include "IndexingTest.h"

#include "VeskLoopManagement/model/LCKeywordHelper.h"

#include <cmath>
#include <limits>

using LCFileIndexingStatements = IndexingTest;

TEST_F(LCFileIndexingStatements, EveryFieldArrivesInItsColumnAndGoesWithItsLoop) {
  const std::vector<std::string> keywords = {"Horn/Wind", "Tuba",  "Jazz",     "Single",  "Fill",     "Electric",
                                             "Dry",       "Clean", "Cheerful", "Intense", "Grooving", "Melodic"};
  LCFileData fileData = loopTagged(std::numeric_limits<int64_t>::min() + 1, {keywords.begin() + 3, keywords.end()});
  fileData.storedFileURL = vesk::URL::fileURLWithPath("/q/Cafe\u0301 \"1\".caf", false);
  int64_t number = (int64_t{1} << 32) + 50;  // cut to 32 bits
  for (const auto field :
       {&LCFileData::midiRootNote, &LCFileData::beatCount, &LCFileData::signatureTop, &LCFileData::signatureBottom,
        &LCFileData::keyType, &LCFileData::fileType, &LCFileData::patchInfo}) {
    fileData.*field = ++number;
  }
  for (const auto field : {&LCFileData::themeTag, &LCFileData::copyrightTag, &LCFileData::authorTag, &LCFileData::title,
                           &LCFileData::contentIdentifier}) {
    fileData.*field = "it's " + std::to_string(++number - (int64_t{1} << 32));
  }
  fileData.collectionTag = "", fileData.vireoLoopType = kLoopTypeStepSequencer, fileData.isWebLoop = true;
  fileData.bpm = 101.5f, fileData.lengthInSeconds = 2.5f, fileData.genreTag = keywords[2];
  fileData.instrumentTypeTag = keywords[0], fileData.instrumentSubTypeTag = keywords[1];
  fileData.metaInfos = {LCWeightedInstrumentKeyword{"Topper", 0.5}.metaInfo()};
  ASSERT_TRUE(add(fileData, "package"));

  const std::string id = "-9223372036854775807";
  std::string row = id + "|file:///q/Cafe%CC%81%20%221%22.caf|Caf\u00e9 \"1\".caf|51|52|53|54|102|55|56|6";
  row += "|it's 58||NULL|it's 59|it's 60|it's 61|1|2.5|";
  for (const auto& keyword : keywords) row += std::to_string(LCKeywordHelper::keywordIdForKeyword(keyword)) + "|";
  EXPECT_EQ(rows("SELECT * FROM Loops"), Rows{row + "it's 62|57|" + std::to_string(fileData.ksLoopType())});
  EXPECT_EQ(rows("SELECT * FROM LoopsKeywords"), Rows{id + "|Horn/Wind|Tuba|Jazz|" + *fileData.descriptorsString()});
  EXPECT_EQ(rows("SELECT loopId, count(*) FROM Tagging GROUP BY loopId"), Rows{id + "|12"});
  EXPECT_EQ(rows("SELECT crateId, loopId, stringValue, type FROM CrateLoopRelation JOIN LoopsMetaInfos USING (loopId)"),
            Rows{"package|" + id + "|Topper|1"});

  execute("INSERT INTO UserData VALUES (" + id + ", 1, 3, '')");
  EXPECT_TRUE(indexer->removeLoopWithId(fileData.hash));
  for (const std::string table : {"Loops", "LoopsKeywords", "Tagging", "CrateLoopRelation", "LoopsMetaInfos"}) {
    EXPECT_EQ(rows("SELECT * FROM " + table), Rows{}) << table;
  }
  EXPECT_EQ(rows("SELECT rating FROM UserData"), Rows{"3"});  // marks outlive their loop
}

TEST_F(LCFileIndexingStatements, ATempoIsRoundedWithHalvesAwayFromZero) {
  int64_t id = 0;
  // Rounding to even would make 2 of 2.5; -1 is the mark for none.
  for (const float bpm : {119.5f, 119.4f, 2.5f, -1.0f, -0.5f, 1e20f, std::nanf("")}) add({.bpm = bpm, .hash = ++id});
  EXPECT_EQ(rows("SELECT tempo FROM Loops ORDER BY id"), (Rows{"120", "119", "3", "-1", "-1", "2147483647", "0"}));
}

TEST_F(LCFileIndexingStatements, ASchemaBeforeThePatchColumnsIsWrittenWithoutThem) {
  indexer = LCFileIndexing::initWithDatabaseConfiguration({database.folder().path("old.db"), false, 100929});
  EXPECT_TRUE(add(loopTagged(5, {"Jazz"})));
}

TEST_F(LCFileIndexingStatements, TextsOfOneLoopStayForTheNextInLoopsKeywordsButNotInLoops) {
  add({.hash = 1, .title = "first", .descriptors = vesk::StringSet{"Dark"}, .genreTag = "Jazz"});
  add({.hash = 2, .descriptors = vesk::StringSet{}, .instrumentTypeTag = "Bass"});
  EXPECT_EQ(rows("SELECT * FROM LoopsKeywords ORDER BY loopId"),
            (Rows{"1|NULL|NULL|Jazz|Dark", "2|Bass|NULL|Jazz|Dark"}));
  EXPECT_EQ(rows("SELECT title, genreId FROM Loops ORDER BY id"), (Rows{"first|65", "NULL|0"}));
}

TEST_F(LCFileIndexingStatements, ALoopReplacesTheRowOfItsIdUnlessItLivesInAFactoryBundle) {
  LCFileData bundle = loopTagged(7, {"Jazz"});
  bundle.isFactoryBundleLoop = true;
  bundle.storedFileURL = vesk::URL::fromString("file:///P.loopdata/Q.loopdata");
  EXPECT_TRUE(add(bundle, "package"));
  bundle.storedFileURL = vesk::URL::fromString("file:///other.loopdata");
  bundle.descriptors = vesk::StringSet{"Dark"};
  EXPECT_FALSE(add(bundle, "second"));
  const std::string everything = "SELECT fileURL, crateId, keywordId FROM Loops, Tagging, CrateLoopRelation ORDER BY 3";
  EXPECT_EQ(rows(everything), Rows{"file:///P.caf/Q.caf|package|65"});

  EXPECT_TRUE(add(loopTagged(7, {"Dark"}), "package"));  // old tags stay
  EXPECT_EQ(rows(everything), (Rows{"file:///q/Loop%207.caf|package|65", "file:///q/Loop%207.caf|package|68"}));
}

TEST_F(LCFileIndexingStatements, KeywordsGetTheirBuiltInIdOrTheNextFreeOne) {
  int64_t id = 0;
  // "Woodwind" is a group, known to the database only.
  for (const char* keyword : {"Zorp", "Zorp", "Woodwind"}) add(loopTagged(++id, {keyword}));
  open();
  for (const char* keyword : {"Zorp", "it's \"new\""}) add(loopTagged(++id, {keyword}));
  EXPECT_EQ(rows("SELECT * FROM Tagging ORDER BY loopId"),
            (Rows{"1|10009", "2|10009", "3|10002", "4|10009", "5|10010"}));
  EXPECT_EQ(rows("SELECT * FROM Keywords WHERE id > 10008"), (Rows{"10009|Zorp|0", "10010|it's \"new\"|0"}));
}

TEST_F(LCFileIndexingStatements, CategoriesComeFromTheDictionaryAlone) {
  LCKeywordHelper::setKeywordId(20001, kCategoryGenre, "Learned");
  // A group and what the taxonomy has learned are not in it.
  const std::pair<const char*, int32_t> cases[] = {{"Brass", 0},         {"Learned", 0}, {"jazz", 0},
                                                   {"Dark/Cheerful", 0}, {"Jazz", 1},    {"Dissonant", 2},
                                                   {"Bass", 3},          {"Mixed", 4},   {"Tuba", 5}};
  for (const auto& [keyword, category] : cases) EXPECT_EQ(indexer->keywordCategoryForKeyword(keyword), category);
}

TEST_F(LCFileIndexingStatements, TheLastStepDecidesTheResult) {
  EXPECT_TRUE(add(loopTagged(1, {}), "package"));
  EXPECT_FALSE(add(loopTagged(2, {})));       // no package, no relation: that step fails
  EXPECT_TRUE(add(loopTagged(3, {"Jazz"})));  // … but a keyword comes after it
  EXPECT_FALSE(add(loopTagged(4, {""})));     // an empty one does not count
  EXPECT_EQ(rows("SELECT loopId FROM Tagging"), Rows{"3"});

  const std::string failing = "CREATE TEMP TRIGGER fail%@ BEFORE INSERT ON main.%@ BEGIN SELECT RAISE(FAIL, 'no'); END";
  execute(lc::sqlFormat(failing, {"Tagging", "Tagging"}));
  EXPECT_FALSE(add(loopTagged(8, {"Jazz"}), "package"));
  EXPECT_EQ(rows("SELECT count(*) FROM Loops"), Rows{"5"});  // its row is there all the same
  execute(lc::sqlFormat(failing, {"LoopsKeywords", "LoopsKeywords"}));
  EXPECT_FALSE(add(loopTagged(9, {"Jazz"}), "package"));
  EXPECT_EQ(rows("SELECT loopId FROM CrateLoopRelation"), (Rows{"1", "8"}));  // after LoopsKeywords nothing is written
}

TEST_F(LCFileIndexingStatements, LoudnessIsTakenFromTheRecordOrMeasured) {
  struct FixedAnalyzer : LCLoudnessAnalyzerService {
    std::optional<LCLoopLoudnessInfo> loudnessInfoForURL(const vesk::URL&) override { return {{-14, -1, 7}}; }
  };
  indexer->setLoudnessAnalyzerService(std::make_shared<FixedAnalyzer>(), true);
  LCFileData fileData = loopTagged(2, {"Jazz"});
  fileData.integratedLoudness = -10;  // not enough
  indexer->addFileDataToDatabase(fileData, std::nullopt);
  EXPECT_EQ(std::pair(fileData.integratedLoudness, fileData.globalMaxTruePeak),
            std::pair(std::optional(-14.), std::optional(-1.)));
  fileData.hash = 1, fileData.targetIntegratedLoudness = -18;
  add(fileData);
  const std::string file = database.folder().path("LoudnessDatabaseV04.sqlite");
  const auto stored = LCLoudnessDatabase::initWithDatabaseFile(file, false);
  EXPECT_EQ(stored->loudnessInfoForLoopID(2), (LCLoopLoudnessInfo{-14, -1, -22}));  // the target is ours
  EXPECT_EQ(stored->loudnessInfoForLoopID(1), (LCLoopLoudnessInfo{-14, -1, -18}));
}
