#include "search/SearchDatabase.h"

#include <limits>

namespace {

using Set = std::function<void(Engine&)>;

Set restrictedTo(const LCSearchRestrictions& restrictions) {
  return [restrictions](Engine& e) { e.setRestrictions(restrictions); };
}

struct SearchTest : EngineTest {
  SearchTest() { database.addVariedLoops(); }
};

}  // namespace

TEST_F(SearchTest, FindsTheLoopsThatPassEverySetting) {
  constexpr int64_t kLowest = std::numeric_limits<int64_t>::min(), kHighest = std::numeric_limits<int64_t>::max();
  const Ids all = {-3, 1, 2, 4, 5, 6, 7, 8, 9, kHighest};  // a loop without a row in LoopsKeywords is never found
  const std::string folder = database.folder().path();
  const std::set<int64_t> types = {1, 2};
  database.add(kHighest, folder + "/in.wav", "key = 58, timeSignatureTop = 5");
  database.add(kLowest, folder + "x/out.wav");
  database.run("DELETE FROM LoopsKeywords WHERE loopId = " + std::to_string(kLowest));
  const std::pair<Set, Ids> cases[] = {
      {[](Engine& e) {  // none of these restricts
         e.setTimeSignatureTop(3, 0), e.setEnabledLoopTypes({}), e.setEnabledCrateIdentifier(names());
         e.setSearchString(""), e.setPathPrefix(""), e.setSpecialNameSearchString(""), e.setRootKey(59);
       },
       all},
      {[](Engine& e) { e.setSearchKeywords(names("Zorp", "Electric Bass")); }, {1, 4}},
      // Keywords that nobody carries, known or not, do not restrict.
      {[](Engine& e) { e.setSearchKeywords(names("Nobody", "it's", "Banjo", "Tuba")); }, {2, 8}},
      {[](Engine& e) { e.setSearchKeywords(names("Nobody")); }, all},
      {[](Engine& e) { e.setSearchForFavorites(true); }, {2, 5}},
      {[](Engine& e) { e.setTimeSignatureTop(6, 8); }, {4, 6}},  // no signature is any
      {[](Engine& e) { e.setTimeSignatureTop(3, 8); }, {6}},
      {[](Engine& e) { e.setKeyType(1); }, {1}},
      {[](Engine& e) { e.setFilterOutWebLoops(true); }, {-3, 1, 2, 4, 5, 8, 9, kHighest}},
      {[&](Engine& e) { e.setEnabledLoopTypes(types); }, {4, 5}},
      {[&](Engine& e) { e.setUseKestrelLoopTypes(true), e.setEnabledLoopTypes(types); }, {5}},
      // A loop in two enabled packages comes twice.
      {[](Engine& e) { e.setEnabledCrateIdentifier(names("a", "b", "c\"d")); }, {1, 2, 2, 5, 9}},
      {[](Engine& e) { e.setPathPrefix("/L/Bass%20B"); }, {7}},
      {[](Engine& e) { e.setPathPrefix("/L/su"); }, {5}},
      {[&](Engine& e) { e.setPathPrefix(folder); }, {kHighest}},  // a folder that exists: not its neighbours
      {[](Engine& e) { e.setSpecialNameSearchString("0% \"LIVE"); }, {8}},
      {[](Engine& e) { e.setSpecialNameSearchString("tree apple"); }, {}},  // not word by word
      {[](Engine& e) { e.setSearchString("bass"); }, {1, 2, 7}},            // name, comment, folder
      {[](Engine& e) { e.setSearchString("don't"); }, {-3}},                // title
      {[](Engine& e) { e.setSearchString("night"); }, {5}},                 // theme
      {[](Engine& e) { e.setSearchString("tree apple"); }, {2}},            // all words, any order
      {[](Engine& e) { e.setSearchString("two  zebra"); }, {4}},            // the empty word is in every name
      {[](Engine& e) { e.setSearchString("bass box"); }, {7}},              // "%bass%20box%" in the URL
      {[](Engine& e) { e.setSearchString("x y"); }, {9}},                   // words, and "%x%20y%" in the URL
      {[](Engine& e) { e.setSearchString("then 20"); }, {8}},               // the whole text in "collection"
      {[](Engine& e) { e.setSearchString("100% \"live\""); }, {2, 8}},
      {[](Engine& e) { e.setSearchString("%"); }, all},         // wildcards stay wildcards
      {[](Engine& e) { e.setSearchString("ärger"); }, {6, 7}},  // ASCII folding alone would miss both
      {[](Engine& e) { e.setSearchString("ärger \"x"); }, {}},  //
      {[](Engine& e) { e.setSearchString("strasse ä"); }, {}},  // "ß" is not folded to "ss"
      {restrictedTo({.tempos = {{50, 51}, {104, 200}}}), {4, 5}},
      // No tempo is none, whether stored as 0, as -1 or not at all.
      {restrictedTo({.tempos = {{kLowest, kHighest}}}), {1, 2, 4, 5}},
      {restrictedTo({.minimumRating = -1}), {2, 5, 6, 8}},  // the others were never marked
      {restrictedTo({.candidateIds = Ids{9, -3, 9, kLowest, kHighest, 10, 77}}), {-3, 9, kHighest}},
      {restrictedTo({.text = {{"bass"}}}), {1, 2, 7}},  // name, comment, and the folder where the file itself lies
      {restrictedTo({.text = {{"bass"}, {"file:///L/", "file:///M/"}}}), {1, 2, 7}},  // below a folder
      {restrictedTo({.text = {{"sub"}, {"file:///L/Sub/"}}}), {}},                    // not the folder itself
      {restrictedTo({.text = {{"l/sub"}, {"file:///"}}}), {5}},
      {restrictedTo({.text = {{"/sub/"}, {"file://"}}}), {5}},  // the whole path
      {restrictedTo({.text = {{"ärger"}}}), {6, 7}},
      {restrictedTo({.textInName = "_"}), {-3}},
      {restrictedTo({.keys = {{9}, {3, 2}}}), {6, 8}},  // loops without a key pass
      {restrictedTo({.keys = {{9}, {3, 1}}, .onlyWithKey = true}), {2, 8}},
      {[](Engine& e) {  // each leaves out some loop that all others let pass
         e.setSearchKeywords(names("Favorites", "Zorp")), e.setEnabledCrateIdentifier(names("b"));
         e.setTimeSignatureTop(4, 4), e.setKeyType(2), e.setRootKey(62), e.setEnabledLoopTypes(std::set<int64_t>{0});
         e.setFilterOutWebLoops(true), e.setPathPrefix("/L/"), e.setSpecialNameSearchString("e T");
         e.setSearchString("apple");
         e.setRestrictions({.tempos = {{101, 104}}, .minimumRating = 4, .candidateIds = Ids{1, 2, 5}});
       },
       {2}},
  };
  for (const auto& [set, ids] : cases) {
    engine = database.engine();
    set(*engine);
    EXPECT_EQ(sorted(idsFound(*engine)), ids);
    EXPECT_TRUE(engine->numberOfLoops() == std::ssize(ids) && !engine->lastSearchFailure());
  }
  EXPECT_EQ(engine->availableKeywords(), names("Brass", "Tuba"));
  EXPECT_EQ(engine->availableKeywordsWithCounts().at("Zorp"), 1);
  for (int count = 0; count < 2; ++count) EXPECT_EQ(idsFound(*engine), Ids{2});  // the candidates are taken anew
}

// The stored key of root key R is R - 12; with near matches its two neighbours on either side pass, around the octave.
TEST_F(SearchTest, LetsNeighbouringKeysPassAroundTheOctave) {
  for (int64_t key = -1; key <= 70; ++key) database.add(1000 + key, "a.wav", "key = " + std::to_string(key));
  const auto keysFound = [&](const std::string& condition) {
    return database.rows("SELECT key FROM Loops WHERE id > 900 AND (key BETWEEN 48 AND 59 OR key < 1)" + condition);
  };
  const auto keysOfEngine = [&](int64_t root, bool near) {
    engine->setRootKey(root);
    engine->setFilterForMoreRelevantResults(near);
    return keysFound(" AND" + engine->generateFilterString());
  };
  for (int64_t root = 60; root <= 71; ++root) {
    std::set<std::string> near = {"-1", "0"};  // unknown keys pass
    for (int64_t step = -2; step <= 2; ++step) near.insert(std::to_string(48 + (root - 60 + step + 12) % 12));
    EXPECT_EQ(keysOfEngine(root, true), Rows(near.begin(), near.end())) << root;
    EXPECT_EQ(keysFound(Engine::keyFilterStringForKey(root)), Rows(near.begin(), near.end())) << root;
    EXPECT_EQ(keysOfEngine(root, false), (Rows{"-1", "0", std::to_string(root - 12)})) << root;
  }
  EXPECT_EQ(keysOfEngine(78, true), (Rows{"-1", "0", "48", "49", "50", "51", "52", "53", "54", "55", "56"}));
  EXPECT_EQ(Engine::keyFilterStringForKey(59), "");
}

TEST_F(SearchTest, AFailureIsToldAndLeavesAnEmptyResultToThatSearchAlone) {
  vesk::StringSet many;
  for (int number = 0; number < 1500; ++number) many.insert("word" + std::to_string(number));
  const auto instruments = LCKeywordHelper::keywordsForCategory(kCategoryInstrumentSubType);
  const std::pair<Set, const char*> cases[] = {
      {[&](Engine& e) { e.setSearchKeywords(instruments); }, "at most 64 tables in a join"},
      {[&](Engine& e) { e.setEnabledCrateIdentifier(many); }, "Expression tree is too large"},
      {[&](Engine& e) { e.setSearchString(vesk::text::joined(many, " ")); }, "Expression tree is too large"},
      {[](Engine& e) { e.setLoopsTablename("Nowhere"); }, "no such table: Nowhere"},
      {[](Engine& e) {  // packages are always looked for in the standard table, which is then not joined
         e.setCrateLoopRelationTablename("Tagging"), e.setEnabledCrateIdentifier(names("a"));
       },
       "no such column: CrateLoopRelation.crateId"},
      {[](Engine& e) { e.closeDatabase(); }, "the database is closed"},
      {[&](Engine& e) {  // of two the first
         database.run("DROP TABLE keyword_distribution");
         e.setSearchKeywords(names("Tuba")), e.setLoopsTablename("Nowhere");
       },
       "no such table: keyword_distribution"},
  };
  Ids ids;
  for (const std::string& keyword : instruments) ids.push_back(LCKeywordHelper::keywordIdForKeyword(keyword));
  database.add(11, "tagged.wav", "id = id", ids);
  for (const auto& [set, message] : cases) {
    engine = database.engine();
    engine->doSearch();
    EXPECT_TRUE(engine->fileAtIndex(0)) << message;
    set(*engine);
    engine->doSearch();
    const std::string told = engine->lastSearchFailure().value_or(LCSearchFailure{}).message;
    EXPECT_NE(told.find(message), std::string::npos) << told;
    EXPECT_TRUE(environment->hasLogged(message) && !engine->fileAtIndex(0)) << message;
    EXPECT_TRUE(engine->numberOfLoops() == 0 && engine->availableKeywords().empty()) << message;
    engine->setSearchKeywords(names()), engine->setEnabledCrateIdentifier({}), engine->setSearchString({});
    engine->setLoopsTablename("Loops"), engine->setCrateLoopRelationTablename("CrateLoopRelation");
    engine->doSearch();
    EXPECT_EQ(engine->numberOfLoops(), engine->sqlite3Connection() ? 10 : 0) << message;
    EXPECT_EQ(engine->lastSearchFailure().has_value(), !engine->sqlite3Connection()) << message;
  }
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
  EXPECT_EQ(idsFound(*engine), (Ids{4, 5, 9, 7, 2, 1, -3, 8, 6}));
}

TEST_F(SearchTest, SortsByColumnsOfTheResultAlone) {
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
  EXPECT_TRUE(environment->hasLogged("Not sorted by \"random()\"") && environment->hasLogged("Not sorted at random"));
  engine->setSortingColumnName("id; DROP TABLE Loops");
  EXPECT_EQ(idsFound(*engine).size(), 9u);
}

// A statement that still stands on a row would keep the next search from dropping its table.
TEST_F(SearchTest, AgainStartsAfresh) {
  engine->doSearch();
  engine->rowIndexInCurrentSearchResultForLoopId(1);
  engine->foldedFamilies();
  engine->availableKeywordsWithCounts();
  engine->findMetaInfosForLoopId(1);
  engine->iconNameForFile(*engine->fileAtIndex(0));
  engine->setSearchString("zebra");
  for (int count = 0; count < 2; ++count) EXPECT_EQ(idsFound(*engine), (Ids{4, 5}));
  EXPECT_TRUE(engine->searchParameterEdited());                                     // lowering the flag is the host's
  EXPECT_EQ(engine->resultObjectForKey("lengthInSeconds", 0), LCCell(int64_t{3}));  // whole seconds
  EXPECT_EQ(engine->resultObjectForKey("isFavorite", 0), LCCell(""));               // never marked
  EXPECT_EQ(engine->resultObjectForKey("comment", 0), std::nullopt);  // in the result, but not among the columns read
}

TEST_F(SearchTest, OffersTheKeywordsOfItsResultAndTheirGroups) {
  engine->setSearchString("zebra one");
  const Rows columns = database.rows("SELECT name FROM pragma_table_info('Loops') WHERE name GLOB '*Id'");
  EXPECT_EQ(columns.size(), 12u);
  for (const std::string& column : columns) {
    database.run("UPDATE Loops SET " + column + " = iif(id = 5, 3, 1)");
    engine->doSearch();
    EXPECT_EQ(engine->availableKeywords(), names("Brass", "Tuba")) << column;
    database.run("UPDATE Loops SET " + column + " = NULL");
  }
  const std::pair<vesk::StringSet, vesk::StringSet> cases[] = {
      {{"Tuba", "Deep House"}, {"Tuba", "Deep House", "Brass", "House"}},
      {{"Bagpipe", ""}, {"Bagpipe", "Woodwind"}},
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
    ASSERT_TRUE(file && file->loopID() == ids[row]);
    EXPECT_EQ(engine->rowIndexInCurrentSearchResultForLoopId(ids[row]), row);
    EXPECT_EQ(engine->rowIndexInCurrentSearchResultForLoopWithFileURLString(*file->plainFileURLStr()), row);
  }
  EXPECT_EQ(engine->rowIndexInCurrentSearchResultForLoopId(10), Engine::kNotFound);
  EXPECT_EQ(engine->rowIndexInCurrentSearchResultForLoopWithFileURLString("file:///a\"b"), Engine::kNotFound);

  // By name in plain order: the last row at or before it, -1 before the first, and never the last row.
  database.run(
      "DELETE FROM Loops WHERE id NOT IN (1, 2, 4);"
      "UPDATE Loops SET fileName = CASE id WHEN 1 THEN 'O''a' WHEN 2 THEN 'b' ELSE 'c' END");
  engine->doSearch();
  const std::pair<const char*, int64_t> cases[] = {{"A", -1}, {"O'a", 0}, {"Z", 0}, {"b", 1}, {"c", Engine::kNotFound}};
  for (const auto& [name, row] : cases) {
    EXPECT_EQ(engine->rowNumberInCurrentSearchResultForLoopWithName(name), row) << name;
  }
}

using RowCache = EngineTest;
TEST_F(RowCache, IsCentredOnTheRowAskedForAndNeverBeginsBelowZero) {
  for (int64_t row = 0; row < 40; ++row) database.add(100 + row, std::to_string(1000 + row));
  engine->doSearch();
  using Case = std::array<int64_t, 3>;    // the row read; the first one and how many the cache then holds
  for (const auto& [row, first, count] :  // there is no row 40, though it is covered
       {Case{17, 12, 10}, Case{21, 12, 10}, Case{22, 17, 10}, Case{39, 34, 6}, Case{40, 34, 6}, Case{3, 0, 10},
        Case{24, 19, 10}}) {
    const std::optional<LCCell> id = engine->resultObjectForKey("id", row);
    EXPECT_EQ(id, row < 40 ? std::optional(LCCell(100 + row)) : std::nullopt);
    const std::vector<LCCell>& cached = engine->searchResults().at("id");
    EXPECT_EQ(std::pair(cached.front(), std::ssize(cached)), std::pair(LCCell(100 + first), count)) << row;
  }
  engine->setNumberOfRowsInCache(std::numeric_limits<uint64_t>::max());
  engine->resetCache();
  EXPECT_EQ(engine->resultObjectForKey("id", 39), LCCell(int64_t{139}));
}

TEST_F(SearchTest, PackagesAreListedByIdentifierOrByName) {
  database.run("INSERT INTO Crates VALUES ('a', 'Zulu', 'm', 0), ('b', 'Alpha', 'm', 1), ('c\"d', 'Mike', 'm', 0)");
  using Cells = std::vector<LCCell>;
  EXPECT_EQ(engine->allCrates().at("crateName"), (Cells{"Alpha", "Mike", "Zulu"}));
  EXPECT_TRUE(engine->enabledCrates().empty());
  engine->setEnabledCrateIdentifier(names("a", "c\"d", "unknown"));
  EXPECT_EQ(engine->enabledCrates().at("crateName"), (Cells{"Zulu", "Mike"}));
}
