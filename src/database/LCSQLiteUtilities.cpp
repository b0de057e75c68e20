// The front: it knows which part does what.
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"

#include "database/DatabaseDamage.h"
#include "database/DatabaseFacts.h"
#include "database/DatabaseLocations.h"
#include "database/DatabaseRepairs.h"
#include "database/DatabaseTables.h"
#include "database/StatementRunner.h"

// --- Cells

std::string lc::cellText(const LCCell& cell) {
  if (const auto* text = std::get_if<std::string>(&cell)) return *text;
  return std::to_string(lc::cellInteger(cell));
}

int64_t lc::cellInteger(const LCCell& cell) {
  if (const auto* text = std::get_if<std::string>(&cell)) return vesk::text::integerValue(*text);
  if (const auto* number = std::get_if<int64_t>(&cell)) return *number;
  return std::get<bool>(cell) ? 1 : 0;
}

const LCCell* lc::firstCell(const LCResultDictionary& result, std::string_view column) {
  const auto found = result.find(std::string(column));
  return found == result.end() || found->second.empty() ? nullptr : &found->second.front();
}

// --- Running

std::optional<LCSQLiteUtilities> LCSQLiteUtilities::utilitiesForSQLite(sqlite3* connection) {
  if (connection == nullptr) return std::nullopt;
  return LCSQLiteUtilities(connection);
}

bool LCSQLiteUtilities::executeStatement(const std::string& sql, const RowCallback& callback) {
  if (m_connection == nullptr) return false;
  lc::runner::Outcome outcome = lc::runner::run(m_connection, sql, callback);
  m_lastOSStatus = outcome.status;
  m_lastErrorMessage = std::move(outcome.message);
  return outcome.succeeded();
}

bool LCSQLiteUtilities::executeStatementWithNoReturnValue(const std::string& sql) {
  return executeStatement(sql, nullptr);
}

bool LCSQLiteUtilities::executeStatementWithGenericReturnValue(const std::string& sql, LCResultDictionary* result) {
  return executeStatement(sql, lc::runner::genericRows(result));
}

std::optional<int64_t> LCSQLiteUtilities::firstIntegerOfStatement(const std::string& sql, std::string_view column) {
  LCResultDictionary result;
  if (!executeStatementWithGenericReturnValue(sql, &result)) return std::nullopt;
  const LCCell* cell = lc::firstCell(result, column);
  return cell ? std::optional(lc::cellInteger(*cell)) : std::nullopt;
}

bool LCSQLiteUtilities::executeStatementWithLoopsReturnValue(const std::string& sql, LCResultDictionary* result) {
  return executeStatement(sql, lc::runner::loopRows(result));
}

bool LCSQLiteUtilities::executeStatementWithKeywordsReturnValue(const std::string& sql, LCResultDictionary* result) {
  return executeStatement(sql, lc::runner::keywordRows(result));
}

bool LCSQLiteUtilities::executeStatementWithCrateReturnValue(const std::string& sql, LCResultDictionary* result) {
  return executeStatement(sql, lc::runner::crateRows(result));
}

bool LCSQLiteUtilities::executeStatementWithCombinedKeywordsReturnValue(const std::string& sql,
                                                                        vesk::StringSet* result) {
  return executeStatement(sql, lc::runner::combinedKeywords(result));
}

// --- Locations

std::string LCSQLiteUtilities::databaseFile() {
  return lc::locations::databaseFile();
}

void LCSQLiteUtilities::setDatabaseFile(std::optional<std::string> path) {
  lc::locations::setDatabaseFile(std::move(path));
}

std::optional<std::string> LCSQLiteUtilities::userDatabaseFolder() {
  return lc::locations::userDatabaseFolder();
}

std::optional<std::string> LCSQLiteUtilities::loudnessUserDatabaseFile() {
  return lc::locations::loudnessUserDatabaseFile();
}

void LCSQLiteUtilities::setLoudnessUserDatabaseFolder(const std::optional<std::string>& folder) {
  lc::locations::setLoudnessUserDatabaseFolder(folder);
}

std::optional<std::string> LCSQLiteUtilities::loudnessFactoryDatabaseFile() {
  return lc::locations::loudnessFactoryDatabaseFile();
}

void LCSQLiteUtilities::setLoudnessFactoryDatabaseFolder(const std::optional<std::string>& folder) {
  lc::locations::setLoudnessFactoryDatabaseFolder(folder);
}

// --- Tables

bool LCSQLiteUtilities::generateDatabaseTablesForSQLite(sqlite3* connection, int64_t schemaVersion) {
  return lc::tables::generate(connection, schemaVersion);
}

bool LCSQLiteUtilities::dropDatabaseTablesForSQLite(sqlite3* connection) {
  return lc::tables::drop(connection);
}

void LCSQLiteUtilities::fillKeywordsTableForSQLite(sqlite3* connection) {
  lc::tables::fillKeywords(connection);
}

void LCSQLiteUtilities::addLoopsBundleReplacementTriggerForSQLite(sqlite3* connection) {
  lc::tables::addTriggers(connection);
}

bool LCSQLiteUtilities::createIndicesForSQLite(sqlite3* connection) {
  return lc::tables::createIndex(connection);
}

bool LCSQLiteUtilities::isTableWithName(std::string_view table, const std::optional<std::string>& database,
                                        sqlite3* connection) {
  return lc::tables::hasTable(table, database, connection);
}

bool LCSQLiteUtilities::isColumnAvailableWithName(std::string_view column, std::string_view table,
                                                  const std::optional<std::string>& database, sqlite3* connection) {
  return lc::tables::hasColumn(column, table, database, connection);
}

bool LCSQLiteUtilities::extendTable(std::string_view table, const std::optional<std::string>& database,
                                    std::string_view column, std::string_view type, sqlite3* connection) {
  return lc::tables::extend(table, database, column, type, connection);
}

void LCSQLiteUtilities::setChineseTranscriptEnabled(bool enabled) {
  lc::tables::setChineseTranscriptEnabled(enabled);
}

bool LCSQLiteUtilities::isChineseTranscriptEnabled() {
  return lc::tables::isChineseTranscriptEnabled();
}

// --- Facts

int64_t LCSQLiteUtilities::databaseSchemaVersionForSQLite(sqlite3* connection) {
  return lc::facts::schemaVersion(connection);
}

bool LCSQLiteUtilities::setDatabaseSchemaVersion(int64_t schemaVersion, sqlite3* connection) {
  return lc::facts::setSchemaVersion(schemaVersion, connection);
}

int64_t LCSQLiteUtilities::lastExtraKeywordIdForSQLite(sqlite3* connection) {
  return lc::facts::lastExtraKeywordId(std::nullopt, connection);
}

int64_t LCSQLiteUtilities::lastExtraKeywordIdFromDatabaseName(const std::optional<std::string>& database,
                                                              sqlite3* connection) {
  return lc::facts::lastExtraKeywordId(database, connection);
}

bool LCSQLiteUtilities::setLastExtraKeywordId(int64_t keywordId, sqlite3* connection) {
  return lc::facts::setLastExtraKeywordId(keywordId, connection);
}

std::optional<std::string> LCSQLiteUtilities::indexingAppIdentifierForSQLite(sqlite3* connection) {
  return lc::facts::indexingAppIdentifier(connection);
}

bool LCSQLiteUtilities::setIndexingAppIdentifier(const std::optional<std::string>& identifier, sqlite3* connection) {
  return lc::facts::setIndexingAppIdentifier(identifier, connection);
}

// --- Checks and repairs

bool LCSQLiteUtilities::isDatabaseCorruptFlagSetForSQLite(sqlite3* connection) {
  return lc::damage::isRecorded(connection);
}

void LCSQLiteUtilities::setDatabaseIsCorruptFlagForSQLite(sqlite3* connection) {
  lc::damage::record(connection);
}

bool LCSQLiteUtilities::checkSQLiteDatabase(sqlite3* connection, bool doFastCheck) {
  return lc::damage::isFree(connection, doFastCheck ? lc::damage::Check::quick : lc::damage::Check::thorough);
}

bool LCSQLiteUtilities::isBadStatusCode(int status) {
  return lc::damage::isStatusOfDamage(status);
}

bool LCSQLiteUtilities::replaceAbsolutePath(const std::string& oldPrefix, const std::string& newPrefix,
                                            sqlite3* connection) {
  return lc::repairs::replacePaths(oldPrefix, newPrefix, connection);
}

void LCSQLiteUtilities::fixTypos(sqlite3* connection) {
  lc::repairs::fixTypos(connection);
}

bool LCSQLiteUtilities::fixFilenameUTF8EncodingForSQLite(sqlite3* connection) {
  return lc::repairs::precomposeNames(connection);
}

bool LCSQLiteUtilities::localizeFilenamesInSQLite(sqlite3* connection, const std::string& localeIdentifier,
                                                  const LocalizationBlock& block) {
  lc::repairs::localizeNames(connection, localeIdentifier, block);
  return false;
}

void LCSQLiteUtilities::deleteLocalizationFlagInSQLite(sqlite3* connection) {
  lc::repairs::forgetLocalization(connection);
}

bool LCSQLiteUtilities::isChina() {
  return lc::repairs::isChina();
}
