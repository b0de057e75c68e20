// What a search is narrowed by beyond the settings of LCSearchEngine. A plain value: a field left alone restricts
// nothing, and a loop is found when it passes every field that is set. The engine checks nothing here: a range whose
// lowest is above its highest is one that no tempo lies in.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Whole beats per minute as the database stores them, both ends included.
struct LCTempoRange {
  int64_t lowest = 0;
  int64_t highest = 0;
  bool operator==(const LCTempoRange&) const = default;
};

// A key that passes: a note in any octave.
struct LCKeyPattern {
  int64_t note = 0;         // modulo 12, 0 is C
  int64_t withoutType = 0;  // loops of this key type (1 minor, 2 major) do not pass; 0: all types do
  bool operator==(const LCKeyPattern&) const = default;
};

// Words that occur in the file name, each somewhere, or, all as one text with a blank between them, in comment, title,
// author, collection, theme or the URL's path. "%" and "_" are taken as they are; upper and lower case are the same.
struct LCWordRestriction {
  std::vector<std::string> words;
  // URL texts of folders, with "/" behind. Of a URL below one of them only what follows it is looked at; of any other
  // URL the last two parts, which are the file's own folder and its name. "file://" alone: the whole path.
  std::vector<std::string> folders = {};
  bool operator==(const LCWordRestriction&) const = default;
};

struct LCSearchRestrictions {
  LCWordRestriction text = {};
  std::string folder;              // URL text with "/" behind: loops below it, letter for letter
  std::string textInName;          // "%" and "_" as they are; folds the case of ASCII letters only, as the engine does
  std::vector<LCKeyPattern> keys;  // any of them; loops without a key pass, too
  bool onlyWithKey = false;
  std::vector<LCTempoRange> tempos;      // in any of them; loops without a tempo do not pass
  std::optional<int64_t> minimumRating;  // loops that were never marked do not pass, whatever the number
  // Only these loops, in any order; an empty list finds nothing. Copied into a temporary table at each search.
  std::optional<std::vector<int64_t>> candidateIds;
  bool operator==(const LCSearchRestrictions&) const = default;
};
