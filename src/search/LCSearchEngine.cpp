// Opening: the file, its recovery when it is damaged, and the missing tables.
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include "platform/Path.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/loudness/LCLoudnessDatabase.h"
#include "VeskLoopManagement/platform/Environment.h"

#include <fmt/format.h>

#include <filesystem>
#include <system_error>

namespace {

std::string databaseFolder(const LCDatabaseConfiguration& configuration) {
  const std::string folder = vesk::path::deletingLastComponent(configuration.databaseFile());
  return folder.empty() ? "." : folder;
}

std::string damageIndicatorPath(const LCDatabaseConfiguration& configuration) {
  return vesk::path::appending(databaseFolder(configuration), kCorruptDatabaseFileIndicatorName);
}

void removeFile(const std::string& path) {
  std::error_code ignored;
  std::filesystem::remove(path, ignored);
}

// The database with its journal, write-ahead log and shared memory. Folders stay: SQLite makes none.
void removeFilesBeginningWith(const std::string& name, const std::string& folder) {
  if (name.empty()) return;  // every name begins with it
  std::vector<std::string> found;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    std::error_code unknown;
    const bool isFolder = entry->is_directory(unknown) && !entry->is_symlink(unknown);
    if (!isFolder && entry->path().filename().string().starts_with(name)) found.push_back(entry->path().string());
  }
  for (const std::string& path : found) removeFile(path);
}

}  // namespace

LCSearchEngine::LCSearchEngine(const LCDatabaseConfiguration& configuration) : m_databaseConfiguration(configuration) {}

LCSearchEngine::~LCSearchEngine() = default;

bool LCSearchEngine::databaseLooksDamaged(const LCDatabaseConfiguration& configuration) {
  if (vesk::path::exists(damageIndicatorPath(configuration))) return true;
  if (!vesk::path::exists(configuration.databaseFile())) return false;
  const LCConnection connection = lc::openConnection(configuration.databaseFile(), LCOpenMode::readOnly);
  return connection && !LCSQLiteUtilities::checkSQLiteDatabase(connection.get(), true);
}

bool LCSearchEngine::setupWithDatabaseFile() {
  if (!m_databaseConfiguration.readonly()) {
    std::string error;
    if (!vesk::path::createDirectories(databaseFolder(m_databaseConfiguration), &error)) {
      vesk::log(fmt::format("Error: {}", error));
    }
  }
  if (!openDatabase()) return false;

  const std::string indicator = damageIndicatorPath(m_databaseConfiguration);
  const bool isMarkedAsDamaged = vesk::path::exists(indicator);
  if (isMarkedAsDamaged) removeFile(indicator);
  if (isMarkedAsDamaged || !LCSQLiteUtilities::checkSQLiteDatabase(m_sqlite.get(), true)) {
    deleteDamagedDatabase();
    if (!openDatabase()) return false;
  }
  completeSetup();
  return true;
}

void LCSearchEngine::setupWithConnection(LCConnection connection) {
  m_sqlite = std::move(connection);
  completeSetup();
}

// For writers, what the database lacks.
void LCSearchEngine::completeSetup() {
  if (!m_databaseConfiguration.readonly()) {
    LCSQLiteUtilities::generateDatabaseTablesForSQLite(m_sqlite.get(), m_databaseConfiguration.schemaVersion());
    LCLoudnessDatabase::generateDatabaseTablesForSQLite(m_sqlite.get());
  }
  LCSQLiteUtilities::fixFilenameUTF8EncodingForSQLite(m_sqlite.get());
}

bool LCSearchEngine::openDatabase() {
  int status = 0;
  const LCOpenMode mode = m_databaseConfiguration.readonly() ? LCOpenMode::readOnly : LCOpenMode::readWriteCreate;
  m_sqlite = lc::openConnection(m_databaseConfiguration.databaseFile(), mode, &status);
  if (m_sqlite) return true;
  vesk::log(fmt::format("Can't open loops database: status ({})", status));
  return false;
}

// Read-only engines do this too: their reopening then fails, and the next writer starts with an empty database.
void LCSearchEngine::deleteDamagedDatabase() {
  closeDatabase();
  removeFile(m_databaseConfiguration.databaseFile());
  removeFilesBeginningWith(vesk::path::lastComponent(m_databaseConfiguration.databaseFile()),
                           databaseFolder(m_databaseConfiguration));
  m_databaseWasCorruptAndNeedsReindexing = true;
}

void LCSearchEngine::closeDatabase() {
  m_sqlite.reset();
}

void LCSearchEngine::setIndexFile(const std::optional<std::string>& path) {
  LCSQLiteUtilities::setDatabaseFile(path);
}

int64_t LCSearchEngine::indexFileSchemaVersion() const {
  return LCSQLiteUtilities::databaseSchemaVersionForSQLite(m_sqlite.get());
}

std::optional<std::string> LCSearchEngine::indexingAppIdentifer() const {
  return LCSQLiteUtilities::indexingAppIdentifierForSQLite(m_sqlite.get());
}

bool LCSearchEngine::isIndexFileVersionValid() const {
  return LCSQLiteUtilities::isColumnAvailableWithName(kLoopsKSLoopTypeColumn, kDefaultLoopsTablename, std::nullopt,
                                                      m_sqlite.get());
}

std::string LCSearchEngine::formattedWithLoopsTable(std::string_view format) const {
  return vesk::text::replacingAll(format, "%@", m_tables.loops);
}
