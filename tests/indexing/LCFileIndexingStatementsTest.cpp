#include "IndexingTest.h"

#include "model/LCKeywordHelper.h"

#include <cmath>
#include <limits>

namespace {

LCFileData loopWithId(int64_t id) {
  LCFileData fileData;
  fileData.hash = id;
  fileData.storedFileURL = vesk::URL::fromString("file:///q/Loop%20" + std::to_string(id) + ".caf");
  return fileData;
}

LCFileData loopTagged(int64_t id, const std::string& keyword) {
  LCFileData fileData = loopWithId(id);
  fileData.descriptors = vesk::StringSet{keyword};
  return fileData;
}

// Answers the same for every loop and counts how often it was asked.
struct FixedAnalyzer : LCLoudnessAnalyzerService {
  std::optional<LCLoopLoudnessInfo> loudnessInfoForURL(const vesk::URL&) override {
    ++questions;
    return answer;
  }
  std::optional<LCLoopLoudnessInfo> answer;
  int questions = 0;
};

}  // namespace

class LCFileIndexingStatements : public IndexingTest {};

TEST_F(LCFileIndexingStatements, EveryFieldArrivesInItsColumn) {
  LCFileData fileData = loopWithId(std::numeric_limits<int64_t>::min() + 1);
  fileData.storedFileURL = vesk::URL::fileURLWithPath("/q/Cafe\u0301 \"1\".caf", false);
  fileData.midiRootNote = 57;
  fileData.beatCount = (int64_t{1} << 32) + 3;  // cut to 32 bits
  fileData.signatureTop = 6;
  fileData.signatureBottom = 8;
  fileData.bpm = 101.5f;
  fileData.keyType = 4;
  fileData.fileType = 2;
  fileData.vireoLoopType = kLoopTypeStepSequencer;
  fileData.themeTag = "the theme";
  fileData.collectionTag = "";
  fileData.copyrightTag = "it's ours";
  fileData.authorTag = "author";
  fileData.title = "title";
  fileData.isWebLoop = true;
  fileData.lengthInSeconds = 2.5f;
  fileData.instrumentTypeTag = "Horn/Wind";
  fileData.instrumentSubTypeTag = "Tuba";
  fileData.genreTag = "Jazz";
  fileData.descriptors =
      vesk::StringSet{"Single", "Fill", "Electric", "Dry", "Clean", "Cheerful", "Intense", "Grooving", "Melodic"};
  fileData.contentIdentifier = "a|-|b";
  fileData.patchInfo = 1;
  indexer->prepareIndexing();
  ASSERT_TRUE(indexer->addFileDataToDatabase(fileData, "package"));

  const auto id = [](const char* keyword) {
    return std::to_string(LCKeywordHelper::keywordIdForKeyword(std::string(keyword)));
  };
  const std::vector<std::pair<const char*, std::string>> columns = {
      {"id", "-9223372036854775807"},
      {"fileURL", "file:///q/Cafe%CC%81%20%221%22.caf"},
      {"fileName", "Caf\u00e9 \"1\".caf"},
      {"key", "57"},
      {"numberOfBeats", "3"},
      {"timeSignatureTop", "6"},
      {"timeSignatureBottom", "8"},
      {"tempo", "102"},
      {"keyType", "4"},
      {"fileType", "2"},
      {"hasMidi", "6"},
      {"theme", "the theme"},
      {"collection", ""},
      {"comment", "NULL"},
      {"copyright", "it's ours"},
      {"author", "author"},
      {"title", "title"},
      {"isWebLoop", "1"},
      {"lengthInSeconds", "2.5"},
      {"instrumentTypeId", id("Horn/Wind")},
      {"instrumentSubTypeId", "3"},
      {"genreId", "65"},
      {"singleEnsembleKeywordId", id("Single")},
      {"partFillKeywordId", id("Fill")},
      {"acousticElectricKeywordId", id("Electric")},
      {"dryProcessedKeywordId", id("Dry")},
      {"cleanDistortedKeywordId", id("Clean")},
      {"cheerfulDarkKeywordId", id("Cheerful")},
      {"relaxedIntenseKeywordId", id("Intense")},
      {"groovingArrhythmicKeywordId", id("Grooving")},
      {"melodicDissonantKeywordId", id("Melodic")},
      {"contentIdentifier", "a|-|b"},
      {"patchInfo", "1"},
      {"ksLoopType", std::to_string(fileData.ksLoopType())}};
  for (const auto& [column, value] : columns) {
    EXPECT_EQ(rows(std::string("SELECT ") + column + " FROM Loops"), Rows{value}) << column;
  }
  EXPECT_EQ(rows("SELECT * FROM LoopsKeywords"),
            Rows{"-9223372036854775807|Horn/Wind|Tuba|Jazz|" + *fileData.descriptorsString()});
  EXPECT_EQ(rows("SELECT count(*), count(DISTINCT loopId) FROM Tagging"), Rows{"12|1"});
  EXPECT_EQ(rows("SELECT * FROM CrateLoopRelation"), Rows{"package|-9223372036854775807"});
}

TEST_F(LCFileIndexingStatements, ATempoIsRoundedWithHalvesAwayFromZero) {
  struct Case {
    float bpm;
    const char* column;
  };
  for (const auto& [bpm, column] :
       {Case{119.5f, "120"}, Case{119.4f, "119"}, Case{2.5f, "3"},  // rounding to even would give 2
        Case{-1.0f, "-1"},                                          // the mark for none
        Case{-0.5f, "-1"}, Case{1e20f, "2147483647"}, Case{std::nanf(""), "0"}}) {
    LCFileData fileData = loopTagged(5, "Jazz");
    fileData.bpm = bpm;
    indexer->addFileDataToDatabase(fileData, std::nullopt);
    EXPECT_EQ(rows("SELECT tempo FROM Loops"), Rows{column}) << bpm;
  }
}

TEST_F(LCFileIndexingStatements, ASchemaBeforeThePatchColumnsIsWrittenWithoutThem) {
  TemporaryFolder folder;
  const auto older = LCFileIndexing::initWithDatabaseConfiguration({folder.path("old.db"), false, 100929});
  EXPECT_TRUE(older->addFileDataToDatabase(loopTagged(5, "Jazz"), std::nullopt));
  LCResultDictionary result;
  older->executeStatementWithGenericReturnValue("SELECT name FROM pragma_table_info('Loops')", &result);
  EXPECT_EQ(result["name"].size(), 32u);
}

TEST_F(LCFileIndexingStatements, TextsOfOneLoopStayForTheNextInLoopsKeywordsButNotInLoops) {
  LCFileData first = loopWithId(1);
  first.genreTag = "Jazz";
  first.descriptors = vesk::StringSet{"Dark"};
  first.title = "first";
  LCFileData second = loopWithId(2);
  second.instrumentTypeTag = "Bass";
  second.descriptors = vesk::StringSet{};
  indexer->addFileDataToDatabase(first, std::nullopt);
  indexer->addFileDataToDatabase(second, std::nullopt);
  EXPECT_EQ(rows("SELECT * FROM LoopsKeywords ORDER BY loopId"),
            (Rows{"1|NULL|NULL|Jazz|Dark", "2|Bass|NULL|Jazz|Dark"}));
  EXPECT_EQ(rows("SELECT title, genreId FROM Loops ORDER BY id"), (Rows{"first|65", "NULL|0"}));
}

TEST_F(LCFileIndexingStatements, ALoopReplacesTheRowOfItsIdUnlessItLivesInAFactoryBundle) {
  LCFileData bundle = loopTagged(7, "Jazz");
  bundle.isFactoryBundleLoop = true;
  bundle.storedFileURL = vesk::URL::fromString("file:///P.loopdata/Q.loopdata");
  indexer->prepareIndexing();
  EXPECT_TRUE(indexer->addFileDataToDatabase(bundle, "package"));
  bundle.storedFileURL = vesk::URL::fromString("file:///other.loopdata");
  bundle.descriptors = vesk::StringSet{"Dark"};
  EXPECT_FALSE(indexer->addFileDataToDatabase(bundle, "second"));
  EXPECT_EQ(rows("SELECT fileURL FROM Loops"), Rows{"file:///P.caf/Q.caf"});
  EXPECT_EQ(rows("SELECT keywordId FROM Tagging"), Rows{"65"});
  EXPECT_EQ(rows("SELECT crateId FROM CrateLoopRelation"), Rows{"package"});

  EXPECT_TRUE(indexer->addFileDataToDatabase(loopTagged(7, "Dark"), "package"));
  EXPECT_EQ(rows("SELECT fileURL FROM Loops"), Rows{"file:///q/Loop%207.caf"});
  EXPECT_EQ(rows("SELECT keywordId FROM Tagging ORDER BY keywordId"), (Rows{"65", "68"}));  // old tags stay
}

TEST_F(LCFileIndexingStatements, KeywordsGetTheirBuiltInIdOrTheNextFreeOne) {
  indexer->prepareIndexing();
  indexer->addFileDataToDatabase(loopTagged(1, "Zorp"), std::nullopt);
  indexer->addFileDataToDatabase(loopTagged(2, "Zorp"), std::nullopt);
  indexer->addFileDataToDatabase(loopTagged(3, "Woodwind"), std::nullopt);  // a group, known to the database only
  open();
  indexer->prepareIndexing();
  indexer->addFileDataToDatabase(loopTagged(4, "Zorp"), std::nullopt);
  indexer->addFileDataToDatabase(loopTagged(5, "it's \"new\""), std::nullopt);
  EXPECT_EQ(rows("SELECT * FROM Tagging ORDER BY loopId"),
            (Rows{"1|10009", "2|10009", "3|10002", "4|10009", "5|10010"}));
  EXPECT_EQ(rows("SELECT * FROM Keywords WHERE id > 10008"), (Rows{"10009|Zorp|0", "10010|it's \"new\"|0"}));
}

TEST_F(LCFileIndexingStatements, CategoriesComeFromTheDictionaryAlone) {
  LCKeywordHelper::setKeywordId(20001, kCategoryGenre, std::string("Learned"));
  struct Case {
    const char* keyword;
    int32_t category;
  };
  for (const auto& [keyword, category] : {Case{"Jazz", 1}, Case{"Dissonant", 2}, Case{"Bass", 3}, Case{"Mixed", 4},
                                          Case{"Tuba", 5}, Case{"Brass", 0},  // a group
                                          Case{"Learned", 0},                 // the taxonomy knows it
                                          Case{"jazz", 0}, Case{"Dark/Cheerful", 0}}) {
    EXPECT_EQ(indexer->keywordCategoryForKeyword(keyword), category) << keyword;
  }
}

TEST_F(LCFileIndexingStatements, TheLastStepDecidesTheResult) {
  struct Case {
    std::optional<std::string> package;
    vesk::StringSet descriptors;
    bool result;
  };
  int64_t id = 0;
  for (const auto& [package, descriptors, result] :
       {Case{"package", {}, true}, Case{std::nullopt, {}, false},  // no package, no relation: that step fails
        Case{std::nullopt, {"Jazz"}, true},                        // … but a keyword comes after it
        Case{std::nullopt, {""}, false}}) {                        // an empty one does not count
    LCFileData fileData = loopWithId(++id);
    fileData.descriptors = descriptors;
    EXPECT_EQ(indexer->addFileDataToDatabase(fileData, package), result) << id;
  }
  EXPECT_EQ(rows("SELECT loopId FROM Tagging"), Rows{"3"});

  const std::string failing = "CREATE TEMP TRIGGER fail%@ BEFORE INSERT ON main.%@ BEGIN SELECT RAISE(FAIL, 'no'); END";
  indexer->executeStatementWithNoReturnValue(sqlFormat(failing, {"Tagging", "Tagging"}));
  EXPECT_FALSE(indexer->addFileDataToDatabase(loopTagged(8, "Jazz"), "package"));
  EXPECT_EQ(rows("SELECT count(*) FROM Loops"), Rows{"5"});  // its row is there all the same
  indexer->executeStatementWithNoReturnValue(sqlFormat(failing, {"LoopsKeywords", "LoopsKeywords"}));
  EXPECT_FALSE(indexer->addFileDataToDatabase(loopTagged(9, "Jazz"), "package"));
  EXPECT_EQ(rows("SELECT loopId FROM CrateLoopRelation"), (Rows{"1", "8"}));  // after LoopsKeywords nothing is written
}

TEST_F(LCFileIndexingStatements, LoudnessIsTakenFromTheRecordOrMeasured) {
  const auto analyzer = std::make_shared<FixedAnalyzer>();
  analyzer->answer =
      LCLoopLoudnessInfo{.integratedLoudness = -14, .globalMaxTruePeak = -1, .targetIntegratedLoudness = 7};
  indexer->setLoudnessAnalyzerService(analyzer, true);

  LCFileData complete = loopTagged(1, "Jazz");
  complete.integratedLoudness = -10;
  complete.globalMaxTruePeak = -2;
  complete.targetIntegratedLoudness = -18;
  LCFileData incomplete = loopTagged(2, "Jazz");
  incomplete.integratedLoudness = -10;
  indexer->addFileDataToDatabase(complete, std::nullopt);
  EXPECT_EQ(analyzer->questions, 0);
  indexer->addFileDataToDatabase(incomplete, std::nullopt);
  EXPECT_EQ(incomplete.integratedLoudness, -14);
  EXPECT_EQ(incomplete.globalMaxTruePeak, -1);
  analyzer->answer = std::nullopt;
  indexer->addFileDataToDatabase(loopTagged(3, "Jazz"), std::nullopt);

  const std::string file = vesk::URL::fileURLWithPath(databaseFile()).path();
  const std::string folder = file.substr(0, file.rfind('/'));
  const auto stored = LCLoudnessDatabase::initWithDatabaseFile(folder + "/LoudnessDatabaseV04.sqlite", false);
  EXPECT_EQ(stored->loudnessInfoForLoopID(1), (LCLoopLoudnessInfo{-10, -2, -18}));
  EXPECT_EQ(stored->loudnessInfoForFileName("Loop 2.caf"), (LCLoopLoudnessInfo{-14, -1, -22}));  // the target is ours
  EXPECT_EQ(stored->loudnessInfoForLoopID(3), std::nullopt);
}

TEST_F(LCFileIndexingStatements, MetaInfosArriveAndGoWithTheirLoop) {
  LCFileData fileData = loopTagged(1, "Jazz");
  fileData.metaInfos = {LCWeightedInstrumentKeyword{"Topper", 0.5}.metaInfo()};
  indexer->addFileDataToDatabase(fileData, std::nullopt);
  EXPECT_EQ(rows("SELECT loopId, stringValue, type FROM LoopsMetaInfos"), Rows{"1|Topper|1"});
  indexer->removeLoopWithId(1);
  EXPECT_EQ(rows("SELECT * FROM LoopsMetaInfos"), Rows{});
}
