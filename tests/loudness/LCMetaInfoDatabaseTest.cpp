#include "loudness/LCMetaInfoDatabase.h"

#include "database/LCSQLiteUtilities.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

const LCMetaInfo kTopper = LCWeightedInstrumentKeyword{"Topper", 1.0}.metaInfo();
const LCMetaInfo kNumber{std::nullopt, 0.25, 5, 4};
const std::vector<LCMetaInfo> kBoth{kTopper, kNumber};

struct MetaInfoDatabase : testing::Test {
  MetaInfoDatabase() { run("CREATE TABLE Loops (id INTEGER PRIMARY KEY)"); }
  void run(const std::string& sql) {
    EXPECT_TRUE(LCSQLiteUtilities(connection.get()).executeStatementWithNoReturnValue(sql)) << sql;
  }
  const TemporaryFolder folder;
  const LCConnection connection = openConnection(folder.path("x.db"), LCOpenMode::readWriteCreate);
  const std::unique_ptr<LCMetaInfoDatabase> database = LCMetaInfoDatabase::databaseForSqlite(connection.get());
};

}  // namespace

TEST_F(MetaInfoDatabase, AnswersByLoopAndTypeAndDoublesOnlyWhatHasNoText) {
  ASSERT_TRUE(database->saveMetaInfos(std::vector{kNumber}, 8));
  for (int count = 0; count < 2; ++count) ASSERT_TRUE(database->saveMetaInfos(kBoth, -7));
  EXPECT_EQ(database->instrumentKeywordsForLoopId(-7), std::vector{kTopper});
  EXPECT_EQ(database->metaInfosForLoopID(-7, 4), (std::vector{kNumber, kNumber})) << "no text never equals another";
  EXPECT_EQ(database->metaInfosForLoopID(-7).size(), 3u);
  EXPECT_TRUE(database->instrumentKeywordsForLoopId(8).empty());
}

TEST_F(MetaInfoDatabase, AFailedRowDoesNotKeepTheOthersOut) {
  run("CREATE TRIGGER refuse BEFORE INSERT ON LoopsMetaInfos WHEN NEW.type = 4 BEGIN SELECT RAISE(FAIL, 'no'); END");
  EXPECT_FALSE(database->saveMetaInfos(std::vector{kNumber, kTopper}, 1));
  EXPECT_EQ(database->metaInfosForLoopID(1), std::vector{kTopper});
}

TEST_F(MetaInfoDatabase, InAFileOfItsOwnNeedsNoLoops) {
  const std::string file = folder.path("own.sqlite");
  EXPECT_TRUE(LCMetaInfoDatabase::initWithDatabaseFile(file, true)->saveMetaInfos(std::vector{kTopper}, 1));
  EXPECT_EQ(LCMetaInfoDatabase::initWithDatabaseFile(file, false)->metaInfosForLoopID(1), std::vector{kTopper});
}
