// A loop database in a folder of its own, with short ways to ask it.
#pragma once

#include "platform/Path.h"
#include "support/Rows.h"
#include "support/TestEnvironment.h"
#include "VeskLoopManagement/database/LCConnection.h"
#include "VeskLoopManagement/database/LCDatabaseConfiguration.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"

inline void runSQL(sqlite3* connection, const std::string& sql) {
  EXPECT_TRUE(LCSQLiteUtilities(connection).executeStatementWithNoReturnValue(sql)) << sql;
}

class TestDatabase {
 public:
  // Without tables for nullopt.
  explicit TestDatabase(std::optional<int64_t> schemaVersion = kDefaultDatabaseSchemaVersion) {
    run("PRAGMA synchronous = OFF");  // nobody needs this file after a crash
    if (schemaVersion) LCSQLiteUtilities::generateDatabaseTablesForSQLite(connection(), *schemaVersion);
  }

  const TemporaryFolder& folder() const { return m_folder; }
  LCDatabaseConfiguration configuration(bool readOnly = false) const {
    return {file(), readOnly, kDefaultDatabaseSchemaVersion};
  }
  std::string file() const { return m_folder.path("loops.db"); }
  sqlite3* connection() const { return m_connection.get(); }
  bool isInTransaction() const { return sqlite3_get_autocommit(connection()) == 0; }
  void run(const std::string& sql) const { runSQL(connection(), sql); }
  Rows rows(const std::string& sql) const { return rowsOf(connection(), sql); }
  void close() { m_connection.reset(); }
  void reopen(LCOpenMode mode = LCOpenMode::readWriteCreate) {
    close();
    m_connection = lc::openConnection(file(), mode);
  }

 private:
  TemporaryFolder m_folder;
  LCConnection m_connection = lc::openConnection(file(), LCOpenMode::readWriteCreate);
};

// Another connection to the same file, which has written the package "other" and not committed yet.
class OtherWriter {
 public:
  explicit OtherWriter(const TestDatabase& database)
      : m_connection(lc::openConnection(database.file(), LCOpenMode::readWriteCreate)) {
    runSQL(m_connection.get(), "BEGIN; INSERT INTO Crates (identifier) VALUES ('other')");
  }
  void commit() { runSQL(m_connection.get(), "COMMIT"); }

 private:
  LCConnection m_connection;
};
