#include "catalog/RetaggedLoops.h"

#include "catalog/CatalogError.h"
#include "catalog/DatabaseOpening.h"
#include "catalog/LoopRows.h"
#include "VeskLoopManagement/catalog/LCLibraryScan.h"
#include "VeskLoopManagement/fileio/LCFileParser.h"

#include <fmt/format.h>

namespace {

constexpr size_t kBatchSize = 500;

// Hands on what a person must know of a scan. The rest is in the reports of the files.
class ScanListener : public LCScanObserver {
 public:
  explicit ScanListener(LCTagObserver& observer) : m_observer(observer) {}

  void fileFailed(const LCFileFailure& failure) override {
    m_observer.warned(fmt::format("{}: it was tagged, but not indexed again ({})", failure.path,
                                  failure.detail.empty() ? lc::fileProblemName(failure.problem) : failure.detail),
                      "Scan it again.");
  }
  void warned(const std::string& text, const std::string& nextStep) override { m_observer.warned(text, nextStep); }

 private:
  LCTagObserver& m_observer;
};

std::unique_ptr<LCSearchEngine> openForReading(const std::string& databaseFile) {
  return lc::openEngine(databaseFile, {.access = LCCatalogAccess::read}).engine;
}

}  // namespace

lc::RetaggedLoops::RetaggedLoops(std::optional<std::string> databaseFile, LCTagObserver& observer)
    : m_databaseFile(std::move(databaseFile)), m_observer(observer), m_batchEnd(kBatchSize) {
  if (!m_databaseFile) return;
  try {
    openForReading(*m_databaseFile);
  } catch (const CatalogError& error) {
    if (error.failure.kind != LCFailureKind::databaseMissing) throw;
    m_observer.noted(fmt::format("{}: there is no loop database to bring up to date", *m_databaseFile));
    m_databaseFile.reset();
  }
}

void lc::RetaggedLoops::add(const std::string& path) {
  if (!m_databaseFile) return;
  m_paths.push_back(path);
  if (m_paths.size() < m_batchEnd) return;
  const auto done = outcomeOf([this] {
    bringUpToDate();
    return true;
  });
  m_batchEnd = m_paths.size() + kBatchSize;
}

void lc::RetaggedLoops::finish() {
  if (m_databaseFile && !m_paths.empty()) bringUpToDate();
}

void lc::RetaggedLoops::bringUpToDate() {
  LCScanRequest request{.paths = indexedPaths(), .readsPathKeywords = LCFileParser::allowsKeywordExtractionFromPath()};
  if (!request.paths.empty()) {
    ScanListener listener(m_observer);
    auto scanned = LCLibraryScan::run(*m_databaseFile, request, listener);
    if (!scanned) throw CatalogError{scanned.failure()};
  }
  m_paths.clear();
}

std::vector<std::string> lc::RetaggedLoops::indexedPaths() const {
  const auto engine = openForReading(*m_databaseFile);
  LoopRows rows(engine->sqlite3Connection());
  std::vector<std::string> indexed;
  for (const auto& path : m_paths) {
    if (rows.placeWithURL(vesk::URL::fileURLWithPath(path, false))) indexed.push_back(path);
  }
  return indexed;
}
