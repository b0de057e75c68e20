// What is kept and shown of single loops: marks, loudness, meta infos, repairs, display.
#include "resources/ResourceTables.h"
#include "search/SearchDatabase.h"
#include "support/AudioFixture.h"
#include "VeskLoopManagement/loudness/LCLoudnessDatabase.h"

using MarksTest = EngineTest;

TEST_F(MarksTest, OneMarkGivenClearsTheOthersUnlessTheRowHasThem) {
  database.add(9, "a\"b.wav");
  const std::string url = vesk::URL::fileURLWithPath("/L/a\"b.wav", false).absoluteString();
  const auto text = [](const char* cell) { return std::vector<LCCell>{std::string(cell)}; };
  const LCResultDictionary row = {
      {"id", text("0x9")}, {"isFavorite", {int64_t{2}}}, {"rating", text("3")}, {"userComment", text("x")}};
  const std::pair<std::function<bool()>, const char*> steps[] = {
      {[&] { return engine->setIsFavorite(true, url); }, "1|0|"},
      {[&] { return engine->setRating(3, url); }, "0|3|"},
      {[&] { return engine->setComment("a \"b\" 'c'", url); }, "0|0|a \"b\" 'c'"},
      {[&] { return engine->setUserDataForURL(url, true, 4, "five5"); }, "1|4|five5"},
      {[&] { return engine->setUserDataDict(row, {}, {}, {}); }, "1|3|x"},
      {[&] { return engine->resetSearchParameterEditFlag(), engine->setIsFavorite(true, int64_t{9}); }, "1|0|"}};
  for (const auto& [mark, marks] : steps) {
    EXPECT_TRUE(mark()) << marks;
    EXPECT_EQ(database.rows("SELECT isFavorite, rating, userComment FROM UserData WHERE loopId = 9"), Rows{marks});
  }
  EXPECT_TRUE(engine->searchParameterEdited());
  EXPECT_FALSE(engine->setUserDataDict({{"id", text("x")}}, true, {}, {}) || engine->setUserDataDict({}, true, {}, {}));
  EXPECT_FALSE(engine->setIsFavorite(true, int64_t{10}) || engine->setRating(3, "file:///L/unknown.wav"));
  EXPECT_FALSE(database.engine(true)->setIsFavorite(false, url));
}

TEST_F(MarksTest, FavoritesAreCounted) {
  database.addVariedLoops();
  database.run("INSERT INTO UserData (loopId, isFavorite) VALUES (77, 1)");  // of a loop that is gone
  EXPECT_TRUE(engine->numberOfFavoritesInResults() == 0 && engine->numberOfFavoritesForTable("Loops") == 2);
  engine->setSearchForFavorites(true);
  engine->doSearch();
  EXPECT_EQ(engine->numberOfFavoritesInResults(), engine->numberOfLoops());
}

TEST_F(MarksTest, LoudnessComesFromTheFactoryThenTheDatabaseThenTheFile) {
  const LCLoopLoudnessInfo factory{-10, -1, -18}, own{-20, -2, -19};
  environment->setHostResource("LoudnessDatabaseV04", "sqlite", database.folder().path("factory.sqlite"));
  LCLoudnessDatabase::initWithDatabaseFile(database.folder().path("factory.sqlite"), true)
      ->saveLoadnessInfo(factory, "both.wav", 1);
  const auto url = [](const char* path) { return vesk::URL::fileURLWithPath(path, false); };
  EXPECT_TRUE(engine->saveLoadnessInfo(own, "/L/both.wav", 1));
  EXPECT_TRUE(engine->saveLoadnessInfo(own, "/L/mine.wav", 2));
  using Found = std::optional<LCLoopLoudnessInfo>;
  for (const auto& [id, info] : {std::pair(1, Found(factory)), {2, own}, {3, {}}})
    EXPECT_EQ(engine->findLoudnessInfoForLoopId(id, url("/L/gone.wav")), info);
  EXPECT_EQ(engine->findLoudnessInfoForURL(url("/else/both.wav")), factory);  // by name
  EXPECT_EQ(engine->findLoudnessInfoForURL(url("/L/mine.wav")), own);         // by path
  EXPECT_EQ(engine->findLoudnessInfoForURL(url("/else/mine.wav")), std::nullopt);
  const auto archive = fixture::bytesOf(vesk::path::readFile(TEST_DATA_DIR "/additional-all-keys.archive").value());
  const std::string tagged =
      database.folder().addFile("tagged.aif", fixture::aiffFile({fixture::chunk("adLD", archive)}));
  EXPECT_EQ(engine->findLoudnessInfoForURL(url(tagged.c_str())), (LCLoopLoudnessInfo{-14.25, -0.5, -18}));
}

TEST_F(MarksTest, RepairsReachTheLoopsOnTheirLists) {
  const std::string topper = *lc::resources::topperRepairFilenames().begin();
  const std::string trackStack = *engine->fileNamesWithMissingTrackInfo().begin();
  database.add(1, topper);
  database.add(2, trackStack, "ksLoopType = 6");
  database.add(3, "other.caf", "ksLoopType = 6");
  engine->fixTopperKeyword();
  engine->fixTopperKeyword();
  engine->fixTrackStackInfo();
  EXPECT_EQ(engine->instrumentKeywordsForLoopId(1), std::vector{(LCWeightedInstrumentKeyword{"Topper", 1}.metaInfo())});
  EXPECT_TRUE(engine->findMetaInfosForLoopId(2).empty());
  EXPECT_EQ(database.rows("SELECT id FROM Loops WHERE patchInfo = 2 AND ksLoopType = 0"), Rows{"2"});
  EXPECT_TRUE(Engine::isTrackStackLoopWithMissingInfo(trackStack));
  EXPECT_FALSE(Engine::isTrackStackLoopWithMissingInfo(std::nullopt));
}

TEST_F(MarksTest, ALoopIsShownByItsNameAndInstrument) {
  const auto idOf = [](std::string name) { return std::to_string(LCKeywordHelper::keywordIdForKeyword(name)); };
  database.add(1, "Funky Beat.01.caf",
               "instrumentTypeId = " + idOf("Drums") + ", instrumentSubTypeId = " + idOf("Kick"));
  database.add(2, "b.caf", "instrumentTypeId = " + idOf("Horn/Wind"));
  database.add(3, "c.caf");
  environment->setLocalizedString("b", "Bé", "LocalizableLoops");
  const std::tuple<int64_t, const char*, std::optional<std::string>> cases[] = {
      {1, "Funky Beat.01", "drums-kick"}, {2, "Bé", "horn-wind"}, {3, "c", {}}};
  for (const auto& [id, name, icon] : cases) {
    EXPECT_EQ(Engine::localizedNameForFile(*engine->fileForLoopId(id)), name);
    EXPECT_EQ(engine->iconNameForFile(*engine->fileForLoopId(id)), icon);
  }
  int64_t kick = 0;
  EXPECT_TRUE(Engine::kestrelLegacyIconIdForIconName("drums-kick", &kick));
  EXPECT_EQ(std::to_string(kick), idOf("Kick"));
  EXPECT_FALSE(Engine::kestrelLegacyIconIdForIconName("nobody", nullptr));
}
