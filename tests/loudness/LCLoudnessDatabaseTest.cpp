#include "loudness/LCLoudnessDatabase.h"

#include "database/LCSQLiteUtilities.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr LCLoopLoudnessInfo kQuiet{-23.456789, -3.5, -20.0};
constexpr LCLoopLoudnessInfo kLoud{-9.0, 0.5, -18.0};

}  // namespace

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
  const TemporaryFolder folder;
  const LCConnection connection = openConnection(folder.path("x.db"), LCOpenMode::readWriteCreate);
  {
    const auto database = LCLoudnessDatabase::loudnessDatabaseForSqlite(connection.get());
    EXPECT_FALSE(database->saveLoadnessInfo(kQuiet, "a", 1));
    EXPECT_TRUE(LCLoudnessDatabase::generateDatabaseTablesForSQLite(connection.get()));
    EXPECT_TRUE(database->saveLoadnessInfo(kQuiet, "a", 1)) << "a statement that failed is prepared again";
  }
  EXPECT_EQ(LCLoudnessDatabase::loudnessDatabaseForSqlite(connection.get())->loudnessInfoForLoopID(1), kQuiet);
}
