#include "search/DatabaseMerge.h"

#include "platform/Path.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"

#include <fmt/format.h>
#include <sqlite3.h>

#include <algorithm>
#include <set>

namespace {

using namespace lc::merge;

// Where keywords of the source have another number here, and which loops were not here before.
constexpr const char* kCreateHelpers =
    "CREATE TEMPORARY TABLE renumberedKeywords (id INTEGER PRIMARY KEY, ownId INTEGER);"
    "CREATE TEMPORARY TABLE newLoops (id INTEGER PRIMARY KEY);";
constexpr const char* kDropHelpers = "DROP TABLE renumberedKeywords; DROP TABLE newLoops;";

bool isNumberedByEachDatabase(int64_t keywordId) {
  return keywordId > kExtraKeywordsEndIndex && (keywordId < kFirstGroupKeywordId || keywordId > kLastGroupKeywordId);
}

bool holdsKeyword(std::string_view column) {
  return column == "keywordId" || column == "instrumentTypeId" || column == "instrumentSubTypeId" ||
         column == "genreId";
}

// The value of the source's column, as it is to stand here.
std::string copied(const std::string& column) {
  if (!holdsKeyword(column)) return "source." + column;
  return lc::sqlFormat("coalesce((SELECT ownId FROM renumberedKeywords WHERE id = source.%@), source.%@)",
                       {column, column});
}

std::vector<std::string> columnsOf(std::string_view table, std::string_view database, sqlite3* connection) {
  LCStatement statement(connection, lc::sqlFormat("PRAGMA %@.table_info(%@);", {database, table}));
  constexpr int kNameColumn = 1;
  std::vector<std::string> columns;
  while (statement.step()) columns.push_back(statement.textAt(kNameColumn));
  return columns;
}

// The column that names a row's loop; "" for tables whose rows belong to no loop.
std::string_view loopColumnOf(std::string_view table) {
  if (table == kDefaultLoopsTablename || table == kDefaultCratesTableName) return "";
  return table == kLoudnessTable ? "id" : "loopId";
}

struct Failed {
  LCSearchFailure failure;
};

}  // namespace

const std::vector<std::string_view>& lc::DatabaseMerge::tables() {
  static const std::vector<std::string_view> names = {kDefaultLoopsTablename,
                                                      kDefaultTaggingTablename,
                                                      kDefaultCratesTableName,
                                                      kDefaultCrateLoopRelationTablename,
                                                      kDefaultLoopsKeywordsTablename,
                                                      kDefaultKeywordsTablename,
                                                      kLoudnessTable,
                                                      kDefaultMetaInfoRelationTablename};
  return names;
}

int64_t lc::DatabaseMerge::rowCount(std::string_view table, const std::string& database, sqlite3* connection) {
  LCStatement count(connection, lc::sqlFormat("SELECT count(*) FROM %@.%@", {database, table}));
  return count.step() ? count.int64At(0) : 0;
}

std::optional<LCSearchFailure> lc::DatabaseMerge::run(const std::optional<std::string>& placeholder) {
  try {
    execute(kCreateHelpers);
    matchKeywords();
    copyLoops();
    for (const std::string_view table : tables()) {
      if (table != kDefaultLoopsTablename && table != kDefaultKeywordsTablename) copyRows(table);
    }
    fillCachingTables();
    for (const char* statement : kCountKeywordsStatements) execute(statement);
    if (placeholder) pointNewLoopsTo(*placeholder);
    execute(kDropHelpers);
  } catch (const Failed& failed) {
    return failed.failure;
  }
  return std::nullopt;
}

void lc::DatabaseMerge::execute(const std::string& sql) {
  LCSQLiteUtilities utilities(m_connection);
  if (utilities.executeStatementWithNoReturnValue(sql)) return;
  throw Failed{{utilities.lastOSStatus(), utilities.lastErrorMessage().value_or("")}};
}

void lc::DatabaseMerge::run(LCStatement& statement) {
  if (!statement.run()) throw Failed{{statement.lastStatus(), sqlite3_errmsg(m_connection)}};
}

bool lc::DatabaseMerge::hasTable(std::string_view table) const {
  return LCSQLiteUtilities::isTableWithName(table, m_source.name(), m_connection);
}

std::vector<std::string> lc::DatabaseMerge::sharedColumns(std::string_view table) const {
  const std::vector<std::string> source = columnsOf(table, m_source.name(), m_connection);
  std::vector<std::string> columns = columnsOf(table, "main", m_connection);
  std::erase_if(columns, [&](const std::string& column) {
    return std::find(source.begin(), source.end(), column) == source.end();
  });
  return columns;
}

// --- Keywords ---

void lc::DatabaseMerge::matchKeywords() {
  if (!hasTable(kDefaultKeywordsTablename)) return;
  LCStatement keywords(m_connection, lc::sqlFormat("SELECT id, name, categoryId FROM %@ ORDER BY id",
                                                   {m_source.table(kDefaultKeywordsTablename)}));
  LCStatement builtIn(m_connection, "INSERT OR IGNORE INTO Keywords (id, name, categoryId) VALUES (?1, ?2, ?3)");
  LCStatement renumber(m_connection, "INSERT INTO renumberedKeywords VALUES (?1, ?2)");
  while (keywords.step()) {
    const int64_t id = keywords.int64At(0);
    if (!isNumberedByEachDatabase(id)) {
      builtIn.bind(1, id);
      builtIn.bind(2, keywords.textAt(1));
      builtIn.bind(3, keywords.int64At(2));
      run(builtIn);
      continue;
    }
    const int64_t ownId = ownIdOfKeyword(id, keywords.textAt(1), keywords.int64At(2));
    if (ownId == id) continue;
    renumber.bind(1, id);
    renumber.bind(2, ownId);
    run(renumber);
  }
  if (!keywords.succeeded()) throw Failed{{keywords.lastStatus(), sqlite3_errmsg(m_connection)}};
}

// That of the keyword of this name; of one that is new its own where nobody has it, else the next.
int64_t lc::DatabaseMerge::ownIdOfKeyword(int64_t id, const std::string& name, int64_t category) {
  LCStatement known(m_connection, "SELECT id FROM Keywords WHERE name = ?1 ORDER BY id <> ?2, id LIMIT 1");
  known.bind(1, name);
  known.bind(2, id);
  if (known.step()) return known.int64At(0);
  LCStatement insert(m_connection,
                     "INSERT INTO Keywords (id, name, categoryId) VALUES "
                     "((SELECT ?1 WHERE NOT EXISTS (SELECT 1 FROM Keywords WHERE id = ?1)), ?2, ?3)");
  insert.bind(1, id);
  insert.bind(2, name);
  insert.bind(3, category);
  run(insert);
  return sqlite3_last_insert_rowid(m_connection);
}

// --- Rows ---

void lc::DatabaseMerge::copyLoops() {
  execute(lc::sqlFormat("INSERT INTO newLoops SELECT id FROM %@ WHERE id NOT IN (SELECT id FROM main.Loops)",
                        {m_source.table(kDefaultLoopsTablename)}));
  m_newLoopCount = rowCount("newLoops", "temp", m_connection);
  copyRows(kDefaultLoopsTablename);
}

// Rows of loops that neither database has are left behind.
void lc::DatabaseMerge::copyRows(std::string_view table) {
  if (!hasTable(table)) return;
  std::string columns, values;
  for (const std::string& column : sharedColumns(table)) {
    columns += (columns.empty() ? "" : ", ") + column;
    values += (values.empty() ? "" : ", ") + copied(column);
  }
  if (columns.empty()) return;
  std::string statement = lc::sqlFormat("INSERT OR IGNORE INTO main.%@ (%@) SELECT %@ FROM %@ AS source",
                                        {table, columns, values, m_source.table(table)});
  const std::string_view loop = loopColumnOf(table);
  if (!loop.empty()) statement += lc::sqlFormat(" WHERE source.%@ IN (SELECT id FROM main.Loops)", {loop});
  execute(statement);
}

// Of the keywords of the loops that the source knows. Sorted, so that each table is filled in its order.
void lc::DatabaseMerge::fillCachingTables() {
  if (!hasTable(kDefaultTaggingTablename)) return;
  const std::string tags =
      lc::sqlFormat("SELECT %@ AS keyword, loopId FROM %@ AS source WHERE loopId IN (SELECT id FROM main.Loops) ",
                    {copied("keywordId"), m_source.table(kDefaultTaggingTablename)});
  std::set<int64_t> keywords;
  LCStatement distinct(m_connection, "SELECT DISTINCT keyword FROM (" + tags + ")");
  while (distinct.step()) keywords.insert(distinct.int64At(0));
  distinct.reset();
  const std::string prefix = TableNames().keywordCaching;
  for (const int64_t keyword : keywords) {
    execute(fmt::format("CREATE TABLE IF NOT EXISTS {}{} (loopId INTEGER PRIMARY KEY);", prefix, keyword));
  }
  LCStatement sorted(m_connection, tags + "ORDER BY keyword, loopId");
  LCStatement insert;
  std::optional<int64_t> current;
  while (sorted.step()) {
    if (current != sorted.int64At(0)) {
      current = sorted.int64At(0);
      insert =
          LCStatement(m_connection, fmt::format("INSERT OR IGNORE INTO {}{} (loopId) VALUES (?1)", prefix, *current));
    }
    insert.bind(1, sorted.int64At(1));
    run(insert);
  }
  if (!sorted.succeeded()) throw Failed{{sorted.lastStatus(), sqlite3_errmsg(m_connection)}};
}

void lc::DatabaseMerge::pointNewLoopsTo(const std::string& placeholder) {
  LCStatement loops(m_connection, lc::sqlFormat("SELECT id, fileURL FROM %@ WHERE id IN (SELECT id FROM newLoops)",
                                                {m_source.table(kDefaultLoopsTablename)}));
  LCStatement update(m_connection, "UPDATE Loops SET fileURL = ?1 WHERE id = ?2");
  while (loops.step()) {
    update.bind(1, placeholder + vesk::path::lastComponent(loops.textAt(1)));
    update.bind(2, loops.int64At(0));
    run(update);
  }
  if (!loops.succeeded()) throw Failed{{loops.lastStatus(), sqlite3_errmsg(m_connection)}};
}
