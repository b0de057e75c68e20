// LCMigration brings what an earlier time knew into a loop database of today: an older database, packages listed in
// legacy index files, favourites, the new place of a library that was moved, display names of another language. Each
// part stands by itself: what is asked for is done in the order of the request's fields, and a part that fails ends the
// run with those before it done. Marks stay with their loops. On the caller's thread; nothing is printed, asked or
// thrown.
#pragma once

#include "VeskLoopManagement/catalog/LCFailure.h"
#include "VeskLoopManagement/catalog/LCLibraryScan.h"
#include "VeskLoopManagement/LCExport.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// A folder that is somewhere else now, with everything below it. Absolute paths; the old one need not exist.
struct LCRelocation {
  std::string oldFolder = {};
  std::string newFolder = {};
};

struct LCMigrationRequest {
  // Copied to where the loop database should be, which must not exist yet; stays as it is. Absolute.
  std::optional<std::string> olderDatabase = {};
  std::vector<LCRelocation> relocations = {};
  // Folders with legacy index files. Each of these makes a package and its folder is scanned, except for factory
  // content.
  std::vector<std::string> legacyFolders = {};
  std::vector<std::string> favorites = {};  // absolute paths of loop files; other marks of theirs stay
  // Of the names that loops are shown by, as "zh_Hans_CN". Names change only into Chinese or out of it, and then lose
  // their extensions.
  std::optional<std::string> locale = {};
  bool isDryRun = false;  // tells what would be done; packages are not scanned
};

// A legacy index file and what became of it.
struct LCLegacyPackage {
  std::string indexFile;
  std::string audioFolder = {};
  std::string name = {};
  std::string identifier = {};
  bool isLeftOut = false;                   // factory content, or it names no folder
  std::optional<std::string> trouble = {};  // a sentence: why it could not be taken over
  int64_t indexed = 0;                      // files
};

struct LCMigrationReport {
  bool hasCopiedOlder = false;
  int64_t relocated = 0;                            // loops
  std::vector<std::string> missingAtNewPlace = {};  // paths of relocated loops where there is no file
  std::vector<LCLegacyPackage> packages = {};
  int64_t favorites = 0;                           // loops that are favourites now and were not before
  std::vector<std::string> unknownFavorites = {};  // paths without a file or a loop
  bool hasChangedLocale = false;
  // Whether the database is of today's layout and was filled since; else its folders should be scanned again.
  bool isUpToDate = false;
  bool isInterrupted = false;  // the observer ended it; what was finished stays
};

struct LC_EXPORT LCMigration {
  // `observer` hears of the scans of packages, and may end the run between two files of them.
  static LCOutcome<LCMigrationReport> run(const std::string& databaseFile, const LCMigrationRequest& request,
                                          LCScanObserver& observer);
};
