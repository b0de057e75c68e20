#include "search/SearchDatabase.h"
#include "VeskLoopManagement/search/LCSearchEngineMobile.h"

// Loops with their keywords in the columns, as the indexer leaves them.
struct KeywordsTest : EngineTest {
  KeywordsTest() {
    tag(1, "kick.wav", {"Drums", "Kick", "Hip Hop", "Dry"});
    tag(2, "/L/My Loops/tuba.wav", {"Horn/Wind", "Tuba", "Deep House"});
    tag(3, "walk.wav", {"Sound Effect", "People", "Urban", "Dark"});
    tag(4, "bang.wav", {"Sound Effect", "Explosions", "Dark"});
    tag(5, "talk.wav", {"Vocals", "Male", "Vinyl/Scratch"});
    database.run(
        "INSERT INTO Tagging VALUES (1, 20001);"  // "Zorp", from outside the taxonomy
        "INSERT INTO UserData VALUES (3, 1, 0, ''), (1, 0, 5, '');"
        "INSERT INTO CrateLoopRelation VALUES ('a', 1), ('a', 3), ('b', 3)");
  }

  void tag(int64_t id, const std::string& name, const std::vector<std::string>& keywords) {
    std::string values = "id = id";
    Ids ids;
    for (const std::string& keyword : keywords) {
      ids.push_back(LCKeywordHelper::keywordIdForKeyword(keyword));
      values += ", " + LCKeywordHelper::columnNameForKeyword(keyword).value() + " = " + std::to_string(ids.back());
    }
    database.add(id, name, values, ids);
  }

  vesk::StringSet keywordsFor(const std::string& category, const std::optional<std::string>& subCategory,
                              const std::optional<std::string>& keyword = {}, Engine* mobile = nullptr) {
    const auto keywords =
        (mobile ? mobile : engine.get())->availableKeywordsForCategory(category, subCategory, keyword);
    return keywords ? vesk::StringSet(keywords->begin(), keywords->end()) : names("nil");
  }
};

TEST_F(KeywordsTest, SubCategoriesFollowTheFilterButNotTheKeywords) {
  EXPECT_EQ(engine->availableKeywordsForCategory("Base", {}, {}),
            (Rows{"All", "Genres", "Moods", "Instruments", "Favorites"}));
  EXPECT_EQ(engine->availableKeywordsForCategory("BaseFX", {}, {}),
            (Rows{"All Effects", "Mixed", "Motions & Transitions", "Effects", "FavoritesFX"}));
  engine->setSearchKeywords(names("Kick"));
  EXPECT_EQ(keywordsFor("Base", "Moods"), names("Dark", "Dry"));
  EXPECT_EQ(keywordsFor("Base", "Genres"), names("Deep House", "Hip Hop", "Urban"));
  EXPECT_EQ(keywordsFor("Base", "Instrument Types"), names("Drums", "Horn/Wind", "Sound Effect", "Vocals"));
  EXPECT_EQ(keywordsFor("Base", "Instruments").size(), 10u);
  EXPECT_EQ(keywordsFor("Base", "All").size(), 16u);  // with "Zorp"
  EXPECT_EQ(keywordsFor("Base", "Favorites"), names("Dark", "People", "Sound Effect", "Urban"));
  EXPECT_EQ(keywordsFor("Base", "Colours"), names("nil"));
  EXPECT_EQ(keywordsFor("Colours", {}), names("nil"));

  database.run("INSERT INTO Tagging VALUES (4, 10003), (4, 10004)");  // All Effects, Effects
  EXPECT_EQ(keywordsFor("Base", "All").size(), 16u);
  EXPECT_EQ(keywordsFor("BaseFX", "All").size(), 18u);

  engine->setPathPrefix("/L/My Loops");  // the filter's "%20" is part of the text
  EXPECT_EQ(keywordsFor("Base", "All"), names("Deep House", "Horn/Wind", "Tuba"));
  engine->setPathPrefix({});
  engine->setEnabledCrateIdentifier(names("a", "b"));
  EXPECT_EQ(keywordsFor("Base", "Genres"), names("Hip Hop", "Urban"));

  const auto mobile = LCSearchEngineMobile::initWithDatabaseConfiguration(database.configuration());
  EXPECT_EQ(keywordsFor("Base", "Instruments", {}, mobile.get()),
            names("Drums", "People", "Sound Effect", "Vinyl/Scratch", "Vocals"));
}

TEST_F(KeywordsTest, ADrillDownNarrowsTheSearchForGood) {
  EXPECT_EQ(keywordsFor("Base", "Moods", "Dark"), names("All Effects", "Boom", "Dark", "Effects", "Explosions",
                                                        "Hip Hop/RnB", "People", "Sound Effect", "Urban"));
  EXPECT_EQ(keywordsFor("Base", "Genres", "Urban"),
            names("All Effects", "Dark", "Effects", "Hip Hop/RnB", "People", "Sound Effect", "Urban"));
  EXPECT_EQ(engine->searchKeywords(), names("Dark", "Urban"));
  EXPECT_EQ(engine->numberOfLoops(), 1);
  keywordsFor("Base", "Favorites", "Dark");
  EXPECT_TRUE(engine->searchForFavorites());
  keywordsFor("Base", {}, "Dark");
  EXPECT_FALSE(engine->searchForFavorites());

  using Case = std::pair<const char*, vesk::StringSet>;
  for (const auto& [subCategory, keywords] :
       {Case{"All Effects", {"All Effects", "Boom", "People", "Urban"}},
        Case{"FavoritesFX", {"All Effects", "People", "Urban"}}, Case{"Mixed", names("All Effects", "Urban")},
        Case{"Effects", {"All Effects", "Boom", "People"}}, Case{"Nothing", {}}}) {
    engine->setSearchKeywords(names());
    if (keywords.empty()) engine->setSearchString("found nowhere");
    EXPECT_EQ(keywordsFor("BaseFX", subCategory, "Dark"), keywords) << subCategory;
  }
}

TEST_F(KeywordsTest, DroppingTheChoiceWithinAType) {
  engine->setSearchKeywords(names("People", "Dark", "Urban"));
  const std::pair<int64_t, vesk::StringSet> cases[] = {
      {Engine::kSearchTypeInstruments, {"All Effects", "Effects", "People", "Sound Effect"}},
      {Engine::kSearchTypeGenres, names("Hip Hop/RnB", "Urban")},
      {Engine::kSearchTypeDescriptors, {"Dark"}},
      {7, {}}};
  for (const auto& [searchType, keywords] : cases) {
    EXPECT_EQ(engine->availableKeywordsOfSearchType(searchType), keywords) << searchType;
    EXPECT_EQ(engine->searchKeywords(), names("Dark", "People", "Urban"));
    EXPECT_TRUE(!engine->searchParameterEdited() && engine->numberOfLoops() == 1);
    EXPECT_TRUE(engine->availableKeywords().contains("People"));
  }
  engine->setSearchKeywords(names("Kick", "Dark"));  // together they find nothing
  EXPECT_EQ(engine->availableKeywordsOfSearchType(Engine::kSearchTypeDescriptors), names("Dry"));
  EXPECT_EQ(engine->numberOfLoops(), 0);
  LCKeywordHelper::setKeywordId(1600, 0x30000 + kCategoryGenre, "Flagged");  // only the low 16 bits are the category
  engine->setAvailableKeywords(names("Flagged", "Urban", "Kick", "Nobody"));
  EXPECT_EQ(engine->availableKeywordsOfType(kCategoryGenre), names("Flagged", "Hip Hop/RnB", "Urban"));
}

TEST_F(KeywordsTest, CountsAreThoseOfAHandWrittenQuery) {
  EXPECT_TRUE(engine->availableKeywordsWithCounts().empty());                           // nothing was searched for yet
  for (int64_t id = 100; id < 110; ++id) tag(id, "more.wav", {"Drums", "Tom", "Dry"});  // makes one loop a small result
  for (const int64_t id : {-8, -7, 6, 50, 51, 200}) tag(id, "without tags.wav", {});
  database.run("INSERT INTO Tagging SELECT 4, id FROM Keywords WHERE name = 'Impacts & Crashes'");  // two of "Boom"
  for (const vesk::StringSet& keywords : {names(), names("Drums"), names("Dark"), names("Kick")}) {
    engine->setSearchKeywords(keywords);
    const std::string loops = testing::PrintToString(idsFound(*engine));  // "{ 1, 2 }"
    const LCKeywordCounts counts = engine->availableKeywordsWithCounts();
    for (const std::string& keyword : engine->availableKeywords()) EXPECT_TRUE(counts.contains(keyword)) << keyword;
    for (const auto& [keyword, count] : counts) {
      vesk::StringSet members = names(keyword);
      for (const auto& group : LCKeywordHelper::keywordGroups()) {
        if (group.name == keyword) members.insert(group.members.begin(), group.members.end());
      }
      const std::string query =
          "SELECT count(DISTINCT loopId) FROM Tagging JOIN Keywords ON Keywords.id = keywordId WHERE loopId IN (" +
          loops.substr(1, loops.size() - 2) + ") AND name IN ('" + vesk::text::joined(members, "', '") + "')";
      EXPECT_EQ(database.rows(query), Rows{std::to_string(count)}) << keyword;
    }
    EXPECT_EQ(counts.contains("All Effects"), keywords.empty() || keywords.contains("Dark"));
    EXPECT_EQ(counts.contains("Zorp"), !keywords.contains("Dark"));
  }

  engine->setEnabledCrateIdentifier(names("a", "b"));
  engine->setSearchKeywords(names("Dark"));
  EXPECT_EQ(idsFound(*engine), (Ids{3, 3}));  // once for each package
  EXPECT_EQ(engine->availableKeywordsWithCounts().at("Urban"), 1);
}

TEST_F(KeywordsTest, CachingTablesAreCopiedAndExtraKeywordsBecomeKnown) {
  const int64_t kick = LCKeywordHelper::keywordIdForKeyword("Kick");
  for (const int64_t first : {kick + 1, kick, kick}) {
    engine->copyCachingTablesFromKeywordId(first, kick, "tagging_cache_", "copy_");
    EXPECT_EQ(database.rows("SELECT count(*) FROM sqlite_master WHERE name LIKE 'copy%'"),
              Rows{first == kick ? "1" : "0"});
  }
  EXPECT_EQ(database.rows("SELECT loopId FROM copy_" + std::to_string(kick)), Rows{"1"});

  database.run("INSERT INTO Keywords VALUES (1500, 'Wobble', 1), (999, 'Early', 5), (10000, 'Late', 5)");
  engine->refreshKeywordsCache();
  EXPECT_EQ(LCKeywordHelper::keywordIdForKeyword("Wobble"), 1500);
  EXPECT_EQ(LCKeywordHelper::keywordCategoryForKeyword("Wobble"), kCategoryGenre);
  EXPECT_EQ(LCKeywordHelper::keywordIdForKeyword("Early") + LCKeywordHelper::keywordIdForKeyword("Late"), 0);
}
