#include "catalog/QuerySettings.h"

#include "catalog/CatalogError.h"
#include "platform/Path.h"
#include "VeskLoopManagement/catalog/LCNearNames.h"
#include "VeskLoopManagement/platform/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

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
  if (!isSpan) refuse("a tempo is missing its range", "The lower end stands first, and the higher one is above 0.");
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
    case LCSortField::random:
      break;
  }
  return {};
}

std::vector<LCSortDescriptor> sortDescriptors(const std::vector<LCSortKey>& order) {
  std::vector<LCSortDescriptor> descriptors;
  for (const auto& key : order) {
    if (key.field == LCSortField::random) {
      if (order.size() > 1) refuse("random order stands alone");
      return {LCSortDescriptor::random()};
    }
    descriptors.push_back({.key = columnOf(key.field), .ascending = !key.isDescending});
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

void applyTexts(const LCLoopQuery& query, LCSearchEngine& engine) {
  engine.setSearchString(query.words.empty() ? std::nullopt
                                             : std::optional(fmt::format("{}", fmt::join(query.words, " "))));
  engine.setSpecialNameSearchString(query.name);
  engine.setPathPrefix(query.folder ? std::optional(vesk::path::resolvingSymlinks(*query.folder)) : std::nullopt);
}

void applyMusic(const LCLoopQuery& query, LCSearchEngine& engine) {
  const auto keyScale = query.key ? query.key->scale : std::nullopt;
  if (keyScale && query.scale && *keyScale != *query.scale) refuse("the key and the scale name different scales");
  const auto scale = query.scale ? query.scale : keyScale;
  engine.setRootKey(query.key ? query.key->engineRootKey() : 0);
  engine.setFilterForMoreRelevantResults(query.keyMatch == LCKeyMatch::near);
  engine.setKeyType(scale ? static_cast<int64_t>(*scale) : 0);
  engine.setTimeSignatureTop(query.signature ? query.signature->top : -1,
                             query.signature ? query.signature->bottom : -1);
}

void applyMarks(const LCLoopQuery& query, LCSearchEngine& engine) {
  engine.setSearchForFavorites(query.onlyFavorites);
  engine.setRestrictions({.tempos = tempoRanges(query), .minimumRating = query.minimumRating});
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
  engine.setSearchKeywords(names);
  return canMatch;
}

}  // namespace

bool lc::applyQuery(const LCLoopQuery& query, LCSearchEngine& engine, LoopRows& rows) {
  applyTexts(query, engine);
  applyMusic(query, engine);
  applyMarks(query, engine);
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
                      .nextStep = "The list of packages says what there is."}};
}
