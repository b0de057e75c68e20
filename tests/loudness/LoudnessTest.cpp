// The loudness of loops: the values, their archives, and the two databases that keep them and the meta infos.
#include "database/TestDatabase.h"
#include "platform/KeyedArchive.h"
#include "support/AudioFixture.h"
#include "VeskLoopManagement/loudness/LCLoudnessDatabase.h"
#include "VeskLoopManagement/loudness/LCMetaInfoDatabase.h"

#include <limits>

namespace {

using Info = LCLoopLoudnessInfo;

constexpr Info kQuiet{-23.456789, -3.5, -20.0};
constexpr Info kLoud{-9.0, 0.5, -18.0};
const LCMetaInfo kTopper = LCWeightedInstrumentKeyword{"Topper", 1.0}.metaInfo();
const LCMetaInfo kNumber{std::nullopt, 0.25, 5, 4};
const std::vector<LCMetaInfo> kBoth{kTopper, kNumber};

struct MetaInfoDatabase : testing::Test {
  const TestDatabase file;
  const std::unique_ptr<LCMetaInfoDatabase> database = LCMetaInfoDatabase::databaseForSqlite(file.connection());
};

}  // namespace

TEST(LoopLoudnessInfo, TravelsInArchivesAs32BitFloats) {
  const auto read = Info::unarchived(Info{-23.456789, -std::numeric_limits<double>::infinity(), 1e300}.archived());
  EXPECT_EQ(read, (Info{static_cast<double>(-23.456789f), -Info::kNone, Info::kNone}));
  EXPECT_EQ(Info::unarchived(Info{}.archived()), Info{});
}

TEST(LoopLoudnessInfo, IsReadFromArchivesThatNameItOtherwise) {
  const auto archived = [](vesk::Dictionary fields) {
    const vesk::ArchivedObject object{{"OtherLoudness", "NSObject"}, std::move(fields)};
    return vesk::archivedRoot(std::make_shared<const vesk::ArchivedObject>(object), "root");
  };
  EXPECT_EQ(Info::unarchived(archived({{"integratedLoudnessV1", -20}})), (Info{-20.0, 0.0, 0.0}))
      << "an integer is a number too, and what is missing is 0";
  EXPECT_EQ(Info::unarchived(archived({{"loudness", -20.0}})), std::nullopt);
  EXPECT_EQ(Info::unarchived({}), std::nullopt);
}

TEST(LoopLoudnessInfo, TargetOfACategoryChunkComesFromItsTexts) {
  const auto target = Info::targetIntegratedLoudnessForCategoryChunk;
  EXPECT_EQ(target(fixture::catePayload("Percussion", "Kick", ""), false), -18.0);
  EXPECT_EQ(target(fixture::catePayload("Bass", "", ""), false), -20.0);
  EXPECT_EQ(target(fixture::catePayload(std::string(50, 'x'), "Kick", ""), false), -18.0) << "a field without its NUL";
  const fixture::Bytes whole = fixture::catePayload("Bass", "Kick", "");
  EXPECT_EQ(target(whole, true), -26.0);
  for (const size_t size : {0, 4, 60, 103}) EXPECT_EQ(target(std::span(whole).first(size), false), -22.0) << size;
}

TEST(LoudnessDatabase, KeepsOneRowALoopAndFindsItByIdAndWholeName) {
  const TemporaryFolder folder;
  const auto database = LCLoudnessDatabase::initWithDatabaseFile(folder.path("l.sqlite"), true);
  for (const auto& info : {kQuiet, kLoud}) EXPECT_TRUE(database->saveLoadnessInfo(info, "/q/Joe's.caf", -7));
  EXPECT_TRUE(database->saveLoadnessInfo(kQuiet, "other.caf", 8));
  const auto reader = LCLoudnessDatabase::initWithDatabaseFile(folder.path("l.sqlite"), false);
  EXPECT_EQ(reader->loudnessInfoForLoopID(8), kQuiet) << "doubles keep their precision here";
  EXPECT_EQ(reader->loudnessInfoForLoopID(9), std::nullopt);
  EXPECT_EQ(reader->loudnessInfoForFileName("/q/Joe's.caf"), kLoud);
  EXPECT_EQ(reader->loudnessInfoForFileName("Joe's.caf"), std::nullopt);
  EXPECT_FALSE(reader->saveLoadnessInfo(kQuiet, "new.caf", 10));
  EXPECT_EQ(database->loudnessInfoForLoopID(-7), kLoud);
  EXPECT_TRUE(LCSQLiteUtilities(database->database()).executeStatementWithNoReturnValue("DROP TABLE LoopsLoudnessV4"))
      << "an answered lookup does not lock the table";
}

TEST(LoudnessDatabase, ThatCannotBeOpenedAnswersNothing) {
  const TemporaryFolder folder;
  EXPECT_EQ(LCLoudnessDatabase::initWithDatabaseFile(std::nullopt, false), nullptr);
  for (const std::string& file : {folder.path("missing.sqlite"), folder.addFile("x", std::string(4096, 'x'))}) {
    const auto database = LCLoudnessDatabase::initWithDatabaseFile(file, false);
    ASSERT_NE(database, nullptr);
    EXPECT_EQ(database->loudnessInfoForLoopID(1), std::nullopt);
    EXPECT_FALSE(database->saveLoadnessInfo(kQuiet, "a", 1));
  }
}

TEST(LoudnessDatabase, ThatBorrowsNeitherCreatesTablesNorCloses) {
  const TestDatabase file;
  {
    const auto database = LCLoudnessDatabase::loudnessDatabaseForSqlite(file.connection());
    EXPECT_FALSE(database->saveLoadnessInfo(kQuiet, "a", 1));
    EXPECT_TRUE(LCLoudnessDatabase::generateDatabaseTablesForSQLite(file.connection()));
    EXPECT_TRUE(database->saveLoadnessInfo(kQuiet, "a", 1)) << "a statement that failed is prepared again";
  }
  EXPECT_EQ(LCLoudnessDatabase::loudnessDatabaseForSqlite(file.connection())->loudnessInfoForLoopID(1), kQuiet);
}

TEST_F(MetaInfoDatabase, AnswersByLoopAndTypeAndDoublesOnlyWhatHasNoText) {
  ASSERT_TRUE(database->saveMetaInfos(std::vector{kNumber}, 8));
  for (int count = 0; count < 2; ++count) ASSERT_TRUE(database->saveMetaInfos(kBoth, -7));
  EXPECT_EQ(database->instrumentKeywordsForLoopId(-7), std::vector{kTopper});
  EXPECT_EQ(database->metaInfosForLoopID(-7, 4), (std::vector{kNumber, kNumber})) << "no text never equals another";
  EXPECT_EQ(database->metaInfosForLoopID(-7).size(), 3u);
  EXPECT_TRUE(database->instrumentKeywordsForLoopId(8).empty());
}

TEST_F(MetaInfoDatabase, AFailedRowDoesNotKeepTheOthersOut) {
  file.run(
      "CREATE TRIGGER refuse BEFORE INSERT ON LoopsMetaInfos WHEN NEW.type = 4 BEGIN SELECT RAISE(FAIL, 'no'); END");
  EXPECT_FALSE(database->saveMetaInfos(std::vector{kNumber, kTopper}, 1));
  EXPECT_EQ(database->metaInfosForLoopID(1), std::vector{kTopper});
}

TEST_F(MetaInfoDatabase, InAFileOfItsOwnNeedsNoLoops) {
  const std::string own = file.folder().path("own.sqlite");
  EXPECT_TRUE(LCMetaInfoDatabase::initWithDatabaseFile(own, true)->saveMetaInfos(std::vector{kTopper}, 1));
  EXPECT_EQ(LCMetaInfoDatabase::initWithDatabaseFile(own, false)->metaInfosForLoopID(1), std::vector{kTopper});
}
