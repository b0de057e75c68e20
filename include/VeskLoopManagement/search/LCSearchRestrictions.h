// What a search is narrowed by beyond the settings of LCSearchEngine. A plain value: a field left alone restricts
// nothing, and a loop is found when it passes every field that is set. The engine checks nothing here: a range whose
// lowest is above its highest is one that no tempo lies in.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

// Whole beats per minute as the database stores them, both ends included.
struct LCTempoRange {
  int64_t lowest = 0;
  int64_t highest = 0;
  bool operator==(const LCTempoRange&) const = default;
};

struct LCSearchRestrictions {
  std::vector<LCTempoRange> tempos;      // in any of them; loops without a tempo do not pass
  std::optional<int64_t> minimumRating;  // loops that were never marked do not pass, whatever the number
  // Only these loops, in any order; an empty list finds nothing. Copied into a temporary table at each search.
  std::optional<std::vector<int64_t>> candidateIds;
  bool operator==(const LCSearchRestrictions&) const = default;
};
