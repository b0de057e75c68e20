#include "catalog/DatabaseOpening.h"

#include "catalog/CatalogError.h"
#include "catalog/DatabaseOwnership.h"
#include "database/DatabaseDamage.h"
#include "database/DatabaseLocations.h"
#include "platform/Path.h"
#include "VeskLoopManagement/database/LCConnection.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"
#include "VeskLoopManagement/database/LCStatement.h"
#include "VeskLoopManagement/search/LCSearchEngineDesktop.h"
#include "VeskLoopManagement/search/LCSearchEngineMobile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>

namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(LCFailureKind kind, std::string message, const std::string& file, std::string nextStep) {
  throw lc::CatalogError{
      {.kind = kind, .message = std::move(message), .subject = file, .nextStep = std::move(nextStep)}};
}

[[noreturn]] void failMissing(const std::string& file) {
  fail(LCFailureKind::databaseMissing, "there is no loop database here", file,
       "Scan a folder first, or name another file.");
}

[[noreturn]] void failUnopenable(const std::string& file, int error) {
  fail(LCFailureKind::databaseUnopenable, fmt::format("the loop database cannot be opened ({})", std::strerror(error)),
       file, "Check the permissions, or name another file.");
}

[[noreturn]] void failDamaged(const std::string& file) {
  throw lc::CatalogError{lc::databaseFailure(SQLITE_CORRUPT, file)};
}

// --- Questions that the system answers ---

// Before SQLite sees it, for its opening and closing alone may write. An empty file is nobody's.
void requireOurs(const std::string& file) {
  std::error_code error;
  if (fs::file_size(file, error) == 0 || lc::isOurDatabase(file)) return;
  fail(LCFailureKind::databaseForeign, "this file is not a loop database; it is left as it is", file,
       "Name another file.");
}

// Says why `file` cannot be opened at all, before SQLite answers with a bare number.
void requireOpenable(const std::string& file, int flags) {
  if (vesk::path::isDirectory(file)) failUnopenable(file, EISDIR);
  const int descriptor = open(file.c_str(), flags | O_CLOEXEC);
  if (descriptor < 0) failUnopenable(file, errno);
  close(descriptor);
}

void requireWritableFolder(const std::string& file) {
  const std::string folder = vesk::path::deletingLastComponent(file);
  std::string reason;
  if (!vesk::path::createDirectories(folder, &reason)) {
    fail(LCFailureKind::databaseUnopenable, fmt::format("the folder for the loop database cannot be made ({})", reason),
         file, "Name another file.");
  }
  // Of the rights that the process acts with, as opening does.
  if (faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) != 0) failUnopenable(file, errno);
}

// --- Questions that the database answers ---

LCConnection connectionTo(const std::string& file, LCOpenMode mode) {
  int status = SQLITE_OK;
  LCConnection connection = lc::openConnection(file, mode, &status);
  if (!connection) throw lc::CatalogError{lc::databaseFailure(status, file)};
  return connection;
}

// Looks whether another program keeps the database locked. Runs before every other check, since each of them would wait
// for the lock; plain statements, because the utilities mark a database that they find damaged.
void requireUnlocked(sqlite3* connection, LCOpenMode mode, const std::string& file) {
  const bool isWriting = mode == LCOpenMode::readWriteCreate;
  int result = SQLITE_OK;
  {
    LCStatement probe(connection, isWriting ? "BEGIN IMMEDIATE" : "SELECT count(*) FROM sqlite_master");
    if (probe.isPrepared()) probe.step();
    result = probe.lastStatus() & 0xFF;
  }
  if (isWriting) LCStatement(connection, "ROLLBACK").run();
  if (result == SQLITE_BUSY || result == SQLITE_LOCKED) throw lc::CatalogError{lc::databaseFailure(result, file)};
}

void requireKnownVersion(sqlite3* connection, const std::string& file) {
  if (LCSQLiteUtilities::databaseSchemaVersionForSQLite(connection) <= kDefaultDatabaseSchemaVersion) return;
  fail(LCFailureKind::databaseNewer, "the loop database was made by a newer version of this program", file,
       "Use that version, or name another file.");
}

void requireLoops(sqlite3* connection, const std::string& file) {
  if (!LCSQLiteUtilities::isTableWithName(kDefaultLoopsTablename, std::nullopt, connection)) failMissing(file);
}

// --- A damaged database ---

// A free path beside the database. It must not begin with the database's name: a host that rebuilds deletes all that
// do.
std::string pathForDamagedCopy(const std::string& file) {
  const std::string name = vesk::path::lastComponent(file);
  const std::string folder = vesk::path::deletingLastComponent(file);
  char stamp[32] = {};
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  std::strftime(stamp, sizeof stamp, "%Y%m%d-%H%M%S", &local);
  const bool beginsLikeIt = fmt::format("damaged-{}-{}", stamp, name).starts_with(name);
  const std::string_view word = beginsLikeIt ? "kept" : "damaged";  // no name begins like both
  std::string candidate = fmt::format("{}-{}-{}", word, stamp, name);
  for (int number = 2; vesk::path::exists(vesk::path::appending(folder, candidate)); ++number) {
    candidate = fmt::format("{}-{}-{}-{}", word, stamp, number, name);
  }
  return vesk::path::appending(folder, candidate);
}

// Renames the file and what SQLite keeps beside it.
std::string putAside(const std::string& file) {
  const std::string kept = pathForDamagedCopy(file);
  std::error_code error;
  fs::rename(file, kept, error);
  if (error) {
    fail(LCFailureKind::databaseDamaged,
         fmt::format("the loop database is damaged and cannot be renamed to {} ({})", kept, error.message()), file,
         "Move the file away yourself, then scan again.");
  }
  for (const char* companion : {"-wal", "-journal", "-shm"}) {
    std::error_code ignored;  // most databases have none
    fs::rename(file + companion, kept + companion, ignored);
  }
  return kept;
}

// The default file of an earlier version becomes this one's, which then opens as any older database does.
void bringOlderDefaultForward(const std::string& file) {
  if (file != lc::locations::databasePlace() || vesk::path::exists(file)) return;
  if (LCDatabaseConfiguration::hasOlderDefaultDatabase()) LCDatabaseConfiguration::defaultDatabaseFile();
}

// A connection for writing to the database as it is, or, when it is missing or damaged, to a new one.
LCConnection connectionToOldOrNew(const std::string& file, std::optional<std::string>& damagedFileKeptAs) {
  constexpr auto kMode = LCOpenMode::readWriteCreate;
  if (vesk::path::exists(file)) {
    requireOpenable(file, O_RDWR);
    requireOurs(file);
    LCConnection connection = connectionTo(file, kMode);
    requireUnlocked(connection.get(), kMode, file);
    if (!lc::damage::isSuspected(file, connection.get())) {
      requireKnownVersion(connection.get(), file);
      return connection;
    }
    connection.reset();
    damagedFileKeptAs = putAside(file);
  } else {
    requireWritableFolder(file);
  }
  std::error_code ignored;
  fs::remove(lc::damage::markerBeside(file), ignored);  // what it spoke of is out of the way
  return connectionTo(file, kMode);
}

std::unique_ptr<LCSearchEngine> engineOn(LCConnection connection, const LCDatabaseConfiguration& configuration,
                                         LCCatalogLayout layout) {
  if (layout == LCCatalogLayout::mobile) {
    return LCSearchEngineMobile::initWithConnection(std::move(connection), configuration);
  }
  return LCSearchEngineDesktop::initWithConnection(std::move(connection), configuration);
}

std::unique_ptr<LCFileIndexing> makeIndexer(const std::string& file) {
  const LCDatabaseConfiguration configuration(file, false, kDefaultDatabaseSchemaVersion);
  auto indexer = LCFileIndexing::initWithDatabaseConfiguration(configuration);
  if (!indexer) failUnopenable(file, EACCES);
  return indexer;
}

}  // namespace

LCConnection lc::checkedConnection(const std::string& file, LCOpenMode mode) {
  if (!vesk::path::exists(file)) failMissing(file);
  requireOpenable(file, mode == LCOpenMode::readOnly ? O_RDONLY : O_RDWR);
  requireOurs(file);
  LCConnection connection = connectionTo(file, mode);
  requireUnlocked(connection.get(), mode, file);
  if (lc::damage::isSuspected(file, connection.get())) failDamaged(file);
  requireKnownVersion(connection.get(), file);
  requireLoops(connection.get(), file);
  return connection;
}

lc::OpenedEngine lc::openEngine(const std::string& databaseFile, const LCCatalogOptions& options) {
  bringOlderDefaultForward(databaseFile);
  const bool isReading = options.access == LCCatalogAccess::read;
  const LCDatabaseConfiguration configuration(databaseFile, isReading, kDefaultDatabaseSchemaVersion);
  OpenedEngine opened;
  LCConnection connection =
      options.access == LCCatalogAccess::create
          ? connectionToOldOrNew(databaseFile, opened.damagedFileKeptAs)
          : checkedConnection(databaseFile, isReading ? LCOpenMode::readOnly : LCOpenMode::readWriteCreate);
  if (options.access == LCCatalogAccess::create) rememberDatabase(databaseFile);
  opened.engine = engineOn(std::move(connection), configuration, options.layout);
  if (!opened.engine->isIndexFileVersionValid()) {
    fail(LCFailureKind::databaseOlder, "the loop database was made by an older version of this program", databaseFile,
         "Scan your folders again.");
  }
  return opened;
}

lc::OpenedIndexer lc::openOrCreateIndexer(const std::string& databaseFile) {
  // The engine's opening completes the tables of an older database and records that its names are composed.
  OpenedEngine opened = openEngine(databaseFile, {.access = LCCatalogAccess::create});
  opened.engine.reset();
  return {.indexer = makeIndexer(databaseFile), .damagedFileKeptAs = std::move(opened.damagedFileKeptAs)};
}

std::unique_ptr<LCFileIndexing> lc::openIndexer(const std::string& databaseFile) {
  checkedConnection(databaseFile, LCOpenMode::readWriteCreate);
  return makeIndexer(databaseFile);
}
