// Finds out, while files are indexed, which loops of the database live on under a new identity: files that were tagged
// anew, renamed where they lie, or moved. Their marks, packages and loudness are carried over when all files were seen,
// because two files may have changed names, and a loop whose name was taken over may still turn up under another one.
// Memory grows with the loops to carry only, and not without end. Throws CatalogErrors when the loop database refuses.
#pragma once

#include "catalog/FileStates.h"
#include "catalog/IndexingRun.h"
#include "catalog/LoopRows.h"
#include "VeskLoopManagement/platform/URL.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace lc {

// A file whose loop was just written.
struct WrittenLoop {
  vesk::URL url;  // of the row
  int64_t loopId = 0;
  std::optional<FileState> state;      // from before the file was read
  std::optional<vesk::URL> movedFrom;  // where nothing is left
};

class CarriedLoops {
 public:
  // `run` is null in a dry run. All are borrowed. `told` is handed a sentence about each loop that is carried.
  using Teller = std::function<void(const std::string&)>;
  CarriedLoops(LoopRows& rows, FileStates& states, IndexingRun* run, Teller told)
      : m_rows(rows), m_states(states), m_run(run), m_told(std::move(told)), m_markedIds(rows.markedIds()) {}

  // Whether nothing is left to be carried for it, so that its file is remembered already.
  bool note(const WrittenLoop& written);
  // A file of which all was noted when it was written.
  void noteUnchanged(const vesk::URL& url, const FileState& state, int64_t loopId);
  // Carries what was found, in transactions of its own.
  void carryAll();
  bool hasMany() const;                      // time to carry before all files were seen
  int64_t count() const { return m_count; }  // carried so far
  // After these loops were taken out. Marked ones stay remembered: their files may turn up under another name.
  static void forgetRemoved(FileStates& states, LoopRows& rows, std::span<const LCLoopPlace> places);
  // In a dry run: whether this row, which is still there, would have gone.
  bool wouldBeGone(int64_t loopId) const { return m_successors.contains(loopId); }

 private:
  enum class Evidence { sameName, sameFile };  // the second is stronger
  struct Successor {
    int64_t loopId = 0;
    std::string formerURL;
    Evidence evidence = Evidence::sameName;
  };

  bool noteSameName(const vesk::URL& url, int64_t loopId, Evidence evidence);
  bool noteRemoved(const IndexedFile& former, int64_t loopId);
  bool noteSameFile(const IndexedFile& former, int64_t loopId);
  bool isOnlyMarked(int64_t loopId);
  bool isFirstNameOfFile(const FileState& state);
  void remember(const IndexedFile& file);
  void rememberIfMarked(const IndexedFile& file);
  void add(int64_t loopId, const Successor& successor);
  void carryWith(Evidence evidence, std::vector<LCLoopPlace>& gone);

  LoopRows& m_rows;
  FileStates& m_states;
  IndexingRun* m_run;
  Teller m_told;
  std::map<int64_t, Successor> m_successors;          // by the id that goes
  std::vector<IndexedFile> m_toRemember;              // once their loops are carried: until then they count as new
  std::set<std::pair<int64_t, int64_t>> m_seenFiles;  // devices and inodes lately met, each perhaps by many names
  std::vector<int64_t> m_markedIds;                   // in order; those that were marked when it was made
  int64_t m_count = 0;
};

}  // namespace lc
