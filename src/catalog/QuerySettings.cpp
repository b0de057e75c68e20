#include "catalog/QuerySettings.h"

#include "catalog/CatalogError.h"
#include "platform/Path.h"
#include "VeskLoopManagement/catalog/LCNearNames.h"
#include "VeskLoopManagement/platform/Text.h"
#include "VeskLoopManagement/platform/URL.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>

namespace {

// What SQLite lets one statement join and combine, with some room.
constexpr size_t kMostKeywords = 60;
constexpr size_t kMostWords = 900;
constexpr size_t kMostBytesOfWords = 15000;

[[noreturn]] void refuse(std::string message, std::string nextStep = {}) {
  throw lc::CatalogError{
      {.kind = LCFailureKind::invalidRequest, .message = std::move(message), .nextStep = std::move(nextStep)}};
}

// --- Tempo ---

// As the database stores tempos: whole beats per minute, halves rounded up.
int64_t storedTempo(double beatsPerMinute) {
  constexpr double kHighest = std::numeric_limits<int32_t>::max();
  return std::llround(std::clamp(beatsPerMinute, 0.0, kHighest));
}

std::vector<LCTempoRange> tempoRanges(const LCLoopQuery& query) {
  if (!query.tempo) return {};
  const LCTempoSpan& span = *query.tempo;
  const bool isSpan = span.highest > 0 && span.lowest <= span.highest;  // false for NaN, too
  if (!isSpan) refuse("the range of tempos is empty", "Give the lower end first, and a higher one above 0.");
  std::vector<LCTempoRange> ranges;
  for (const double factor : {1.0, 0.5, 2.0}) {
    ranges.push_back({storedTempo(span.lowest * factor), storedTempo(span.highest * factor)});
    if (!query.withHalfAndDoubleTempo) break;
  }
  return ranges;
}

// --- Order ---

std::string columnOf(LCSortField field) {
  switch (field) {
    case LCSortField::name:
      return "fileName";
    case LCSortField::path:
      return "fileURL";
    case LCSortField::tempo:
      return "tempo";
    case LCSortField::beats:
      return "numberOfBeats";
    case LCSortField::key:
      return "key";
    case LCSortField::length:
      return "lengthInSeconds";
    case LCSortField::type:
      return "hasMidi";
    case LCSortField::favorite:
      return "isFavorite";
    case LCSortField::rating:
      return "rating";
    case LCSortField::genre:
      return "genreId";
    case LCSortField::instrument:
      return "instrumentTypeId";
    case LCSortField::id:
      return "id";
    case LCSortField::random:
      break;
  }
  return {};
}

LCSortDescriptor::By meaningOf(LCSortField field) {
  using By = LCSortDescriptor::By;
  if (field == LCSortField::rating) return By::rating;
  return field == LCSortField::genre || field == LCSortField::instrument ? By::keywordName : By::column;
}

std::vector<LCSortDescriptor> sortDescriptors(const std::vector<LCSortKey>& order) {
  std::vector<LCSortDescriptor> descriptors;
  for (const auto& key : order) {
    if (key.field == LCSortField::random) {
      if (order.size() > 1) refuse("random order cannot be combined with another order");
      return {LCSortDescriptor::random()};
    }
    descriptors.push_back({.key = columnOf(key.field), .ascending = !key.isDescending, .by = meaningOf(key.field)});
  }
  descriptors.push_back({.key = "fileName"});  // what is alike stands in the order of names
  return descriptors;
}

// --- Keywords ---

LCFacet requiredKeyword(const std::vector<LCFacet>& known, const std::string& word, std::string_view what) {
  const LCFacet* found = nullptr;
  for (const auto& facet : known) {
    if (facet.keyword.name == word) return facet;
    if (found == nullptr && vesk::text::equalIgnoringCase(facet.keyword.name, word)) found = &facet;
  }
  if (found != nullptr) return *found;
  LCNearNames near(word);
  for (const auto& facet : known) near.consider(facet.keyword.name);
  throw lc::CatalogError{{.kind = LCFailureKind::notFound,
                          .message = fmt::format("no such {}", what),
                          .subject = word,
                          .nearNames = near.best()}};
}

// Keywords from outside the taxonomy may be of any kind.
std::vector<LCFacet> ofKind(std::vector<LCFacet> known, LCKeywordKind kind) {
  std::erase_if(known, [&](const LCFacet& facet) { return facet.kind() != kind && facet.category != 0; });
  return known;
}

std::vector<LCFacet> requiredKeywords(const LCLoopQuery& query, lc::LoopRows& rows) {
  if (query.keywords.empty() && !query.genre && !query.instrument) return {};
  const auto known = rows.keywords();
  std::vector<LCFacet> found;
  for (const auto& word : query.keywords) found.push_back(requiredKeyword(known, word, "keyword"));
  if (query.genre) found.push_back(requiredKeyword(ofKind(known, LCKeywordKind::genre), *query.genre, "genre"));
  if (query.instrument) {
    found.push_back(requiredKeyword(ofKind(known, LCKeywordKind::instrument), *query.instrument, "instrument"));
  }
  return found;
}

// --- Settings ---

LCWordRestriction wordRestriction(const LCLoopQuery& query, std::span<const std::string> libraryFolders) {
  const std::string text = fmt::format("{}", fmt::join(query.words, " "));
  if (text.empty()) return {};
  if (text.size() > kMostBytesOfWords ||
      std::count(text.begin(), text.end(), ' ') >= static_cast<ptrdiff_t>(kMostWords)) {
    refuse("there are too many words for one search",
           fmt::format("At most {} words of {} bytes together.", kMostWords, kMostBytesOfWords));
  }
  LCWordRestriction restriction{.words = query.words};
  if (query.inWholePath) restriction.folders.emplace_back("file://");
  for (const auto& folder : libraryFolders) {
    restriction.folders.push_back(vesk::URL::fileURLWithPath(folder, true).absoluteString());
  }
  return restriction;
}

// A restriction, for the engine's own setting takes "_" and "%20" for patterns. A folder that is gone still has its
// loops.
std::string requiredFolder(const LCLoopQuery& query, lc::LoopRows& rows) {
  if (!query.folder) return {};
  const std::string folder = vesk::path::resolvingSymlinks(*query.folder);
  std::string url = vesk::URL::fileURLWithPath(folder, true).absoluteString();
  if (vesk::path::isDirectory(folder)) return url;
  bool hasLoops = false;
  rows.forEachPlaceBelow(url, std::nullopt, [&](const LCLoopPlace&) { return !(hasLoops = true); });
  if (hasLoops) return url;
  throw lc::CatalogError{{.kind = LCFailureKind::notFound, .message = "no such folder", .subject = *query.folder}};
}

// --- Keys ---

constexpr int64_t kNotesPerOctave = 12;

LCKeyPattern pattern(int64_t note, std::optional<LCScale> scale = std::nullopt) {
  LCKeyPattern pattern{.note = (note % kNotesPerOctave + kNotesPerOctave) % kNotesPerOctave};
  if (scale) pattern.withoutType = static_cast<int64_t>(*scale == LCScale::minor ? LCScale::major : LCScale::minor);
  return pattern;
}

std::vector<LCKeyPattern> compatibleKeys(const LCMusicalKey& key) {
  constexpr int64_t kFifth = 7, kRelative = 3;
  std::vector<LCKeyPattern> patterns;
  for (const auto& [scale, otherScale, relative] : {std::tuple(LCScale::minor, LCScale::major, kRelative),
                                                    std::tuple(LCScale::major, LCScale::minor, -kRelative)}) {
    if (key.scale == otherScale) continue;
    for (const int64_t distance : {int64_t{0}, kFifth, -kFifth}) {
      patterns.push_back(pattern(key.note + distance, scale));
    }
    patterns.push_back(pattern(key.note + relative, otherScale));
  }
  return patterns;
}

std::vector<LCKeyPattern> keyPatterns(const LCLoopQuery& query) {
  if (!query.key) return {};
  if (query.keyMatch == LCKeyMatch::compatible) return compatibleKeys(*query.key);
  const int64_t reach = query.keyMatch == LCKeyMatch::near ? lc::kNearSemitones : 0;
  std::vector<LCKeyPattern> patterns;
  for (int64_t distance = -reach; distance <= reach; ++distance)
    patterns.push_back(pattern(query.key->note + distance));
  return patterns;
}

void applyMusic(const LCLoopQuery& query, LCSearchEngine& engine) {
  const bool isScaleOfKeyMeant = query.key && query.keyMatch != LCKeyMatch::compatible;
  const auto keyScale = isScaleOfKeyMeant ? query.key->scale : std::nullopt;
  if (keyScale && query.scale && *keyScale != *query.scale) refuse("the key and the scale name different scales");
  const auto scale = query.scale ? query.scale : keyScale;
  engine.setKeyType(scale ? static_cast<int64_t>(*scale) : 0);
  engine.setTimeSignatureTop(query.signature ? query.signature->top : -1,
                             query.signature ? query.signature->bottom : -1);
}

void applyRestrictions(const LCLoopQuery& query, LCSearchEngine& engine, lc::LoopRows& rows,
                       std::span<const std::string> libraryFolders) {
  engine.setSearchForFavorites(query.onlyFavorites);
  engine.setRestrictions({.text = wordRestriction(query, libraryFolders),
                          .folder = requiredFolder(query, rows),
                          .textInName = query.name.value_or(""),
                          .keys = keyPatterns(query),
                          .onlyWithKey = query.withKey,
                          .tempos = tempoRanges(query),
                          .minimumRating = query.minimumRating});
}

void applyPackage(const LCLoopQuery& query, LCSearchEngine& engine, lc::LoopRows& rows) {
  std::optional<vesk::StringSet> identifiers;
  if (query.package) identifiers = vesk::StringSet{lc::requiredPackage(rows, *query.package).identifier};
  engine.setEnabledCrateIdentifier(identifiers);
}

// The engine takes keywords that no loop has for no keywords at all and finds everything; people mean the opposite.
bool applyKeywords(const LCLoopQuery& query, LCSearchEngine& engine, lc::LoopRows& rows) {
  vesk::StringSet names;
  bool canMatch = true;
  for (const auto& facet : requiredKeywords(query, rows)) {
    names.insert(facet.keyword.name);
    canMatch = canMatch && facet.loopCount > 0;
  }
  if (names.size() > kMostKeywords) {
    refuse("there are too many keywords for one search", fmt::format("At most {}.", kMostKeywords));
  }
  engine.setSearchKeywords(names);
  return canMatch;
}

}  // namespace

bool lc::applyQuery(const LCLoopQuery& query, LCSearchEngine& engine, LoopRows& rows,
                    std::span<const std::string> libraryFolders) {
  applyRestrictions(query, engine, rows, libraryFolders);
  applyMusic(query, engine);
  applyPackage(query, engine, rows);
  engine.setEnabledLoopTypes(query.loopTypes);
  engine.setSortDescriptors(sortDescriptors(query.order));
  return applyKeywords(query, engine, rows);
}

std::optional<LCPackage> lc::findPackage(LoopRows& rows, std::string_view identifierOrName) {
  const auto packages = rows.packages();
  for (const auto& package : packages) {
    if (package.identifier == identifierOrName) return package;
  }
  const LCPackage* found = nullptr;
  for (const auto& package : packages) {
    if (!vesk::text::equalIgnoringCase(package.name, identifierOrName)) continue;
    if (found != nullptr) {
      throw CatalogError{
          {.kind = LCFailureKind::ambiguous,
           .message = fmt::format("several packages are called \"{}\"", identifierOrName),
           .nearNames = {found->identifier, package.identifier},
           .nextStep = fmt::format("Use an identifier, such as {} or {}.", found->identifier, package.identifier)}};
    }
    found = &package;
  }
  return found == nullptr ? std::nullopt : std::optional(*found);
}

LCPackage lc::requiredPackage(LoopRows& rows, std::string_view identifierOrName) {
  if (auto package = findPackage(rows, identifierOrName)) return *package;
  LCNearNames near(identifierOrName);
  for (const auto& package : rows.packages()) near.consider(package.name);
  throw CatalogError{{.kind = LCFailureKind::notFound,
                      .message = "no such package",
                      .subject = std::string(identifierOrName),
                      .nearNames = near.best(),
                      .nextStep = "See the list of packages."}};
}
