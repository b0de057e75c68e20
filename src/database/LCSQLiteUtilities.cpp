#include "VeskLoopManagement/database/LCSQLiteUtilities.h"

#include "platform/Path.h"
#include "VeskLoopManagement/database/LCDatabaseConfiguration.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/platform/Environment.h"

#include <sqlite3.h>

#include <algorithm>
#include <limits>

// Running statements and the file locations. The tables are in LCSQLiteUtilitiesTables.cpp, the facts of
// DatabaseMigrationInfos in LCSQLiteUtilitiesFacts.cpp, checks and repairs in LCSQLiteUtilitiesRepairs.cpp.

namespace {

// --- Running ---

// Between SQLite, which is C, and a callback that may throw: an exception ends the statement instead.
int callRowCallback(void* context, int count, char** values, char** names) {
  try {
    (*static_cast<const LCSQLiteUtilities::RowCallback*>(context))(count, values, names);
    return 0;
  } catch (...) {
    return 1;
  }
}

// Calls `collect` for each cell of each row: the column's name and the cell's text, null for NULL.
template <typename Collect>
LCSQLiteUtilities::RowCallback forEachCell(Collect collect) {
  return [collect](int count, char** values, char** names) {
    for (int column = 0; column < count; ++column) collect(names[column], values[column]);
  };
}

bool isTextColumnOfLoops(std::string_view name) {
  static const std::set<std::string_view> names = {"fileURL",  "instrumentType",    "instrumentSubType",
                                                   "genre",    "descriptors",       "author",
                                                   "fileName", "contentIdentifier", "chineseTranscript"};
  return names.contains(name);
}

int64_t clampedTo32Bits(int64_t value) {
  using Limits = std::numeric_limits<int32_t>;
  return std::clamp<int64_t>(value, Limits::min(), Limits::max());
}

LCCell loopsCell(std::string_view column, const char* value) {
  if (value == nullptr) return std::string();
  if (isTextColumnOfLoops(column)) return std::string(value);
  if (column == "id") return vesk::text::integerValueDetectingBase(value);
  return clampedTo32Bits(vesk::text::integerValue(value));
}

LCCell crateCell(std::string_view column, const char* value) {
  if (column == "isVirtualCrate") return vesk::text::integerValue(value) >= 1;
  return std::string(value);
}

// --- Locations ---

// Set by the host before first use, or computed then.
std::optional<std::string>& databaseFileOverride() {
  static std::optional<std::string> path;
  return path;
}

std::optional<std::string>& loudnessUserFileOverride() {
  static std::optional<std::string> path;
  return path;
}

std::optional<std::string>& loudnessFactoryFileOverride() {
  static std::optional<std::string> path;
  return path;
}

std::string loudnessFileIn(const std::string& folder) {
  return vesk::path::appending(folder, kLoudnessDatabaseFileName + "." + kLoudnessDatabaseExtension);
}

// Anything but an existing folder leaves the override as it is.
void overrideLoudnessFile(std::optional<std::string>& path, const std::optional<std::string>& folder) {
  if (folder && vesk::path::isDirectory(*folder)) path = loudnessFileIn(*folder);
}

}  // namespace

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

std::optional<LCSQLiteUtilities> LCSQLiteUtilities::utilitiesForSQLite(sqlite3* connection) {
  if (connection == nullptr) return std::nullopt;
  return LCSQLiteUtilities(connection);
}

bool LCSQLiteUtilities::executeStatement(const std::string& sql, const RowCallback& callback) {
  if (m_connection == nullptr) return false;
  char* message = nullptr;
  auto* context = const_cast<RowCallback*>(&callback);
  m_lastOSStatus = sqlite3_exec(m_connection, sql.c_str(), callback ? callRowCallback : nullptr, context, &message);
  m_lastErrorMessage.reset();
  if (message) m_lastErrorMessage = message;
  sqlite3_free(message);
  const bool isDamaged = m_lastOSStatus == SQLITE_CORRUPT || m_lastOSStatus == SQLITE_NOTADB;
  if (isDamaged && !checkSQLiteDatabase(m_connection, false)) setDatabaseIsCorruptFlagForSQLite(m_connection);
  return m_lastOSStatus == SQLITE_OK;
}

bool LCSQLiteUtilities::executeStatementWithNoReturnValue(const std::string& sql) {
  return executeStatement(sql, nullptr);
}

bool LCSQLiteUtilities::executeStatementWithGenericReturnValue(const std::string& sql, LCResultDictionary* result) {
  if (result == nullptr) return executeStatementWithNoReturnValue(sql);
  return executeStatement(sql, forEachCell([result](const char* column, const char* value) {
                            (*result)[column].emplace_back(std::string(value ? value : ""));
                          }));
}

std::optional<int64_t> LCSQLiteUtilities::firstIntegerOfStatement(const std::string& sql, std::string_view column) {
  LCResultDictionary result;
  if (!executeStatementWithGenericReturnValue(sql, &result)) return std::nullopt;
  const LCCell* cell = lc::firstCell(result, column);
  return cell ? std::optional(lc::cellInteger(*cell)) : std::nullopt;
}

bool LCSQLiteUtilities::executeStatementWithLoopsReturnValue(const std::string& sql, LCResultDictionary* result) {
  if (result == nullptr) return executeStatementWithNoReturnValue(sql);
  return executeStatement(sql, forEachCell([result](const char* column, const char* value) {
                            (*result)[column].push_back(loopsCell(column, value));
                          }));
}

bool LCSQLiteUtilities::executeStatementWithKeywordsReturnValue(const std::string& sql, LCResultDictionary* result) {
  if (result == nullptr) return executeStatementWithNoReturnValue(sql);
  return executeStatement(sql, forEachCell([result](const char* column, const char* value) {
                            std::vector<LCCell>& cells = (*result)[column];  // there even when every cell is NULL
                            if (value) cells.emplace_back(std::string(value));
                          }));
}

bool LCSQLiteUtilities::executeStatementWithCrateReturnValue(const std::string& sql, LCResultDictionary* result) {
  if (result == nullptr) return executeStatementWithNoReturnValue(sql);
  return executeStatement(sql, forEachCell([result](const char* column, const char* value) {
                            std::vector<LCCell>& cells = (*result)[column];
                            if (value) cells.push_back(crateCell(column, value));
                          }));
}

bool LCSQLiteUtilities::executeStatementWithCombinedKeywordsReturnValue(const std::string& sql,
                                                                        vesk::StringSet* result) {
  if (result == nullptr) return executeStatementWithNoReturnValue(sql);
  return executeStatement(sql, forEachCell([result](std::string_view column, const char* value) {
                            if (value == nullptr) return;
                            if (column != "descriptors") {
                              result->insert(value);
                              return;
                            }
                            for (std::string& part : vesk::text::split(value, ',')) result->insert(std::move(part));
                          }));
}

std::string LCSQLiteUtilities::databaseFile() {
  std::optional<std::string>& path = databaseFileOverride();
  if (!path) path = LCDatabaseConfiguration::defaultDatabaseFile();
  return *path;
}

void LCSQLiteUtilities::setDatabaseFile(std::optional<std::string> path) {
  databaseFileOverride() = std::move(path);
}

std::optional<std::string> LCSQLiteUtilities::userDatabaseFolder() {
  const std::optional<std::string> music = vesk::Environment::shared().musicFolder(nullptr);
  if (!music) return std::nullopt;
  std::string folder = vesk::path::appending(vesk::path::appending(*music, "Audio Vesk"), "Databases");
  if (!vesk::path::createDirectories(folder)) return std::nullopt;
  return folder;
}

std::optional<std::string> LCSQLiteUtilities::loudnessUserDatabaseFile() {
  if (loudnessUserFileOverride()) return loudnessUserFileOverride();
  const std::optional<std::string> folder = userDatabaseFolder();
  if (!folder) return std::nullopt;
  return loudnessFileIn(*folder);
}

void LCSQLiteUtilities::setLoudnessUserDatabaseFolder(const std::optional<std::string>& folder) {
  overrideLoudnessFile(loudnessUserFileOverride(), folder);
}

std::optional<std::string> LCSQLiteUtilities::loudnessFactoryDatabaseFile() {
  if (loudnessFactoryFileOverride()) return loudnessFactoryFileOverride();
  return vesk::Environment::shared().hostResource(kLoudnessDatabaseFileName, kLoudnessDatabaseExtension);
}

void LCSQLiteUtilities::setLoudnessFactoryDatabaseFolder(const std::optional<std::string>& folder) {
  overrideLoudnessFile(loudnessFactoryFileOverride(), folder);
}
