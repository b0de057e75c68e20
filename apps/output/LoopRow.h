// What is printed of loops and keywords, as values. Numbers are those of the database's columns.
#pragma once

#include "VeskLoopManagement/loudness/LCLoopLoudnessInfo.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct LoopMarks {
  bool isFavorite = false;
  int64_t rating = 0;
  std::string comment;
  bool operator==(const LoopMarks&) const = default;
};

// One loop with what its row and the tables around it tell.
struct LoopRow {
  int64_t id = 0;
  std::string urlText;
  std::string fileName;
  int64_t tempo = 0;
  int64_t beatCount = 0;
  int64_t signatureTop = 0;
  int64_t signatureBottom = 0;
  int64_t rootNote = 0;
  int64_t keyType = 0;
  int64_t loopType = 0;
  double lengthInSeconds = 0;
  std::optional<std::string> genre;
  std::optional<std::string> instrument;
  std::optional<std::string> subInstrument;
  std::vector<std::string> descriptors;
  std::vector<std::string> crates;  // identifiers
  std::optional<LoopMarks> marks;
  LCLoopLoudnessInfo loudness;
};

struct KeywordRow {
  int64_t id = 0;
  std::string name;
  int64_t category = 0;
  int64_t loopCount = 0;
};
