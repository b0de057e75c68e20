#include "search/LCSearchEngineDesktop.h"
#include "search/SearchDatabase.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

struct SettingsTest : testing::Test {
  SearchDatabase database;
  std::unique_ptr<LCSearchEngineDesktop> engine =
      LCSearchEngineDesktop::initWithDatabaseConfiguration(database.configuration());

  bool raisesEditedFlag(const std::function<void(LCSearchEngine&)>& set) {
    engine->resetSearchParameterEditFlag();
    set(*engine);
    return engine->searchParameterEdited();
  }
};

}  // namespace

TEST_F(SettingsTest, OfWhatIsSearchedForRaiseTheEditedFlagWhenTheyChange) {
  struct Case {
    const char* what;
    std::function<void(LCSearchEngine&)> set;
  };
  // Each changes the value at its first call and repeats it at the second.
  const Case cases[] = {
      {"search string", [](auto& e) { e.setSearchString("a"); }},
      {"no search string", [](auto& e) { e.setSearchString(std::nullopt); }},
      {"special name", [](auto& e) { e.setSpecialNameSearchString(""); }},
      {"path prefix", [](auto& e) { e.setPathPrefix("/"); }},
      {"keywords", [](auto& e) { e.setSearchKeywords(names("Bass")); }},
      {"signature top", [](auto& e) { e.setTimeSignatureTop(3, -1); }},
      {"signature bottom", [](auto& e) { e.setTimeSignatureTop(3, 4); }},
      {"key type", [](auto& e) { e.setKeyType(1); }},
      {"root key", [](auto& e) { e.setRootKey(60); }},
      {"relevance", [](auto& e) { e.setFilterForMoreRelevantResults(false); }},
      {"favourites", [](auto& e) { e.setSearchForFavorites(true); }},
      {"web loops", [](auto& e) { e.setFilterOutWebLoops(true); }},
      {"empty packages", [](auto& e) { e.setEnabledCrateIdentifier(names()); }},
      {"no packages", [](auto& e) { e.setEnabledCrateIdentifier(std::nullopt); }},
      {"no loop types", [](auto& e) { e.setEnabledLoopTypes(std::nullopt); }},
      {"empty loop types", [](auto& e) { e.setEnabledLoopTypes(types()); }},
      {"localized sorting", [](auto& e) { e.setUseLocalizedSorting(true); }},
  };
  for (const auto& [what, set] : cases) {
    EXPECT_TRUE(raisesEditedFlag(set)) << what;
    EXPECT_FALSE(raisesEditedFlag(set)) << what;
  }
  engine->setSearchParameterEdited(true);
  engine->setSearchParameterEdited(false);
  EXPECT_TRUE(engine->searchParameterEdited());  // never lowered
}

TEST_F(SettingsTest, OfPresentationLeaveTheEditedFlagAlone) {
  EXPECT_FALSE(raisesEditedFlag([](LCSearchEngine& e) {
    e.setSortingColumnName("tempo", false);
    e.setSortDescriptors(std::vector<LCSortDescriptor>{{"key"}});
    e.setNumberOfRowsInCache(3);
    e.setUseMacOSSorting(true);
    e.setUseKestrelLoopTypes(true);
    e.setLoopsTablename("Other");
  }));
}

TEST_F(SettingsTest, KeepOnlyKeywordsThatLoopsCarry) {
  struct Case {
    std::optional<vesk::StringSet> given;
    vesk::StringSet stored;
    bool favorites;
  };
  for (const auto& [given, stored, favorites] : {
           Case{{{"Favorites", "Bass", "Genres"}}, {"Bass"}, true},
           Case{{{"FavoritesFX"}}, {"All Effects"}, true},
           Case{{{"Moods", "Genres", "Instruments", "Instrument Types", "All", "Dark"}}, {"Dark"}, false},
           Case{names(), {}, false},
           Case{std::nullopt, {}, false},
       }) {
    engine->setSearchForFavorites(false);
    engine->setSearchKeywords(given);
    EXPECT_EQ(engine->searchKeywords(), stored);
    EXPECT_EQ(engine->searchForFavorites(), favorites);
  }
  engine->setSearchForFavorites(true);
  engine->setSearchKeywords(std::nullopt);
  EXPECT_TRUE(engine->searchForFavorites());  // only ever turned on here
  // Compared with what is stored, not with what was given.
  const auto askForFavorites = [](LCSearchEngine& e) { e.setSearchKeywords(names("Favorites")); };
  EXPECT_TRUE(raisesEditedFlag(askForFavorites));
  EXPECT_TRUE(raisesEditedFlag(askForFavorites));
  EXPECT_TRUE(raisesEditedFlag([](LCSearchEngine& e) { e.setSearchKeywords(std::nullopt); }));
}

TEST_F(SettingsTest, AreClearedByResetExceptFilters) {
  database.add({.id = 1, .fileName = "a"});
  engine->doSearch();
  engine->fileAtIndex(0);
  engine->setSearchKeywords(names("Favorites", "Bass"));
  engine->setSearchString("a");
  engine->setPathPrefix("/");
  engine->setRootKey(60);
  engine->reset();
  EXPECT_EQ(engine->searchKeywords(), names());
  EXPECT_FALSE(engine->searchForFavorites());
  EXPECT_EQ(engine->searchString(), std::nullopt);
  EXPECT_EQ(engine->pathPrefix(), std::nullopt);
  EXPECT_EQ(engine->rootKey(), 60);
  EXPECT_TRUE(engine->searchResults().empty());
}
