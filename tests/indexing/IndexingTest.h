// What the tests of the indexer share: a database in a folder of its own, loop files made byte by byte, plain SQL to
// look at what was written, and a record of the notifications.
#pragma once

#include "database/LCConnection.h"
#include "database/LCDatabaseSchema.h"
#include "database/LCStatement.h"
#include "indexing/LCFileIndexing.h"
#include "platform/Notifications.h"
#include "support/AudioFixture.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using Rows = std::vector<std::string>;

// Every notification posted while it lives, in order.
class NotificationLog {
 public:
  NotificationLog() {
    m_token =
        vesk::NotificationCenter::shared().addObserver("", [this](const std::string& name) { names.push_back(name); });
  }
  ~NotificationLog() { vesk::NotificationCenter::shared().removeObserver(m_token); }

  std::vector<std::string> names;

 private:
  vesk::NotificationCenter::Token m_token = 0;
};

class IndexingTest : public testing::Test {
 protected:
  IndexingTest() { open(); }

  void open(int64_t schemaVersion = kDefaultDatabaseSchemaVersion) {
    indexer = LCFileIndexing::initWithDatabaseConfiguration({databaseFile(), false, schemaVersion});
  }

  std::string databaseFile() const { return m_databaseFolder.path("loops.db"); }

  // The rows as another connection sees them: columns joined by "|", NULL as "NULL".
  Rows rows(const std::string& sql) const {
    const LCConnection connection = openConnection(databaseFile(), LCOpenMode::readOnly);
    LCStatement statement(connection.get(), sql);
    EXPECT_TRUE(statement.isPrepared()) << sql;
    Rows result;
    while (statement.step()) {
      std::string row;
      for (int column = 0; column < statement.columnCount(); ++column) {
        row += column == 0 ? "" : "|";
        row += statement.isNull(column) ? "NULL" : statement.textAt(column);
      }
      result.push_back(row);
    }
    return result;
  }

  // A tagged AIFF loop; its folder is created.
  std::string addLoop(std::string_view relative, std::string_view type = "Drums", std::string_view subType = "",
                      std::string_view genre = "") const {
    return addFile(relative, fixture::aiffFile({fixture::chunk("basc", fixture::bascPayload(8, 60, 2, 4, 4, 1)),
                                                fixture::chunk("cate", fixture::catePayload(type, subType, genre))}));
  }

  std::string addFile(std::string_view relative, const fixture::Bytes& bytes) const {
    return files.addFile(relative, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  }

  vesk::URL url(std::string_view relative) const { return vesk::URL::fileURLWithPath(files.path(relative)); }

  TemporaryFolder files;
  std::unique_ptr<LCFileIndexing> indexer;

 private:
  TemporaryFolder m_databaseFolder;
};
