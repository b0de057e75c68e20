// What a host asks the catalog for. A field left alone restricts nothing, so `LCLoopQuery{}` finds every loop. Plain
// values. More than 60 keywords, 900 words, or 15,000 bytes of words are refused.
#pragma once

#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/model/LCMusicalKey.h"
#include "VeskLoopManagement/model/LCTimeSignature.h"
#include "VeskLoopManagement/model/LCVireoLoopType.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

// Beats per minute, both ends included. Databases store whole beats per minute; the ends are rounded alike.
struct LC_EXPORT LCTempoSpan {
  double lowest = 0;
  double highest = 0;

  static LCTempoSpan around(double beatsPerMinute, double fraction);  // 0.05: five percent up and down
  // "120", "118-124" or "120~5%"; nullopt for anything else, for 0, and for spans whose first end is the higher one.
  static std::optional<LCTempoSpan> fromText(std::string_view text);
  bool operator==(const LCTempoSpan&) const = default;
};

// Notes are compared whatever their octaves; loops without a key pass, unless LCLoopQuery::withKey.
enum class LCKeyMatch {
  exact,  // this note
  near,   // also one and two semitones up and down
  // The keys that sound well beside it: this one, those a fifth up and down, of the same scale, and the relative major
  // or minor. A key whose scale is unknown, neither or both, asked for or of a loop, stands for its major and its
  // minor: "A" finds A, D and E of any scale, F# unless it is major and C unless it is minor.
  compatible,
};

// Loops without a genre or an instrument come last in both directions.
enum class LCSortField { name, path, tempo, beats, key, length, type, favorite, rating, genre, instrument, id, random };

struct LCSortKey {
  LCSortField field = LCSortField::name;
  bool isDescending = false;
  bool operator==(const LCSortKey&) const = default;
};

struct LCLoopQuery {
  // Each in the file name, or all of them as one text in comment, title, author, collection, theme or the path. Of the
  // path only what lies below a folder of LCLibraryFolders is looked at; of other files their own folder and their
  // name.
  std::vector<std::string> words = {};
  bool inWholePath = false;                    // `words` in the path from its root on
  std::vector<std::string> keywords = {};      // tagged with all of these; upper and lower case are the same
  std::optional<std::string> genre = {};       // a keyword of that category
  std::optional<std::string> instrument = {};  // of an instrument or a kind of instrument
  std::optional<LCTempoSpan> tempo = {};       // loops without a tempo do not pass
  bool withHalfAndDoubleTempo = false;         // `tempo` also at half and at double speed
  std::optional<LCMusicalKey> key = {};        // its scale, when it names one, restricts too
  LCKeyMatch keyMatch = LCKeyMatch::near;
  bool withKey = false;  // only loops that have a key
  std::optional<LCScale> scale = {};
  std::optional<LCTimeSignature> signature = {};  // loops without one pass
  std::set<LCVireoLoopType> loopTypes = {};       // any of them
  bool onlyFavorites = false;
  std::optional<int64_t> minimumRating = {};  // 1 to 5
  std::optional<std::string> package = {};    // by identifier or name
  std::optional<std::string> folder = {};     // absolute path; loops below it. `notFound` when there is no such folder.
  std::optional<std::string> name = {};       // a text in the file name
  // The first key decides, the next one where it ties, at last the name. `random` stands alone. None: by name.
  std::vector<LCSortKey> order = {};
  bool operator==(const LCLoopQuery&) const = default;
};
