// LCMigrationUtilities decides, when a host starts, whether its loop database must be indexed again, and brings over
// what an earlier generation of the host knew: packages of add-on loops, listed in legacy index files, and favourites.
// The decision follows the engine's database and a version that the user's preferences remember. One thread at a time
// works with it, usually in the background; engine and status may be asked for from any thread. Failures are skipped,
// but for one: see searchAndParseLegacyIndexFiles.
#pragma once

#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/migration/LCLegacyIndexFile.h"
#include "VeskLoopManagement/platform/URL.h"
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

inline constexpr int64_t kMigrationDatabaseWasDamaged = -1;  // and must be indexed again
inline constexpr int64_t kMigrationNeeded = 0;
inline constexpr int64_t kMigrationRunning = 1;  // legacy packages are imported
inline constexpr int64_t kMigrationFailed = 2;
inline constexpr int64_t kMigrationDone = 3;

// Files to be added to a package in the background.
struct LCBackgroundIndexing {
  std::vector<vesk::URL> fileURLs = {};
  std::string crateIdentifier = {};
};

class LC_EXPORT LCMigrationUtilities {
 public:
  static constexpr std::string_view kUnspecifiedException = "Unspecified";

  LCMigrationUtilities() = default;  // migration is needed; no engine
  explicit LCMigrationUtilities(std::shared_ptr<LCSearchEngine> searchEngine);

  std::shared_ptr<LCSearchEngine> searchEngine() const;  // shared with the caller; may be null
  void setSearchEngine(std::shared_ptr<LCSearchEngine> searchEngine);
  int64_t migrationStatus() const { return m_migrationStatus; }

  // The version that was remembered when the last migration was finished.
  static std::optional<std::string> currentDatabaseSchemaVersionString();

  // Makes a package of every legacy index file in the folders ("~" is the home folder), unless its audio files are
  // factory content, and indexes its audio folder into the default database; then posts kLCIndexingFinished and is
  // done. Folders and index files that cannot be read are skipped, the latter with a line in the log. Any other
  // exception (of the host's environment or observers) ends the import as failed, without notification, and comes out
  // as an LCNamedException "Unspecified".
  void searchAndParseLegacyIndexFiles(std::span<const std::string> folders);
  // Makes favourites of the loops at these paths; a rating or comment of theirs goes. Missing files are skipped.
  void importFavorites(std::span<const std::string> paths);
  void finalizeMigration();  // when done, remembers the version
  void reset();              // forgets the version; migration is needed

  // By its own indexer on the default database.
  void _indexLoopFilesInBackground(const LCBackgroundIndexing& files);

 private:
  mutable std::mutex m_mutex;  // guards m_searchEngine
  std::shared_ptr<LCSearchEngine> m_searchEngine;
  std::atomic<int64_t> m_migrationStatus = kMigrationNeeded;
};
