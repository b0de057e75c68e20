// What the tests of the indexer share: an indexer over a database in a folder of its own, loops to add, and another
// connection to look at what was written.
#pragma once

#include "database/TestDatabase.h"
#include "support/AudioFixture.h"
#include "VeskLoopManagement/indexing/LCFileIndexing.h"

class IndexingTest : public testing::Test {
 protected:
  IndexingTest() { open(); }

  void open() {
    indexer = LCFileIndexing::initWithDatabaseConfiguration(database.configuration());
    execute("PRAGMA synchronous = OFF");  // nobody needs this file after a crash
    indexer->prepareIndexing();
  }
  void execute(const std::string& sql) { EXPECT_TRUE(indexer->executeStatementWithNoReturnValue(sql)) << sql; }
  Rows rows(const std::string& sql) const { return database.rows(sql); }
  // What stands in the file besides the indexes that SQLite makes for itself.
  Rows indexes() const { return rows("SELECT name FROM sqlite_master WHERE type = 'index' AND sql NOT NULL"); }

  static LCFileData loopTagged(int64_t id, const vesk::StringSet& descriptors) {
    return {.hash = id,
            .descriptors = descriptors,
            .storedFileURL = vesk::URL::fromString("file:///q/Loop%20" + std::to_string(id) + ".caf")};
  }
  bool add(const LCFileData& fileData, const std::optional<std::string>& package = std::nullopt) {
    return indexer->addFileDataToDatabase(fileData, package);
  }

  const TestDatabase database;
  std::unique_ptr<LCFileIndexing> indexer;
};
