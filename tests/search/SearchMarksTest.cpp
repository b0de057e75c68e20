// What is kept and shown of single loops: marks, loudness, meta infos, repairs, display.
#include "platform/Path.h"
#include "resources/ResourceTables.h"
#include "search/SearchDatabase.h"
#include "support/AudioFixture.h"
#include "VeskLoopManagement/loudness/LCLoudnessDatabase.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"
#include "VeskLoopManagement/search/LCSearchEngineDesktop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

struct MarksTest : testing::Test {
  const TestEnvironment::Guard environment = TestEnvironment::install();
  SearchDatabase database;
  std::unique_ptr<LCSearchEngineDesktop> engine = database.engine();

  // The marks of loop 9 as one number: favourite, rating, length of the comment.
  int64_t marks() {
    const Ids found =
        database.numbers("SELECT isFavorite * 100 + rating * 10 + length(userComment) FROM UserData WHERE loopId = 9");
    return found.empty() ? -1 : found.front();
  }
};

}  // namespace

TEST_F(MarksTest, OneMarkGivenClearsTheOthersUnlessTheRowHasThem) {
  database.add(9, "a\"b.wav");
  const std::string url = vesk::URL::fileURLWithPath("/L/a\"b.wav", false).absoluteString();
  EXPECT_TRUE(engine->setIsFavorite(true, url));
  EXPECT_EQ(marks(), 100);
  EXPECT_TRUE(engine->setRating(3, url));
  EXPECT_EQ(marks(), 30);
  EXPECT_TRUE(engine->setComment("a \"b\" 'c'", url));
  EXPECT_EQ(marks(), 9);
  EXPECT_TRUE(engine->setUserDataForURL(url, true, 4, "five5"));
  EXPECT_EQ(marks(), 145);

  const LCResultDictionary row = {{"id", {std::string("0x9")}},
                                  {"isFavorite", {int64_t{2}}},
                                  {"rating", {std::string("3")}},
                                  {"userComment", {"x"}}};
  EXPECT_TRUE(engine->setUserDataDict(row, {}, {}, {}));
  EXPECT_EQ(marks(), 131);
  EXPECT_FALSE(engine->setUserDataDict({{"id", {std::string("x")}}}, true, {}, {}));
  EXPECT_FALSE(engine->setUserDataDict({}, true, {}, {}));
  EXPECT_FALSE(engine->setRating(3, "file:///L/unknown.wav"));

  engine->resetSearchParameterEditFlag();
  EXPECT_TRUE(engine->setIsFavorite(true, int64_t{9}));
  EXPECT_TRUE(engine->searchParameterEdited());
  EXPECT_EQ(marks(), 100);
  EXPECT_FALSE(engine->setIsFavorite(true, int64_t{10}));
  const auto reader = LCSearchEngineDesktop::initWithDatabaseConfiguration(database.configuration(true));
  EXPECT_FALSE(reader->setIsFavorite(false, url));
}

TEST_F(MarksTest, FavoritesAreCounted) {
  database.addVariedLoops();
  database.execute("INSERT INTO UserData (loopId, isFavorite) VALUES (77, 1)");  // of a loop that is gone
  EXPECT_EQ(engine->totalNumberOfLoops(), 10);
  EXPECT_EQ(engine->numberOfFavoritesInResults(), 0);
  EXPECT_EQ(engine->numberOfFavoritesForTable("Loops"), 2);
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
  EXPECT_EQ(engine->findLoudnessInfoForLoopId(1, url("/L/both.wav")), factory);
  EXPECT_EQ(engine->findLoudnessInfoForLoopId(2, url("/L/mine.wav")), own);
  EXPECT_EQ(engine->findLoudnessInfoForLoopId(3, url("/L/gone.wav")), std::nullopt);
  EXPECT_EQ(engine->findLoudnessInfoForURL(url("/else/both.wav")), factory);  // by name
  EXPECT_EQ(engine->findLoudnessInfoForURL(url("/L/mine.wav")), own);         // by path
  EXPECT_EQ(engine->findLoudnessInfoForURL(url("/else/mine.wav")), std::nullopt);
  const auto archive = vesk::path::readFile(TEST_DATA_DIR "/additional-all-keys.archive").value();
  const std::string tagged = database.folder().path("tagged.aif");
  fixture::writeFile(tagged, fixture::aiffFile({fixture::chunk("adLD", fixture::bytesOf(archive))}));
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
  const LCMetaInfo keyword = LCWeightedInstrumentKeyword{.keywordTitle = "Topper", .weight = 1}.metaInfo();
  EXPECT_EQ(engine->instrumentKeywordsForLoopId(1), std::vector{keyword});
  EXPECT_TRUE(engine->findMetaInfosForLoopId(2).empty());
  EXPECT_EQ(database.numbers("SELECT id FROM Loops WHERE patchInfo = 2 AND ksLoopType = 0"), Ids{2});
  EXPECT_TRUE(LCSearchEngine::isTrackStackLoopWithMissingInfo(trackStack));
  EXPECT_FALSE(LCSearchEngine::isTrackStackLoopWithMissingInfo(std::nullopt));
}

TEST_F(MarksTest, EveryInstrumentHasAnIconNamedAfterItself) {
  vesk::StringSet instruments;
  for (const int32_t category :
       {kCategoryInstrumentTypeWithSubTypes, kCategoryInstrumentType, kCategoryInstrumentSubType}) {
    const vesk::StringSet keywords = LCKeywordHelper::keywordsForCategory(category);
    instruments.insert(keywords.begin(), keywords.end());
  }
  for (const LCKeywordGroup& group : LCKeywordHelper::keywordGroups()) instruments.erase(group.name);
  for (const std::string& instrument : instruments) {
    const auto parent = LCKeywordHelper::parentKeywordForKeyword(instrument);
    std::string icon = vesk::text::asciiLowercase(parent ? *parent + "-" + instrument : instrument);
    std::replace_if(
        icon.begin(), icon.end(), [](char letter) { return letter == ' ' || letter == '/'; }, '-');
    EXPECT_EQ(LCSearchEngine::iconNameForInstrumentSubType(instrument), icon);
    int64_t id = 0;
    EXPECT_TRUE(LCSearchEngine::kestrelLegacyIconIdForIconName(icon, &id));
    EXPECT_EQ(id, LCKeywordHelper::keywordIdForKeyword(instrument)) << icon;
  }
  EXPECT_FALSE(LCSearchEngine::kestrelLegacyIconIdForIconName("nobody", nullptr));
}

TEST_F(MarksTest, ALoopIsShownByItsNameAndInstrument) {
  const auto idOf = [](const char* name) {
    return std::to_string(LCKeywordHelper::keywordIdForKeyword(std::string(name)));
  };
  database.add(1, "Funky Beat.01.caf",
               "instrumentTypeId = " + idOf("Drums") + ", instrumentSubTypeId = " + idOf("Kick"));
  database.add(2, "b.caf", "instrumentTypeId = " + idOf("Horn/Wind"));
  database.add(3, "c.caf");
  environment->setLocalizedString("b", "Bé", "LocalizableLoops");
  EXPECT_EQ(LCSearchEngine::localizedNameForFile(*engine->fileForLoopId(1)), "Funky Beat.01");
  EXPECT_EQ(LCSearchEngine::localizedNameForFile(*engine->fileForLoopId(2)), "Bé");
  EXPECT_EQ(engine->iconNameForFile(*engine->fileForLoopId(1)), "drums-kick");
  EXPECT_EQ(engine->iconNameForFile(*engine->fileForLoopId(2)), "horn-wind");
  EXPECT_EQ(engine->iconNameForFile(*engine->fileForLoopId(3)), std::nullopt);
}
