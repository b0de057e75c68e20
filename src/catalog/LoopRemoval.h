// Taking loops out of a database: in batches, each of them whole, with what is remembered of their files. Throws
// CatalogErrors.
#pragma once

#include "catalog/IndexingRun.h"
#include "VeskLoopManagement/catalog/LCCatalog.h"

#include <cstdint>
#include <span>
#include <string>

namespace lc {

// Opens the database for writing. Answers how many loops are out.
int64_t removeLoops(const std::string& databaseFile, std::span<const LCLoopPlace> places,
                    const LCRemovalObserver& observer);

// Both in a transaction of their own: all, or, when the database refuses, none, and throw.
void removeBatch(IndexingRun& run, std::span<const LCLoopPlace> places);
void carryBatch(IndexingRun& run, std::span<const LCLoopCarry> carries);

}  // namespace lc
