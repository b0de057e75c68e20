// Under which conditions the catalog opens a loop database. Everything that stands in the way is looked at first, on
// the connection that is then used, because the classes below answer a bare null, and rebuild, deleting, what they find
// damaged. Failures are thrown as CatalogError. One thread.
#pragma once

#include "VeskLoopManagement/catalog/LCCatalog.h"
#include "VeskLoopManagement/database/LCConnection.h"
#include "VeskLoopManagement/indexing/LCFileIndexing.h"
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include <memory>
#include <optional>
#include <string>

namespace lc {

struct OpenedEngine {
  std::unique_ptr<LCSearchEngine> engine;        // never null
  std::optional<std::string> damagedFileKeptAs;  // where a damaged database was put
};
OpenedEngine openEngine(const std::string& databaseFile, const LCCatalogOptions& options);

struct OpenedIndexer {
  std::unique_ptr<LCFileIndexing> indexer;  // never null
  std::optional<std::string> damagedFileKeptAs;
};
// On the database, which is made when missing, and made anew when damaged, after the damaged file was put aside.
OpenedIndexer openOrCreateIndexer(const std::string& databaseFile);
// On the existing database, which must be sound.
std::unique_ptr<LCFileIndexing> openIndexer(const std::string& databaseFile);

// To the existing database, which is ours, sound by the quick check, not of a later version, and has loops. Nothing of
// it is upgraded.
LCConnection checkedConnection(const std::string& databaseFile, LCOpenMode mode);

}  // namespace lc
