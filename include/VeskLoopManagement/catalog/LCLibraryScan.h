// LCLibraryScan puts the loops of files and folders into a loop database: walks, reads each file that is new or has
// changed, tagged or not, writes in batches, and carries the user's marks, packages and loudness to the new identity of
// a loop whose file was tagged anew, renamed or moved. A host watches it through an observer and gets counts at the
// end; nothing is printed, asked or thrown. A scan runs on the caller's thread from beginning to end; between two files
// it can be ended, and what is finished stays. Memory does not grow with the number of files.
#pragma once

#include "VeskLoopManagement/catalog/LCFailure.h"
#include "VeskLoopManagement/LCExport.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

struct LCScanRequest {
  // Absolute; files and folders. Links are resolved: a file is stored under the one place where it is. A path that does
  // not exist fails like a file. The folders are remembered, those of `nextPath`, too: see LCLibraryFolders. Instead of
  // them `copyTo` is when it is given.
  std::vector<std::string> paths = {};
  bool scansRememberedFolders = false;  // behind `paths`; `invalidRequest` when there are none and `paths` is empty
  // Handed out after `paths`, while they become known; nullopt ends the list. None: `paths` is all.
  std::function<std::optional<std::string>()> nextPath = {};
  std::vector<std::string> excludedPatterns = {};  // of names, or of paths below `paths` where they have a "/"
  std::optional<std::string> package = {};         // identifier or name; a new name makes one of the user's
  std::optional<std::string> copyTo = {};          // absolute folder: loops are copied there, and the copies indexed
  bool movesInsteadOfCopying = false;
  bool prunes = false;          // takes out the loops below the folders in `paths` whose files are gone
  bool readsEveryFile = false;  // also those that have not changed since they were indexed into this database
  bool readsPathKeywords = true;
  bool onlyTagged = false;  // leaves files without tags out: those in which neither the file nor its path tells any
  bool withHidden = false;  // takes files and folders whose names begin with a dot, too
  bool isDryRun = false;    // tells what would be done and changes nothing
  int64_t batchSize = 500;  // loops between two commits
};

enum class LCScanPhase { counting, indexing, finishing };

// Why a file is not in the database.
enum class LCFileProblem {
  unsupported,  // no kind of file that is read here
  notFound,
  unreadable,         // the system does not let us read it, or it is no file
  malformed,          // its contents are not what its name says
  destinationExists,  // another file is where it should be copied to
  copyFailed,
  databaseRefused,
};

namespace lc {
LC_EXPORT std::string fileProblemName(LCFileProblem problem);  // as programs spell it: "unreadable", …
}

struct LCFileFailure {
  std::string path;
  LCFileProblem problem = LCFileProblem::unreadable;
  std::string detail = {};  // for people, without the path; may be empty
};

// Answers to what happens; what a host does not care for it leaves alone. Called on the scan's thread.
class LC_EXPORT LCScanObserver {
 public:
  virtual ~LCScanObserver() = default;
  virtual bool wantsTotals() { return false; }  // whether files are counted first, in a walk of their own
  virtual void phaseBegan(LCScanPhase phase, std::optional<int64_t> total) { (void)phase, (void)total; }
  virtual void phaseEnded(LCScanPhase phase) { (void)phase; }
  virtual void advanced(int64_t done, const std::string& path) { (void)done, (void)path; }  // files of this phase
  virtual void fileFailed(const LCFileFailure& failure) { (void)failure; }
  // Something worth knowing that is no failure, a sentence: a file without tags, a loop that lives on under a new name.
  virtual void noted(const std::string& text) { (void)text; }
  virtual void warned(const std::string& text, const std::string& nextStep) { (void)text, (void)nextStep; }
  virtual bool shouldContinue() { return true; }  // asked before every file, and between batches
};

// Files that share one identity, and so one row: the database keeps the last one of each.
struct LCIdentityGroups {
  std::map<int64_t, std::set<std::string>> pathsOfLoop;
  bool isComplete = true;  // false when there were more than anyone would look at
};

struct LCScanReport {
  int64_t walked = 0;     // files met, and entries that cannot be walked
  int64_t indexed = 0;    // files whose loops were committed
  int64_t loops = 0;      // which they are: fewer where files share an identity
  int64_t unchanged = 0;  // files that are in as they are, and were not read, and rows that are never replaced
  int64_t removed = 0;    // by pruning
  int64_t carried = 0;    // loops that kept their marks under a new identity
  int64_t untagged = 0;   // files without tags; left out when only tagged ones are taken, else among the others
  int64_t unsupported = 0;
  int64_t failed = 0;
  LCIdentityGroups sameIdentity;
  double seconds = 0;
  bool isInterrupted = false;  // by the observer
};

class LC_EXPORT LCLibraryScan {
 public:
  // The database is made when missing; a damaged one is put aside first. A failure means that nothing was begun, or
  // that the database refused to go on: batches committed before it stay.
  static LCOutcome<LCScanReport> run(const std::string& databaseFile, const LCScanRequest& request,
                                     LCScanObserver& observer);
};
