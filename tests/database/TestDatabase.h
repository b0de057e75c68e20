// A loop database in a folder of its own, with short ways to ask it.
#pragma once

#include "support/TestEnvironment.h"
#include "VeskLoopManagement/database/LCConnection.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"
#include "VeskLoopManagement/database/LCStatement.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

using Texts = std::vector<std::string>;

class TestDatabase {
 public:
  // Without tables for nullopt.
  explicit TestDatabase(std::optional<int64_t> schemaVersion = kDefaultDatabaseSchemaVersion) {
    const auto generate = LCSQLiteUtilities::generateDatabaseTablesForSQLite;
    EXPECT_TRUE(!schemaVersion || generate(connection(), *schemaVersion));
  }

  const TemporaryFolder& folder() const { return m_folder; }
  std::string file() const { return m_folder.path("x.db"); }
  sqlite3* connection() const { return m_connection.get(); }
  void run(const std::string& sql) const {
    EXPECT_TRUE(LCSQLiteUtilities(connection()).executeStatementWithNoReturnValue(sql)) << sql;
  }
  // The first column of every row, NULL as "NULL"; of the first row.
  Texts texts(const std::string& sql) const {
    LCStatement statement(connection(), sql);
    Texts texts;
    while (statement.step()) texts.push_back(statement.isNull(0) ? "NULL" : statement.textAt(0));
    EXPECT_TRUE(statement.succeeded()) << sql << ": " << sqlite3_errmsg(connection());
    return texts;
  }
  std::string text(const std::string& sql) const {
    const auto all = texts(sql);
    return all.empty() ? "no row" : all.front();
  }
  void close() { m_connection.reset(); }
  void reopen(LCOpenMode mode = LCOpenMode::readWriteCreate) {
    close();
    m_connection = lc::openConnection(file(), mode);
  }

 private:
  TemporaryFolder m_folder;
  LCConnection m_connection = lc::openConnection(file(), LCOpenMode::readWriteCreate);
};
