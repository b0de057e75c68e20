#include "VeskLoopManagement/catalog/LCDatabaseImport.h"

#include "catalog/CatalogError.h"
#include "catalog/DatabaseOpening.h"
#include "database/AttachedDatabase.h"
#include "database/DatabaseDamage.h"
#include "database/DatabaseFacts.h"
#include "database/LCTransaction.h"
#include "platform/Path.h"
#include "search/DatabaseMerge.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/fileio/MurmurHash.h"
#include "VeskLoopManagement/loudness/LCLoudnessDatabase.h"
#include "VeskLoopManagement/loudness/LCMetaInfoDatabase.h"
#include "VeskLoopManagement/platform/URL.h"

#include <fmt/format.h>
#include <sqlite3.h>

#include <filesystem>
#include <fstream>
#include <system_error>

namespace {

using lc::DatabaseMerge;

[[noreturn]] void failRequest(std::string message, const std::string& subject, std::string nextStep = {}) {
  throw lc::CatalogError{{.kind = LCFailureKind::invalidRequest,
                          .message = std::move(message),
                          .subject = subject,
                          .nextStep = std::move(nextStep)}};
}

// --- The source ---

// As for opening, but every page is looked at, and what can be done about it is somebody else's to do.
void requireSoundSource(const std::string& source) {
  try {
    const LCConnection connection = lc::checkedConnection(source, LCOpenMode::readOnly);
    if (lc::damage::isFree(connection.get(), lc::damage::Check::thorough)) return;
    throw lc::CatalogError{lc::databaseFailure(SQLITE_CORRUPT, source)};
  } catch (lc::CatalogError& error) {
    LCFailure& failure = error.failure;
    const bool isOfTheFile =
        failure.kind == LCFailureKind::databaseDamaged || failure.kind == LCFailureKind::databaseMissing;
    if (isOfTheFile) failure.nextStep = "Get the file again from where it came.";
    throw;
  }
}

// Changes with any byte of the file.
std::string identifierOf(const std::string& source) {
  std::ifstream stream(source, std::ios::binary);
  std::string block(size_t{1} << 20, '\0');
  uint64_t hash = 0;
  while (stream) {
    stream.read(block.data(), static_cast<std::streamsize>(block.size()));
    hash = lc::MurmurHash64A(block.data(), static_cast<uint32_t>(stream.gcount()), hash);
  }
  return fmt::format("{}-{:016x}", vesk::path::lastComponent(source), hash);
}

void checkRequest(const std::string& databaseFile, const LCImportRequest& request) {
  std::error_code unknown;
  if (std::filesystem::equivalent(databaseFile, request.source, unknown)) {
    failRequest("a database cannot be imported into itself", request.source);
  }
  if (request.identifier && request.identifier->empty()) failRequest("the identifier is empty", request.source);
  if (request.placeholder && !vesk::URL::fromString(*request.placeholder)) {
    failRequest("the placeholder is no URL", *request.placeholder, "Write it as file:///Folder/");
  }
}

// --- The user's database ---

void makeOptionalTables(const lc::AttachedDatabase& source, sqlite3* connection) {
  const auto has = [&](std::string_view table) {
    return LCSQLiteUtilities::isTableWithName(table, source.name(), connection);
  };
  if (has(lc::merge::kLoudnessTable)) LCLoudnessDatabase::generateDatabaseTablesForSQLite(connection);
  // It makes its table when it is made.
  if (has(kDefaultMetaInfoRelationTablename)) static_cast<void>(LCMetaInfoDatabase::databaseForSqlite(connection));
}

std::vector<LCTableCounts> countedBefore(const lc::AttachedDatabase& source, sqlite3* connection) {
  std::vector<LCTableCounts> counts;
  for (const std::string_view table : DatabaseMerge::tables()) {
    const int64_t before = DatabaseMerge::rowCount(table, "main", connection);
    counts.push_back({.table = std::string(table),
                      .inSource = DatabaseMerge::rowCount(table, source.name(), connection),
                      .before = before,
                      .after = before});
  }
  return counts;
}

std::optional<std::string> warningFor(const LCImportReport& report) {
  if (report.wasImportedBefore || report.newLoops > 0) return std::nullopt;
  const int64_t offered = report.tables.front().inSource;
  if (offered == 0) return "no loop came over: the imported database has none";
  return fmt::format("no loop came over: {} of the imported database {} here already",
                     offered == 1 ? "the loop" : fmt::format("all {} loops", offered), offered == 1 ? "is" : "are");
}

// Within the caller's transaction.
void mergeFrom(const lc::AttachedDatabase& source, const LCImportRequest& request, LCImportReport& report,
               sqlite3* connection) {
  makeOptionalTables(source, connection);
  report.tables = countedBefore(source, connection);
  DatabaseMerge merge(connection, source);
  if (const auto failure = merge.run(request.placeholder)) {
    LCFailure refused = lc::databaseFailure(failure->status, request.source);
    refused.message = fmt::format("the database cannot come over ({})", failure->message);
    throw lc::CatalogError{std::move(refused)};
  }
  // The tables of the keywords are made anew by the next scan.
  if (!lc::facts::recordStep(report.identifier, connection) ||
      !lc::facts::setUnfinishedRun(report.identifier, connection)) {
    throw lc::CatalogError{lc::databaseFailure(lc::lastStatusOf(connection), request.source)};
  }
  for (LCTableCounts& each : report.tables) each.after = DatabaseMerge::rowCount(each.table, "main", connection);
  report.newLoops = merge.newLoopCount();
}

}  // namespace

LCOutcome<LCImportReport> LCDatabaseImport::run(const std::string& databaseFile, const LCImportRequest& request) {
  return lc::outcomeOf([&] {
    checkRequest(databaseFile, request);
    requireSoundSource(request.source);
    const auto access = request.isDryRun ? LCCatalogAccess::mark : LCCatalogAccess::create;
    lc::OpenedEngine opened = lc::openEngine(databaseFile, {.access = access});
    sqlite3* connection = opened.engine->sqlite3Connection();
    LCImportReport report{.identifier = request.identifier ? *request.identifier : identifierOf(request.source),
                          .damagedFileKeptAs = std::move(opened.damagedFileKeptAs)};
    report.wasImportedBefore = lc::facts::isStepRecorded(report.identifier, connection);
    if (report.wasImportedBefore) return report;

    const lc::AttachedDatabase source(connection, request.source);
    if (!source.isAttached()) {
      throw lc::CatalogError{lc::databaseFailure(lc::lastStatusOf(connection), request.source)};
    }
    LCTransaction transaction(connection, LCTransaction::Begin::immediately);
    if (!transaction.isOpen()) {
      throw lc::CatalogError{lc::databaseFailure(lc::lastStatusOf(connection), databaseFile)};
    }
    mergeFrom(source, request, report, connection);
    if (!request.isDryRun && !transaction.commit()) {
      throw lc::CatalogError{lc::databaseFailure(lc::lastStatusOf(connection), databaseFile)};
    }
    report.warning = warningFor(report);
    return report;
  });
}
