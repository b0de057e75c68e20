// LCSQLiteUtilities runs SQL texts on a borrowed connection and collects their results; its class side creates, checks,
// extends and repairs databases and keeps the facts of the DatabaseMigrationInfos table and the standard file
// locations. An instance is cheap and belongs to the thread that uses the connection. Failures are results: nothing is
// logged, nothing throws; a null connection answers false, nullopt, -1 or nothing. Damage met on the way
// (SQLITE_CORRUPT, SQLITE_NOTADB) is recorded in the database, or beside it, and the next opening rebuilds.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/platform/Text.h"

struct sqlite3;

using LCCell = std::variant<std::string, int64_t, bool>;
// Column name → the column's cells, a row each.
using LCResultDictionary = std::map<std::string, std::vector<LCCell>>;

namespace lc {

// The text of a cell (numbers in decimal); the number of a cell (texts by their leading digits).
LC_EXPORT std::string cellText(const LCCell& cell);
LC_EXPORT int64_t cellInteger(const LCCell& cell);
// The first cell of `column`; nullptr when the column is missing or empty. Borrowed from `result`.
LC_EXPORT const LCCell* firstCell(const LCResultDictionary& result, std::string_view column);

}  // namespace lc

class LC_EXPORT LCSQLiteUtilities {
 public:
  // Called for each row with the cells' texts (null for NULL) and the column names.
  using RowCallback = std::function<void(int count, char** values, char** names)>;

  explicit LCSQLiteUtilities(sqlite3* connection) : m_connection(connection) {}     // initWithSQLite:
  static std::optional<LCSQLiteUtilities> utilitiesForSQLite(sqlite3* connection);  // nullopt for null

  bool executeStatement(const std::string& sql, const RowCallback& callback);
  bool executeStatementWithNoReturnValue(const std::string& sql);
  // Every cell as its text, NULL as "".
  bool executeStatementWithGenericReturnValue(const std::string& sql, LCResultDictionary* result);
  // Loop rows: texts for text columns, 64-bit "id", 32-bit integers for the rest (decimal, saturating), NULL as "".
  bool executeStatementWithLoopsReturnValue(const std::string& sql, LCResultDictionary* result);
  // The number in the first cell of `column`; nullopt when there is none.
  std::optional<int64_t> firstIntegerOfStatement(const std::string& sql, std::string_view column);
  // Texts; NULL cells are left out.
  bool executeStatementWithKeywordsReturnValue(const std::string& sql, LCResultDictionary* result);
  // "isVirtualCrate" as a truth value, texts for the rest; NULL cells are left out.
  bool executeStatementWithCrateReturnValue(const std::string& sql, LCResultDictionary* result);
  // All cells' texts; those of "descriptors" split at ",".
  bool executeStatementWithCombinedKeywordsReturnValue(const std::string& sql, vesk::StringSet* result);

  int32_t lastOSStatus() const { return m_lastOSStatus; }
  const std::optional<std::string>& lastErrorMessage() const { return m_lastErrorMessage; }

  // Locations.
  static std::string databaseFile();
  static void setDatabaseFile(std::optional<std::string> path);  // nullopt: computed again at the next question
  static std::optional<std::string> userDatabaseFolder();
  static std::optional<std::string> loudnessUserDatabaseFile();
  static void setLoudnessUserDatabaseFolder(const std::optional<std::string>& folder);
  static std::optional<std::string> loudnessFactoryDatabaseFile();
  static void setLoudnessFactoryDatabaseFolder(const std::optional<std::string>& folder);

  // Tables. Generating and filling are transactions, or a part of the caller's; what is complete is only read.
  static bool generateDatabaseTablesForSQLite(sqlite3* connection, int64_t schemaVersion);
  static bool dropDatabaseTablesForSQLite(sqlite3* connection);
  static void fillKeywordsTableForSQLite(sqlite3* connection);
  static void addLoopsBundleReplacementTriggerForSQLite(sqlite3* connection);
  static bool createIndicesForSQLite(sqlite3* connection);
  static bool isTableWithName(std::string_view table, const std::optional<std::string>& database, sqlite3* connection);
  static bool isColumnAvailableWithName(std::string_view column, std::string_view table,
                                        const std::optional<std::string>& database, sqlite3* connection);
  static bool extendTable(std::string_view table, const std::optional<std::string>& database, std::string_view column,
                          std::string_view type, sqlite3* connection);
  static void setChineseTranscriptEnabled(bool enabled);
  static bool isChineseTranscriptEnabled();

  // Facts of DatabaseMigrationInfos.
  static int64_t databaseSchemaVersionForSQLite(sqlite3* connection);
  static bool setDatabaseSchemaVersion(int64_t schemaVersion, sqlite3* connection);
  static int64_t lastExtraKeywordIdForSQLite(sqlite3* connection);
  static int64_t lastExtraKeywordIdFromDatabaseName(const std::optional<std::string>& database, sqlite3* connection);
  static bool setLastExtraKeywordId(int64_t keywordId, sqlite3* connection);
  static std::optional<std::string> indexingAppIdentifierForSQLite(sqlite3* connection);
  static bool setIndexingAppIdentifier(const std::optional<std::string>& identifier, sqlite3* connection);

  // Checks and repairs.
  static bool isDatabaseCorruptFlagSetForSQLite(sqlite3* connection);
  static void setDatabaseIsCorruptFlagForSQLite(sqlite3* connection);
  static bool checkSQLiteDatabase(sqlite3* connection, bool doFastCheck);
  static bool isBadStatusCode(int status);
  static bool replaceAbsolutePath(const std::string& oldPrefix, const std::string& newPrefix, sqlite3* connection);
  static void fixTypos(sqlite3* connection);
  static bool fixFilenameUTF8EncodingForSQLite(sqlite3* connection);
  // Maps a base name to a display name.
  using LocalizationBlock = std::function<std::string(const std::string& baseName)>;
  // Answers false in every case; callers must not read it as failure.
  static bool localizeFilenamesInSQLite(sqlite3* connection, const std::string& localeIdentifier,
                                        const LocalizationBlock& block);
  static void deleteLocalizationFlagInSQLite(sqlite3* connection);
  static bool isChina();  // the locale's identifier begins with "zh"

 private:
  sqlite3* m_connection;  // borrowed
  int32_t m_lastOSStatus = 0;
  std::optional<std::string> m_lastErrorMessage;
};
