#include "VeskLoopManagement/catalog/LCCatalog.h"

#include "catalog/CatalogError.h"
#include "catalog/CatalogSession.h"
#include "catalog/DatabaseOpening.h"
#include "catalog/LoopRemoval.h"
#include "catalog/Packages.h"
#include "catalog/QuerySettings.h"
#include "database/DatabaseLocations.h"
#include "platform/Path.h"
#include "VeskLoopManagement/platform/Text.h"

#include <algorithm>

namespace {

using lc::CatalogError;
using lc::CatalogSession;
using lc::outcomeOf;

std::string wordsFor(const LCLoopReference& reference) {
  if (!reference.text.empty()) return reference.text;
  if (reference.id) return "id:" + std::to_string(*reference.id);
  return reference.url ? reference.url->path() : reference.name.value_or("");
}

[[noreturn]] void failAmbiguous(const LCLoopReference& reference, const std::vector<LCLoopPlace>& places) {
  constexpr size_t kMostPaths = 20;
  LCFailure failure{.kind = LCFailureKind::ambiguous,
                    .message = "the name fits " + std::to_string(places.size()) + " loops",
                    .subject = wordsFor(reference),
                    .nextStep = "Name the one you mean by its path."};
  for (const auto& place : places) {
    if (failure.nearNames.size() < kMostPaths) failure.nearNames.push_back(place.path());
  }
  throw CatalogError{std::move(failure)};
}

// As it is stored, or of the file that links lead to.
std::optional<LCLoopPlace> findFile(lc::LoopRows& rows, const vesk::URL& url) {
  if (auto place = rows.placeWithURL(url)) return place;
  const std::string path = url.path();
  const std::string resolvedPath = vesk::path::resolvingSymlinks(path);
  return path == resolvedPath ? std::nullopt : rows.placeWithURL(vesk::URL::fileURLWithPath(resolvedPath, false));
}

std::optional<LCLoopPlace> findPlace(lc::LoopRows& rows, const LCLoopReference& reference) {
  if (reference.id) return rows.placeWithId(*reference.id);
  if (reference.url) {
    if (auto place = findFile(rows, *reference.url)) return place;
    if (vesk::path::exists(reference.url->path())) return std::nullopt;  // that file is meant
  }
  if (!reference.name || reference.name->empty()) return std::nullopt;  // every name begins with nothing
  const auto places = rows.placesWithName(*reference.name);
  if (places.size() > 1) failAmbiguous(reference, places);
  return places.empty() ? std::nullopt : std::optional(places.front());
}

LCLoopPlace requiredPlace(lc::LoopRows& rows, const LCLoopReference& reference) {
  if (auto place = findPlace(rows, reference)) return *place;
  LCFailure failure{.kind = LCFailureKind::notFound, .message = "no such loop", .subject = wordsFor(reference)};
  if (reference.url && vesk::path::isDeadLink(reference.url->path())) {
    failure.message = "the link leads nowhere";
    throw CatalogError{std::move(failure)};
  }
  if (!reference.id && (reference.url || reference.name)) {
    failure.nearNames = rows.namesLike(reference.url ? reference.url->lastPathComponent() : *reference.name);
  }
  throw CatalogError{std::move(failure)};
}

// For those who write on a connection of their own.
const std::string& writableFile(CatalogSession& session) {
  session.requireNoReading();
  if (!session.engine().databaseConfiguration().readonly()) return session.databaseFile();
  throw CatalogError{{.kind = LCFailureKind::databaseRefused,
                      .message = "the loop database was opened for reading",
                      .subject = session.databaseFile()}};
}

bool isMissing(const LCLoopPlace& place) {
  return !place.isPlaceholder && !vesk::path::exists(place.path());
}

// What is left of a file's name without extension and variant number.
std::string familyNameOf(const std::string& fileName) {
  return LCSearchEngine::familyNameForLoopName(fileName).value_or(vesk::path::deletingExtension(fileName));
}

bool isInKey(const LCCatalogLoop& loop, std::optional<int64_t> rootNote) {
  if (!rootNote || loop.rootNote <= 0) return true;
  return lc::semitonesBetween(loop.rootNote, *rootNote) <= lc::kNearSemitones;
}

// The engine's family is everything that begins with the family's name, folders included ("Pad" brings "Pads/Slow 1"
// and "Pad Swell 01"); of these only the variants are meant.
LCLoopFamily familyOf(CatalogSession& session, const LCCatalogLoop& given, std::optional<int64_t> rootNote) {
  LCLoopFamily family{.name = familyNameOf(vesk::path::lastComponent(given.place.path()))};
  bool hasGiven = false;
  const auto candidates = session.engine().loopFamilyForLoopId(given.place.id, std::nullopt, 0);
  for (const auto& candidate : candidates.value_or(std::vector<LCLoopFamilyMember>())) {
    const bool isVariant =
        candidate.url && vesk::text::equalIgnoringCase(familyNameOf(candidate.url->lastPathComponent()), family.name);
    auto loop = isVariant ? session.rows().loopWithId(candidate.loopId) : std::nullopt;
    if (!loop) continue;
    const bool isGiven = candidate.loopId == given.place.id;
    if (isGiven || isInKey(*loop, rootNote)) family.members.push_back(*std::move(loop));
    hasGiven = hasGiven || isGiven;
  }
  if (!hasGiven) family.members.insert(family.members.begin(), given);  // nothing but a number is its name
  return family;
}

}  // namespace

// --- Ways to name a loop ---

LCLoopReference LCLoopReference::ofId(int64_t id) {
  return {.id = id, .url = std::nullopt};
}

LCLoopReference LCLoopReference::ofURL(const vesk::URL& url) {
  return {.id = std::nullopt, .url = url};
}

LCLoopReference LCLoopReference::ofPath(std::string_view absolutePath) {
  return ofURL(vesk::URL::fileURLWithPath(absolutePath, false));
}

// --- Opening ---

std::string LCCatalog::defaultDatabaseFile() {
  return lc::locations::databasePlace();
}

LCOutcome<std::unique_ptr<LCCatalog>> LCCatalog::open(const std::string& databaseFile,
                                                      const LCCatalogOptions& options) {
  return outcomeOf([&] {
    return std::unique_ptr<LCCatalog>(new LCCatalog(std::make_shared<CatalogSession>(databaseFile, options)));
  });
}

LCCatalog::LCCatalog(std::shared_ptr<lc::CatalogSession> session) : m_session(std::move(session)) {}
LCCatalog::~LCCatalog() = default;

const std::string& LCCatalog::databaseFile() const {
  return m_session->databaseFile();
}

const std::optional<std::string>& LCCatalog::damagedFileKeptAs() const {
  return m_session->damagedFileKeptAs();
}

// --- Searching ---

LCOutcome<LCLoopResult> LCCatalog::search(const LCLoopQuery& query) {
  return outcomeOf([&] {
    const auto found = m_session->search(query);
    return LCLoopResult(m_session, found.generation, found.count);
  });
}

// --- Single loops ---

LCOutcome<LCLoopPlace> LCCatalog::place(const LCLoopReference& reference) {
  return outcomeOf([&] { return requiredPlace(m_session->rows(), reference); });
}

LCOutcome<LCCatalogLoop> LCCatalog::loop(const LCLoopReference& reference) {
  return outcomeOf([&] {
    const LCLoopPlace place = requiredPlace(m_session->rows(), reference);
    auto loop = m_session->rows().loopWithId(place.id);
    if (!loop)
      throw CatalogError{{.kind = LCFailureKind::notFound,
                          .message = "the loop was taken out just now",
                          .subject = wordsFor(reference)}};
    return *loop;
  });
}

LCOutcome<std::vector<LCLoopPlace>> LCCatalog::placesWithName(std::string_view name) {
  return outcomeOf([&] { return m_session->rows().placesWithName(name); });
}

LCOutcome<std::vector<LCLoopPlace>> LCCatalog::places(const LCPlaceQuery& query) {
  return outcomeOf([&] {
    std::vector<LCLoopPlace> places;
    const std::string below =
        query.folder ? vesk::URL::fileURLWithPath(vesk::path::resolvingSymlinks(*query.folder), true).absoluteString()
                     : "";
    m_session->rows().forEachPlaceBelow(below, query.package, [&](const LCLoopPlace& place) {
      if (!query.onlyMissing || isMissing(place)) places.push_back(place);
      return true;
    });
    return places;
  });
}

LCOutcome<std::vector<LCLoopPlace>> LCCatalog::placesAmong(std::span<const LCLoopPlace> places,
                                                           const LCPlaceQuery& query) {
  return outcomeOf([&] {
    std::vector<LCLoopPlace> fitting;
    for (const auto& place : places) {
      const bool isOfPackage = !query.package || m_session->rows().isInPackage(place.id, *query.package);
      if (isOfPackage && (!query.onlyMissing || isMissing(place))) fitting.push_back(place);
    }
    return fitting;
  });
}

LCOutcome<std::vector<std::string>> LCCatalog::keywordsOfLoop(int64_t loopId) {
  return outcomeOf([&] {
    const auto keywords = m_session->engine().keywordsForLoopId(loopId);
    return std::vector<std::string>(keywords.begin(), keywords.end());
  });
}

LCOutcome<LCLoopFamily> LCCatalog::family(int64_t loopId, std::optional<int64_t> rootNote) {
  const auto given = loop(LCLoopReference::ofId(loopId));
  if (!given) return given.failure();
  return outcomeOf([&] { return familyOf(*m_session, *given, rootNote); });
}

// --- Keywords and packages ---

LCOutcome<std::vector<LCFacet>> LCCatalog::keywords(bool withUnused) {
  return outcomeOf([&] {
    auto keywords = m_session->rows().keywords();
    if (!withUnused) std::erase_if(keywords, [](const LCFacet& facet) { return facet.loopCount == 0; });
    lc::sortForReading(keywords);
    return keywords;
  });
}

LCOutcome<std::vector<LCPackage>> LCCatalog::packages() {
  return outcomeOf([&] { return m_session->rows().packages(); });
}

LCOutcome<LCPackage> LCCatalog::package(std::string_view identifierOrName) {
  return outcomeOf([&] { return lc::requiredPackage(m_session->rows(), identifierOrName); });
}

// --- Writing ---

LCOutcome<std::vector<LCMarkedLoop>> LCCatalog::mark(std::span<const LCLoopPlace> places, const LCMarkChange& change,
                                                     bool dryRun) {
  return outcomeOf([&] { return m_session->mark(places, change, dryRun); });
}

LCOutcome<LCPackage> LCCatalog::createPackage(const LCNewPackage& package, bool dryRun) {
  return outcomeOf([&] {
    const LCPackage made = lc::packageFor(package, m_session->rows());
    if (!dryRun) lc::writePackage(made, writableFile(*m_session));
    return made;
  });
}

LCOutcome<LCPackage> LCCatalog::removePackage(std::string_view identifierOrName, bool dryRun) {
  return outcomeOf([&] {
    const LCPackage package = lc::requiredPackage(m_session->rows(), identifierOrName);
    if (!dryRun) lc::removePackage(package.identifier, writableFile(*m_session));
    return package;
  });
}

LCOutcome<int64_t> LCCatalog::remove(std::span<const LCLoopPlace> places, const LCRemovalObserver& observer) {
  return outcomeOf([&] { return lc::removeLoops(writableFile(*m_session), places, observer); });
}
