// LCSearchEngineDesktop::doSearch() on databases of 10,000 and 100,000 loops, with --large also 1,000,000. Each search
// fills the result table in name order and finds the keywords still available; beside it, as floor, a hand-written
// SELECT of the ids of the same loops, every row stepped, no order, no result table. Both must find the same number of
// loops ("rows").
//   all              no settings
//   keyword          one common keyword (Drums)
//   three_keywords   Drums, Grooving, Hip Hop
//   one_word         text "velvet"
//   two_words        text "velvet snare"
//   words_one        the word of one_word as a restriction, in paths below one folder
//   words_two        those of two_words so
//   key              root A (exact), 4/4, minor
//   favorites        favourites only
//   folder           one folder of about 200 loops
//   tempo            118 to 122 beats per minute
//   candidates       every loop, each named as a candidate
// open               a search engine made on the database and closed again
//
// facets             LCSearchEngine::availableKeywordsWithCounts() on the result of three of these searches; beside it,
//                    as peers, one count of the result for each keyword and one grouped count of all its tags, neither
//                    of which knows group keywords, and as floor every id of the result stepped
// families           LCSearchEngine::foldedFamilies() on the same results; the floor is that of the facets
// lookup             single loops: by id, URL and name, a family; as floor the best that an index of the database
//                    allows: the row by its id, and the row by its file name and URL
#include "BenchFolder.h"
#include "LoopDatabases.h"

#include "VeskLoopManagement/database/LCConnection.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCStatement.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"
#include "VeskLoopManagement/search/LCSearchEngineDesktop.h"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <string_view>

namespace {

struct Workload {
  std::string name;
  void (*set)(LCSearchEngine& engine);
  std::string sql;  // the ids of the loops that the search finds
};

std::string tagged(std::string_view keyword) {
  return fmt::format("SELECT loopId FROM tagging_cache_{}", LCKeywordHelper::keywordIdForKeyword(std::string(keyword)));
}

// Any of the searched texts but the file name holds `text`.
std::string textLike(std::string_view text) {
  return fmt::format(
      "comment LIKE '%{0}%' OR title LIKE '%{0}%' OR author LIKE '%{0}%' OR collection LIKE '%{0}%' OR theme LIKE "
      "'%{0}%'",
      text);
}

void nameEveryLoop(LCSearchEngine& engine) {
  std::vector<int64_t> ids;
  LCStatement loops(engine.sqlite3Connection(), "SELECT id FROM Loops");
  while (loops.step()) ids.push_back(loops.int64At(0));
  engine.setRestrictions({.candidateIds = ids});
}

std::vector<Workload> workloads() {
  const std::string all = "SELECT id FROM Loops";
  return {
      {"all", [](LCSearchEngine&) {}, all},
      {"keyword", [](LCSearchEngine& engine) { engine.setSearchKeywords(vesk::StringSet{"Drums"}); }, tagged("Drums")},
      {"three_keywords",
       [](LCSearchEngine& engine) {
         engine.setSearchKeywords(vesk::StringSet{"Drums", "Grooving", "Hip Hop"});
       },
       tagged("Hip Hop") + " INTERSECT " + tagged("Grooving") + " INTERSECT " + tagged("Drums")},
      {"one_word", [](LCSearchEngine& engine) { engine.setSearchString("velvet"); },
       all + " WHERE fileURL LIKE '%velvet%' OR fileName LIKE '%velvet%' OR " + textLike("velvet")},
      {"two_words", [](LCSearchEngine& engine) { engine.setSearchString("velvet snare"); },
       all + " WHERE fileURL LIKE '%velvet%20snare%' OR (fileName LIKE '%velvet%' AND fileName LIKE '%snare%') OR " +
           textLike("velvet snare")},
      {"words_one",
       [](LCSearchEngine& engine) {
         engine.setRestrictions({.text = {{"velvet"}, {"file:///"}}});
       },
       all + " WHERE fileURL LIKE '%velvet%' OR fileName LIKE '%velvet%' OR " + textLike("velvet")},
      {"words_two",
       [](LCSearchEngine& engine) {
         engine.setRestrictions({.text = {{"velvet", "snare"}, {"file:///"}}});
       },
       all + " WHERE fileURL LIKE '%velvet%20snare%' OR (fileName LIKE '%velvet%' AND fileName LIKE '%snare%') OR " +
           textLike("velvet snare")},
      {"key",
       [](LCSearchEngine& engine) {
         engine.setFilterForMoreRelevantResults(false);
         engine.setRootKey(69);
         engine.setTimeSignatureTop(4, 4);
         engine.setKeyType(1);
       },
       all + " WHERE timeSignatureTop IN (4, 0) AND key IN (57, 0, -1) AND keyType = 1"},
      {"favorites", [](LCSearchEngine& engine) { engine.setSearchForFavorites(true); },
       all + " WHERE id IN (SELECT loopId FROM UserData WHERE isFavorite = 1)"},
      {"folder", [](LCSearchEngine& engine) { engine.setPathPrefix(kBenchPackFolder); },
       fmt::format("{} WHERE fileURL LIKE 'file://{}%'", all, vesk::percentEncodedPath(kBenchPackFolder))},
      {"tempo",
       [](LCSearchEngine& engine) {
         engine.setRestrictions({.tempos = {{118, 122}}});
       },
       all + " WHERE tempo BETWEEN 118 AND 122"},
      {"candidates", nameEveryLoop, all},
  };
}

std::unique_ptr<LCSearchEngineDesktop> openEngine(size_t loopCount) {
  return LCSearchEngineDesktop::initWithDatabaseConfiguration(
      {loopDatabase(loopCount), true, kDefaultDatabaseSchemaVersion});
}

void search(benchmark::State& state, const Workload& workload, size_t loopCount) {
  const auto engine = openEngine(loopCount);
  if (!engine) return state.SkipWithError("the database could not be opened");
  workload.set(*engine);
  for (auto _ : state) engine->doSearch();
  state.counters["rows"] = static_cast<double>(engine->numberOfLoops());
}

void selectIds(benchmark::State& state, const Workload& workload, size_t loopCount) {
  const LCConnection connection = lc::openConnection(loopDatabase(loopCount), LCOpenMode::readOnly);
  LCStatement select(connection.get(), workload.sql);
  if (!select.isPrepared()) return state.SkipWithError("the statement could not be prepared");
  size_t rows = 0;
  for (auto _ : state) {
    rows = 0;
    while (select.step()) ++rows;
    select.reset();
  }
  state.counters["rows"] = static_cast<double>(rows);
}

// --- Counts ---

using CountFacets = size_t (*)(LCSearchEngine& engine);

size_t countByEngine(LCSearchEngine& engine) {
  return engine.availableKeywordsWithCounts().size();
}

size_t countKeywordByKeyword(LCSearchEngine& engine) {
  size_t keywords = 0;
  for (const std::string& keyword : engine.availableKeywords()) {
    const int64_t id = LCKeywordHelper::keywordIdForKeyword(keyword);
    LCStatement count(engine.sqlite3Connection(),
                      fmt::format("SELECT count(*) FROM tempTable JOIN tagging_cache_{} ON loopId = id", id));
    if (count.step() && count.int64At(0) > 0) ++keywords;
  }
  return keywords;
}

size_t countTags(LCSearchEngine& engine) {
  LCStatement count(engine.sqlite3Connection(),
                    "SELECT keywordId, count(*) FROM Tagging WHERE loopId IN (SELECT id FROM tempTable) "
                    "GROUP BY keywordId");
  size_t keywords = 0;
  while (count.step()) ++keywords;
  return keywords;
}

size_t countNothing(LCSearchEngine& engine) {
  LCStatement ids(engine.sqlite3Connection(), "SELECT id FROM tempTable");
  int64_t sum = 0;
  while (ids.step()) sum += ids.int64At(0);
  benchmark::DoNotOptimize(sum);
  return 0;
}

void facets(benchmark::State& state, const Workload& workload, size_t loopCount, CountFacets countFacets) {
  const auto engine = openEngine(loopCount);
  if (!engine) return state.SkipWithError("the database could not be opened");
  workload.set(*engine);
  engine->doSearch();
  size_t keywords = 0;
  for (auto _ : state) keywords = countFacets(*engine);
  state.counters["rows"] = static_cast<double>(engine->numberOfLoops());
  state.counters["keywords"] = static_cast<double>(keywords);
}

// --- Families ---

void families(benchmark::State& state, const Workload& workload, size_t loopCount) {
  const auto engine = openEngine(loopCount);
  if (!engine) return state.SkipWithError("the database could not be opened");
  workload.set(*engine);
  engine->doSearch();
  size_t families = 0;
  for (auto _ : state) families = engine->foldedFamilies().size();
  state.counters["rows"] = static_cast<double>(engine->numberOfLoops());
  state.counters["families"] = static_cast<double>(families);
}

// --- Lookups ---

struct Lookup {
  std::string name;
  bool (*find)(LCSearchEngine& engine, int64_t loopId, const vesk::URL& url);  // whether something was found
};

bool findsRow(LCStatement statement) {
  return statement.step();
}

std::vector<Lookup> lookups() {
  return {
      {"url_of_id",
       [](LCSearchEngine& engine, int64_t id, const vesk::URL&) { return engine.fileURLForLoopId(id).has_value(); }},
      {"keywords_of_id",
       [](LCSearchEngine& engine, int64_t id, const vesk::URL&) { return !engine.keywordsForLoopId(id).empty(); }},
      {"id_of_url",
       [](LCSearchEngine& engine, int64_t, const vesk::URL& url) { return engine.loopIdForFileURL(url) != 0; }},
      {"ids_of_name", [](LCSearchEngine& engine, int64_t,
                         const vesk::URL& url) { return !engine.loopIdsForName(url.lastPathComponent()).empty(); }},
      {"family_of_id", [](LCSearchEngine& engine, int64_t id,
                          const vesk::URL&) { return !engine.loopFamilyForLoopId(id, std::nullopt, 0)->empty(); }},
      {"floor_by_id",
       [](LCSearchEngine& engine, int64_t id, const vesk::URL&) {
         LCStatement select(engine.sqlite3Connection(), "SELECT fileURL FROM Loops WHERE id = ?1");
         select.bind(1, id);
         return findsRow(std::move(select));
       }},
      {"floor_by_name",
       [](LCSearchEngine& engine, int64_t, const vesk::URL& url) {
         LCStatement select(engine.sqlite3Connection(), "SELECT id FROM Loops WHERE fileName = ?1 AND fileURL = ?2");
         select.bind(1, url.lastPathComponent());
         select.bind(2, url.absoluteString());
         return findsRow(std::move(select));
       }},
  };
}

// Of a loop in the middle of the table.
void lookUp(benchmark::State& state, const Lookup& lookup, size_t loopCount) {
  const auto engine = openEngine(loopCount);
  if (!engine) return state.SkipWithError("the database could not be opened");
  int64_t loopId = 0;
  {
    LCStatement middle(engine->sqlite3Connection(), "SELECT id FROM Loops ORDER BY id LIMIT 1 OFFSET ?1");
    middle.bind(1, loopCount / 2);
    if (middle.step()) loopId = middle.int64At(0);
  }
  const std::optional<vesk::URL> url = engine->fileURLForLoopId(loopId);
  if (!url || !lookup.find(*engine, loopId, *url)) return state.SkipWithError("not found");
  for (auto _ : state) benchmark::DoNotOptimize(lookup.find(*engine, loopId, *url));
}

void open(benchmark::State& state, size_t loopCount) {
  loopDatabase(loopCount);
  for (auto _ : state) {
    if (!openEngine(loopCount)) state.SkipWithError("the database could not be opened");
  }
}

template <typename Work>
void add(const std::string& name, size_t loopCount, const Work& work) {
  benchmark::RegisterBenchmark(fmt::format("{}/{}", name, loopCount).c_str(), work)->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argc, char** argv) {
  const bool large = takeLargeOption(argc, argv);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;

  std::vector<size_t> sizes = {10000, 100000};
  if (large) sizes.push_back(1000000);
  for (const size_t size : sizes) {
    add("open", size, [size](benchmark::State& state) { open(state, size); });
    for (const Workload& workload : workloads()) {
      add("search/" + workload.name, size,
          [workload, size](benchmark::State& state) { search(state, workload, size); });
      add("floor/" + workload.name, size,
          [workload, size](benchmark::State& state) { selectIds(state, workload, size); });
    }
    for (const Workload& workload : workloads()) {
      if (workload.name != "all" && workload.name != "keyword" && workload.name != "one_word") continue;
      const std::pair<std::string, CountFacets> ways[] = {{"facets/", countByEngine},
                                                          {"peer/facets_by_keyword_", countKeywordByKeyword},
                                                          {"peer/facets_grouped_", countTags},
                                                          {"floor/facets_", countNothing}};
      for (const auto& [prefix, way] : ways) {
        add(prefix + workload.name, size,
            [workload, size, way = way](benchmark::State& state) { facets(state, workload, size, way); });
      }
      add("families/" + workload.name, size,
          [workload, size](benchmark::State& state) { families(state, workload, size); });
    }
    for (const Lookup& lookup : lookups()) {
      add("lookup/" + lookup.name, size, [lookup, size](benchmark::State& state) { lookUp(state, lookup, size); });
    }
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
