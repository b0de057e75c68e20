#include "catalog/CatalogSession.h"

#include "catalog/CatalogError.h"
#include "catalog/DatabaseOpening.h"
#include "catalog/FileStates.h"
#include "catalog/QuerySettings.h"
#include "database/LCTransaction.h"
#include "VeskLoopManagement/catalog/LCLibraryFolders.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"
#include "VeskLoopManagement/platform/Environment.h"

#include <fmt/format.h>

#include <algorithm>
#include <tuple>

lc::CatalogSession::CatalogSession(const std::string& databaseFile, const LCCatalogOptions& options)
    : m_databaseFile(databaseFile), m_rows(nullptr) {
  OpenedEngine opened = openEngine(databaseFile, options);
  m_damagedFileKeptAs = std::move(opened.damagedFileKeptAs);
  m_engine = std::move(opened.engine);
  m_rows = LoopRows(m_engine->sqlite3Connection());
  m_selectDataVersion = LCStatement(m_engine->sqlite3Connection(), "PRAGMA data_version");
  if (options.holdsSnapshot && options.access == LCCatalogAccess::read) {
    LCStatement(m_engine->sqlite3Connection(), "BEGIN").run();  // ends with the connection
  }
}

lc::CatalogSession::Found lc::CatalogSession::search(const LCLoopQuery& query) {
  requireNoReading();
  ++m_generation;
  m_folds.reset();
  m_hasResult = false;
  m_dataVersion = dataVersion();
  const bool needsFolders = !query.words.empty() && !query.inWholePath;
  const auto folders = needsFolders ? LCLibraryFolders(m_databaseFile).list() : std::vector<std::string>();
  if (!applyQuery(query, *m_engine, m_rows, folders)) return {.generation = m_generation};
  m_engine->refreshKeywordsCache();
  m_engine->doSearch();
  if (const auto& failure = m_engine->lastSearchFailure()) {
    throw CatalogError{databaseFailure(failure->status, failure->message)};
  }
  m_hasResult = true;
  return {.generation = m_generation, .count = m_engine->numberOfLoops()};
}

// Changes whenever another connection has written; our own marks do not count.
int64_t lc::CatalogSession::dataVersion() {
  const bool hasRow = m_selectDataVersion.step();
  const int64_t version = hasRow ? m_selectDataVersion.int64At(0) : 0;
  if (!hasRow) requireSuccess(m_selectDataVersion);
  m_selectDataVersion.reset();
  return version;
}

bool lc::CatalogSession::isCurrent(int64_t generation) {
  return generation == m_generation && dataVersion() == m_dataVersion;
}

void lc::CatalogSession::requireCurrent(int64_t generation) {
  if (isCurrent(generation)) return;
  throw CatalogError{{.kind = LCFailureKind::resultOutdated,
                      .message = generation == m_generation ? "the loop database has changed since the search"
                                                            : "another search has taken the place of this one",
                      .nextStep = "Search again."}};
}

void lc::CatalogSession::requireNoReading() const {
  if (m_readingCount == 0) return;
  throw CatalogError{{.kind = LCFailureKind::invalidRequest,
                      .message = "a result of this catalog is being read",
                      .nextStep = "Do it after the reading, or take a page of the result first."}};
}

const std::vector<LCFoldedFamily>& lc::CatalogSession::folds() {
  if (!m_folds) m_folds = m_hasResult ? m_engine->foldedFamilies() : std::vector<LCFoldedFamily>();
  return *m_folds;
}

std::vector<LCFacet> lc::CatalogSession::facets(LCFacetScope scope) {
  if (!m_hasResult) return {};
  LCKeywordCounts counts = m_engine->availableKeywordsWithCounts();
  std::vector<LCFacet> facets;
  for (auto& facet : m_rows.keywords()) {
    const auto counted = counts.find(facet.keyword.name);
    if (counted == counts.end()) continue;
    facet.loopCount = counted->second;
    counts.erase(counted);  // of several rows with this name the first one stands
    facets.push_back(std::move(facet));
  }
  // What the taxonomy knows and an incomplete database does not.
  for (const auto& [name, count] : counts) {
    facets.push_back({.keyword = {.id = LCKeywordHelper::keywordIdForKeyword(name), .name = name},
                      .category = LCKeywordHelper::keywordCategoryForKeyword(name),
                      .loopCount = count,
                      .parent = LCKeywordHelper::parentKeywordForKeyword(name)});
  }
  if (scope == LCFacetScope::narrowing) {
    const int64_t all = m_engine->numberOfLoops();
    std::erase_if(facets, [all](const LCFacet& facet) { return facet.loopCount >= all; });
  }
  sortForReading(facets);
  return facets;
}

// --- Marks ---

// They are read within the transaction, so that none that another program sets meanwhile is lost.
std::vector<LCMarkedLoop> lc::CatalogSession::mark(std::span<const LCLoopPlace> places, const LCMarkChange& change,
                                                   bool dryRun) {
  if (change.rating && (*change.rating < 0 || *change.rating > 5)) {
    throw CatalogError{{.kind = LCFailureKind::invalidRequest, .message = "ratings go from 0 to 5"}};
  }
  sqlite3* connection = m_engine->sqlite3Connection();
  std::optional<LCTransaction> transaction;
  if (!dryRun) transaction.emplace(connection, LCTransaction::Begin::immediately);
  if (transaction && !transaction->isOpen()) {
    throw CatalogError{databaseFailure(lastStatusOf(connection), m_databaseFile)};
  }
  std::vector<LCMarkedLoop> marked;
  for (const auto& place : places) marked.push_back(markOne(place, change, dryRun));
  if (transaction && !transaction->commit()) {
    throw CatalogError{databaseFailure(lastStatusOf(connection), m_databaseFile)};
  }
  if (!dryRun) rememberFiles(marked);
  return marked;
}

// For the scan that meets a file under another name, and may have no cache then. What cannot be remembered is no
// failure: the marks stand.
void lc::CatalogSession::rememberFiles(std::span<const LCMarkedLoop> marked) const {
  FileStates states(m_databaseFile, FileStates::Use::marking);
  states.begin();
  for (const auto& [place, marks, isChanged] : marked) {
    const auto known = states.fileWithURL(place.urlText);
    const bool isOfLoop = known && known->loopId == place.id;
    const auto state = isOfLoop ? std::optional(known->state) : fileStateAt(place.path());
    if (state) states.rememberMarked({.urlText = place.urlText, .state = *state, .loopId = place.id});
  }
  states.commit();
  for (const auto& trouble : states.troubles()) {
    if (trouble.consequence) vesk::log(fmt::format("{}; {}", trouble.text, *trouble.consequence));
  }
}

// The engine clears what it is not given.
LCMarkedLoop lc::CatalogSession::markOne(const LCLoopPlace& place, const LCMarkChange& change, bool dryRun) {
  const auto found = m_rows.marksWithId(place.id);
  if (!found) {
    throw CatalogError{{.kind = LCFailureKind::notFound,
                        .message = "the loop was taken out meanwhile; nothing was changed",
                        .subject = place.path()}};
  }
  const LCLoopMarks& before = *found;
  LCMarkedLoop marked{.place = place,
                      .marks = {.isFavorite = change.isFavorite.value_or(before.isFavorite),
                                .rating = change.rating.value_or(before.rating),
                                .comment = change.comment.value_or(before.comment)}};
  marked.isChanged = marked.marks != before;
  if (dryRun || !marked.isChanged) return marked;
  const LCResultDictionary row = {{"id", {place.id}}};
  const LCLoopMarks& marks = marked.marks;
  if (m_engine->setUserDataDict(row, marks.isFavorite, marks.rating, marks.comment)) return marked;
  throw CatalogError{{.kind = LCFailureKind::databaseRefused,
                      .message = "the marks could not be written; nothing was changed",
                      .subject = place.path()}};
}

void lc::sortForReading(std::vector<LCFacet>& facets) {
  std::stable_sort(facets.begin(), facets.end(), [](const LCFacet& left, const LCFacet& right) {
    const auto leftKind = left.kind();
    const auto rightKind = right.kind();
    return std::tie(leftKind, right.loopCount, left.keyword.name) <
           std::tie(rightKind, left.loopCount, right.keyword.name);
  });
}
