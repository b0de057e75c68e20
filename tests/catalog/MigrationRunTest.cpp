#include "catalog/CatalogTest.h"
#include "VeskLoopManagement/catalog/LCLibraryFolders.h"
#include "VeskLoopManagement/catalog/LCMigration.h"

struct MigrationRun : CatalogTest {
  LCOutcome<LCMigrationReport> tryToMigrate(const LCMigrationRequest& request) {
    return LCMigration::run(file, request, log);
  }
  LCMigrationReport migrate(const LCMigrationRequest& request) { return valueOf(tryToMigrate(request)); }
  Rows marked() const {
    return rows("SELECT fileName, isFavorite, rating FROM UserData JOIN Loops ON id = loopId ORDER BY 1");
  }
};

TEST_F(MigrationRun, AMovedLibraryKeepsItsMarksAndIsFoundAgain) {
  for (const char* name : {"L/One.aif", "L/s/Two L.aif", "Li/Three.aif"}) add(name, loopFile({.genre = name}));
  scan({.paths = {"L", "Li"}});
  execute("INSERT INTO UserData SELECT id, 1, 3, '' FROM Loops");
  const Rows before = marked();
  rename("L", "M");
  std::filesystem::remove(path("M/s/Two L.aif"));
  LCMigrationRequest request{.relocations = {{.oldFolder = path("L"), .newFolder = path("M")}}, .isDryRun = true};
  EXPECT_EQ(migrate(request).relocated, 2);
  EXPECT_EQ(paths(), (Rows{"L/One.aif", "Li/Three.aif", "L/s/Two L.aif"}));
  request.isDryRun = false;
  const auto report = migrate(request);
  EXPECT_EQ(report.relocated, 2);
  EXPECT_EQ(report.missingAtNewPlace, Rows{path("M/s/Two L.aif")});
  EXPECT_EQ(paths(), (Rows{"M/One.aif", "Li/Three.aif", "M/s/Two L.aif"}));
  EXPECT_EQ(LCLibraryFolders(file).list(), (Rows{path("Li"), path("M")}));
  add("M/One.aif", loopFile({.genre = "Funk"}));  // tagged anew since
  EXPECT_EQ(scan({.scansRememberedFolders = true}).carried, 1);
  EXPECT_EQ(marked(), before);

  EXPECT_EQ(migrate(request).relocated, 0);
  request.relocations[0].newFolder = path("gone");
  EXPECT_EQ(kindOf(tryToMigrate(request)), "notFound");
}

TEST_F(MigrationRun, AnOlderDatabaseIsCopiedToWhereNoneIs) {
  const std::string older = path("older.db");
  execute(
      "PRAGMA journal_mode = WAL; BEGIN;" + vesk::path::readFile(TEST_DATA_DIR "/loops-100925.sql").value() + "COMMIT",
      older);
  const LCConnection writer = lc::openConnection(older, LCOpenMode::readWriteCreate);  // keeps its log beside the file
  EXPECT_TRUE(LCSQLiteUtilities(writer.get()).executeStatementWithNoReturnValue("UPDATE Loops SET title = 'new'"));
  EXPECT_TRUE(migrate({.olderDatabase = older, .isDryRun = true}).hasCopiedOlder);
  EXPECT_FALSE(vesk::path::exists(file));
  file = path("new/loops.db");
  const auto report = migrate({.olderDatabase = older});
  EXPECT_TRUE(report.hasCopiedOlder && !report.isUpToDate);
  EXPECT_EQ(names(), (Rows{"Old Tuba 01.caf", "Old Tuba 02.caf"}));
  EXPECT_EQ(rows("SELECT DISTINCT title FROM Loops"), Rows{"new"});
  EXPECT_EQ(marked(), Rows{"Old Tuba 01.caf|1|4"});
  EXPECT_EQ(vesk::path::subpaths(path("new")), Rows{"loops.db"});
  EXPECT_EQ(kindOf(tryToMigrate({.olderDatabase = older})), "usage");
  EXPECT_EQ(kindOf(tryToMigrate({.olderDatabase = folder.addFile("text.db", "text")})), "databaseForeign");

  add("L/One.aif");
  scan({.paths = {"L"}});
  EXPECT_TRUE(migrate({}).isUpToDate);
  EXPECT_EQ(environment->preference("LCCurrentDatabaseSchemaVersionStringV09"), "313089");
}

TEST_F(MigrationRun, LegacyPackagesAreScannedAndFavoritesMarked) {
  add("Jam Pack/One.aif");
  add("Jam Pack/Untagged.wav", fixture::wavFile({}));
  const Rows folders = {path("Jam Pack"), path("Jam Pack"), path("gone"), "\xFF", ""};
  for (size_t index = 0; index < folders.size(); ++index) {
    folder.addFile(fmt::format("index/Search Index {}2345678-1234-1234-1234-123456789012.txt", index),
                   folders[index] + std::string(1, '\0'));
  }
  scan({.paths = {"Jam Pack"}});
  execute("INSERT INTO UserData SELECT id, 0, 3, '' FROM Loops WHERE fileName = 'One.aif'");
  for (const bool isDryRun : {true, false}) {
    const auto report = migrate({.legacyFolders = {path("index")},
                                 .favorites = {path("Jam Pack/One.aif"), path("gone.aif"), path("loops.db")},
                                 .isDryRun = isDryRun});
    Rows packages;
    for (const auto& each : report.packages) {
      packages.push_back(each.name + (each.trouble ? "!" : "") + (each.isLeftOut ? "-" : ""));
    }
    EXPECT_EQ(packages, (Rows{"Jam Pack", "Jam Pack", "gone!", "!", "-"}));
    EXPECT_EQ(report.favorites, 1);
    EXPECT_EQ(report.unknownFavorites, (Rows{path("gone.aif"), path("loops.db")}));
    EXPECT_EQ(marked(), Rows{isDryRun ? "One.aif|0|3" : "One.aif|1|3"});
    EXPECT_EQ(
        rows("SELECT crateName, manufacturer, count(*) FROM Crates JOIN CrateLoopRelation ON crateId = identifier "
             "GROUP BY 1"),
        isDryRun ? Rows{} : Rows{"Jam Pack|Vireo Inc.|2"});
  }
}

TEST_F(MigrationRun, NamesAreLocalizedIntoChineseAndOutOfIt) {
  add("L/Drum.aif");
  scan({.paths = {"L"}});
  environment->setLocalizedString("Drum", "鼓", "LocalizableLoops");
  const auto expect = [this](const char* locale, const char* name, bool changes) {
    for (const bool isDryRun : {true, false}) {
      EXPECT_EQ(migrate({.locale = locale, .isDryRun = isDryRun}).hasChangedLocale, changes) << locale;
    }
    EXPECT_EQ(rows("SELECT fileName FROM Loops"), Rows{name}) << locale;
  };
  expect("de", "Drum.aif", true);
  expect("zh_Hans", "鼓", true);
  expect("zh_Hans", "鼓", false);
  environment->setLocalizedString("Drum", "Drum", "LocalizableLoops");
  migrate({.locale = "en"});
  EXPECT_EQ(rows("SELECT fileName, chineseTranscript FROM Loops"), Rows{"Drum|DRUM"});
  EXPECT_EQ(kindOf(tryToMigrate({.locale = ""})), "usage");
}
