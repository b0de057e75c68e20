#include "indexing/TouchedTags.h"

#include "indexing/EndOfRun.h"
#include "VeskLoopManagement/database/LCStatement.h"

#include <fmt/format.h>
#include <sqlite3.h>

#include <algorithm>

namespace {

constexpr int64_t kFewTags = 10000;
constexpr int64_t kPartOfAllTags = 4;  // bringing a tag up to date takes about as much longer than copying it

constexpr const char* kWatch[] = {
    "CREATE TEMP TABLE IF NOT EXISTS TouchedTags "
    "(keywordId INTEGER, loopId INTEGER, PRIMARY KEY (keywordId, loopId)) WITHOUT ROWID",
    "CREATE TEMP TABLE IF NOT EXISTS NewKeywords (id INTEGER PRIMARY KEY)",
    "DELETE FROM temp.TouchedTags",
    "DELETE FROM temp.NewKeywords",
    "CREATE TEMP TRIGGER watch_new_tags AFTER INSERT ON main.Tagging "
    "BEGIN INSERT OR IGNORE INTO TouchedTags VALUES (NEW.keywordId, NEW.loopId); END",
    "CREATE TEMP TRIGGER watch_gone_tags AFTER DELETE ON main.Tagging "
    "BEGIN INSERT OR IGNORE INTO TouchedTags VALUES (OLD.keywordId, OLD.loopId); END",
    "CREATE TEMP TRIGGER watch_new_keywords AFTER INSERT ON main.Keywords "
    "BEGIN INSERT OR IGNORE INTO NewKeywords VALUES (NEW.id); END",
};

constexpr const char* kStop[] = {
    "DROP TRIGGER IF EXISTS temp.watch_new_tags",
    "DROP TRIGGER IF EXISTS temp.watch_gone_tags",
    "DROP TRIGGER IF EXISTS temp.watch_new_keywords",
};

// Inserts and deletes for one keyword, whose id is spliced in.
constexpr std::string_view kTakeOut =
    "DELETE FROM main.{0}{1} WHERE loopId IN (SELECT loopId FROM temp.TouchedTags WHERE keywordId = {1})";
constexpr std::string_view kPutIn =
    "INSERT INTO main.{0}{1} (loopId) SELECT loopId FROM temp.TouchedTags AS touched WHERE keywordId = {1} "
    "AND EXISTS (SELECT 1 FROM main.Tagging WHERE loopId = touched.loopId AND keywordId = {1})";

// The group statement, for the loops that were touched alone.
std::string forTouchedLoops(std::string_view groupStatement) {
  constexpr std::string_view kWhere = " WHERE ";
  const size_t where = groupStatement.find(kWhere);
  return fmt::format("{} WHERE Tagging.loopId IN (SELECT loopId FROM temp.TouchedTags) AND ({})",
                     groupStatement.substr(0, where), groupStatement.substr(where + kWhere.size()));
}

}  // namespace

bool lc::TouchedTags::runs(const std::string& sql) {
  return LCStatement(m_indexer.sqlite3Connection(), sql).run();
}

std::vector<int64_t> lc::TouchedTags::numbers(const std::string& sql) {
  LCStatement statement(m_indexer.sqlite3Connection(), sql);
  std::vector<int64_t> found;
  while (statement.step()) found.push_back(statement.int64At(0));
  return found;
}

void lc::TouchedTags::watch() {
  stop();
  int64_t all = 0;
  for (const auto& [keywordId, count] : distribution()) all += count;
  m_most = std::max(kFewTags, all / kPartOfAllTags);
  m_isWatching = std::all_of(std::begin(kWatch), std::end(kWatch), [this](const char* sql) { return runs(sql); });
}

void lc::TouchedTags::stopWhenMany() {
  if (!m_isWatching) return;
  const auto touched = numbers("SELECT count(*) FROM temp.TouchedTags");
  if (touched.empty() || touched.front() > m_most) stop();
}

void lc::TouchedTags::stop() {
  for (const char* sql : kStop) runs(sql);
  m_isWatching = false;
}

bool lc::TouchedTags::finish() {
  if (!m_isWatching || !addGroupKeywords() || !makeTablesOfNewKeywords()) return false;
  const Counts before = distribution();
  Counts counts = before;
  if (!bringTablesUpToDate(counts)) return false;
  return counts == before || writeDistribution(counts);
}

bool lc::TouchedTags::addGroupKeywords() {
  const auto statements = groupKeywordStatements();
  return std::all_of(statements.begin(), statements.end(),
                     [this](const char* statement) { return runs(forTouchedLoops(statement)); });
}

// All their tags are touched ones.
bool lc::TouchedTags::makeTablesOfNewKeywords() {
  const auto keywords = numbers("SELECT id FROM temp.NewKeywords");
  return std::all_of(keywords.begin(), keywords.end(), [this](int64_t id) {
    return runs(fmt::format("DROP TABLE IF EXISTS main.{}{}", kCachingTablePrefix, id)) &&
           runs(fmt::format("CREATE TABLE main.{}{} (loopId integer primary key)", kCachingTablePrefix, id));
  });
}

bool lc::TouchedTags::bringTablesUpToDate(Counts& counts) {
  sqlite3* connection = m_indexer.sqlite3Connection();
  for (const int64_t id : numbers("SELECT DISTINCT keywordId FROM temp.TouchedTags")) {
    if (!runs(fmt::format(kTakeOut, kCachingTablePrefix, id))) return false;
    counts[id] -= sqlite3_changes64(connection);
    if (!runs(fmt::format(kPutIn, kCachingTablePrefix, id))) return false;
    counts[id] += sqlite3_changes64(connection);
    if (counts[id] < 0) return false;  // the tables were not true
    if (counts[id] == 0) counts.erase(id);
  }
  return true;
}

lc::TouchedTags::Counts lc::TouchedTags::distribution() {
  LCStatement statement(m_indexer.sqlite3Connection(), "SELECT keywordId, count FROM main.keyword_distribution");
  Counts counts;
  while (statement.step()) counts[statement.int64At(0)] = statement.int64At(1);
  return counts;
}

// By count, those of one count by id.
bool lc::TouchedTags::writeDistribution(const Counts& counts) {
  std::vector<std::pair<int64_t, int64_t>> rows;
  for (const auto& [keywordId, count] : counts) rows.emplace_back(count, keywordId);
  std::sort(rows.begin(), rows.end());
  if (!runs("DELETE FROM main.keyword_distribution")) return false;
  LCStatement insert(m_indexer.sqlite3Connection(), "INSERT INTO main.keyword_distribution VALUES (?1, ?2)");
  return std::all_of(rows.begin(), rows.end(), [&](const auto& row) {
    insert.bind(1, row.second);
    insert.bind(2, row.first);
    return insert.run();
  });
}
