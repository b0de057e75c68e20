// What the tests of the indexer share: a database in a folder of its own, loop files made byte by byte, and plain SQL
// to look at what was written.
#pragma once

#include "support/AudioFixture.h"
#include "support/Rows.h"
#include "support/TestEnvironment.h"
#include "VeskLoopManagement/database/LCConnection.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/indexing/LCFileIndexing.h"

#include <gtest/gtest.h>

class IndexingTest : public testing::Test {
 protected:
  IndexingTest() { open(); }

  void open() {
    indexer = LCFileIndexing::initWithDatabaseConfiguration(
        {databaseFolder.path("loops.db"), false, kDefaultDatabaseSchemaVersion});
    indexer->executeStatementWithNoReturnValue("PRAGMA synchronous = OFF");  // nobody needs this file after a crash
    indexer->prepareIndexing();
  }

  // The rows as another connection sees them: columns joined by "|", NULL as "NULL".
  Rows rows(const std::string& sql) const {
    const LCConnection connection = lc::openConnection(databaseFolder.path("loops.db"), LCOpenMode::readOnly);
    return rowsOf(connection.get(), sql);
  }

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

  TemporaryFolder databaseFolder;
  std::unique_ptr<LCFileIndexing> indexer;
};
