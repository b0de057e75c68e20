#include "VeskLoopManagement/catalog/LCLoopResult.h"

#include "catalog/CatalogError.h"
#include "catalog/CatalogSession.h"

#include <algorithm>
#include <limits>

namespace {

// Does `work` with the session when the result is still that session's.
template <typename Work>
auto withCurrent(const std::weak_ptr<lc::CatalogSession>& weak, int64_t generation, Work work)
    -> LCOutcome<decltype(work(std::declval<lc::CatalogSession&>()))> {
  const auto session = weak.lock();
  if (!session) {
    return LCFailure{.kind = LCFailureKind::resultOutdated,
                     .message = "the catalog of this result is closed",
                     .nextStep = "Search again."};
  }
  return lc::outcomeOf([&] {
    session->requireCurrent(generation);
    return work(*session);
  });
}

void requireWindow(const LCPageRequest& request) {
  if (request.offset >= 0 && request.limit >= 0) return;
  throw lc::CatalogError{
      {.kind = LCFailureKind::invalidRequest, .message = "a page begins at row 0 or later and is not shorter than 0"}};
}

// The part of `count` rows that the request is about.
std::pair<size_t, size_t> windowOf(const LCPageRequest& request, size_t count) {
  const size_t begin = std::min(static_cast<size_t>(request.offset), count);
  const size_t length = request.limit == 0 ? count : static_cast<size_t>(request.limit);
  return {begin, begin + std::min(length, count - begin)};
}

// Hands on one row of the window after the other, loops or places, and answers how many.
template <typename Row>
int64_t handOn(lc::CatalogSession& session, int64_t generation, const LCPageRequest& request,
               const std::function<bool(const Row&)>& handler) {
  requireWindow(request);
  int64_t handed = 0;
  if (!session.hasResult()) return handed;
  const lc::CatalogSession::Reading reading(session);
  const std::function<bool(const Row&)> counting = [&](const Row& row) { return ++handed, handler(row); };
  session.rows().forEachResult(
      request.offset, request.limit, [&] { session.requireCurrent(generation); }, counting);
  return handed;
}

}  // namespace

bool LCLoopResult::isCurrent() const {
  const auto current = withCurrent(m_session, m_generation, [](lc::CatalogSession&) { return true; });
  return static_cast<bool>(current);
}

LCOutcome<int64_t> LCLoopResult::forEachLoop(const LCPageRequest& request, const LoopHandler& handler) const {
  return withCurrent(m_session, m_generation,
                     [&](lc::CatalogSession& session) { return handOn(session, m_generation, request, handler); });
}

LCOutcome<int64_t> LCLoopResult::forEachPlace(const LCPageRequest& request, const PlaceHandler& handler) const {
  return withCurrent(m_session, m_generation,
                     [&](lc::CatalogSession& session) { return handOn(session, m_generation, request, handler); });
}

LCOutcome<LCLoopPage> LCLoopResult::page(const LCPageRequest& request) const {
  LCLoopPage page{.total = m_count, .offset = request.offset};
  const auto handed = forEachLoop(request, [&](const LCCatalogLoop& loop) {
    page.loops.push_back(loop);
    return true;
  });
  if (!handed) return handed.failure();
  return page;
}

LCOutcome<int64_t> LCLoopResult::rowOfLoop(int64_t loopId) const {
  return withCurrent(m_session, m_generation, [&](lc::CatalogSession& session) {
    const int64_t row =
        m_count == 0 ? LCSearchEngine::kNotFound : session.engine().rowIndexInCurrentSearchResultForLoopId(loopId);
    if (row == LCSearchEngine::kNotFound) {
      throw lc::CatalogError{{.kind = LCFailureKind::notFound,
                              .message = "the loop is not in the result",
                              .subject = "id:" + std::to_string(loopId)}};
    }
    return row;
  });
}

LCOutcome<std::vector<LCFacet>> LCLoopResult::facets(LCFacetScope scope) const {
  return withCurrent(m_session, m_generation, [scope](lc::CatalogSession& session) { return session.facets(scope); });
}

LCOutcome<LCFoldedPage> LCLoopResult::families(const LCPageRequest& request) const {
  return withCurrent(m_session, m_generation, [&](lc::CatalogSession& session) {
    requireWindow(request);
    const auto& folds = session.folds();
    LCFoldedPage page{.total = std::ssize(folds), .offset = request.offset};
    const auto [begin, end] = windowOf(request, folds.size());
    for (size_t index = begin; index < end; ++index) {
      const auto& fold = folds[index];
      const LoopHandler addRow = [&](const LCCatalogLoop& loop) {
        page.rows.push_back({loop, fold.firstRow, fold.memberCount});
        return true;
      };
      session.rows().forEachResult(
          fold.firstRow, 1, [&] { session.requireCurrent(m_generation); }, addRow);
    }
    return page;
  });
}
