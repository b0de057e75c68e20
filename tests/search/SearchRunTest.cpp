#include "search/SearchDatabase.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"
#include "VeskLoopManagement/search/LCSearchEngineDesktop.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using Engine = LCSearchEngine;

struct SearchTest : testing::Test {
  SearchTest() { database.addVariedLoops(); }

  SearchDatabase database;
  std::unique_ptr<LCSearchEngineDesktop> engine = database.engine();
};

}  // namespace

TEST_F(SearchTest, FindsWhatAHandWrittenQueryFinds) {
  struct Case {
    std::function<void(Engine&)> set;
    std::string query;  // what follows "FROM Loops " in a query by hand
  };
  const Case cases[] = {
      {[](Engine&) {}, "WHERE id != 10"},  // a loop without a row in LoopsKeywords is never found
      {[](Engine& e) { e.setSearchKeywords(names("Zorp", "Electric Bass")); }, "WHERE id IN (1, 4)"},
      // Keywords that nobody carries, known or not, do not restrict.
      {[](Engine& e) { e.setSearchKeywords(names("Nobody", "it's", "Banjo", "Tuba")); }, "WHERE id IN (2, 8)"},
      {[](Engine& e) { e.setSearchKeywords(names("Nobody")); }, "WHERE id != 10"},
      {[](Engine& e) { e.setSearchForFavorites(true); }, "WHERE id IN (2, 5)"},
      {[](Engine& e) { e.setTimeSignatureTop(6, 8); }, "WHERE id IN (4, 6)"},  // no signature is any
      {[](Engine& e) { e.setUseKestrelLoopTypes(true), e.setEnabledLoopTypes(types(1)); }, "WHERE ksLoopType = 1"},
      // A loop in two enabled packages comes twice.
      {[](Engine& e) { e.setEnabledCrateIdentifier(names("a", "b", "c\"d")); },
       "JOIN CrateLoopRelation ON loopId = id"},
      {[](Engine& e) { e.setSearchString("bass"); }, "WHERE id IN (1, 2, 7)"},  // name, comment, folder
      {[](Engine& e) { e.setSearchString("tree apple"); }, "WHERE id = 2"},     // all words, any order
      {[](Engine& e) { e.setSearchString("x y"); }, "WHERE id = 9"},            // words, and "%x%20y%" in the URL
      {[](Engine& e) { e.setSearchString("then 20"); }, "WHERE id = 8"},        // the whole text in "collection"
      {[](Engine& e) { e.setSearchString("100% \"live\""); }, "WHERE id IN (2, 8)"},
      {[](Engine& e) { e.setSearchString("%"); }, "WHERE id != 10"},          // wildcards stay wildcards
      {[](Engine& e) { e.setSearchString("ärger"); }, "WHERE id IN (6, 7)"},  // ASCII folding alone would miss both
      {[](Engine& e) { e.setSearchString("strasse ä"); }, "WHERE 0"},         // "ß" is not folded to "ss"
  };
  for (const auto& [set, query] : cases) {
    engine = database.engine();
    set(*engine);
    const Ids expected = database.numbers("SELECT id FROM Loops " + query);
    EXPECT_EQ(sorted(idsFound(*engine)), sorted(expected)) << query;
    EXPECT_EQ(engine->numberOfLoops(), static_cast<int64_t>(expected.size()));
  }
}

TEST_F(SearchTest, RestrictionsNarrowTheSearchAndWhatFollowsFromIt) {
  database.execute("UPDATE Loops SET tempo = CASE WHEN id < 0 THEN -1 WHEN id < 6 THEN 100 + id ELSE 0 END");
  database.execute(
      "INSERT OR REPLACE INTO UserData (loopId, isFavorite, rating) VALUES (2, 1, 4), (5, 1, 2), (6, 0, 5)");
  constexpr int64_t kLowest = std::numeric_limits<int64_t>::min(), kHighest = std::numeric_limits<int64_t>::max();
  const std::pair<LCSearchRestrictions, Ids> cases[] = {
      {{.tempos = {{101, 102}}}, {1, 2}},  // both ends
      {{.tempos = {{50, 51}, {104, 200}}}, {4, 5}},
      {{.tempos = {{kLowest, kHighest}}}, {1, 2, 4, 5}},  // no tempo is none, whether stored as 0 or as -1
      {{.tempos = {{102, 101}}}, {}},
      {{.minimumRating = 4}, {2, 6}},
      {{.minimumRating = -1}, {2, 5, 6}},  // the others were never marked
      {{.candidateIds = Ids{9, -3, 9, kLowest, kHighest, 10, 77}}, {-3, 9, kLowest, kHighest}},
      {{.candidateIds = Ids{}}, {}},
      {{.tempos = {{102, 200}}, .minimumRating = 1, .candidateIds = Ids{4, 5, 6}}, {5}},
  };
  database.add(kLowest, "lowest.wav");
  database.add(kHighest, "highest.wav");
  for (const auto& [restrictions, ids] : cases) {
    engine->setRestrictions(restrictions);
    EXPECT_EQ(sorted(idsFound(*engine)), sorted(ids)) << testing::PrintToString(ids);
    EXPECT_EQ(engine->numberOfLoops(), static_cast<int64_t>(ids.size()));
    EXPECT_EQ(engine->lastSearchFailure(), std::nullopt);
  }

  // With keywords, packages, favourites and texts; and again without.
  engine->setRestrictions({.tempos = {{101, 104}}, .minimumRating = 1, .candidateIds = Ids{1, 2, 4, 5}});
  engine->setSearchKeywords(names("Zorp", "Favorites"));
  engine->setEnabledCrateIdentifier(names("b"));
  engine->setSearchString("apple");
  EXPECT_EQ(idsFound(*engine), Ids{2});
  EXPECT_EQ(engine->availableKeywords(), names("Brass", "Tuba"));
  EXPECT_EQ(engine->availableKeywordsWithCounts().at("Zorp"), 1);
  engine->reset();
  EXPECT_EQ(sorted(idsFound(*engine)), (Ids{2, 5}));  // packages are kept, as all filters
}

TEST_F(SearchTest, AFailureIsToldAndTheNextSearchIsNotHauntedByIt) {
  const auto environment = TestEnvironment::install();
  vesk::StringSet many;
  for (int number = 0; number < 1500; ++number) many.insert("word" + std::to_string(number));
  const std::pair<std::function<void(Engine&)>, const char*> cases[] = {
      {[](Engine& e) { e.setSearchKeywords(LCKeywordHelper::keywordsForCategory(kCategoryInstrumentSubType)); },
       "at most 64 tables in a join"},
      {[&](Engine& e) { e.setEnabledCrateIdentifier(many); }, "Expression tree is too large"},
      {[&](Engine& e) { e.setSearchString(vesk::text::joined(many, " ")); }, "Expression tree is too large"},
      {[](Engine& e) { e.setLoopsTablename("Nowhere"); }, "no such table: Nowhere"},
      {[](Engine& e) { e.closeDatabase(); }, "the database is closed"},
  };
  database.execute("DELETE FROM keyword_distribution");
  for (const std::string& keyword : LCKeywordHelper::keywordsForCategory(kCategoryInstrumentSubType)) {
    const std::string id = std::to_string(LCKeywordHelper::keywordIdForKeyword(keyword));
    database.execute("INSERT INTO keyword_distribution VALUES (" + id + ", 1)");
    database.execute("CREATE TABLE IF NOT EXISTS tagging_cache_" + id + " (loopId INTEGER PRIMARY KEY)");
  }
  for (const auto& [set, message] : cases) {
    engine = database.engine();
    engine->doSearch();
    EXPECT_EQ(engine->lastSearchFailure(), std::nullopt);
    set(*engine);
    engine->doSearch();
    ASSERT_TRUE(engine->lastSearchFailure()) << message;
    EXPECT_NE(engine->lastSearchFailure()->message.find(message), std::string::npos)
        << engine->lastSearchFailure()->message;
    EXPECT_TRUE(environment->hasLogged(message));
    EXPECT_EQ(engine->numberOfLoops(), 0) << message;
    EXPECT_TRUE(engine->availableKeywords().empty()) << message;
    engine->setSearchKeywords(names()), engine->setEnabledCrateIdentifier({}), engine->setSearchString({});
    engine->setLoopsTablename("Loops");
    engine->doSearch();
    EXPECT_EQ(engine->numberOfLoops(), engine->sqlite3Connection() ? 9 : 0) << message;
  }
}

TEST_F(SearchTest, RunsOneInsertThatJoinsTheRarestKeywordFirst) {
  engine->setSearchKeywords(names("Drum Kit", "Electric Bass", "Zorp"));  // carried by 1, 2 and 3 loops
  engine->setEnabledCrateIdentifier(names("a"));
  engine->setSearchForFavorites(true);
  engine->setSortingColumnName("numberOfBeats", false);
  std::string insert;
  const auto keepInsert = [](unsigned, void* kept, void*, void* text) {
    const std::string sql = static_cast<const char*>(text);
    if (sql.starts_with("INSERT")) *static_cast<std::string*>(kept) = sql;
    return 0;
  };
  sqlite3_trace_v2(engine->sqlite3Connection(), SQLITE_TRACE_STMT, keepInsert, &insert);
  engine->doSearch();
  sqlite3_trace_v2(engine->sqlite3Connection(), 0, nullptr, nullptr);
  EXPECT_EQ(insert,
            "INSERT INTO tempTable " + engine->selectBaseString() +
                "JOIN (select tagging_cache_112.loopId as loopId from tagging_cache_112 join tagging_cache_30 on "
                "tagging_cache_112.loopId=tagging_cache_30.loopId join tagging_cache_20001 on "
                "tagging_cache_112.loopId=tagging_cache_20001.loopId) AS dummy ON Loops.id=dummy.loopId  JOIN "
                "LoopsKeywords ON LoopsKeywords.loopId = id JOIN CrateLoopRelation ON CrateLoopRelation.loopId = id  "
                "WHERE  isFavorite = 1  AND  ((CrateLoopRelation.crateId = \"a\"))   ORDER BY numberOfBeats COLLATE "
                "NOCASE DESC , lengthInSeconds DESC  ");
}

TEST_F(SearchTest, SortsByOneColumnOrByDescriptors) {
  const auto sortedBy = [&](const std::string& column, bool ascending) {
    engine->setSortingColumnName(column, ascending);
    return idsFound(*engine);
  };
  EXPECT_EQ(sortedBy("fileName", true), (Ids{8, -3, 1, 2, 6, 7, 9, 4, 5}));  // without case, "_" is before letters
  const Ids byBeats = sortedBy("numberOfBeats", false);
  EXPECT_EQ(Ids(byBeats.end() - 2, byBeats.end()), (Ids{5, 4}));  // as many beats: the longer one first

  engine->setSortingColumnName("tempo");
  engine->setSortDescriptors({{{"numberOfBeats", true}, {"fileName", false}}});
  EXPECT_EQ(engine->sortingString(),
            "ORDER BY numberOfBeats  ASC  , lengthInSeconds ASC , fileName  COLLATE NOCASE DESC ");
  EXPECT_EQ(idsFound(*engine), (Ids{4, 5, 9, 7, 2, 1, -3, 8, 6}));
}

TEST_F(SearchTest, SortsByColumnsOfTheResultAlone) {
  const auto environment = TestEnvironment::install();
  const LCSortDescriptor tempo{"tempo", false}, sql{"random()"}, random = LCSortDescriptor::random();
  const std::pair<std::vector<LCSortDescriptor>, std::string> cases[] = {
      {{sql, tempo, {"(SELECT 1)"}, {""}}, "ORDER BY tempo  DESC "},
      {{{"THEME"}, {"chineseTranscript"}}, "ORDER BY THEME  ASC , chineseTranscript  ASC "},  // of the other variant
      {{random}, "ORDER BY random() "},
      {{tempo, random}, "ORDER BY tempo  DESC "},
      {{random, random}, ""},
      {{sql}, ""},
  };
  for (const auto& [descriptors, clause] : cases) {
    engine->setSortDescriptors(descriptors);
    EXPECT_EQ(engine->sortingString(), clause);
    EXPECT_EQ(engine->sortDescriptors(), descriptors);  // as they were given
  }
  EXPECT_TRUE(environment->hasLogged("Not sorted by \"random()\""));
  EXPECT_TRUE(environment->hasLogged("Not sorted at random"));
  engine->setSortingColumnName("id; DROP TABLE Loops");
  EXPECT_EQ(idsFound(*engine).size(), 9u);
  std::set<Ids> orders;  // of nine loops: the same order eight times is as good as impossible
  engine->setSortDescriptors({{random}});
  for (int count = 0; count < 8; ++count) orders.insert(idsFound(*engine));
  EXPECT_GT(orders.size(), 1u);
}

TEST_F(SearchTest, AgainCountsTheSameAndAFailedOneIsEmpty) {
  engine->doSearch();
  engine->fileAtIndex(0);
  engine->rowIndexInCurrentSearchResultForLoopId(1);
  engine->setSearchString("zebra");
  for (int count = 0; count < 2; ++count) EXPECT_EQ(idsFound(*engine), (Ids{4, 5}));
  EXPECT_TRUE(engine->searchParameterEdited());                                     // lowering the flag is the host's
  EXPECT_EQ(engine->resultObjectForKey("lengthInSeconds", 0), LCCell(int64_t{3}));  // whole seconds
  EXPECT_EQ(engine->resultObjectForKey("isFavorite", 0), LCCell(""));               // never marked
  EXPECT_EQ(engine->resultObjectForKey("comment", 0), std::nullopt);  // in the result, but not among the columns read
  engine->setLoopsTablename("no such table");
  EXPECT_EQ(idsFound(*engine), Ids{});
  EXPECT_EQ(engine->fileAtIndex(0), nullptr);
}

TEST_F(SearchTest, OffersTheKeywordsOfItsResultAndTheirGroups) {
  engine->setSearchString("zebra one");
  for (const std::string column :
       {"instrumentTypeId", "instrumentSubTypeId", "genreId", "singleEnsembleKeywordId", "partFillKeywordId",
        "acousticElectricKeywordId", "dryProcessedKeywordId", "cleanDistortedKeywordId", "cheerfulDarkKeywordId",
        "relaxedIntenseKeywordId", "groovingArrhythmicKeywordId", "melodicDissonantKeywordId"}) {
    database.execute("UPDATE Loops SET " + column + " = iif(id = 5, 3, 1)");
    engine->doSearch();
    EXPECT_EQ(engine->availableKeywords(), names("Brass", "Tuba")) << column;
    database.execute("UPDATE Loops SET " + column + " = NULL");
  }
  const std::pair<vesk::StringSet, vesk::StringSet> cases[] = {
      {{"Tuba", "Deep House"}, {"Tuba", "Deep House", "Brass", "House"}},
      {{"Bagpipe", ""}, {"Bagpipe", "Woodwind"}},
      {{"Explosions"}, {"Explosions", "Effects", "All Effects", "Boom"}},
      {{"Urban"}, {"Urban", "Hip Hop/RnB"}},
      {{"Boom", "Effects"}, {"Boom", "Effects"}},  // groups are no members of groups
  };
  for (const auto& [given, available] : cases) {
    engine->setAvailableKeywords(given);
    EXPECT_EQ(engine->availableKeywords(), available);
  }
}

TEST_F(SearchTest, RowsAreFoundByNameURLAndId) {
  const Ids ids = idsFound(*engine);
  for (size_t row = 0; row < ids.size(); ++row) {
    const auto file = engine->fileAtIndex(static_cast<int64_t>(row));
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->loopID(), ids[row]);
    EXPECT_EQ(engine->rowIndexInCurrentSearchResultForLoopId(ids[row]), row);
    EXPECT_EQ(engine->rowIndexInCurrentSearchResultForLoopWithFileURLString(*file->plainFileURLStr()), row);
  }
  EXPECT_EQ(engine->rowIndexInCurrentSearchResultForLoopId(10), Engine::kNotFound);
  EXPECT_EQ(engine->rowIndexInCurrentSearchResultForLoopWithFileURLString("file:///a\"b"), Engine::kNotFound);

  // By name in plain order: the last row at or before it, -1 before the first, and never the last row.
  database.execute("DELETE FROM Loops WHERE id NOT IN (1, 2, 4)");
  database.execute("UPDATE Loops SET fileName = CASE id WHEN 1 THEN 'O''a' WHEN 2 THEN 'b' ELSE 'c' END");
  engine->doSearch();
  const std::pair<const char*, int64_t> cases[] = {{"A", -1}, {"O'a", 0}, {"Z", 0}, {"b", 1}, {"c", Engine::kNotFound}};
  for (const auto& [name, row] : cases) {
    EXPECT_EQ(engine->rowNumberInCurrentSearchResultForLoopWithName(name), row) << name;
  }
}

TEST(RowCache, IsCentredOnTheRowAskedForAndNeverBeginsBelowZero) {
  SearchDatabase database;
  for (int64_t row = 0; row < 40; ++row) database.add(100 + row, std::to_string(1000 + row));
  const auto engine = database.engine();
  engine->doSearch();
  struct Case {
    int64_t row, first, count;  // what the cache holds after `row` was read
  };
  const Case cases[] = {{17, 12, 10}, {21, 12, 10}, {22, 17, 10}, {39, 34, 6},  // the last rows
                        {40, 34, 6},                                            // covered, but there is none
                        {3, 0, 10},   {25, 20, 10}, {29, 20, 10}, {30, 25, 10}, {24, 19, 10}};
  for (const auto& [row, first, count] : cases) {
    const std::optional<LCCell> id = engine->resultObjectForKey("id", row);
    EXPECT_EQ(id, row < 40 ? std::optional(LCCell(100 + row)) : std::nullopt);
    const std::vector<LCCell>& cached = engine->searchResults().at("id");
    EXPECT_EQ(cached.front(), LCCell(100 + first)) << row;
    EXPECT_EQ(cached.size(), static_cast<size_t>(count)) << row;
  }
  engine->setNumberOfRowsInCache(std::numeric_limits<uint64_t>::max());
  engine->resetCache();
  EXPECT_EQ(engine->resultObjectForKey("id", 39), LCCell(int64_t{139}));
}

TEST_F(SearchTest, PackagesAreListedByIdentifierOrByName) {
  database.execute("INSERT INTO Crates VALUES ('a', 'Zulu', 'm', 0), ('b', 'Alpha', 'm', 1), ('c\"d', 'Mike', 'm', 0)");
  using Cells = std::vector<LCCell>;
  EXPECT_EQ(engine->allCrates().at("crateName"), (Cells{"Alpha", "Mike", "Zulu"}));
  EXPECT_TRUE(engine->enabledCrates().empty());
  engine->setEnabledCrateIdentifier(names("a", "c\"d", "unknown"));
  EXPECT_EQ(engine->enabledCrates().at("crateName"), (Cells{"Zulu", "Mike"}));
}
