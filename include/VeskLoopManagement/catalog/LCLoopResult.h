// LCLoopResult is the held result of a search: how many loops, any page of them, what would narrow it. It lives in the
// catalog that made it, on that catalog's thread, and ends with the catalog's next search, or when the database
// changes; every question then answers `resultOutdated`. A cheap handle: copies mean the same result. It may outlive
// its catalog, and is outdated then.
#pragma once

#include "VeskLoopManagement/catalog/LCCatalogLoop.h"
#include "VeskLoopManagement/catalog/LCFailure.h"
#include "VeskLoopManagement/LCExport.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace lc {
class CatalogSession;
}

// A part of a result. `limit` 0 means all that follows. Rows count from 0 in the order of the result.
struct LCPageRequest {
  int64_t offset = 0;
  int64_t limit = 0;
};

struct LCLoopPage {
  int64_t total = 0;  // rows of the whole result
  int64_t offset = 0;
  std::vector<LCCatalogLoop> loops;
};

// A family of the result in one row: its first loop, and how many of the result's loops belong to it.
struct LCFoldedLoop {
  LCCatalogLoop loop;
  int64_t row = 0;  // of the loop in the unfolded result
  int64_t memberCount = 1;
};

struct LCFoldedPage {
  int64_t total = 0;  // families
  int64_t offset = 0;
  std::vector<LCFoldedLoop> rows;
};

enum class LCFacetScope {
  narrowing,  // that some loop of the result lacks: not those that the search asked for
  all,
};

class LC_EXPORT LCLoopResult {
 public:
  int64_t count() const { return m_count; }
  bool isCurrent() const;

  LCOutcome<LCLoopPage> page(const LCPageRequest& request) const;
  // One loop after the other, without holding them all; false from the handler ends it. Answers how many were handed
  // on. From within the handler the catalog may be asked for loops and told to mark them; a search, and what changes
  // loops or packages, is an `invalidRequest` there.
  using LoopHandler = std::function<bool(const LCCatalogLoop&)>;
  using PlaceHandler = std::function<bool(const LCLoopPlace&)>;
  LCOutcome<int64_t> forEachLoop(const LCPageRequest& request, const LoopHandler& handler) const;
  LCOutcome<int64_t> forEachPlace(const LCPageRequest& request, const PlaceHandler& handler) const;
  LCOutcome<int64_t> rowOfLoop(int64_t loopId) const;  // `notFound` when the loop is not in the result

  // Keywords of the result's loops, by kind, the most frequent first, then by name.
  LCOutcome<std::vector<LCFacet>> facets(LCFacetScope scope = LCFacetScope::narrowing) const;
  // The same result with each family in one row, in the order of the families' first loops.
  LCOutcome<LCFoldedPage> families(const LCPageRequest& request) const;

 private:
  friend class LCCatalog;
  LCLoopResult(std::weak_ptr<lc::CatalogSession> session, int64_t generation, int64_t count)
      : m_session(std::move(session)), m_generation(generation), m_count(count) {}

  std::weak_ptr<lc::CatalogSession> m_session;
  int64_t m_generation = 0;
  int64_t m_count = 0;
};
