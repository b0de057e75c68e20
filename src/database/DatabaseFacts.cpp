#include "database/DatabaseFacts.h"

#include "database/StatementRunner.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCStatement.h"

#include <fmt/format.h>

#include <chrono>
#include <limits>

namespace {

struct Fact {
  int64_t rowId = -1;  // -1: no row
  int64_t value = 0;
};

Fact integerFact(sqlite3* connection, const char* selectSQL) {
  LCStatement statement(connection, selectSQL);
  if (!statement.step()) return {};
  return {statement.int64At(0), statement.int64At(1)};
}

bool insertInteger(sqlite3* connection, const char* insertSQL, int64_t value) {
  LCStatement statement(connection, insertSQL);
  statement.bind(1, value);
  return statement.run();
}

// A failed insert falls through to the update, which then fails too or finds no row.
bool insertOrUpdateInteger(sqlite3* connection, const char* selectSQL, const char* insertSQL, int64_t value) {
  if (connection == nullptr) return false;
  const Fact fact = integerFact(connection, selectSQL);
  if (fact.rowId == -1 && insertInteger(connection, insertSQL, value)) return true;
  LCStatement update(connection, "UPDATE DatabaseMigrationInfos SET integerValue = ? WHERE id = ?;");
  update.bind(1, value);
  update.bind(2, fact.rowId);
  return update.run();
}

double secondsSince2001() {
  using Seconds = std::chrono::duration<double>;
  constexpr double kUnixTimeOf2001 = 978307200.0;
  return Seconds(std::chrono::system_clock::now().time_since_epoch()).count() - kUnixTimeOf2001;
}

constexpr const char* kLastScan = "LAST_LIBRARY_SCAN";
constexpr const char* kUnfinishedRun = "UNFINISHED_RUN";

std::optional<std::string> textFact(sqlite3* connection, const char* key) {
  LCStatement statement(connection, "SELECT textValue FROM DatabaseMigrationInfos WHERE key = ?1");
  statement.bind(1, key);
  if (!statement.step() || statement.isNull(0)) return std::nullopt;
  return statement.textAt(0);
}

bool setTextFact(sqlite3* connection, const char* key, const std::optional<std::string>& value) {
  LCStatement remove(connection, "DELETE FROM DatabaseMigrationInfos WHERE key = ?1");
  remove.bind(1, key);
  if (!remove.run() || !value) return remove.succeeded();
  LCStatement insert(connection, "INSERT INTO DatabaseMigrationInfos (key, textValue) VALUES (?1, ?2)");
  insert.bind(1, key);
  insert.bind(2, *value);
  return insert.run();
}

}  // namespace

namespace lc::facts {

int64_t schemaVersion(sqlite3* connection) {
  LCStatement statement(connection,
                        "SELECT integerValue from DatabaseMigrationInfos WHERE key == 'DATABASE_SCHEMA_VERSION'");
  return statement.step() ? statement.int64At(0) : -1;
}

bool setSchemaVersion(int64_t schemaVersion, sqlite3* connection) {
  return insertOrUpdateInteger(
      connection, "SELECT id, integerValue from DatabaseMigrationInfos WHERE key == 'DATABASE_SCHEMA_VERSION'",
      "INSERT OR REPLACE INTO DatabaseMigrationInfos (key, integerValue) VALUES ('DATABASE_SCHEMA_VERSION', ?);",
      schemaVersion);
}

int64_t lastExtraKeywordId(const std::optional<std::string>& database, sqlite3* connection) {
  if (connection == nullptr) return -1;
  LCStatement statement(
      connection,
      lc::sqlFormat("SELECT integerValue from %@%@DatabaseMigrationInfos WHERE key == 'LAST_EXTRA_KEYWORD_ID'",
                    {database.value_or(""), database ? "." : ""}));
  return statement.step() ? statement.int64At(0) : std::numeric_limits<int64_t>::max();
}

bool setLastExtraKeywordId(int64_t keywordId, sqlite3* connection) {
  return insertOrUpdateInteger(
      connection, "SELECT id, integerValue from DatabaseMigrationInfos WHERE key == 'LAST_EXTRA_KEYWORD_ID'",
      "INSERT OR REPLACE INTO DatabaseMigrationInfos (key, integerValue) VALUES ('LAST_EXTRA_KEYWORD_ID', ?);",
      keywordId);
}

std::optional<std::string> indexingAppIdentifier(sqlite3* connection) {
  LCStatement statement(connection,
                        "SELECT textValue from DatabaseMigrationInfos WHERE key == 'INDEXING_APP_IDENTIFIER'");
  if (!statement.step() || statement.isNull(0)) return std::nullopt;
  return statement.textAt(0);
}

bool setIndexingAppIdentifier(const std::optional<std::string>& identifier, sqlite3* connection) {
  if (connection == nullptr || !identifier || identifier->empty()) return false;
  runner::succeeds(connection, "DELETE FROM DatabaseMigrationInfos WHERE key == 'INDEXING_APP_IDENTIFIER';");
  LCStatement insert(
      connection,
      "INSERT OR REPLACE INTO DatabaseMigrationInfos (key, textValue) VALUES ('INDEXING_APP_IDENTIFIER', ?);");
  insert.bind(1, *identifier);
  insert.run();
  return insert.isPrepared();  // whatever the row's own writing gave
}

bool isStepRecorded(std::string_view key, sqlite3* connection) {
  return LCStatement(connection,
                     lc::sqlFormat("SELECT id from DatabaseMigrationInfos WHERE key == '%@'", {lc::sqlEscaped(key)}))
      .step();
}

bool recordStep(std::string_view key, sqlite3* connection) {
  LCStatement insert(connection,
                     lc::sqlFormat("INSERT OR REPLACE INTO DatabaseMigrationInfos (key, floatValue) VALUES ('%@', %@);",
                                   {lc::sqlEscaped(key), fmt::format("{:f}", secondsSince2001())}));
  return !insert.isPrepared() || insert.run();
}

std::optional<std::string> lastScan(sqlite3* connection) {
  return textFact(connection, kLastScan);
}

bool setLastScan(const std::string& scan, sqlite3* connection) {
  return setTextFact(connection, kLastScan, scan);
}

std::optional<std::string> unfinishedRun(sqlite3* connection) {
  return textFact(connection, kUnfinishedRun);
}

bool setUnfinishedRun(const std::optional<std::string>& run, sqlite3* connection) {
  return setTextFact(connection, kUnfinishedRun, run);
}

}  // namespace lc::facts
