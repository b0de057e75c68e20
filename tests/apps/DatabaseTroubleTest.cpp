#include "platform/Path.h"
#include "Program.h"
#include "VeskLoopManagement/database/LCConnection.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

namespace fs = std::filesystem;

struct DatabaseTrouble : testing::Test {
  DatabaseTrouble() { program.add("l/A.aif"); }

  void makeDatabase() const { ASSERT_EQ(program.run({"index", "l"}).code, 0); }
  std::string bytesOf(const std::string& path) const { return vesk::path::readFile(path).value_or(""); }
  std::string kindOf(Words arguments) const {
    arguments.insert(arguments.begin(), "--json");
    const Outcome run = program.run(arguments);
    EXPECT_EQ(run.code, 5) << run.err;
    EXPECT_NE(run.err.find("\n  "), std::string::npos) << "no next step: " << run.err;
    return run.json()["error"]["kind"];
  }

  Program program;
};

const std::vector<Words> kReadingCommands = {
    {"search"}, {"crates"}, {"remove", "-y", "l"}, {"info", "id:1"}, {"favorite", "id:1"}};

TEST_F(DatabaseTrouble, AMissingOrEmptyOneIsSaidToBeMissingAndNotMade) {
  for (const auto& command : kReadingCommands) EXPECT_EQ(kindOf(command), "databaseMissing");
  EXPECT_FALSE(fs::exists(program.database()));
  program.folder().addFile("loops.db", "");
  EXPECT_EQ(kindOf({"search"}), "databaseMissing");
}

TEST_F(DatabaseTrouble, ADamagedOneIsLeftAloneByReadersAndKeptAsideByIndex) {
  makeDatabase();
  const std::string damaged = "garbage at the beginning" + bytesOf(program.database()).substr(24);
  program.folder().addFile("loops.db", damaged);
  for (const auto& command : kReadingCommands) EXPECT_EQ(kindOf(command), "databaseDamaged");
  EXPECT_EQ(bytesOf(program.database()), damaged);
  EXPECT_EQ(program.run({"index", "-n", "l"}).code, 0);
  EXPECT_EQ(bytesOf(program.database()), damaged);

  program.folder().addFile("LoopsDatabaseV10.db-isDamaged", "1");
  program.folder().addFile("loops.db notes.txt", "mine");
  const Outcome run = program.run({"index", "l"});
  EXPECT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(program.run({"search"}).names(), Words{"A.aif"});
  EXPECT_EQ(bytesOf(program.path("loops.db notes.txt")), "mine");  // not taken for a companion of the database
  std::string copy;
  for (const auto& entry : fs::directory_iterator(program.folder().path())) {
    if (entry.path().filename().string().starts_with("damaged-")) copy = entry.path();
  }
  EXPECT_EQ(bytesOf(copy), damaged);
  EXPECT_NE(run.err.find(copy), std::string::npos);
}

TEST_F(DatabaseTrouble, ANewerOneIsNotTouched) {
  makeDatabase();
  program.execute("UPDATE DatabaseMigrationInfos SET integerValue = 100931 WHERE key = 'DATABASE_SCHEMA_VERSION'");
  const std::string before = bytesOf(program.database());
  for (const auto& command : kReadingCommands) EXPECT_EQ(kindOf(command), "databaseNewer");
  EXPECT_EQ(kindOf({"index", "l"}), "databaseNewer");
  EXPECT_EQ(bytesOf(program.database()), before);
}

TEST_F(DatabaseTrouble, ALockedOneIsReported) {
  makeDatabase();
  const LCConnection other = lc::openConnection(program.database(), LCOpenMode::readWriteCreate);
  ASSERT_TRUE(LCSQLiteUtilities(other.get()).executeStatementWithNoReturnValue("BEGIN IMMEDIATE"));
  EXPECT_EQ(program.run({"search"}).names(), Words{"A.aif"});  // readers may go on
  ASSERT_TRUE(LCSQLiteUtilities(other.get()).executeStatementWithNoReturnValue("COMMIT; BEGIN EXCLUSIVE"));
  const Program second;  // both wait for the lock at the same time
  RunningProgram indexing = second.start({"--json", "--database", program.database(), "index", program.path("l")});
  EXPECT_EQ(kindOf({"search"}), "databaseLocked");
  EXPECT_EQ(indexing.finish().json()["error"]["kind"], "databaseLocked");
}

TEST_F(DatabaseTrouble, APlaceThatCannotHoldOneIsReported) {
  const std::string file = program.add("file");
  for (const std::string& place : {file + "/x.db", std::string("/proc/self/x.db"), program.path("l")}) {
    EXPECT_EQ(kindOf({"--database", place, "index", "l"}), "databaseUnopenable") << place;
  }
}

TEST_F(DatabaseTrouble, ReadingNeedsNoRightToWrite) {
  makeDatabase();
  program.execute("DELETE FROM DatabaseMigrationInfos");  // the file-name repair is due again
  const std::string before = bytesOf(program.database());
  fs::permissions(program.database(), fs::perms::owner_read);
  const Outcome run = program.run({"search"});
  EXPECT_EQ(run.names(), Words{"A.aif"});
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(bytesOf(program.database()), before);
}

}  // namespace
