#include "platform/Path.h"
#include "search/LCSearchEngineDesktop.h"
#include "search/LCSearchEngineMobile.h"
#include "search/SearchDatabase.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using Ids = std::vector<int64_t>;

}  // namespace

TEST(MobileEngine, ReadsTheChineseTranscriptOnlyInChinese) {
  const auto environment = TestEnvironment::install();
  SearchDatabase database;
  database.execute("ALTER TABLE Loops ADD COLUMN chineseTranscript TEXT");
  addVariedLoops(database);
  database.execute("UPDATE Loops SET chineseTranscript = 'GU' WHERE id = 1");
  const auto engine = LCSearchEngineMobile::initWithDatabaseConfiguration(database.configuration());
  engine->setSearchString("bass");

  engine->doSearch();
  EXPECT_EQ(resultIds(*engine), (Ids{1, 2, 7}));
  EXPECT_EQ(engine->availableColumnKeys().size(), 21u);
  EXPECT_EQ(engine->resultObjectForKey("chineseTranscript", 0), std::nullopt);

  environment->setLocale("zh_Hans_CN");
  engine->doSearch();
  EXPECT_EQ(engine->availableColumnKeys().size(), 22u);
  EXPECT_EQ(engine->resultObjectForKey("chineseTranscript", 0), LCCell("GU"));
  EXPECT_EQ(engine->resultObjectForKey("isFavorite", 1), LCCell(int64_t{1}));
  EXPECT_EQ(engine->resultObjectForKey("keyType", 0), std::nullopt);  // no column of this layout
}

TEST(MobileEngine, SortsInTheLanguageOfThePersonWhereAsked) {
  const auto environment = TestEnvironment::install();
  SearchDatabase database;
  const char* const names[] = {"Zoo", "by", "Ba", "öa", "oz", "", "b"};
  for (int64_t id = 0; id < 7; ++id) database.add({.id = id + 1, .fileName = names[id]});
  const auto engine = LCSearchEngineMobile::initWithDatabaseConfiguration(database.configuration());
  const auto idsFound = [&] {
    engine->doSearch();
    return resultIds(*engine);
  };
  const Ids plain{6, 7, 3, 2, 5, 1, 4};      // bytes without ASCII case: "ö" behind "z"
  const Ids localized{6, 7, 2, 3, 5, 4, 1};  // "b…" before "B…", and "o…" before "ö…", whatever follows
  EXPECT_EQ(idsFound(), plain);
  engine->setUseLocalizedSorting(true);
  EXPECT_EQ(idsFound(), localized);
  engine->setUseMacOSSorting(true);
  EXPECT_EQ(idsFound(), plain);
  engine->setUseMacOSSorting(false);
  engine->setUseLocalizedSorting(false);
  environment->setLocale("zh_Hant_TW");
  EXPECT_EQ(engine->textSearchCollate(), "LC_LocalizedSortingCollate");
  EXPECT_EQ(engine->textSearchLikeFunction(), "LIKE");
}

TEST(MobileEngine, KeepsOnlyTheREDEdition) {
  SearchDatabase database;
  database.add({.id = 1, .fileName = "N.caf"});
  database.add({.id = 2, .fileName = "N (RED).caf"});
  database.add({.id = 3, .fileName = "M.caf"});
  database.add({.id = 4, .fileName = "N.caf", .folder = "/other/"});
  const auto engine = LCSearchEngineMobile::initWithDatabaseConfiguration(database.configuration());
  engine->fixDuplicateLoopsFromREDContent();
  EXPECT_EQ(database.numbers("SELECT id FROM Loops ORDER BY id"), (Ids{2, 3}));
}

TEST(MobileEngine, ShowsSeventyInstrumentKeywords) {
  SearchDatabase database;
  const auto engine = LCSearchEngineMobile::initWithDatabaseConfiguration(database.configuration());
  EXPECT_EQ(engine->instrumentsKeywordsToPresent()->size(), 70u);
}

TEST(FolderOutline, ListsTheVisibleFoldersOfTheThreeRoots) {
  const auto environment = TestEnvironment::install();
  const TemporaryFolder folder;
  environment->setLibraryFolders(vesk::Domain::user, {folder.addFolder("user")});
  environment->setLibraryFolders(vesk::Domain::local, {folder.addFolder("machine")});
  const std::string factory = "machine/Audio/Vireo Loops/", user = "user/Audio/Vireo Loops/";
  folder.addFolder(factory + "beats/inner");
  folder.addFolder(factory + ".hidden");
  folder.addFile(factory + "file.wav", "");
  folder.addFile(factory + "Äther/.hidden/x", "");
  folder.addFolder(user + "Zoo");
  folder.addFolder(user + "User Loops/Mine");
  SearchDatabase database;
  const auto engine = LCSearchEngineDesktop::initWithDatabaseConfiguration(database.configuration());

  const std::vector<std::string> roots = engine->_childrenOfItem(std::nullopt);
  EXPECT_EQ(roots, (std::vector{folder.path(factory + "Äther"), folder.path(factory + "beats"),
                                folder.path(user + "User Loops/Mine"), folder.path(user + "Zoo")}));
  EXPECT_EQ(engine->numberOfChildrenOfItem(std::nullopt), 4u);
  EXPECT_EQ(engine->child(0, roots[1]), folder.path(factory + "beats/inner"));
  EXPECT_EQ(engine->child(1, roots[1]), std::nullopt);
  EXPECT_TRUE(engine->isLeafItem(roots[0]));  // only a hidden folder
  EXPECT_FALSE(engine->isLeafItem(roots[1]));
  EXPECT_FALSE(engine->isLeafItem(std::nullopt));
  EXPECT_EQ(engine->objectValueForItem(roots[0]), "Äther");
  EXPECT_EQ(engine->objectValueForItem(std::nullopt), std::nullopt);
  EXPECT_FALSE(vesk::path::exists(folder.path(user + "User Loops/SingleFiles")));
}

TEST(SearchEngineFile, ResolvesLinksOnlyWhenNoFileIsAtThePathItself) {
  const TemporaryFolder folder;
  const std::string target = folder.addFile("target.wav", "");
  std::filesystem::create_symlink(target, folder.path("link.wav"));
  std::filesystem::create_symlink(folder.path(), folder.path("loops"));
  const auto resolved = [](const std::string& path) {
    return LCSearchEngineFile(vesk::URL::fileURLWithPath(path).absoluteString(), 1).resolvedFilePath();
  };
  EXPECT_EQ(resolved(folder.path("link.wav")), folder.path("link.wav"));
  EXPECT_EQ(resolved(folder.path("loops/target.wav")), folder.path("loops/target.wav"));
  EXPECT_EQ(resolved(folder.path("loops/gone.wav")), folder.path("gone.wav"));

  const LCSearchEngineFile nothing(std::nullopt, std::nullopt);
  EXPECT_EQ(nothing.loopID(), LCSearchEngine::kNotFound);
  EXPECT_EQ(nothing.resolvedFileURL(), std::nullopt);
  EXPECT_TRUE(LCSearchEngineFile("file:///a", 1) == LCSearchEngineFile("file:///a", 2));
  EXPECT_FALSE(LCSearchEngineFile("file:///a", 1) == nothing);
  EXPECT_EQ(LCSearchEngineFile("file:///a", 1).hash(), LCSearchEngineFile("file:///a", 2).hash());
}
