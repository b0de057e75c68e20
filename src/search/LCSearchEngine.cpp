// Opening: the file, its recovery when it is damaged, and the missing tables.
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include "database/DatabaseDamage.h"
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

void removeFile(const std::string& path) {
  std::error_code ignored;
  std::filesystem::remove(path, ignored);
}

// Nobody was asked, so at least it is said.
void deleteFileOfDamagedDatabase(const std::string& path) {
  std::error_code error;
  if (std::filesystem::remove(path, error)) vesk::log(fmt::format("Deleted with a damaged loop database: {}", path));
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
  for (const std::string& path : found) deleteFileOfDamagedDatabase(path);
}

// What is locked by another connection fails at once while this lives.
class NoWaiting {
 public:
  explicit NoWaiting(sqlite3* connection) : m_connection(connection) {
    LCStatement current(connection, "PRAGMA busy_timeout");
    m_milliseconds = current.step() ? current.int64At(0) : 0;
    set(0);
  }
  NoWaiting(const NoWaiting&) = delete;
  NoWaiting& operator=(const NoWaiting&) = delete;
  ~NoWaiting() { set(m_milliseconds); }

 private:
  void set(int64_t milliseconds) {
    LCStatement(m_connection, fmt::format("PRAGMA busy_timeout = {}", milliseconds)).run();
  }

  sqlite3* m_connection;
  int64_t m_milliseconds = 0;
};

}  // namespace

LCSearchEngine::LCSearchEngine(const LCDatabaseConfiguration& configuration) : m_databaseConfiguration(configuration) {}

LCSearchEngine::~LCSearchEngine() = default;

bool LCSearchEngine::databaseLooksDamaged(const LCDatabaseConfiguration& configuration) {
  const std::string& file = configuration.databaseFile();
  LCConnection connection;
  if (vesk::path::exists(file)) connection = lc::openConnection(file, LCOpenMode::readOnly);
  return lc::damage::isSuspected(file, connection.get());
}

bool LCSearchEngine::setupWithDatabaseFile() {
  if (!m_databaseConfiguration.readonly()) {
    std::string error;
    if (!vesk::path::createDirectories(databaseFolder(m_databaseConfiguration), &error)) {
      vesk::log(fmt::format("Error: {}", error));
    }
  }
  if (!openDatabase()) return false;

  if (lc::damage::isSuspected(m_databaseConfiguration.databaseFile(), m_sqlite.get())) {
    removeFile(lc::damage::markerBeside(m_databaseConfiguration.databaseFile()));
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

// For writers, what the database lacks. Searching can do without the loudness table, which is made when figures are
// saved, and without the repair of names, which the next opening tries again: neither waits for another writer.
void LCSearchEngine::completeSetup() {
  const bool isWriter = !m_databaseConfiguration.readonly();
  if (isWriter) {
    LCSQLiteUtilities::generateDatabaseTablesForSQLite(m_sqlite.get(), m_databaseConfiguration.schemaVersion());
  }
  const NoWaiting noWaiting(m_sqlite.get());
  if (isWriter) LCLoudnessDatabase::generateDatabaseTablesForSQLite(m_sqlite.get());
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
  deleteFileOfDamagedDatabase(m_databaseConfiguration.databaseFile());
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
