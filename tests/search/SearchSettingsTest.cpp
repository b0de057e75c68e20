#include "search/SearchDatabase.h"

struct SettingsTest : EngineTest {
  bool raisesEditedFlag(const std::function<void(Engine&)>& set) {
    engine->resetSearchParameterEditFlag();
    set(*engine);
    return engine->searchParameterEdited();
  }
};

TEST_F(SettingsTest, RaiseTheEditedFlagWhenWhatIsSearchedForChanges) {
  // Each changes the value at its first call and repeats it at the second.
  const std::function<void(Engine&)> setters[] = {
      [](Engine& e) { e.setSearchKeywords(names("Bass")); },
      [](Engine& e) { e.setTimeSignatureTop(3, 4); },
      [](Engine& e) { e.setSearchForFavorites(true); },
      [](Engine& e) { e.setEnabledCrateIdentifier(names()); },  // none is not empty
      [](Engine& e) { e.setEnabledCrateIdentifier(std::nullopt); },
      [](Engine& e) { e.setRestrictions({.minimumRating = 3, .candidateIds = Ids{}}); },
  };
  for (const auto& set : setters) {
    EXPECT_TRUE(raisesEditedFlag(set) && !raisesEditedFlag(set)) << &set - setters;
  }
  EXPECT_FALSE(raisesEditedFlag([](Engine& e) {
    e.setSortingColumnName("tempo", false), e.setSortDescriptors(std::vector<LCSortDescriptor>{{"key"}});
    e.setNumberOfRowsInCache(3), e.setUseMacOSSorting(true), e.setUseKestrelLoopTypes(true);
  }));
  engine->setSearchParameterEdited(true);
  engine->setSearchParameterEdited(false);
  EXPECT_TRUE(engine->searchParameterEdited());  // never lowered
}

TEST_F(SettingsTest, KeepOnlyKeywordsThatLoopsCarryUntilReset) {
  engine->setSearchKeywords(names("Moods", "Genres", "Instruments", "Instrument Types", "All", "Dark", "FavoritesFX"));
  EXPECT_EQ(engine->searchKeywords(), names("Dark", "All Effects"));
  EXPECT_TRUE(engine->searchForFavorites());
  engine->setSearchKeywords(std::nullopt);
  EXPECT_TRUE(engine->searchForFavorites());  // only ever turned on here
  engine->setSearchKeywords(names("Bass"));
  engine->setSearchString("a");
  engine->setRootKey(60);
  engine->setRestrictions({.minimumRating = 3});
  engine->reset();
  EXPECT_TRUE(engine->searchKeywords().empty() && !engine->searchForFavorites() && !engine->searchString());
  EXPECT_EQ(engine->restrictions(), LCSearchRestrictions());
  EXPECT_EQ(engine->rootKey(), 60) << "filters stay";
  // Compared with what is stored, not with what was given.
  const auto askForFavorites = [](Engine& e) { e.setSearchKeywords(names("Favorites")); };
  for (int count = 0; count < 2; ++count) EXPECT_TRUE(raisesEditedFlag(askForFavorites));
}
