#include "search/LCSearchEngineDesktop.h"
#include "search/SearchDatabase.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

struct SearchTest : testing::Test {
  SearchTest() { addVariedLoops(database); }

  std::vector<int64_t> idsFound() {
    engine->doSearch();
    return resultIds(*engine);
  }

  SearchDatabase database;
  std::unique_ptr<LCSearchEngineDesktop> engine =
      LCSearchEngineDesktop::initWithDatabaseConfiguration(database.configuration());
};

using Ids = std::vector<int64_t>;

}  // namespace

TEST_F(SearchTest, FindsWhatAHandWrittenQueryFinds) {
  struct Case {
    std::function<void(LCSearchEngine&)> set;
    std::string query;  // what follows "FROM Loops " in a query by hand
  };
  const std::string tagged = "WHERE id IN (SELECT loopId FROM Tagging WHERE keywordId = ";
  const Case cases[] = {
      {[](auto&) {}, "WHERE id != 10"},  // a loop without a row in LoopsKeywords is never found
      {[](auto& e) { e.setSearchKeywords(names("Zorp")); }, tagged + "20001)"},
      {[](auto& e) { e.setSearchKeywords(names("Zorp", "Electric Bass")); },
       tagged + "20001) AND id IN (SELECT loopId FROM Tagging WHERE keywordId = 30)"},
      {[](auto& e) { e.setSearchKeywords(names("Zorp", "Electric Bass", "Drum Kit")); }, "WHERE id = 4"},
      {[](auto& e) { e.setSearchKeywords(names("Tuba", "Bongo")); }, "WHERE 0"},
      // Keywords that nobody carries, known or not, do not restrict.
      {[](auto& e) { e.setSearchKeywords(names("Nobody", "it's", "Banjo", "Tuba")); }, tagged + "3)"},
      {[](auto& e) { e.setSearchKeywords(names("Nobody")); }, "WHERE id != 10"},
      {[](auto& e) { e.setSearchForFavorites(true); },
       "WHERE id IN (SELECT loopId FROM UserData WHERE isFavorite = 1)"},
      {[](auto& e) { e.setSearchForFavorites(true), e.setRootKey(63); }, "WHERE id = 2"},
      {[](auto& e) { e.setTimeSignatureTop(6, 8); },
       "WHERE ((timeSignatureTop = 6 AND timeSignatureBottom = 8) OR timeSignatureTop = 0)"},
      {[](auto& e) { e.setEnabledLoopTypes(types(1, 2)); }, "WHERE hasMidi IN (1, 2)"},
      {[](auto& e) { e.setUseKestrelLoopTypes(true), e.setEnabledLoopTypes(types(1)); }, "WHERE ksLoopType = 1"},
      {[](auto& e) { e.setKeyType(2); }, "WHERE keyType = 2"},
      {[](auto& e) { e.setFilterOutWebLoops(true); }, "WHERE isWebLoop = 0 AND id != 10"},
      {[](auto& e) { e.setEnabledCrateIdentifier(names("a")); },
       "JOIN CrateLoopRelation ON loopId = id WHERE crateId = 'a'"},
      // A loop in two enabled packages comes twice.
      {[](auto& e) { e.setEnabledCrateIdentifier(names("a", "b", "c\"d")); }, "JOIN CrateLoopRelation ON loopId = id"},
      {[](auto& e) { e.setPathPrefix("/L/Sub"); }, "WHERE id = 5"},
      {[](auto& e) { e.setPathPrefix("/L/"); }, "WHERE id != 10"},
      {[](auto& e) { e.setSpecialNameSearchString("ZEBRA"); }, "WHERE fileName LIKE '%zebra%'"},
      {[](auto& e) { e.setSearchString("bass"); }, "WHERE id IN (1, 2, 7)"},  // name, comment, folder
      {[](auto& e) { e.setSearchString("tree apple"); }, "WHERE id = 2"},     // all words, any order
      {[](auto& e) { e.setSearchString("zebra  two"); }, "WHERE id = 4"},     // two blanks
      {[](auto& e) { e.setSearchString("x y"); }, "WHERE id = 9"},            // words, and "%x%20y%" in the URL
      {[](auto& e) { e.setSearchString("then 20"); }, "WHERE id = 8"},        // the whole text in "collection"
      {[](auto& e) { e.setSearchString("night"); }, "WHERE id = 5"},
      {[](auto& e) { e.setSearchString("don't"); }, "WHERE id = -3"},
      {[](auto& e) { e.setSearchString("100% \"live\""); }, "WHERE id IN (2, 8)"},
      {[](auto& e) { e.setSearchString("%"); }, "WHERE id != 10"},          // wildcards stay wildcards
      {[](auto& e) { e.setSearchString("ärger"); }, "WHERE id IN (6, 7)"},  // ASCII folding alone would miss both
      {[](auto& e) { e.setSearchString("strasse ä"); }, "WHERE 0"},         // "ß" is not folded to "ss"
      {[](auto& e) {
         e.setSearchKeywords(names("Zorp")), e.setEnabledCrateIdentifier(names("a")), e.setSearchForFavorites(true),
             e.setSearchString("apple");
       },
       "WHERE id = 2"},
  };
  for (const auto& [set, query] : cases) {
    engine = LCSearchEngineDesktop::initWithDatabaseConfiguration(database.configuration());
    set(*engine);
    EXPECT_EQ(sorted(idsFound()), sorted(database.numbers("SELECT id FROM Loops " + query))) << query;
    EXPECT_EQ(engine->numberOfLoops(), static_cast<int64_t>(resultIds(*engine).size()));
  }
}

TEST_F(SearchTest, SortsByOneColumnOrByDescriptors) {
  const auto sortedBy = [&](const std::string& column, bool ascending) {
    engine->setSortingColumnName(column, ascending);
    return idsFound();
  };
  // Without case, "_" stands before letters.
  EXPECT_EQ(sortedBy("fileName", true), (Ids{8, -3, 1, 2, 6, 7, 9, 4, 5}));
  EXPECT_EQ(sortedBy("fileName", false), (Ids{5, 4, 9, 7, 6, 2, 1, -3, 8}));
  const Ids byBeats = sortedBy("numberOfBeats", false);
  EXPECT_EQ(byBeats.front(), 6);
  EXPECT_EQ(Ids(byBeats.end() - 2, byBeats.end()), (Ids{5, 4}));  // as many beats: the longer one first
  EXPECT_EQ(sortedBy("", true).size(), 9u);

  engine->setSortingColumnName("tempo");
  engine->setSortDescriptors({{{"numberOfBeats", true}, {"fileName", false}}});
  EXPECT_EQ(engine->sortingString(),
            "ORDER BY numberOfBeats  ASC  , lengthInSeconds ASC , fileName  COLLATE NOCASE DESC ");
  EXPECT_EQ(idsFound(), (Ids{4, 5, 9, 7, 2, 1, -3, 8, 6}));
  engine->setSortDescriptors(std::vector<LCSortDescriptor>{});
  EXPECT_EQ(engine->sortingString(), "");
}

TEST_F(SearchTest, AgainCountsTheSame) {
  engine->doSearch();
  engine->fileAtIndex(0);
  engine->rowIndexInCurrentSearchResultForLoopId(1);
  engine->availableColumnKeys();
  engine->setSearchString("zebra");
  EXPECT_EQ(idsFound(), (Ids{4, 5}));
  EXPECT_EQ(idsFound(), (Ids{4, 5}));
  EXPECT_TRUE(engine->searchParameterEdited());  // lowering the flag is the host's
}

TEST_F(SearchTest, ThatFailsLeavesAnEmptyResult) {
  engine->doSearch();
  engine->setSortingColumnName("no such column");
  EXPECT_EQ(idsFound(), Ids{});
  EXPECT_EQ(engine->fileAtIndex(0), nullptr);
  EXPECT_TRUE(engine->availableColumnKeys().empty());
  EXPECT_TRUE(engine->availableKeywords().empty());
}

TEST_F(SearchTest, OffersTheKeywordsOfItsResultAndTheirGroups) {
  engine->setSearchString("zebra one");
  for (const char* column :
       {"instrumentTypeId", "instrumentSubTypeId", "genreId", "singleEnsembleKeywordId", "partFillKeywordId",
        "acousticElectricKeywordId", "dryProcessedKeywordId", "cleanDistortedKeywordId", "cheerfulDarkKeywordId",
        "relaxedIntenseKeywordId", "groovingArrhythmicKeywordId", "melodicDissonantKeywordId"}) {
    database.execute(std::string("UPDATE Loops SET ") + column + " = iif(id = 5, 3, 1)");
    engine->doSearch();
    EXPECT_EQ(engine->availableKeywords(), names("Brass", "Tuba")) << column;
    database.execute(std::string("UPDATE Loops SET ") + column + " = NULL");
  }
  engine->doSearch();
  EXPECT_EQ(engine->availableKeywords(), names());
}

TEST_F(SearchTest, RowsAreFoundByNameURLAndId) {
  engine->doSearch();
  const Ids ids = resultIds(*engine);
  for (size_t row = 0; row < ids.size(); ++row) {
    const auto file = engine->fileAtIndex(static_cast<int64_t>(row));
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(file->loopID(), ids[row]);
    EXPECT_EQ(engine->rowIndexInCurrentSearchResultForLoopId(ids[row]), row);
    EXPECT_EQ(engine->rowIndexInCurrentSearchResultForLoopWithFileURLString(*file->plainFileURLStr()), row);
  }
  EXPECT_EQ(engine->rowIndexInCurrentSearchResultForLoopId(10), LCSearchEngine::kNotFound);
  EXPECT_EQ(engine->rowIndexInCurrentSearchResultForLoopWithFileURLString("file:///a\"b"), LCSearchEngine::kNotFound);

  // By name in plain order: the last row at or before it, -1 before the first, and never the last row.
  database.execute("DELETE FROM Loops WHERE id NOT IN (1, 2, 4)");
  database.execute("UPDATE Loops SET fileName = 'O''a' WHERE id = 1");
  database.execute("UPDATE Loops SET fileName = 'b' WHERE id = 2");
  database.execute("UPDATE Loops SET fileName = 'c' WHERE id = 4");
  engine->doSearch();
  struct Case {
    std::string name;
    int64_t row;
  };
  for (const auto& [name, row] : {Case{"A", -1}, Case{"O'a", 0}, Case{"Z", 0}, Case{"b", 1},
                                  Case{"c", LCSearchEngine::kNotFound}, Case{"", LCSearchEngine::kNotFound}}) {
    EXPECT_EQ(engine->rowNumberInCurrentSearchResultForLoopWithName(name), row) << name;
  }
}

TEST_F(SearchTest, CellsHaveTheShapeOfLoopRows) {
  engine->setSearchString("zebra");
  engine->doSearch();
  EXPECT_EQ(engine->resultObjectForKey("fileName", 0), LCCell("Zebra  two.wav"));
  EXPECT_EQ(engine->resultObjectForKey("lengthInSeconds", 0), LCCell(int64_t{3}));  // whole seconds
  EXPECT_EQ(engine->resultObjectForKey("isFavorite", 0), LCCell(""));               // never marked
  EXPECT_EQ(engine->resultObjectForKey("isFavorite", 1), LCCell(int64_t{1}));
  EXPECT_EQ(engine->resultObjectForKey("comment", 0), std::nullopt);  // in the result, but not among the columns read
  EXPECT_EQ(engine->resultObjectForKey("id", -1), std::nullopt);
  EXPECT_EQ(engine->resultObjectForKey("id", 2), std::nullopt);
  EXPECT_EQ(engine->resultObjectForKey("id", LCSearchEngine::kNotFound), std::nullopt);
  EXPECT_EQ(engine->availableColumnKeys().size(), 34u);
  engine->setUseKestrelLoopTypes(true);
  engine->resetCache();
  EXPECT_EQ(engine->resultObjectForKey("ksLoopType", 1), LCCell(int64_t{1}));
}

TEST(RowCache, IsCentredOnTheRowAskedForAndNeverBeginsBelowZero) {
  SearchDatabase database;
  for (int64_t row = 0; row < 40; ++row) database.add({.id = 100 + row, .fileName = std::to_string(1000 + row)});
  const auto engine = LCSearchEngineDesktop::initWithDatabaseConfiguration(database.configuration());
  engine->doSearch();
  EXPECT_TRUE(engine->searchResults().empty());
  struct Case {
    int64_t row, first, count;  // what the cache holds after `row` was read
  };
  for (const auto& [row, first, count] : {
           Case{17, 12, 10},
           Case{21, 12, 10},
           Case{22, 17, 10},
           Case{39, 34, 6},  // the last rows
           Case{40, 34, 6},  // covered, but there is none
           Case{3, 0, 10},
           Case{25, 20, 10},
           Case{29, 20, 10},
           Case{30, 25, 10},
           Case{24, 19, 10},
       }) {
    const std::optional<LCCell> id = engine->resultObjectForKey("id", row);
    EXPECT_EQ(id, row < 40 ? std::optional(LCCell(100 + row)) : std::nullopt);
    const std::vector<LCCell>& cached = engine->searchResults().at("id");
    EXPECT_EQ(cached.front(), LCCell(100 + first)) << row;
    EXPECT_EQ(cached.size(), static_cast<size_t>(count)) << row;
  }
  engine->setNumberOfRowsInCache(3);
  EXPECT_EQ(engine->resultObjectForKey("id", 5), LCCell(int64_t{105}));
  EXPECT_EQ(engine->searchResults().at("id").size(), 3u);
  engine->setNumberOfRowsInCache(std::numeric_limits<uint64_t>::max());
  EXPECT_EQ(engine->resultObjectForKey("id", 39), LCCell(int64_t{139}));
}

TEST_F(SearchTest, SingleLoopsAreLookedUpWhateverIsSearchedFor) {
  engine->setSearchString("nothing");
  engine->doSearch();
  const vesk::URL url = vesk::URL::fileURLWithPath("/L/_under.wav", false);
  EXPECT_EQ(engine->loopIdForFileURL(url), -3);
  EXPECT_TRUE(engine->isFileIndexed(url));
  EXPECT_EQ(engine->loopIdForFileURL(vesk::URL::fileURLWithPath("/L/missing.wav", false)), 0);
  EXPECT_FALSE(engine->isFileIndexed(vesk::URL::fileURLWithPath("/L/missing.wav", false)));
  EXPECT_EQ(engine->keywordsForLoopId(2), (names("Tuba", "Zorp")));
  EXPECT_EQ(engine->keywordsForLoopId(9), names());
  EXPECT_EQ(engine->totalNumberOfLoops(), 10);
}

TEST_F(SearchTest, PackagesAreListedByIdentifierOrByName) {
  database.execute("INSERT INTO Crates VALUES ('a', 'Zulu', 'm', 0), ('b', 'Alpha', 'm', 1), ('c\"d', 'Mike', 'm', 0)");
  using Cells = std::vector<LCCell>;
  EXPECT_EQ(engine->allCrates().at("crateName"), (Cells{"Alpha", "Mike", "Zulu"}));
  EXPECT_EQ(engine->allCrates().at("isVirtualCrate"), (Cells{true, false, false}));
  EXPECT_TRUE(engine->enabledCrates().empty());
  engine->setEnabledCrateIdentifier(names("a", "c\"d", "unknown"));
  EXPECT_EQ(engine->enabledCrates().at("crateName"), (Cells{"Zulu", "Mike"}));
}

TEST_F(SearchTest, AfterClosingAnswersAreEmpty) {
  engine->doSearch();
  engine->closeDatabase();
  engine->setSearchString("ä");
  engine->doSearch();
  EXPECT_EQ(engine->numberOfLoops(), 0);
  EXPECT_EQ(engine->indexFileSchemaVersion(), -1);
  EXPECT_EQ(engine->indexingAppIdentifer(), std::nullopt);
  EXPECT_FALSE(engine->isIndexFileVersionValid());
  EXPECT_EQ(engine->fileAtIndex(0), nullptr);
  EXPECT_EQ(engine->textSearchLikeFunction(), "LIKE");
}

TEST(AvailableKeywords, GainTheGroupsThatHaveAMember) {
  SearchDatabase database;
  const auto engine = LCSearchEngineDesktop::initWithDatabaseConfiguration(database.configuration());
  struct Case {
    vesk::StringSet given, available;
  };
  for (const auto& [given, available] : {
           Case{{"Tuba", "Deep House"}, {"Tuba", "Deep House", "Brass", "House"}},
           Case{{"Harmonica"}, {"Harmonica", "Brass"}}, Case{{"Bagpipe", ""}, {"Bagpipe", "Woodwind"}},
           Case{{"Mixed"}, {"Mixed", "All Effects"}},
           Case{{"Explosions"}, {"Explosions", "Effects", "All Effects", "Boom"}},
           Case{{"Urban"}, {"Urban", "Hip Hop/RnB"}},
           Case{{"Boom", "Effects"}, {"Boom", "Effects"}},  // groups are no members of groups
       }) {
    engine->setAvailableKeywords(given);
    EXPECT_EQ(engine->availableKeywords(), available);
  }
}
