#include "VeskLoopManagement/migration/LCMigrationUtilities.h"

#include "migration/LegacyPackages.h"
#include "platform/Path.h"
#include "VeskLoopManagement/database/LCCrateManager.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/indexing/LCFileIndexing.h"
#include "VeskLoopManagement/platform/Environment.h"
#include "VeskLoopManagement/platform/Notifications.h"

#include <utility>

namespace {

constexpr int64_t kLastOutdatedSchemaVersion = 100929;

bool isUpToDate(const LCSearchEngine& engine) {
  if (engine.indexingAppIdentifer() == kFactoryIndexToolIdentifier) return true;
  return LCMigrationUtilities::currentDatabaseSchemaVersionString() == kCurrentDatabaseSchemaVersionString &&
         engine.indexFileSchemaVersion() > kLastOutdatedSchemaVersion && engine.isIndexFileVersionValid();
}

int64_t statusFor(const LCSearchEngine* engine) {
  if (!engine) return kMigrationNeeded;
  if (engine->databaseWasCorruptAndNeedsReindexing()) return kMigrationDatabaseWasDamaged;
  return isUpToDate(*engine) ? kMigrationDone : kMigrationNeeded;
}

// Null where the database cannot be opened: then nothing is imported.
struct Importer {
  explicit Importer(const LCDatabaseConfiguration& configuration)
      : packages(LCCrateManager::initWithDatabaseConfiguration(configuration)),
        indexer(LCFileIndexing::initWithDatabaseConfiguration(configuration)) {
    if (packages) packages->createCrateForSingleFiles();
  }

  void importPackage(const LCLegacyIndexFile& file) {
    if (!packages || !indexer || lc::legacy::isLeftOut(file.crateAudioPath())) return;
    if (!packages->createCrateWithIdentifier(file.crateIdentifier(), file.crateName(), lc::legacy::kManufacturer,
                                             false)) {
      return;
    }
    const vesk::URL folder = vesk::URL::fileURLWithPath(file.crateAudioPath());
    uint32_t numberOfIndexedFiles = 0;
    indexer->addFilenames({&folder, 1}, file.crateIdentifier(), &numberOfIndexedFiles);
  }

  std::unique_ptr<LCCrateManager> packages;
  std::unique_ptr<LCFileIndexing> indexer;
};

}  // namespace

LCMigrationUtilities::LCMigrationUtilities(std::shared_ptr<LCSearchEngine> searchEngine)
    : m_searchEngine(std::move(searchEngine)), m_migrationStatus(statusFor(m_searchEngine.get())) {}

std::shared_ptr<LCSearchEngine> LCMigrationUtilities::searchEngine() const {
  const std::lock_guard lock(m_mutex);
  return m_searchEngine;
}

void LCMigrationUtilities::setSearchEngine(std::shared_ptr<LCSearchEngine> searchEngine) {
  const std::lock_guard lock(m_mutex);
  m_searchEngine.swap(searchEngine);  // the former one goes behind the lock
}

std::optional<std::string> LCMigrationUtilities::currentDatabaseSchemaVersionString() {
  return vesk::Environment::shared().preference(kLCCurrentDatabaseSchemaVersionStringKey);
}

void LCMigrationUtilities::searchAndParseLegacyIndexFiles(std::span<const std::string> folders) {
  m_migrationStatus = kMigrationRunning;
  Importer importer(LCDatabaseConfiguration::defaultDatabaseConfiguration());
  for (const std::string& folder : folders) {
    for (const std::string& path : lc::legacy::indexFilesIn(folder)) {
      try {
        importer.importPackage(LCLegacyIndexFile::indexFileWithContentsOfURL(vesk::URL::fileURLWithPath(path, false)));
      } catch (const LCLegacyIndexFileException& exception) {
        vesk::log(exception.reason());
      } catch (...) {
        m_migrationStatus = kMigrationFailed;
        throw LCNamedException(std::string(kUnspecifiedException), "");
      }
    }
  }
  vesk::NotificationCenter::shared().post(kLCIndexingFinished);
  m_migrationStatus = kMigrationDone;
}

void LCMigrationUtilities::importFavorites(std::span<const std::string> paths) {
  const std::shared_ptr<LCSearchEngine> engine = searchEngine();
  if (!engine) return;
  for (const std::string& path : paths) {
    if (!vesk::path::exists(path)) continue;
    static_cast<void>(engine->setIsFavorite(true, vesk::URL::fileURLWithPath(path).absoluteString()));
  }
}

void LCMigrationUtilities::finalizeMigration() {
  if (m_migrationStatus != kMigrationDone) return;
  vesk::Environment::shared().setPreference(kLCCurrentDatabaseSchemaVersionStringKey,
                                            kCurrentDatabaseSchemaVersionString);
}

void LCMigrationUtilities::reset() {
  vesk::Environment::shared().setPreference(kLCCurrentDatabaseSchemaVersionStringKey, std::nullopt);
  m_migrationStatus = kMigrationNeeded;
}

void LCMigrationUtilities::_indexLoopFilesInBackground(const LCBackgroundIndexing& files) {
  if (files.fileURLs.empty()) return;
  const auto indexer =
      LCFileIndexing::initWithDatabaseConfiguration(LCDatabaseConfiguration::defaultDatabaseConfiguration());
  if (indexer) indexer->addFilenames(files.fileURLs, files.crateIdentifier);
}
