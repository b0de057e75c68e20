// LCLibraryFolders is the list of folders that a loop database was filled from: LCLibraryScan remembers those it is
// given and scans them again, and words of a search match of a path only what lies below them. The list is a small file
// of its own in the state folder, one for each loop database; loops are not touched by what happens to it. Several
// programs may change one list at the same time. No folder of the list lies below another one.
#pragma once

#include "VeskLoopManagement/catalog/LCFailure.h"
#include "VeskLoopManagement/LCExport.h"

#include <string>
#include <string_view>
#include <vector>

class LC_EXPORT LCLibraryFolders {
 public:
  explicit LCLibraryFolders(const std::string& databaseFile);

  // Absolute paths with links resolved, sorted; empty when there is no list or it cannot be read.
  std::vector<std::string> list() const;
  // False when the folder, or one above it, was there already. Takes the place of folders below it. `path` is absolute;
  // what is no folder is `notFound`.
  LCOutcome<bool> add(std::string_view path);
  // `notFound`, with near names, when the list has no such folder. It need not exist any more.
  LCOutcome<bool> remove(std::string_view path);

 private:
  std::string m_file;
};
