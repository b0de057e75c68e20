#include "catalog/LoopRemoval.h"

#include "catalog/CarriedLoops.h"
#include "catalog/CatalogError.h"
#include "catalog/DatabaseOpening.h"
#include "catalog/FileStates.h"
#include "catalog/LoopRows.h"
#include "catalog/Packages.h"
#include "database/LCTransaction.h"

#include <algorithm>
#include <vector>

namespace {

constexpr size_t kBatchSize = 500;

// Commits when everything was written; otherwise nothing is.
template <typename Write>
void writeWhole(lc::IndexingRun& run, const char* failure, Write write) {
  sqlite3* connection = run.indexer().sqlite3Connection();
  LCTransaction transaction(connection, LCTransaction::Begin::immediately);
  if (!transaction.isOpen()) throw lc::CatalogError{lc::databaseFailure(lc::lastStatusOf(connection))};
  run.claim();
  if (write() && transaction.commit()) return;
  throw lc::CatalogError{{.kind = LCFailureKind::databaseRefused, .message = failure}};
}

}  // namespace

void lc::removeBatch(IndexingRun& run, std::span<const LCLoopPlace> places) {
  std::vector<int64_t> ids;
  for (const auto& place : places) ids.push_back(place.id);
  writeWhole(run, "loops could not be taken out", [&] { return run.indexer().removeLoopsWithIds(ids); });
}

void lc::carryBatch(IndexingRun& run, std::span<const LCLoopCarry> carries) {
  writeWhole(run, "marks could not be carried to the new identities of loops",
             [&] { return run.indexer().carryLoopsWithIds(carries); });
}

int64_t lc::removeLoops(const std::string& databaseFile, std::span<const LCLoopPlace> places,
                        const LCRemovalObserver& observer) {
  const auto indexer = openIndexer(databaseFile);
  IndexingRun run(*indexer, IndexingRun::Kind::removal);
  LoopRows rows(indexer->sqlite3Connection());
  const auto emptyBefore = emptyPackages(rows);
  FileStates states(databaseFile, FileStates::Use::readWrite);
  size_t removed = 0;
  while (removed < places.size() && (!observer.shouldContinue || observer.shouldContinue())) {
    const auto batch = places.subspan(removed, std::min(kBatchSize, places.size() - removed));
    removeBatch(run, batch);
    CarriedLoops::forgetRemoved(states, rows, batch);
    removed += batch.size();
    for (const auto& place : batch) {
      if (observer.removed) observer.removed(place);
    }
  }
  if (observer.finishing) observer.finishing();
  if (removed > 0) {
    run.finish();
    writePackages(emptyBefore, databaseFile);
  }
  return static_cast<int64_t>(removed);
}
