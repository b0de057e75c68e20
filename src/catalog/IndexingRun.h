// One host's run of writes into a loop database, from its first transaction to the end-of-run work. It leaves a note in
// the database while that work is outstanding, so that the next run does the work of one that was killed, and the name
// of the last scan, by which what is remembered of files knows their database. The end of a small run looks only at the
// keywords whose tags were touched; of one that wrote nothing there is none. Borrows the indexer; on its thread. Throws
// CatalogErrors.
#pragma once

#include "indexing/TouchedTags.h"
#include "VeskLoopManagement/indexing/LCFileIndexing.h"

#include <optional>
#include <string>

namespace lc {

class IndexingRun {
 public:
  enum class Kind { scan, removal };
  IndexingRun(LCFileIndexing& indexer, Kind kind);

  LCFileIndexing& indexer() { return m_indexer; }
  const std::string& name() const { return m_name; }  // that no other run has
  // First in each of the run's transactions.
  void claim();
  bool isLastScan() const { return m_hasClaimed && m_kind == Kind::scan; }  // by what it has claimed
  void expectWork() { m_expectsWork = true; }                               // something was written in another way
  // Whether anything was written, or others have left work.
  bool hasWork() const { return m_hasClaimed || m_worksOnAll || m_expectsWork; }
  // The end-of-run work, in transactions of its own.
  void finish();

 private:
  template <typename Work>
  bool finishWith(Work work);
  bool finishTouched();
  bool writeNote();
  bool clearNote();

  LCFileIndexing& m_indexer;
  Kind m_kind;
  std::string m_name;
  TouchedTags m_touched;
  bool m_hasClaimed = false;
  bool m_expectsWork = false;
  bool m_worksOnAll = false;  // the tables of the keywords are not known to be true
};

}  // namespace lc
