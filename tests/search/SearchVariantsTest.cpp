#include "search/SearchDatabase.h"
#include "VeskLoopManagement/search/LCSearchEngineMobile.h"

#include <filesystem>

struct MobileEngine : testing::Test {
  const TestEnvironment::Guard environment = TestEnvironment::install();
  SearchDatabase database;
  std::unique_ptr<LCSearchEngineMobile> engine =
      LCSearchEngineMobile::initWithDatabaseConfiguration(database.configuration());
};

TEST_F(MobileEngine, ReadsTheChineseTranscriptOnlyInChinese) {
  database.run("ALTER TABLE Loops ADD COLUMN chineseTranscript TEXT");
  database.add(1, "a.wav", "chineseTranscript = 'GU'");
  database.run("INSERT INTO UserData (loopId, isFavorite) VALUES (1, 1)");
  engine->doSearch();
  EXPECT_EQ(engine->availableColumnKeys().size(), 21u);
  environment->setLocale("zh_Hans_CN");
  engine->doSearch();
  EXPECT_EQ(engine->availableColumnKeys().size(), 22u);
  EXPECT_EQ(engine->resultObjectForKey("chineseTranscript", 0), LCCell("GU"));
  EXPECT_EQ(engine->resultObjectForKey("isFavorite", 0), LCCell(int64_t{1}));
}

TEST_F(MobileEngine, SortsInTheLanguageOfThePersonWhereAsked) {
  database.addNamed({"Zoo", "by", "Ba", "öa", "oz", "", "b"});
  const Ids plain{6, 7, 3, 2, 5, 1, 4};      // bytes without ASCII case: "ö" behind "z"
  const Ids localized{6, 7, 2, 3, 5, 4, 1};  // "b…" before "B…", and "o…" before "ö…", whatever follows
  EXPECT_EQ(idsFound(*engine), plain);
  engine->setUseLocalizedSorting(true);
  EXPECT_EQ(idsFound(*engine), localized);
  engine->setUseMacOSSorting(true);
  EXPECT_EQ(idsFound(*engine), plain);
  environment->setLocale("zh_Hant_TW");
  engine->setUseMacOSSorting(false);
  engine->setUseLocalizedSorting(false);
  EXPECT_EQ(engine->textSearchCollate(), "LC_LocalizedSortingCollate");
}

TEST_F(MobileEngine, KeepsOnlyTheREDEdition) {
  database.addNamed({"N.caf", "N (RED).caf", "M.caf", "/other/N.caf"});
  engine->fixDuplicateLoopsFromREDContent();
  EXPECT_EQ(database.rows("SELECT id FROM Loops ORDER BY id"), (Rows{"2", "3"}));
  EXPECT_EQ(engine->instrumentsKeywordsToPresent()->size(), 70u);
}

TEST(FolderOutline, ListsTheVisibleFoldersOfTheThreeRoots) {
  const auto environment = TestEnvironment::install();
  const std::string root = environment->folder() + "/", factory = root + "machine/Audio/Vireo Loops/";
  const std::string user = root + "home/.local/share/Audio/Vireo Loops/";
  for (const std::string& path : {factory + "beats/inner", factory + ".hidden", factory + "Äther/.hidden", user + "Zoo",
                                  user + "User Loops/Mine"}) {
    std::filesystem::create_directories(path);
  }
  EXPECT_TRUE(vesk::path::writeFileAtomically(factory + "file.wav", ""));
  const auto engine = SearchDatabase().engine();
  const std::vector<std::string> roots = engine->_childrenOfItem(std::nullopt);
  EXPECT_EQ(roots, (Rows{user + "User Loops/Mine", user + "Zoo", factory + "Äther", factory + "beats"}));
  EXPECT_EQ(engine->_childrenOfItem(roots[3]), Rows{factory + "beats/inner"});
  EXPECT_TRUE(engine->isLeafItem(roots[2]));  // only a hidden folder
}

TEST(SearchEngineFile, ResolvesLinksOnlyWhenNoFileIsAtThePathItself) {
  const TemporaryFolder folder;
  std::filesystem::create_symlink(folder.addFile("target.wav", ""), folder.path("link.wav"));
  std::filesystem::create_symlink(folder.path(), folder.path("loops"));
  const auto resolved = [&folder](const std::string& path) {
    return LCSearchEngineFile(vesk::URL::fileURLWithPath(folder.path(path)).absoluteString(), 1).resolvedFilePath();
  };
  EXPECT_EQ(resolved("link.wav"), folder.path("link.wav"));
  EXPECT_EQ(resolved("loops/target.wav"), folder.path("loops/target.wav"));
  EXPECT_EQ(resolved("loops/gone.wav"), folder.path("gone.wav"));
}
