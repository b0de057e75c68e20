#include "database/DatabaseTables.h"

#include "database/LCTransaction.h"
#include "database/StatementRunner.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCStatement.h"
#include "VeskLoopManagement/resources/LCCompiledResources.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <set>
#include <vector>

namespace {

constexpr int64_t kKSLoopTypeCreatedSchemaVersion = kDefaultDatabaseSchemaVersion;

std::atomic<unsigned char> s_chineseTranscriptEnabled = 0;

// --- Tables

bool execute(sqlite3* connection, std::string_view sql) {
  return lc::runner::succeeds(connection, std::string(sql));
}

bool createTable(sqlite3* connection, std::string_view format, std::string_view name) {
  return execute(connection, lc::sqlFormat(format, {"", name}));
}

struct Column {
  std::string_view name;
  const char* type;
};

// The columns that came to the loops table after its first layout.
std::vector<Column> lateColumns(int64_t schemaVersion) {
  std::vector<Column> columns = {{kLoopsContentIdentifierColumn, "TEXT"}};
  if (lc::tables::isChineseTranscriptEnabled()) columns.push_back({kLoopsChineseTranscriptColumn, "TEXT"});
  if (schemaVersion >= kKSLoopTypeCreatedSchemaVersion) {
    columns.push_back({kLoopsPatchInfoColumn, "INTEGER"});
    columns.push_back({kLoopsKSLoopTypeColumn, "INTEGER"});
  }
  return columns;
}

bool createLoopsTable(sqlite3* connection, int64_t schemaVersion) {
  const std::vector<Column> columns = lateColumns(schemaVersion);
  return createTable(connection, kCreateLoopsTableFormatString, kDefaultLoopsTablename) &&
         std::all_of(columns.begin(), columns.end(), [connection](const Column& column) {
           return lc::tables::extend(kDefaultLoopsTablename, std::nullopt, column.name, column.type, connection);
         });
}

bool createRelationTables(sqlite3* connection) {
  return createTable(connection, kCreateTaggingTable, kDefaultTaggingTablename) &&
         createTable(connection, kCreateLoopsKeywordsTableString, kDefaultLoopsKeywordsTablename) &&
         createTable(connection, kCreateCrateTableString, kDefaultCratesTableName) &&
         createTable(connection, kCreateCrateRelationTableString, kDefaultCrateLoopRelationTablename);
}

// --- Built-in keywords

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

// None when they cannot be read: then every insert decides for itself.
std::set<int64_t> keywordIds(sqlite3* connection) {
  std::set<int64_t> ids;
  LCStatement statement(connection, "SELECT id FROM Keywords;");
  while (statement.step()) ids.insert(statement.int64At(0));
  return statement.succeeded() ? ids : std::set<int64_t>();
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

// The first failure ends the filling, for while the database is locked every further row would wait for the whole busy
// time-out.
void insertKeywords(sqlite3* connection, const std::vector<KeywordRow>& rows) {
  for (const KeywordRow& row : rows) {
    if (!execute(connection, insertKeywordSQL(row))) return;
  }
}

// --- All of them

bool createAllTables(sqlite3* connection, int64_t schemaVersion) {
  const bool isLoopsUsable = createLoopsTable(connection, schemaVersion) && createRelationTables(connection);
  execute(connection, kCreateKeywordDistriubtionTableString);
  execute(connection, kCreateDatabaseMigrationInfosTableString);
  if (!isLoopsUsable || !createTable(connection, kCreateKeywordTableString, kDefaultKeywordsTablename)) return false;
  insertKeywords(connection, missingKeywords(connection));
  return execute(connection, kCreateUserDataTableString);
}

// The name in "CREATE … IF NOT EXISTS name …".
std::string_view createdName(std::string_view statement) {
  constexpr std::string_view kBeforeName = "EXISTS ";
  const size_t begin = statement.find(kBeforeName) + kBeforeName.size();
  return statement.substr(begin, statement.find_first_of(" (", begin) - begin);
}

std::set<std::string_view> neededNames() {
  std::set<std::string_view> names = {kDefaultLoopsTablename,    kDefaultTaggingTablename,
                                      kDefaultKeywordsTablename, kDefaultLoopsKeywordsTablename,
                                      kDefaultCratesTableName,   kDefaultCrateLoopRelationTablename};
  for (const std::string_view statement :
       {kCreateKeywordDistriubtionTableString, kCreateDatabaseMigrationInfosTableString, kCreateUserDataTableString,
        kCreateLoopsIndexString}) {
    names.insert(createdName(statement));
  }
  for (const std::string_view trigger : kCreateLoopsTriggerStrings) names.insert(createdName(trigger));
  return names;
}

bool hasAllNames(sqlite3* connection) {
  std::set<std::string_view> missing = neededNames();
  LCStatement names(connection, "SELECT name FROM sqlite_master;");
  while (names.step()) missing.erase(names.textAt(0));
  return names.succeeded() && missing.empty();
}

// Reads only.
bool isComplete(sqlite3* connection, int64_t schemaVersion) {
  const std::vector<Column> columns = lateColumns(schemaVersion);
  return hasAllNames(connection) && missingKeywords(connection).empty() &&
         std::all_of(columns.begin(), columns.end(), [connection](const Column& column) {
           return lc::tables::hasColumn(column.name, kDefaultLoopsTablename, std::nullopt, connection);
         });
}

}  // namespace

namespace lc::tables {

// One transaction, so that a new database is written to disk once. It begins with writing: one that had read before
// could not wait when another connection writes, and everything that is missing would stay so.
bool generate(sqlite3* connection, int64_t schemaVersion) {
  if (connection == nullptr) return false;
  if (isComplete(connection, schemaVersion)) return true;
  LCTransaction transaction{connection, LCTransaction::Begin::immediately};
  if (!transaction.isOpen()) return false;
  const bool hasAllTables = createAllTables(connection, schemaVersion);
  addTriggers(connection);
  createIndex(connection);
  return transaction.commit() && hasAllTables;
}

bool drop(sqlite3* connection) {
  const std::string_view tables[] = {
      kDefaultLoopsTablename,  kDefaultTaggingTablename,           kDefaultLoopsKeywordsTablename,
      kDefaultCratesTableName, kDefaultCrateLoopRelationTablename, kDefaultKeywordsTablename};
  return std::all_of(std::begin(tables), std::end(tables), [connection](std::string_view table) {
    return execute(connection, lc::sqlFormat("DROP TABLE IF EXISTS %@;", {table}));
  });
}

// What is missing is found out before the transaction, whose first statement writes and so waits for other writing.
void fillKeywords(sqlite3* connection) {
  const std::vector<KeywordRow> rows = missingKeywords(connection);
  if (rows.empty()) return;
  LCTransaction transaction{connection};
  insertKeywords(connection, rows);
  static_cast<void>(transaction.commit());
}

void addTriggers(sqlite3* connection) {
  for (const std::string_view trigger : kCreateLoopsTriggerStrings) LCStatement(connection, trigger).run();
}

bool createIndex(sqlite3* connection) {
  return LCStatement(connection, kCreateLoopsIndexString).run();
}

// An unreadable schema counts as "present", so that callers do not recreate tables in a database that they cannot read.
bool hasTable(std::string_view table, const std::optional<std::string>& database, sqlite3* connection) {
  if (connection == nullptr || table.empty()) return false;
  LCStatement statement(connection, lc::sqlFormat("PRAGMA %@.table_info(%@);", {database.value_or("main"), table}));
  return !statement.isPrepared() || statement.step();
}

bool hasColumn(std::string_view column, std::string_view table, const std::optional<std::string>& database,
               sqlite3* connection) {
  if (connection == nullptr || table.empty() || column.empty()) return false;
  LCStatement statement(connection,
                        lc::sqlFormat("SELECT * FROM %@.pragma_table_info('%@') WHERE name='%@';",
                                      {database.value_or("main"), lc::sqlEscaped(table), lc::sqlEscaped(column)}));
  return !statement.isPrepared() || statement.step();
}

// A statement that does not compile counts as success, so that callers go on with their next step.
bool extend(std::string_view table, const std::optional<std::string>& database, std::string_view column,
            std::string_view type, sqlite3* connection) {
  if (connection == nullptr || table.empty() || column.empty()) return false;
  const std::string databaseName = database.value_or("main");
  {
    constexpr int kNameColumn = 1;
    LCStatement columns(connection, lc::sqlFormat("PRAGMA %@.table_info(%@);", {databaseName, table}));
    if (!columns.isPrepared()) return true;
    while (columns.step()) {
      if (columns.textAt(kNameColumn) == column) return true;
    }
    if (!columns.succeeded()) return false;
  }
  LCStatement alter(connection,
                    lc::sqlFormat("ALTER TABLE %@.%@ ADD COLUMN %@ %@;", {databaseName, table, column, type}));
  return !alter.isPrepared() || alter.run();
}

void setChineseTranscriptEnabled(bool enabled) {
  s_chineseTranscriptEnabled = enabled ? 1 : 0;
}

bool isChineseTranscriptEnabled() {
  return s_chineseTranscriptEnabled != 0;
}

}  // namespace lc::tables
