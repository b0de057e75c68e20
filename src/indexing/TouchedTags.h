// TouchedTags notes which tags come and go on an indexer's connection, so that the end of a small run need not make the
// tables of every keyword anew: the same rows as finishIndexingInBlock() leaves, in time that grows with the tags
// touched and not with the database. It relies on those tables being true when watching begins. Borrows the indexer;
// on its thread. What it notes lies in the connection's temporary schema, and is undone with the transactions that
// are.
#pragma once

#include "VeskLoopManagement/indexing/LCFileIndexing.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace lc {

class TouchedTags {
 public:
  explicit TouchedTags(LCFileIndexing& indexer) : m_indexer(indexer) {}
  ~TouchedTags() { stop(); }
  TouchedTags(const TouchedTags&) = delete;
  TouchedTags& operator=(const TouchedTags&) = delete;

  void watch();  // the number of the tags that there are decides how many may be touched
  bool isWatching() const { return m_isWatching; }
  void stopWhenMany();  // from where making all tables anew is quicker
  void stop();
  // Within the caller's transaction: group keywords, the tables of the keywords that were touched, and the
  // distribution. False when that is not enough or failed; the caller then undoes it and does all of the work.
  [[nodiscard]] bool finish();

 private:
  using Counts = std::map<int64_t, int64_t>;  // of loops, by keyword

  bool runs(const std::string& sql);
  std::vector<int64_t> numbers(const std::string& sql);
  bool addGroupKeywords();
  bool makeTablesOfNewKeywords();
  bool bringTablesUpToDate(Counts& counts);
  bool writeDistribution(const Counts& counts);
  Counts distribution();

  LCFileIndexing& m_indexer;
  bool m_isWatching = false;
  int64_t m_most = 0;
};

}  // namespace lc
