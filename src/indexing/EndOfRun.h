// What the whole and the short end of a run share: see LCFileIndexingFinish.cpp and TouchedTags.
#pragma once

#include <span>
#include <string>
#include <string_view>

class LCFileIndexing;

namespace lc {

// All of the work, whoever holds the transaction: nothing is begun, committed or told.
void doEndOfRunWork(LCFileIndexing& indexer);

// Each gives loops with a keyword of a group the group's keyword. They read "… FROM Tagging … WHERE condition".
std::span<const char* const> groupKeywordStatements();

inline constexpr std::string_view kCachingTablePrefix = "tagging_cache_";

}  // namespace lc
