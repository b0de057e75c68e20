// Brings the loop database up to date with files whose tags were changed, in batches, so that a long run that is killed
// leaves it little behind: those of the files that are in the database are indexed again, and what the user has put to
// their loops goes over to the new identities. Files that are not in the database are not put in. Throws CatalogErrors.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "VeskLoopManagement/catalog/LCFailure.h"
#include "VeskLoopManagement/catalog/LCTagEdit.h"

namespace lc {

class RetaggedLoops {
 public:
  // Without a database, there is nothing to do; so, too, when it is missing, which is noted. Throws when it is there
  // and cannot be used. Borrows the observer.
  RetaggedLoops(std::optional<std::string> databaseFile, LCTagObserver& observer);

  // `path` with links resolved. Never throws: a database that refuses is tried again later.
  void add(const std::string& path);
  void finish();

 private:
  void bringUpToDate();
  std::vector<std::string> indexedPaths() const;

  std::optional<std::string> m_databaseFile;
  LCTagObserver& m_observer;
  std::vector<std::string> m_paths;  // since the last batch that was written
  size_t m_batchEnd;
};

}  // namespace lc
