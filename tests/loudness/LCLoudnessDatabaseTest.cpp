#include "loudness/LCLoudnessDatabase.h"

#include "database/LCSQLiteUtilities.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

namespace {

constexpr LCLoopLoudnessInfo kQuiet{-23.456789, -3.5, -20.0};
constexpr LCLoopLoudnessInfo kLoud{-9.0, 0.5, -18.0};

}  // namespace

TEST(LoudnessDatabase, KeepsOneRowALoopAndFindsItByIdAndWholeName) {
  const TemporaryFolder folder;
  {
    const auto database = LCLoudnessDatabase::initWithDatabaseFile(folder.path("l.sqlite"), true);
    EXPECT_TRUE(database->saveLoadnessInfo(kQuiet, "/q/Joe's.caf", -7));
    EXPECT_TRUE(database->saveLoadnessInfo(kLoud, "/q/Joe's.caf", -7));
    EXPECT_TRUE(database->saveLoadnessInfo(kQuiet, "other.caf", 8));
  }
  const auto database = LCLoudnessDatabase::initWithDatabaseFile(folder.path("l.sqlite"), false);
  EXPECT_EQ(database->loudnessInfoForLoopID(-7), kLoud);
  EXPECT_EQ(database->loudnessInfoForLoopID(8), kQuiet) << "doubles keep their precision here";
  EXPECT_EQ(database->loudnessInfoForLoopID(9), std::nullopt);
  EXPECT_EQ(database->loudnessInfoForFileName("/q/Joe's.caf"), kLoud);
  EXPECT_EQ(database->loudnessInfoForFileName("Joe's.caf"), std::nullopt);
  EXPECT_FALSE(database->saveLoadnessInfo(kQuiet, "new.caf", 10)) << "opened for reading";
}

TEST(LoudnessDatabase, ThatCannotBeOpenedAnswersNothing) {
  const TemporaryFolder folder;
  EXPECT_EQ(LCLoudnessDatabase::initWithDatabaseFile(std::nullopt, false), nullptr);
  const auto missing = LCLoudnessDatabase::initWithDatabaseFile(folder.path("missing.sqlite"), false);
  const auto unreadable = LCLoudnessDatabase::initWithDatabaseFile(folder.addFile("x", std::string(4096, 'x')), true);
  for (const auto* database : {&missing, &unreadable}) {
    ASSERT_NE(*database, nullptr);
    EXPECT_EQ((*database)->loudnessInfoForLoopID(1), std::nullopt);
    EXPECT_EQ((*database)->loudnessInfoForFileName("a"), std::nullopt);
    EXPECT_FALSE((*database)->saveLoadnessInfo(kQuiet, "a", 1));
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

TEST(LoudnessDatabase, AnAnsweredLookupDoesNotLockTheTable) {
  const TemporaryFolder folder;
  const auto database = LCLoudnessDatabase::initWithDatabaseFile(folder.path("l.sqlite"), true);
  ASSERT_TRUE(database->saveLoadnessInfo(kQuiet, "a", 1));
  EXPECT_EQ(database->loudnessInfoForLoopID(1), kQuiet);
  EXPECT_TRUE(LCSQLiteUtilities(database->database()).executeStatementWithNoReturnValue("DROP TABLE LoopsLoudnessV4"));
}

TEST(LoudnessDatabase, OfTheFactoryIsTheHostsFileIfThereIsOne) {
  const auto environment = TestEnvironment::install();
  EXPECT_EQ(LCLoudnessDatabase::factoryDatabase(), nullptr);
  const std::string file = environment->folder() + "/f.sqlite";
  environment->setHostResource("LoudnessDatabaseV04", "sqlite", file);
  EXPECT_EQ(LCLoudnessDatabase::factoryDatabase(), nullptr) << "named, but not there";
  LCLoudnessDatabase::initWithDatabaseFile(file, true)->saveLoadnessInfo(kLoud, "f.caf", 3);
  EXPECT_EQ(LCLoudnessDatabase::factoryDatabase()->loudnessInfoForFileName("f.caf"), kLoud);
}
