// Import of a second database, as it comes with content that its maker has indexed, and the making anew of all tables.
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include "database/AttachedDatabase.h"
#include "database/DatabaseFacts.h"
#include "database/LCTransaction.h"
#include "platform/Path.h"
#include "search/DatabaseMerge.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCStatement.h"
#include "VeskLoopManagement/loudness/LCLoudnessDatabase.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <limits>
#include <system_error>
#include <utility>

namespace {

namespace fs = std::filesystem;

using namespace lc::merge;

constexpr int64_t kLastBuiltInKeywordId = 121;
constexpr int64_t kFirstExtraKeywordId = 1001;

// A file whose owner took the right to write away stays as it is, also for those whom no right stops.
bool isWritable(const std::string& path) {
  constexpr mode_t kAnybodyWrites = S_IWUSR | S_IWGRP | S_IWOTH;
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && (status.st_mode & kAnybodyWrites) != 0 && access(path.c_str(), W_OK) == 0;
}

// A writable copy under the same name in the temporary folder, without what SQLite left there beside an earlier one;
// nullopt when it cannot be made, or when the original is what would have to go.
std::optional<std::string> temporaryCopy(const std::string& path) {
  std::error_code error;
  const fs::path copy = fs::temp_directory_path(error) / vesk::path::lastComponent(path);
  if (error || fs::equivalent(path, copy, error)) return std::nullopt;
  for (const char* companion : {"", "-journal", "-wal", "-shm"}) fs::remove(copy.string() + companion, error);
  if (!fs::copy_file(path, copy, error)) return std::nullopt;
  using fs::perms;
  fs::permissions(copy, perms::owner_read | perms::owner_write | perms::group_read | perms::others_read, error);
  return copy.string();
}

// The columns that the statement copying loops names, as far as they may be added.
void extendLoopsTable(const lc::AttachedDatabase& source, int64_t schemaVersion, sqlite3* connection) {
  const auto extend = [&](std::string_view column, std::string_view type) {
    LCSQLiteUtilities::extendTable(kDefaultLoopsTablename, source.name(), column, type, connection);
  };
  extend(kLoopsContentIdentifierColumn, "TEXT");
  if (schemaVersion >= kDefaultDatabaseSchemaVersion) {
    extend(kLoopsPatchInfoColumn, "INTEGER");
    extend(kLoopsKSLoopTypeColumn, "INTEGER");
  }
  if (LCSQLiteUtilities::isChineseTranscriptEnabled()) extend(kLoopsChineseTranscriptColumn, "TEXT");
}

// Values go by position: they fall into place where both tables got their columns in the order of the list.
std::string statementCopyingLoops(const lc::AttachedDatabase& source, int64_t schemaVersion) {
  const auto columns = LCDatabaseConfiguration::loopsTableColumnNamesForDatabaseSchemaVersion(schemaVersion);
  return lc::sqlFormat("INSERT OR IGNORE INTO Loops SELECT %@ FROM %@",
                       {fmt::format("{}", fmt::join(columns, ",")), source.table(kDefaultLoopsTablename)});
}

// The tables that are copied row by row, those of loudness and meta infos where the source has them.
std::vector<std::string_view> relationTables(const lc::AttachedDatabase& source, sqlite3* connection) {
  std::vector<std::string_view> tables = {kDefaultTaggingTablename, kDefaultCratesTableName,
                                          kDefaultCrateLoopRelationTablename, kDefaultLoopsKeywordsTablename,
                                          kDefaultKeywordsTablename};
  for (const std::string_view table : {kLoudnessTable, kDefaultMetaInfoRelationTablename}) {
    if (LCSQLiteUtilities::isTableWithName(table, source.name(), connection)) tables.push_back(table);
  }
  return tables;
}

// The last component of the URL's text, encoded as it stands there.
void pointLoopsTo(const std::string& placeholder, const lc::AttachedDatabase& source, sqlite3* connection) {
  LCStatement loops(connection, lc::sqlFormat("SELECT id, fileURL FROM  %@", {source.table(kDefaultLoopsTablename)}));
  LCStatement update(connection, "UPDATE Loops SET fileURL = ? WHERE id = ?;");
  while (loops.step()) {
    update.bind(1, placeholder + vesk::path::lastComponent(loops.textAt(1)));
    update.bind(2, loops.textAt(0));
    update.run();
  }
}

}  // namespace

bool LCSearchEngine::importDatabaseFile(const std::optional<std::string>& path,
                                        const std::string& forDatabaseIdentifier,
                                        const std::optional<std::string>& changeFileLocationWithPlaceholder) {
  if (lc::facts::isStepRecorded(forDatabaseIdentifier, m_sqlite.get())) return true;
  if (!path) return false;
  const std::optional<std::string> source = isWritable(*path) ? path : temporaryCopy(*path);
  if (!source) return false;
  const lc::AttachedDatabase attached(m_sqlite.get(), *source);
  return attached.isAttached() && importAttached(attached, forDatabaseIdentifier, changeFileLocationWithPlaceholder);
}

// The result is whether it was committed: a table that could not be copied goes unnoticed. With the transcript switched
// off that is the loops table itself, unless both databases have the column from earlier.
bool LCSearchEngine::importAttached(const lc::AttachedDatabase& source, const std::string& identifier,
                                    const std::optional<std::string>& placeholder) {
  const int64_t schemaVersion = m_databaseConfiguration.schemaVersion();
  extendLoopsTable(source, schemaVersion, m_sqlite.get());
  int64_t lastExtraKeywordId = LCSQLiteUtilities::lastExtraKeywordIdFromDatabaseName(source.name(), m_sqlite.get());
  if (lastExtraKeywordId == std::numeric_limits<int64_t>::max()) lastExtraKeywordId = kExtraKeywordsEndIndex;

  LCTransaction transaction{m_sqlite.get(), LCTransaction::Begin::immediately};
  if (!transaction.isOpen()) return false;
  LCSQLiteUtilities sqlite = utilities();
  sqlite.executeStatementWithNoReturnValue(statementCopyingLoops(source, schemaVersion));
  for (const std::string_view table : relationTables(source, m_sqlite.get())) {
    sqlite.executeStatementWithNoReturnValue(
        lc::sqlFormat("INSERT OR IGNORE INTO %@ SELECT * FROM %@", {table, source.table(table)}));
  }
  const std::string cachingTables = lc::TableNames().keywordCaching;
  for (const auto& [first, last] : {std::pair<int64_t, int64_t>(1, kLastBuiltInKeywordId),
                                    {kFirstExtraKeywordId, lastExtraKeywordId},
                                    {kFirstGroupKeywordId, kLastGroupKeywordId}}) {
    copyCachingTablesFromKeywordId(first, last, source.table(cachingTables), cachingTables);
  }
  for (const char* statement : kCountKeywordsStatements) sqlite.executeStatementWithNoReturnValue(statement);
  if (placeholder) pointLoopsTo(*placeholder, source, m_sqlite.get());
  lc::facts::recordStep(identifier, m_sqlite.get());
  return transaction.commit();
}

void LCSearchEngine::dropAndCreateAllTables() {
  if (!m_sqlite) return;
  LCSQLiteUtilities::dropDatabaseTablesForSQLite(m_sqlite.get());
  LCSQLiteUtilities::generateDatabaseTablesForSQLite(m_sqlite.get(), m_databaseConfiguration.schemaVersion());
  LCLoudnessDatabase::generateDatabaseTablesForSQLite(m_sqlite.get());
}
