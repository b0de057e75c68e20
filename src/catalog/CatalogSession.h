// What a catalog and the results that it hands out share: the engine on the one open connection, and which search its
// result table is of. Questions throw CatalogErrors. One thread.
#pragma once

#include "catalog/LoopRows.h"
#include "VeskLoopManagement/catalog/LCCatalog.h"
#include "VeskLoopManagement/database/LCStatement.h"
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace lc {

class CatalogSession {
 public:
  CatalogSession(const std::string& databaseFile, const LCCatalogOptions& options);

  const std::string& databaseFile() const { return m_databaseFile; }
  const std::optional<std::string>& damagedFileKeptAs() const { return m_damagedFileKeptAs; }
  LCSearchEngine& engine() { return *m_engine; }
  LoopRows& rows() { return m_rows; }

  struct Found {
    int64_t generation = 0;
    int64_t count = 0;
  };
  Found search(const LCLoopQuery& query);

  // All or none; only the fields given in `change` change.
  std::vector<LCMarkedLoop> mark(std::span<const LCLoopPlace> places, const LCMarkChange& change, bool dryRun);

  // --- The result of the last search ---
  bool isCurrent(int64_t generation);
  void requireCurrent(int64_t generation);
  bool hasResult() const { return m_hasResult; }  // the engine's result table is that of the last search
  const std::vector<LCFoldedFamily>& folds();     // made at the first question
  std::vector<LCFacet> facets(LCFacetScope scope);

  // Lives while rows of the result are handed on, one by one, to somebody who may turn to the catalog meanwhile.
  class Reading {
   public:
    explicit Reading(CatalogSession& session) : m_count(session.m_readingCount) { ++m_count; }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;
    ~Reading() { --m_count; }

   private:
    int& m_count;
  };
  // For what would wait for the end of the reading, and so for ever.
  void requireNoReading() const;

 private:
  int64_t dataVersion();
  LCMarkedLoop markOne(const LCLoopPlace& place, const LCMarkChange& change, bool dryRun);
  void rememberFiles(std::span<const LCMarkedLoop> marked) const;

  std::string m_databaseFile;
  std::optional<std::string> m_damagedFileKeptAs;
  std::unique_ptr<LCSearchEngine> m_engine;
  LoopRows m_rows;
  LCStatement m_selectDataVersion;
  int64_t m_generation = 0;   // counts searches
  int64_t m_dataVersion = 0;  // when the last search was made
  bool m_hasResult = false;   // else nothing was found, and the table is an older one
  int m_readingCount = 0;
  std::optional<std::vector<LCFoldedFamily>> m_folds;
};

// Genres, moods, instruments, others; in each the most frequent first, then by name.
void sortForReading(std::vector<LCFacet>& facets);

}  // namespace lc
