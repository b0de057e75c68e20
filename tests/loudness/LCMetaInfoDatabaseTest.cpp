#include "loudness/LCMetaInfoDatabase.h"

#include "database/LCDatabaseSchema.h"
#include "database/LCSQLiteUtilities.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

namespace {

const LCMetaInfo kTopper = LCWeightedInstrumentKeyword{"Topper", 1.0}.metaInfo();
const LCMetaInfo kNumber{std::nullopt, 0.25, 5, 4};

class MetaInfoDatabase : public testing::Test {
 protected:
  MetaInfoDatabase() : m_connection(openConnection(m_folder.path("x.db"), LCOpenMode::readWriteCreate)) {
    LCSQLiteUtilities::generateDatabaseTablesForSQLite(m_connection.get(), kDefaultDatabaseSchemaVersion);
  }
  bool run(const std::string& sql) {
    return LCSQLiteUtilities(m_connection.get()).executeStatementWithNoReturnValue(sql);
  }
  TemporaryFolder m_folder;
  LCConnection m_connection;
};

}  // namespace

TEST_F(MetaInfoDatabase, AnswersByLoopAndType) {
  const auto database = LCMetaInfoDatabase::databaseForSqlite(m_connection.get());
  ASSERT_TRUE(database->saveMetaInfos(std::vector{kTopper, kNumber}, -7));
  ASSERT_TRUE(database->saveMetaInfos(std::vector{kNumber}, 8));
  EXPECT_EQ(database->metaInfosForLoopID(-7).size(), 2u);
  EXPECT_EQ(database->metaInfosForLoopID(-7, 4), std::vector{kNumber});
  EXPECT_EQ(database->instrumentKeywordsForLoopId(-7), std::vector{kTopper});
  EXPECT_TRUE(database->instrumentKeywordsForLoopId(8).empty());
}

TEST_F(MetaInfoDatabase, SavingAgainDoublesOnlyWhatHasNoText) {
  const auto database = LCMetaInfoDatabase::databaseForSqlite(m_connection.get());
  for (int i = 0; i < 2; ++i) EXPECT_TRUE(database->saveMetaInfos(std::vector{kTopper, kNumber}, 1));
  EXPECT_EQ(database->metaInfosForLoopID(1, 1).size(), 1u);
  EXPECT_EQ(database->metaInfosForLoopID(1, 4).size(), 2u) << "a missing text never equals another";
}

TEST_F(MetaInfoDatabase, RowsGoWithTheirLoop) {
  const auto database = LCMetaInfoDatabase::databaseForSqlite(m_connection.get());
  ASSERT_TRUE(run("INSERT INTO Loops (id) VALUES (1), (2)"));
  for (const int64_t loopId : {1, 2}) ASSERT_TRUE(database->saveMetaInfos(std::vector{kTopper}, loopId));
  ASSERT_TRUE(run("DELETE FROM Loops WHERE id = 1"));
  EXPECT_TRUE(database->metaInfosForLoopID(1).empty());
  EXPECT_EQ(database->metaInfosForLoopID(2), std::vector{kTopper});
}

TEST_F(MetaInfoDatabase, AFailedRowDoesNotKeepTheOthersOut) {
  const auto database = LCMetaInfoDatabase::databaseForSqlite(m_connection.get());
  ASSERT_TRUE(
      run("CREATE TRIGGER refuse BEFORE INSERT ON LoopsMetaInfos WHEN NEW.type = 4 "
          "BEGIN SELECT RAISE(FAIL, 'no'); END"));
  EXPECT_FALSE(database->saveMetaInfos(std::vector{kNumber, kTopper}, 1));
  EXPECT_EQ(database->metaInfosForLoopID(1), std::vector{kTopper});
  EXPECT_TRUE(database->saveMetaInfos({}, 1));
}

TEST_F(MetaInfoDatabase, InAFileOfItsOwnNeedsNoLoops) {
  const auto database = LCMetaInfoDatabase::initWithDatabaseFile(m_folder.path("own.sqlite"), true);
  EXPECT_TRUE(database->saveMetaInfos(std::vector{kTopper}, 1));
  const auto reader = LCMetaInfoDatabase::initWithDatabaseFile(m_folder.path("own.sqlite"), false);
  EXPECT_EQ(reader->metaInfosForLoopID(1), std::vector{kTopper});
  EXPECT_EQ(LCMetaInfoDatabase::initWithDatabaseFile(std::nullopt, false), nullptr);
}
