#include "Database.h"

#include "Arguments.h"
#include "Output.h"
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

Failure databaseProblem(std::string kind, std::string message, const std::string& file, std::string nextStep = {}) {
  return Failure{.code = kExitDatabase,
                 .kind = std::move(kind),
                 .message = std::move(message),
                 .subject = file,
                 .nextStep = std::move(nextStep)};
}

Failure missingDatabase(const std::string& file) {
  return databaseProblem("databaseMissing", "there is no loop database here", file,
                         "Index a folder first: veskloops index FOLDER. Or name another file with --database.");
}

Failure unopenableDatabase(const std::string& file, int error) {
  return databaseProblem("databaseUnopenable",
                         fmt::format("the loop database cannot be opened ({})", std::strerror(error)), file,
                         "Check the permissions, or name another file with --database.");
}

// Says why `file` cannot be opened at all, before SQLite answers with a bare number.
void requireOpenable(const std::string& file, int flags) {
  if (vesk::path::isDirectory(file)) throw unopenableDatabase(file, EISDIR);
  const int descriptor = open(file.c_str(), flags | O_CLOEXEC);
  if (descriptor < 0) throw unopenableDatabase(file, errno);
  close(descriptor);
}

void requireWritableFolder(const std::string& file) {
  const std::string folder = vesk::path::deletingLastComponent(file);
  std::string reason;
  if (!vesk::path::createDirectories(folder, &reason)) {
    throw databaseProblem("databaseUnopenable",
                          fmt::format("the folder for the loop database cannot be made ({})", reason), file,
                          "Name another file with --database.");
  }
  if (access(folder.c_str(), W_OK | X_OK) != 0) throw unopenableDatabase(file, errno);
}

// Looks whether another program keeps the database locked. Runs before every other check, since each of them would wait
// for the lock; plain statements, because the library's utilities mark a database that they find damaged.
void requireUnlocked(const std::string& file, LCOpenMode mode) {
  int status = SQLITE_OK;
  const LCConnection connection = lc::openConnection(file, mode, &status);
  if (!connection) throw databaseFailure(status, file);
  const bool isWriting = mode == LCOpenMode::readWriteCreate;
  LCStatement probe(connection.get(), isWriting ? "BEGIN IMMEDIATE" : "SELECT count(*) FROM sqlite_master");
  if (probe.isPrepared()) probe.step();
  const int result = probe.lastStatus() & 0xFF;
  if (result == SQLITE_BUSY || result == SQLITE_LOCKED) throw databaseFailure(result, file);
}

void requireKnownVersion(const std::string& file) {
  const LCConnection connection = lc::openConnection(file, LCOpenMode::readOnly);
  if (LCSQLiteUtilities::databaseSchemaVersionForSQLite(connection.get()) <= kDefaultDatabaseSchemaVersion) return;
  throw databaseProblem("databaseNewer", "the loop database was made by a newer version of this program", file,
                        "Use that version, or name another file with --database.");
}

void requireLoops(const std::string& file) {
  const LCConnection connection = lc::openConnection(file, LCOpenMode::readOnly);
  if (LCSQLiteUtilities::isTableWithName(kDefaultLoopsTablename, std::nullopt, connection.get())) return;
  throw missingDatabase(file);
}

void requireReadable(const LCDatabaseConfiguration& configuration) {
  const std::string& file = configuration.databaseFile();
  if (!vesk::path::exists(file)) throw missingDatabase(file);
  requireOpenable(file, O_RDONLY);
  requireUnlocked(file, LCOpenMode::readOnly);
  if (LCSearchEngine::databaseLooksDamaged(configuration)) {
    throw databaseProblem(
        "databaseDamaged", "the loop database is damaged", file,
        "Index your folders again: veskloops index FOLDER puts the damaged file aside and starts a new "
        "one.");
  }
  requireKnownVersion(file);
  requireLoops(file);
}

std::unique_ptr<LCSearchEngine> makeEngine(const LCDatabaseConfiguration& configuration, EngineLayout layout) {
  if (layout == EngineLayout::mobile) return LCSearchEngineMobile::initWithDatabaseConfiguration(configuration);
  return LCSearchEngineDesktop::initWithDatabaseConfiguration(configuration);
}

// A free path beside the database. It must not begin with the database's name: a host that rebuilds deletes all that
// do.
std::string pathForDamagedCopy(const std::string& file) {
  const std::string name = vesk::path::lastComponent(file);
  char stamp[32] = {};
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  std::strftime(stamp, sizeof stamp, "%Y%m%d-%H%M%S", &local);
  for (const std::string_view word : {"damaged", "kept"}) {
    const std::string folder = vesk::path::deletingLastComponent(file);
    std::string candidate = fmt::format("{}-{}-{}", word, stamp, name);
    if (candidate.starts_with(name)) continue;
    for (int number = 2; vesk::path::exists(vesk::path::appending(folder, candidate)); ++number) {
      candidate = fmt::format("{}-{}-{}-{}", word, stamp, number, name);
    }
    return vesk::path::appending(folder, candidate);
  }
  return {};  // not reached: no name begins like both
}

// Renames the file and what SQLite keeps beside it, and takes away the mark of damage: the library, finding either,
// would delete every file of the folder whose name begins with the database's.
std::string putAside(const std::string& file) {
  const std::string kept = pathForDamagedCopy(file);
  std::error_code error;
  fs::rename(file, kept, error);
  if (error) {
    throw databaseProblem(
        "databaseDamaged",
        fmt::format("the loop database is damaged and cannot be renamed to {} ({})", kept, error.message()), file,
        "Move the file away yourself, then index again.");
  }
  for (const char* companion : {"-wal", "-journal", "-shm"}) {
    std::error_code ignored;  // most databases have none
    fs::rename(file + companion, kept + companion, ignored);
  }
  return kept;
}

void removeDamageMark(const std::string& file) {
  std::error_code ignored;
  fs::remove(vesk::path::appending(vesk::path::deletingLastComponent(file), kCorruptDatabaseFileIndicatorName),
             ignored);
}

std::unique_ptr<LCFileIndexing> makeIndexer(const LCDatabaseConfiguration& configuration) {
  auto indexer = LCFileIndexing::initWithDatabaseConfiguration(configuration);
  if (!indexer) throw unopenableDatabase(configuration.databaseFile(), EACCES);
  return indexer;
}

void execute(sqlite3* connection, const std::string& sql) {
  LCSQLiteUtilities utilities(connection);
  if (utilities.executeStatementWithNoReturnValue(sql)) return;
  throw databaseFailure(utilities.lastOSStatus(), utilities.lastErrorMessage().value_or(""));
}

void rollBack(sqlite3* connection) {
  LCSQLiteUtilities(connection).executeStatementWithNoReturnValue("ROLLBACK;");
}

// Commits when everything was written; otherwise nothing is.
void endWriting(sqlite3* connection, bool isComplete, const std::string& failure) {
  if (isComplete) return commitWriting(connection);
  rollBack(connection);
  throw Failure{.code = kExitDatabase, .kind = "database", .message = failure};
}

std::unique_ptr<LCSearchEngine> openCurrent(const LCDatabaseConfiguration& configuration, EngineLayout layout) {
  auto engine = makeEngine(configuration, layout);
  if (!engine) throw unopenableDatabase(configuration.databaseFile(), EACCES);
  if (!engine->isIndexFileVersionValid()) {
    throw databaseProblem("databaseOlder", "the loop database was made by an older version of this program",
                          configuration.databaseFile(), "Index your folders again: veskloops index FOLDER.");
  }
  return engine;
}

void requireWritable(const LCDatabaseConfiguration& configuration) {
  requireReadable(configuration);
  requireOpenable(configuration.databaseFile(), O_RDWR);
  requireUnlocked(configuration.databaseFile(), LCOpenMode::readWriteCreate);
}

}  // namespace

std::string databaseFile(const Context& context) {
  if (context.options.database && !context.options.database->empty()) return absolutePath(*context.options.database);
  return LCSQLiteUtilities::databaseFile();
}

LCDatabaseConfiguration databaseConfiguration(const Context& context, bool readOnly) {
  return LCDatabaseConfiguration(databaseFile(context), readOnly, kDefaultDatabaseSchemaVersion);
}

std::unique_ptr<LCSearchEngine> openForReading(const Context& context, EngineLayout layout) {
  const LCDatabaseConfiguration configuration = databaseConfiguration(context, true);
  requireReadable(configuration);
  return openCurrent(configuration, layout);
}

std::unique_ptr<LCSearchEngine> openForReadingIfPossible(const Context& context) {
  try {
    return openForReading(context);
  } catch (const Failure& failure) {
    if (failure.kind != "databaseMissing") {
      context.output.warning(fmt::format("{}: {}", failure.message, failure.subject), failure.nextStep);
    }
    return nullptr;
  }
}

std::unique_ptr<LCSearchEngine> openForMarking(const Context& context) {
  const LCDatabaseConfiguration configuration = databaseConfiguration(context, false);
  requireWritable(configuration);
  return openCurrent(configuration, EngineLayout::desktop);
}

std::unique_ptr<LCFileIndexing> openForWriting(const Context& context) {
  const LCDatabaseConfiguration configuration = databaseConfiguration(context, false);
  requireWritable(configuration);
  return makeIndexer(configuration);
}

std::unique_ptr<LCFileIndexing> openOrCreate(const Context& context) {
  const LCDatabaseConfiguration configuration = databaseConfiguration(context, false);
  const std::string& file = configuration.databaseFile();
  if (vesk::path::exists(file)) {
    requireOpenable(file, O_RDWR);
    requireUnlocked(file, LCOpenMode::readWriteCreate);
    if (LCSearchEngine::databaseLooksDamaged(configuration)) {
      const std::string kept = putAside(file);
      context.output.warning(
          fmt::format("the loop database was damaged and starts anew; the old file is kept as {}", kept),
          "Index your other folders again, too.");
    } else {
      requireKnownVersion(file);
    }
  } else {
    requireWritableFolder(file);
  }
  removeDamageMark(file);  // what it spoke of is out of the way
  // The engine's opening completes the tables of an older database and records that its names are composed.
  if (!makeEngine(configuration, EngineLayout::desktop)) throw unopenableDatabase(file, EACCES);
  return makeIndexer(configuration);
}

Failure databaseFailure(int status, std::string_view detail) {
  Failure failure{.code = kExitDatabase, .subject = std::string(detail)};
  switch (status & 0xFF) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      failure.kind = "databaseLocked";
      failure.message = "the loop database is in use by another program";
      failure.nextStep = "Try again when that one is done.";
      break;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      failure.kind = "databaseDamaged";
      failure.message = "the loop database is damaged";
      failure.nextStep = "Index your folders again: veskloops index FOLDER puts the damaged file aside.";
      break;
    default:
      failure.kind = "database";
      failure.message = fmt::format("the loop database refuses ({})", sqlite3_errstr(status));
      break;
  }
  return failure;
}

void beginWriting(sqlite3* connection) {
  execute(connection, "BEGIN IMMEDIATE;");
}

void commitWriting(sqlite3* connection) {
  try {
    execute(connection, "COMMIT;");
  } catch (const Failure&) {
    rollBack(connection);
    throw;
  }
}

UndoableStep::UndoableStep(sqlite3* connection) : m_connection(connection) {
  execute(m_connection, "SAVEPOINT step;");
}

UndoableStep::~UndoableStep() {
  LCSQLiteUtilities utilities(m_connection);
  if (!m_isKept) utilities.executeStatementWithNoReturnValue("ROLLBACK TO step;");
  utilities.executeStatementWithNoReturnValue("RELEASE step;");
}

void UndoableStep::keep() {
  m_isKept = true;
}

void removeLoops(LCFileIndexing& indexer, std::span<const LoopPlace> places) {
  std::vector<int64_t> ids;
  for (const auto& place : places) ids.push_back(place.id);
  beginWriting(indexer.sqlite3Connection());
  endWriting(indexer.sqlite3Connection(), indexer.removeLoopsWithIds(ids), "loops could not be taken out");
}

void carryLoops(LCFileIndexing& indexer, std::span<const LCLoopCarry> carries) {
  beginWriting(indexer.sqlite3Connection());
  endWriting(indexer.sqlite3Connection(), indexer.carryLoopsWithIds(carries),
             "marks could not be carried to the new identities of loops");
}
