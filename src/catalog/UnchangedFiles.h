// Tells a scan which files need not be opened: those that stand where they were read into this loop database, are in
// the same state, and whose row is there. What is remembered for that lies in the cache and is not believed when the
// database is another one than that of the last scan. Borrows what it is made of; one thread. Throws CatalogErrors when
// the loop database cannot be read.
#pragma once

#include "catalog/FileStates.h"
#include "catalog/FolderStates.h"
#include "catalog/FolderWalk.h"
#include "catalog/LoopRows.h"
#include "VeskLoopManagement/platform/URL.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace lc {

class UnchangedFiles {
 public:
  struct Rules {
    std::string formerScan;  // of the loop database: see IndexingRun
    bool readsEveryFile = false;
    bool readsPathWords = true;
    bool onlyTagged = false;
    std::optional<std::string> package = {};  // that the loops must be in
    // Where nobody writes without changing the file's state; rows that were seen in one state need no second look.
    std::optional<std::string> databaseFile = {};
  };
  UnchangedFiles(FileStates& states, LoopRows& rows, Rules rules);

  // What need not be read of a file; nullopt when it must be.
  struct Known {
    int64_t loopId = 0;
    bool isTagged = false;
    std::optional<LCLoopPlace> otherPlace = {};  // of the row, when it is that of another file of the same identity
  };
  std::optional<Known> find(const WalkedFile& file, const vesk::URL& url);

  // The file is about to be read: it is not known until one of the next two has told what it is.
  void beginReading(const WalkedFile& file);
  // `isSettled`: nothing is left to be done for it; else it is remembered by settle().
  void rememberWritten(const WalkedFile& file, int64_t loopId, bool isTagged, bool isSettled);
  void rememberLeftOut(const WalkedFile& file);
  void settle();
  void databaseChanges() { m_databaseState = 0; }  // by the scan itself
  void filesEnded(const std::string& folder, const std::vector<std::string>& names);
  void leaveFolder() { m_folders.leave(); }  // before what is remembered is committed for good

 private:
  void remember(const WalkedFile& file, const ReadFile& read, bool isSettled);
  bool isOf(const ReadFile& known, const FileStatus& status) const;
  bool isUnchanged(const LCLoopPlace& place);
  int64_t databaseState() const;

  FolderStates m_folders;
  LoopRows& m_rows;
  Rules m_rules;
  int64_t m_databaseState = 0;                                // since the scan began; 0 when it is not known
  bool m_isTooFresh = false;                                  // the file that is read
  std::vector<std::pair<std::string, ReadFile>> m_unsettled;  // by path
};

}  // namespace lc
