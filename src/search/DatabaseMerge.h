// Brings the rows of an attached loop database into the main one, column by column name, so that it does not matter
// when either got which column. What is here already stays as it is. Keywords that are not built in go by their names:
// each database has numbered them for itself. The source is only read. Everything happens within the caller's
// transaction; the first statement that fails ends the work, which the caller then takes back. One thread.
#pragma once

#include "database/AttachedDatabase.h"
#include "VeskLoopManagement/database/LCStatement.h"
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What every import of a database knows of its tables.
namespace lc::merge {

inline constexpr std::string_view kLoudnessTable = "LoopsLoudnessV4";
inline constexpr int64_t kFirstGroupKeywordId = 10001;
inline constexpr int64_t kLastGroupKeywordId = 10008;
inline constexpr const char* kCountKeywordsStatements[] = {
    "DROP TABLE IF EXISTS keyword_distribution",
    "CREATE TABLE keyword_distribution AS SELECT keywordId, count(*) AS count FROM tagging GROUP BY keywordId ORDER BY "
    "count ASC"};

}  // namespace lc::merge

namespace lc {

class DatabaseMerge {
 public:
  DatabaseMerge(sqlite3* connection, const AttachedDatabase& source) : m_connection(connection), m_source(source) {}

  // With a placeholder, the URLs of the loops that came over are the placeholder and the last component of their own.
  // Why it failed, in SQLite's words, or nullopt.
  std::optional<LCSearchFailure> run(const std::optional<std::string>& placeholder);

  int64_t newLoopCount() const { return m_newLoopCount; }  // which were not here before

  // In the order in which they are copied.
  static const std::vector<std::string_view>& tables();
  // Rows of a table; 0 for one that is missing. `database` is "main" or the name of an attached one.
  static int64_t rowCount(std::string_view table, const std::string& database, sqlite3* connection);

 private:
  void execute(const std::string& sql);
  void run(LCStatement& statement);
  bool hasTable(std::string_view table) const;
  std::vector<std::string> sharedColumns(std::string_view table) const;
  void matchKeywords();
  int64_t ownIdOfKeyword(int64_t id, const std::string& name, int64_t category);
  void copyLoops();
  void copyRows(std::string_view table);
  void fillCachingTables();
  void pointNewLoopsTo(const std::string& placeholder);

  sqlite3* m_connection;  // borrowed
  const AttachedDatabase& m_source;
  int64_t m_newLoopCount = 0;
};

}  // namespace lc
