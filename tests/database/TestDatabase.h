// A loop database in a folder of its own, with short ways to ask it.
#pragma once

#include "database/LCConnection.h"
#include "database/LCDatabaseSchema.h"
#include "database/LCSQLiteUtilities.h"
#include "database/LCStatement.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>
#include <string>
#include <vector>

using Texts = std::vector<std::string>;

inline Texts firstColumn(sqlite3* connection, const std::string& sql) {
  LCStatement statement(connection, sql);
  Texts texts;
  while (statement.step()) texts.push_back(statement.isNull(0) ? "NULL" : statement.textAt(0));
  EXPECT_TRUE(statement.succeeded()) << sql << ": " << sqlite3_errmsg(connection);
  return texts;
}

class TestDatabase {
 public:
  explicit TestDatabase(int64_t schemaVersion = kDefaultDatabaseSchemaVersion) : TestDatabase("x.db") {
    EXPECT_TRUE(LCSQLiteUtilities::generateDatabaseTablesForSQLite(connection(), schemaVersion));
  }
  static TestDatabase withoutTables() { return TestDatabase("x.db"); }

  const TemporaryFolder& folder() const { return *m_folder; }
  std::string file() const { return m_folder->path("x.db"); }
  sqlite3* connection() const { return m_connection.get(); }
  bool run(const std::string& sql) const {
    return LCSQLiteUtilities(connection()).executeStatementWithNoReturnValue(sql);
  }
  Texts texts(const std::string& sql) const { return firstColumn(connection(), sql); }
  std::string text(const std::string& sql) const {
    const auto all = texts(sql);
    return all.empty() ? "no row" : all.front();
  }
  void close() { m_connection.reset(); }
  void reopen(LCOpenMode mode = LCOpenMode::readWriteCreate) {
    m_connection.reset();
    m_connection = openConnection(file(), mode);
  }

 private:
  explicit TestDatabase(const char* name)
      : m_folder(std::make_unique<TemporaryFolder>()),
        m_connection(openConnection(m_folder->path(name), LCOpenMode::readWriteCreate)) {}

  std::unique_ptr<TemporaryFolder> m_folder;
  LCConnection m_connection;
};
