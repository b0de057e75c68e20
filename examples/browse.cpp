// A loop browser in a page: scans a folder with progress, shows what would narrow a search, marks a loop, and reads a
// page of rows that pass every kind of filter. Built by CMakeLists.txt beside this file, or by
//   c++ -std=c++20 browse.cpp $(pkg-config --cflags --libs VeskLoopManagement) -o browse
#include "VeskLoopManagement/catalog/LCCatalog.h"
#include "VeskLoopManagement/catalog/LCLibraryScan.h"

#include <iostream>

namespace {

class Progress : public LCScanObserver {
  bool wantsTotals() override { return true; }
  void phaseBegan(LCScanPhase, std::optional<int64_t> total) override { m_total = total.value_or(0); }
  void advanced(int64_t done, const std::string&) override { std::cerr << done << " of " << m_total << '\r'; }
  void fileFailed(const LCFileFailure& failure) override {
    std::cerr << failure.path << ": " << lc::fileProblemName(failure.problem) << '\n';
  }

  int64_t m_total = 0;
};

int complain(const LCFailure& failure) {
  std::cerr << failure.message << ". " << failure.nextStep << '\n';
  return 1;
}

// Narrows, marks and lists, by the loops that demoloops makes.
int browse(LCCatalog& catalog, const std::string& folder) {
  const auto basses = catalog.search({.instrument = "Bass", .order = {{LCSortField::tempo, true}}});
  if (!basses) return complain(basses.failure());
  const auto facets = basses->facets();
  if (!facets) return complain(facets.failure());
  for (const LCFacet& facet : *facets) std::cout << facet.keyword.name << ' ' << facet.loopCount << '\n';

  const auto places = catalog.placesWithName("Night Bus Bass 01.caf");
  if (!places) return complain(places.failure());
  const auto marked = catalog.mark(*places, {.isFavorite = true, .rating = 4, .comment = "for the second verse"});
  if (!marked) return complain(marked.failure());

  const LCLoopQuery query{.words = {"night"},
                          .keywords = {"Dark", "Electric"},
                          .genre = "Deep House",
                          .instrument = "Bass",
                          .tempo = LCTempoSpan::around(62, 0.05),
                          .withHalfAndDoubleTempo = true,
                          .key = LCMusicalKey::fromText("G#m"),
                          .keyMatch = LCKeyMatch::near,
                          .scale = LCScale::minor,
                          .signature = LCTimeSignature{4, 4},
                          .loopTypes = {kLoopTypeAudio},
                          .onlyFavorites = true,
                          .minimumRating = 3,
                          .package = "Examples",
                          .folder = folder,
                          .name = "bus",
                          .order = {{LCSortField::length, true}, {LCSortField::name}}};
  const auto result = catalog.search(query);
  if (!result) return complain(result.failure());
  const auto page = result->page({.offset = 0, .limit = 20});
  if (!page) return complain(page.failure());
  for (const LCCatalogLoop& loop : page->loops) {
    std::cout << loop.fileName << ": " << loop.tempo << " bpm, " << lc::noteName(loop.rootNote).value_or("no key")
              << ", " << loop.lengthInSeconds << " s, rated " << loop.marks->rating << ", " << loop.marks->comment
              << '\n';
  }
  std::cout << page->loops.size() << " of " << page->total << '\n';
  return 0;
}

}  // namespace

// browse FOLDER DATABASE, both as absolute paths.
int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const std::string folder = argv[1];
  Progress progress;
  const auto report = LCLibraryScan::run(argv[2], {.paths = {folder}, .package = "Examples"}, progress);
  if (!report) return complain(report.failure());
  std::cout << report->indexed << " loops, " << report->failed << " failures\n";

  const auto catalog = LCCatalog::open(argv[2], {.access = LCCatalogAccess::mark});
  if (!catalog) return complain(catalog.failure());
  return browse(**catalog, folder);
}
