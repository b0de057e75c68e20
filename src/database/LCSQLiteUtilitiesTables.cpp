#include "database/LCTransaction.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"
#include "VeskLoopManagement/database/LCStatement.h"
#include "VeskLoopManagement/resources/LCCompiledResources.h"

#include <array>
#include <atomic>

// The side of LCSQLiteUtilities that creates, fills, drops and extends tables.

namespace {

constexpr int64_t kKSLoopTypeCreatedSchemaVersion = kDefaultDatabaseSchemaVersion;

std::atomic<unsigned char> s_chineseTranscriptEnabled = 0;

bool execute(sqlite3* connection, const std::string& sql) {
  return LCSQLiteUtilities(connection).executeStatementWithNoReturnValue(sql);
}

bool createTable(sqlite3* connection, const std::string& format, const std::string& name) {
  return execute(connection, lc::sqlFormat(format, {"", name}));
}

bool extendLoops(sqlite3* connection, const std::string& column, const std::string& type) {
  return LCSQLiteUtilities::extendTable(kDefaultLoopsTablename, std::nullopt, column, type, connection);
}

bool createLoopsTable(sqlite3* connection, int64_t schemaVersion) {
  if (!createTable(connection, kCreateLoopsTableFormatString, kDefaultLoopsTablename)) return false;
  if (!extendLoops(connection, kLoopsContentIdentifierColumn, "TEXT")) return false;
  if (LCSQLiteUtilities::isChineseTranscriptEnabled() &&
      !extendLoops(connection, kLoopsChineseTranscriptColumn, "TEXT")) {
    return false;
  }
  if (schemaVersion < kKSLoopTypeCreatedSchemaVersion) return true;
  return extendLoops(connection, kLoopsPatchInfoColumn, "INTEGER") &&
         extendLoops(connection, kLoopsKSLoopTypeColumn, "INTEGER");
}

bool createRelationTables(sqlite3* connection) {
  return createTable(connection, kCreateTaggingTable, kDefaultTaggingTablename) &&
         createTable(connection, kCreateLoopsKeywordsTableString, kDefaultLoopsKeywordsTablename) &&
         createTable(connection, kCreateCrateTableString, kDefaultCratesTableName) &&
         createTable(connection, kCreateCrateRelationTableString, kDefaultCrateLoopRelationTablename);
}

struct KeywordRow {
  int64_t id;
  std::string name;
  int64_t category;
};

// Groups of keywords. They exist in databases only; which loops carry them is decided at the end of an indexing run.
const std::array<KeywordRow, 8>& consolidatedKeywords() {
  static const std::array<KeywordRow, 8> rows = {{{10001, "Brass", 3},
                                                  {10002, "Woodwind", 3},
                                                  {10003, "All Effects", 3},
                                                  {10004, "Effects", 3},
                                                  {10005, "Boom", 3},
                                                  {10006, "House", 1},
                                                  {10007, "Hip Hop/RnB", 1},
                                                  {10008, "OtherGenreConsolidated", 1}}};
  return rows;
}

int64_t integerOf(const vesk::Value& value) {
  if (const vesk::Number* number = value.number()) return number->integerValue();
  return value.string() ? vesk::text::integerValue(*value.string()) : 0;
}

// The built-in list in its own order, the groups behind it.
std::vector<KeywordRow> madeBuiltInKeywords() {
  std::vector<KeywordRow> rows;
  const vesk::Value list = LCCompiledResources::KeywordIDsPlist();
  if (const vesk::Dictionary* entries = list.dictionary()) {
    for (const auto& [id, entry] : *entries) {
      const vesk::Value name = vesk::valueForKey(entry.dictionary(), "name");
      if (name.string() == nullptr) continue;
      const int64_t category = integerOf(vesk::valueForKey(entry.dictionary(), "category"));
      rows.push_back({vesk::text::integerValue(id), *name.string(), category});
    }
  }
  rows.insert(rows.end(), consolidatedKeywords().begin(), consolidatedKeywords().end());
  return rows;
}

const std::vector<KeywordRow>& builtInKeywords() {
  static const std::vector<KeywordRow> rows = madeBuiltInKeywords();
  return rows;
}

std::set<int64_t> keywordIds(sqlite3* connection) {
  std::set<int64_t> ids;
  LCStatement statement(connection, "SELECT id FROM Keywords;");
  while (statement.step()) ids.insert(statement.int64At(0));
  return ids;
}

// The rows that INSERT OR IGNORE would not ignore: ids are all that is unique in the table.
std::vector<KeywordRow> missingKeywords(sqlite3* connection) {
  const std::set<int64_t> present = keywordIds(connection);
  std::vector<KeywordRow> rows = builtInKeywords();
  std::erase_if(rows, [&present](const KeywordRow& row) { return present.contains(row.id); });
  return rows;
}

std::string insertKeywordSQL(const KeywordRow& row) {
  return lc::sqlFormat("INSERT OR IGNORE INTO Keywords (id, name, categoryId) VALUES (%@, \"%@\", %@);",
                       {std::to_string(row.id), lc::sqlDoubleQuoteEscaped(row.name), std::to_string(row.category)});
}

// A database that has its keywords already is only read here: opening one must not wait for another's indexing run. The
// first failure ends the filling, for while the database is locked every further row would wait for the whole busy
// time-out.
void insertMissingKeywords(sqlite3* connection) {
  for (const KeywordRow& row : missingKeywords(connection)) {
    if (!execute(connection, insertKeywordSQL(row))) return;
  }
}

bool createAllTables(sqlite3* connection, int64_t schemaVersion) {
  const bool isLoopsUsable = createLoopsTable(connection, schemaVersion) && createRelationTables(connection);
  execute(connection, kCreateKeywordDistriubtionTableString);
  execute(connection, kCreateDatabaseMigrationInfosTableString);
  if (!isLoopsUsable || !createTable(connection, kCreateKeywordTableString, kDefaultKeywordsTablename)) return false;
  insertMissingKeywords(connection);
  return execute(connection, kCreateUserDataTableString);
}

}  // namespace

// One transaction, so that a new database is written to disk once. What could be created is kept when the rest fails.
bool LCSQLiteUtilities::generateDatabaseTablesForSQLite(sqlite3* connection, int64_t schemaVersion) {
  if (connection == nullptr) return false;
  LCTransaction transaction{connection};
  const bool isComplete = createAllTables(connection, schemaVersion);
  addLoopsBundleReplacementTriggerForSQLite(connection);
  createIndicesForSQLite(connection);
  return transaction.commit() && isComplete;
}

bool LCSQLiteUtilities::dropDatabaseTablesForSQLite(sqlite3* connection) {
  for (const std::string& table :
       {kDefaultLoopsTablename, kDefaultTaggingTablename, kDefaultLoopsKeywordsTablename, kDefaultCratesTableName,
        kDefaultCrateLoopRelationTablename, kDefaultKeywordsTablename}) {
    if (!execute(connection, lc::sqlFormat("DROP TABLE IF EXISTS %@;", {table}))) return false;
  }
  return true;
}

void LCSQLiteUtilities::fillKeywordsTableForSQLite(sqlite3* connection) {
  LCTransaction transaction{connection};
  insertMissingKeywords(connection);
  static_cast<void>(transaction.commit());
}

void LCSQLiteUtilities::addLoopsBundleReplacementTriggerForSQLite(sqlite3* connection) {
  for (const std::string& trigger : kCreateLoopsTriggerStrings) LCStatement(connection, trigger).run();
}

bool LCSQLiteUtilities::createIndicesForSQLite(sqlite3* connection) {
  return LCStatement(connection, kCreateLoopsIndexString).run();
}

// An unreadable schema counts as "present", so that callers do not recreate tables in a database that they cannot read.
bool LCSQLiteUtilities::isTableWithName(const std::string& table, const std::optional<std::string>& database,
                                        sqlite3* connection) {
  if (connection == nullptr || table.empty()) return false;
  LCStatement statement(connection, lc::sqlFormat("PRAGMA %@.table_info(%@);", {database.value_or("main"), table}));
  return !statement.isPrepared() || statement.step();
}

bool LCSQLiteUtilities::isColumnAvailableWithName(const std::string& column, const std::string& table,
                                                  const std::optional<std::string>& database, sqlite3* connection) {
  if (connection == nullptr || table.empty() || column.empty()) return false;
  LCStatement statement(connection,
                        lc::sqlFormat("SELECT * FROM %@.pragma_table_info('%@') WHERE name='%@';",
                                      {database.value_or("main"), lc::sqlEscaped(table), lc::sqlEscaped(column)}));
  return !statement.isPrepared() || statement.step();
}

// A statement that does not compile counts as success, so that callers go on with their next step.
bool LCSQLiteUtilities::extendTable(const std::string& table, const std::optional<std::string>& database,
                                    const std::string& column, const std::string& type, sqlite3* connection) {
  if (connection == nullptr || table.empty() || column.empty()) return false;
  const std::string databaseName = database.value_or("main");
  {
    constexpr int kNameColumn = 1;
    LCStatement columns(connection, lc::sqlFormat("PRAGMA %@.table_info(%@);", {databaseName, table}));
    if (!columns.isPrepared()) return true;
    while (columns.step()) {
      if (columns.textAt(kNameColumn) == column) return true;
    }
  }
  LCStatement alter(connection,
                    lc::sqlFormat("ALTER TABLE %@.%@ ADD COLUMN %@ %@;", {databaseName, table, column, type}));
  return !alter.isPrepared() || alter.run();
}

void LCSQLiteUtilities::setChineseTranscriptEnabled(bool enabled) {
  s_chineseTranscriptEnabled = enabled ? 1 : 0;
}

bool LCSQLiteUtilities::isChineseTranscriptEnabled() {
  return s_chineseTranscriptEnabled != 0;
}
