#include "VeskLoopManagement/catalog/LCMigration.h"

#include "catalog/CatalogError.h"
#include "catalog/DatabaseOpening.h"
#include "catalog/Packages.h"
#include "database/DatabaseCopy.h"
#include "database/DatabaseRepairs.h"
#include "database/LCTransaction.h"
#include "migration/LegacyPackages.h"
#include "platform/Path.h"
#include "VeskLoopManagement/catalog/LCCatalog.h"
#include "VeskLoopManagement/catalog/LCLibraryFolders.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/migration/LCMigrationUtilities.h"
#include "VeskLoopManagement/platform/Environment.h"

#include <fmt/format.h>
#include <sqlite3.h>

#include <set>
#include <utility>

namespace {

[[noreturn]] void fail(LCFailureKind kind, std::string message, const std::string& subject, std::string nextStep = {}) {
  throw lc::CatalogError{
      {.kind = kind, .message = std::move(message), .subject = subject, .nextStep = std::move(nextStep)}};
}

void requireFolder(const std::string& path) {
  if (!vesk::path::isDirectory(path)) fail(LCFailureKind::notFound, "no such folder", path);
}

template <typename T>
T valueOf(LCOutcome<T> outcome) {
  if (!outcome) throw lc::CatalogError{outcome.failure()};
  return *std::move(outcome);
}

class Migration {
 public:
  Migration(std::string databaseFile, const LCMigrationRequest& request, LCScanObserver& observer)
      : m_databaseFile(std::move(databaseFile)), m_request(request), m_observer(observer) {}

  LCMigrationReport run();

 private:
  void check() const;
  void copyOlderDatabase(const std::string& older);
  void open();
  void relocate();
  void moveRememberedFolders(const std::string& oldFolder, const std::string& newFolder) const;
  void importLegacyPackages();
  void importLegacyPackage(LCLegacyPackage& package);
  void scanPackage(LCLegacyPackage& package);
  void markFavorites();
  void localize();
  void conclude();
  sqlite3* connection() const { return m_engine->sqlite3Connection(); }
  // Commits unless it is a dry run.
  void finish(LCTransaction& transaction) const;

  const std::string m_databaseFile;
  const LCMigrationRequest& m_request;
  LCScanObserver& m_observer;
  std::shared_ptr<LCSearchEngine> m_engine;
  std::set<std::string> m_scannedPackages;  // identifier and folder
  LCMigrationReport m_report;
};

LCMigrationReport Migration::run() {
  check();
  if (m_request.olderDatabase) copyOlderDatabase(*m_request.olderDatabase);
  if (m_report.hasCopiedOlder && m_request.isDryRun) return m_report;  // there is nothing yet to look at
  open();
  relocate();
  importLegacyPackages();
  if (m_report.isInterrupted) return m_report;
  markFavorites();
  localize();
  conclude();
  return m_report;
}

void Migration::check() const {
  for (const LCRelocation& each : m_request.relocations) {
    if (each.oldFolder.empty()) fail(LCFailureKind::invalidRequest, "the old folder is missing", each.newFolder);
    requireFolder(each.newFolder);
  }
  for (const std::string& folder : m_request.legacyFolders) requireFolder(folder);
  if (m_request.locale && m_request.locale->empty()) fail(LCFailureKind::invalidRequest, "the locale is empty", "");
}

// --- An older database ---

void Migration::copyOlderDatabase(const std::string& older) {
  const LCConnection connection = lc::checkedConnection(older, LCOpenMode::readOnly);
  if (vesk::path::exists(m_databaseFile)) {
    fail(LCFailureKind::invalidRequest, "there is a loop database already; it is not overwritten", m_databaseFile,
         "Import the older one instead, or name a file that does not exist.");
  }
  m_report.hasCopiedOlder = true;
  if (m_request.isDryRun) return;
  const std::string folder = vesk::path::deletingLastComponent(m_databaseFile);
  std::string reason;
  if (!vesk::path::createDirectories(folder, &reason)) {
    fail(LCFailureKind::databaseUnopenable, fmt::format("the folder for the loop database cannot be made ({})", reason),
         m_databaseFile);
  }
  const int status = lc::copyDatabase(connection.get(), m_databaseFile);
  if (status != SQLITE_OK) throw lc::CatalogError{lc::databaseFailure(status, m_databaseFile)};
}

void Migration::open() {
  const auto access = m_request.isDryRun ? LCCatalogAccess::mark : LCCatalogAccess::create;
  lc::OpenedEngine opened = lc::openEngine(m_databaseFile, {.access = access});
  if (opened.damagedFileKeptAs) {
    m_observer.warned(fmt::format("the loop database {} was damaged and starts anew; the old file is kept as {}",
                                  m_databaseFile, *opened.damagedFileKeptAs),
                      "Scan your folders again.");
  }
  m_engine = std::move(opened.engine);
}

// --- A library that was moved ---

void Migration::relocate() {
  if (m_request.relocations.empty()) return;
  LCTransaction transaction(connection(), LCTransaction::Begin::immediately);
  if (!transaction.isOpen()) throw lc::CatalogError{lc::databaseFailure(lc::lastStatusOf(connection()))};
  for (const LCRelocation& each : m_request.relocations) {
    const std::string newFolder = vesk::path::resolvingSymlinks(each.newFolder);
    // Also as links above it were resolved when it was indexed.
    for (const auto& oldFolder : std::set{each.oldFolder, vesk::path::resolvingSymlinks(each.oldFolder)}) {
      if (oldFolder == newFolder) continue;
      const auto moved = lc::repairs::moveFolder(oldFolder, newFolder, connection());
      if (!moved) throw lc::CatalogError{lc::databaseFailure(lc::lastStatusOf(connection()))};
      m_report.relocated += std::ssize(*moved);
      for (const auto& path : *moved) {
        if (!vesk::path::exists(path)) m_report.missingAtNewPlace.push_back(path);
      }
    }
  }
  finish(transaction);
  if (m_request.isDryRun) return;
  for (const LCRelocation& each : m_request.relocations) moveRememberedFolders(each.oldFolder, each.newFolder);
}

void Migration::moveRememberedFolders(const std::string& oldFolder, const std::string& newFolder) const {
  LCLibraryFolders folders(m_databaseFile);
  for (const std::string& folder : folders.list()) {
    const bool isBelow = folder.starts_with(oldFolder + "/");
    if (folder != oldFolder && !isBelow) continue;
    const std::string moved = newFolder + folder.substr(oldFolder.size());
    if (!vesk::path::isDirectory(moved)) continue;  // it stays as it is until it is found
    valueOf(folders.remove(folder));
    valueOf(folders.add(moved));
  }
}

void Migration::finish(LCTransaction& transaction) const {
  if (m_request.isDryRun || transaction.commit()) return;
  throw lc::CatalogError{lc::databaseFailure(lc::lastStatusOf(connection()), m_databaseFile)};
}

// --- Packages of legacy index files ---

void Migration::importLegacyPackages() {
  for (const std::string& folder : m_request.legacyFolders) {
    for (const std::string& indexFile : lc::legacy::indexFilesIn(folder)) {
      if (!m_observer.shouldContinue()) m_report.isInterrupted = true;
      if (m_report.isInterrupted) return;
      LCLegacyPackage& package = m_report.packages.emplace_back(LCLegacyPackage{.indexFile = indexFile});
      try {
        importLegacyPackage(package);
      } catch (const LCLegacyIndexFileException& exception) {
        package.trouble = exception.reason();
      }
    }
  }
}

void Migration::importLegacyPackage(LCLegacyPackage& package) {
  const LCLegacyIndexFile file(vesk::URL::fileURLWithPath(package.indexFile, false));
  package.audioFolder = file.crateAudioPath();
  package.isLeftOut = lc::legacy::isLeftOut(package.audioFolder);
  if (package.isLeftOut) return;
  package.name = file.crateName();
  package.identifier = file.crateIdentifier();
  if (!vesk::path::isDirectory(package.audioFolder)) {
    package.trouble = fmt::format("there is no folder {}", package.audioFolder);
    return;
  }
  const bool isFirst = m_scannedPackages.insert(package.identifier + '\n' + package.audioFolder).second;
  if (isFirst && !m_request.isDryRun) scanPackage(package);
}

void Migration::scanPackage(LCLegacyPackage& package) {
  lc::writePackage(
      {.identifier = package.identifier, .name = package.name, .manufacturer = std::string(lc::legacy::kManufacturer)},
      m_databaseFile);
  const LCScanReport scanned = valueOf(
      LCLibraryScan::run(m_databaseFile, {.paths = {package.audioFolder}, .package = package.identifier}, m_observer));
  package.indexed = scanned.indexed;
  m_report.isInterrupted = scanned.isInterrupted;
}

// --- Favourites ---

void Migration::markFavorites() {
  if (m_request.favorites.empty()) return;
  const auto catalog = valueOf(LCCatalog::open(m_databaseFile, {.access = LCCatalogAccess::mark}));
  std::vector<LCLoopPlace> places;
  for (const std::string& path : m_request.favorites) {
    auto place = vesk::path::exists(path) ? std::optional(catalog->place(LCLoopReference::ofPath(path))) : std::nullopt;
    if (place && !*place && place->failure().kind != LCFailureKind::notFound) {
      throw lc::CatalogError{place->failure()};
    }
    if (place && *place) {
      places.push_back(**place);
    } else {
      m_report.unknownFavorites.push_back(path);
    }
  }
  for (const LCMarkedLoop& marked : valueOf(catalog->mark(places, {.isFavorite = true}, m_request.isDryRun))) {
    if (marked.isChanged) ++m_report.favorites;
  }
}

// --- Names in another language ---

void Migration::localize() {
  if (!m_request.locale || lc::repairs::localization(connection()) == m_request.locale) return;
  m_report.hasChangedLocale = true;
  if (m_request.isDryRun) return;
  if (lc::repairs::rewritesNames(*m_request.locale, connection())) {
    LCSQLiteUtilities::extendTable(kDefaultLoopsTablename, std::nullopt, kLoopsChineseTranscriptColumn, "TEXT",
                                   connection());
  }
  lc::repairs::localizeNames(connection(), *m_request.locale, {});
  if (lc::repairs::localization(connection()) == m_request.locale) return;
  fail(LCFailureKind::databaseRefused, "the names could not be changed; they are as they were", *m_request.locale);
}

// --- The end ---

// A database that a scan has filled since it has today's layout needs no migration any more.
void Migration::conclude() {
  const bool isOfToday =
      m_engine->indexFileSchemaVersion() >= kDefaultDatabaseSchemaVersion && m_engine->isIndexFileVersionValid();
  if (isOfToday && !m_request.isDryRun) {
    vesk::Environment::shared().setPreference(kLCCurrentDatabaseSchemaVersionStringKey,
                                              kCurrentDatabaseSchemaVersionString);
  }
  m_report.isUpToDate = LCMigrationUtilities(m_engine).migrationStatus() == kMigrationDone;
}

}  // namespace

LCOutcome<LCMigrationReport> LCMigration::run(const std::string& databaseFile, const LCMigrationRequest& request,
                                              LCScanObserver& observer) {
  return lc::outcomeOf([&] { return Migration(databaseFile, request, observer).run(); });
}
