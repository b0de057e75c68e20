// The catalog's values for what stands in a loop database. Plain values without ties to a database: copy, compare and
// keep them as you like. Texts are UTF-8, except for paths and what is made of them, which are the bytes of the file
// system.
#pragma once

#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/loudness/LCLoopLoudnessInfo.h"
#include "VeskLoopManagement/model/LCTimeSignature.h"
#include "VeskLoopManagement/model/LCVireoLoopType.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What the user thinks of a loop.
struct LCLoopMarks {
  bool isFavorite = false;
  int64_t rating = 0;  // 1 to 5; 0 for none
  std::string comment = {};
  bool operator==(const LCLoopMarks&) const = default;
};

// Just enough to find a loop again.
struct LC_EXPORT LCLoopPlace {
  int64_t id = 0;
  std::string urlText = {};    // as stored
  bool isPlaceholder = false;  // stands for a loop that is not on this disk yet
  std::string path() const;    // behind the URL; the text itself when it is none
  bool operator==(const LCLoopPlace&) const = default;
};

// A keyword by its id and its name in the taxonomy.
struct LCLoopKeyword {
  int64_t id = 0;  // 0 for one that stands only in the texts of the row
  std::string name = {};
  bool operator==(const LCLoopKeyword&) const = default;
};

// One loop: its row, and what the tables around it tell. Numbers are those of the columns; 0 and nullopt mean unknown.
struct LCCatalogLoop {
  LCLoopPlace place;
  std::string fileName;
  int64_t tempo = 0;  // whole beats per minute; below 1: unknown
  int64_t beatCount = 0;
  LCTimeSignature signature;
  int64_t rootNote = 0;  // MIDI note number
  int64_t keyType = 0;   // an LCScale
  int64_t fileType = 0;  // 1 loop, 2 one-shot
  LCVireoLoopType loopType = kLoopTypeAudio;
  double lengthInSeconds = 0;
  std::optional<LCLoopKeyword> genre;
  std::optional<LCLoopKeyword> instrument;
  std::optional<LCLoopKeyword> subInstrument;
  std::vector<std::string> descriptors;
  std::optional<std::string> title;
  std::optional<std::string> author;
  std::optional<std::string> copyright;
  std::optional<std::string> fileComment;  // of the file; the user's is in `marks`
  std::optional<std::string> collection;
  std::optional<std::string> theme;
  std::optional<std::string> contentIdentifier;
  std::vector<std::string> packages;  // identifiers, sorted
  std::optional<LCLoopMarks> marks;   // nullopt for a loop that was never marked
  LCLoopLoudnessInfo loudness;
  bool operator==(const LCCatalogLoop&) const = default;
};

enum class LCKeywordKind { genre, mood, instrument, other };  // in the order in which keywords are listed

// A keyword and how many loops carry it.
struct LC_EXPORT LCFacet {
  LCLoopKeyword keyword;
  int64_t category = 0;  // an LCKeywordCategory; 0 from outside the taxonomy
  int64_t loopCount = 0;
  std::optional<std::string> parent;  // the instrument of a kind of instrument
  LCKeywordKind kind() const;
  bool operator==(const LCFacet&) const = default;
};

// A content package.
struct LCPackage {
  std::string identifier;
  std::string name;
  std::string manufacturer;
  bool isVirtual = false;
  int64_t loopCount = 0;
  bool operator==(const LCPackage&) const = default;
};

struct LCLoopFamily {
  std::string name;                    // what the variants share: no extension, no number
  std::vector<LCCatalogLoop> members;  // by name; the loop asked for among them
};
