#include "database/TestDatabase.h"
#include "support/AudioFixture.h"
#include "VeskLoopManagement/database/LCCrateManager.h"
#include "VeskLoopManagement/indexing/LCFileIndexing.h"
#include "VeskLoopManagement/migration/LCMigrationUtilities.h"
#include "VeskLoopManagement/platform/Notifications.h"
#include "VeskLoopManagement/search/LCSearchEngineDesktop.h"

#include <filesystem>

namespace {

std::string indexName(char last) {
  return std::string("Search Index 01234567-89AB-CDEF-0123-456789ABCDE") + last + ".txt";
}

std::shared_ptr<LCSearchEngine> engineOn(const LCDatabaseConfiguration& configuration) {
  return LCSearchEngineDesktop::initWithDatabaseConfiguration(configuration);
}

}  // namespace

class MigrationTest : public testing::Test {
 protected:
  MigrationTest() { LCSQLiteUtilities::setDatabaseFile(files.path("loops.db")); }
  ~MigrationTest() override {
    vesk::NotificationCenter::shared().removeObserver(observer);
    LCSQLiteUtilities::setDatabaseFile(std::nullopt);
  }
  void addIndex(char last, const std::string& audioFolder) const {
    files.addFile("index/" + indexName(last), "junk" + std::string(3, '\0') + audioFolder + '\0' + "/tmp/other");
  }
  std::string addLoop(const std::string& relative) const { return files.addFile(relative, fixture::loopFile()); }
  void import(LCMigrationUtilities& migration) const {
    migration.searchAndParseLegacyIndexFiles(std::vector{files.path("missing"), files.path("index")});
  }
  static Rows rows(const std::string& sql) {
    return rowsOf(lc::openConnection(LCSQLiteUtilities::databaseFile(), LCOpenMode::readOnly).get(), sql);
  }

  const TestEnvironment::Guard environment = TestEnvironment::install();
  const TemporaryFolder files;
  Rows posted;
  vesk::NotificationCenter::Token observer = vesk::NotificationCenter::shared().addObserver(
      kLCIndexingFinished, [this](const std::string& name) { posted.push_back(name); });
};

TEST_F(MigrationTest, IsDecidedByDamageToolVersionAndLayout) {
  struct Case {
    const char* why;
    std::optional<std::string> remembered, tool;
    int64_t schemaVersion;
    bool hasColumn, isDamaged;
    int64_t status;
  };
  for (const auto& [why, remembered, tool, version, hasColumn, isDamaged, status] :
       {Case{"up to date", "313089", "host", 100930, true, false, 3},
        Case{"nothing remembered", std::nullopt, "host", 100930, true, false, 0},
        Case{"another version remembered", "313088", std::nullopt, 100930, true, false, 0},
        Case{"older schema", "313089", std::nullopt, 100929, true, false, 0},
        Case{"column missing", "313089", std::nullopt, 100930, false, false, 0},
        Case{"by the factory tool", std::nullopt, kFactoryIndexToolIdentifier, 100925, false, false, 3},
        Case{"damaged", "313089", kFactoryIndexToolIdentifier, 100930, true, true, -1}}) {
    TestDatabase database(hasColumn ? kDefaultDatabaseSchemaVersion : 100929);
    LCSQLiteUtilities::setDatabaseSchemaVersion(version, database.connection());
    LCSQLiteUtilities::setIndexingAppIdentifier(tool, database.connection());
    environment->setPreference("LCCurrentDatabaseSchemaVersionStringV09", remembered);
    const auto engine = engineOn(database.configuration(true));
    engine->setDatabaseWasCorruptAndNeedsReindexing(isDamaged);
    LCMigrationUtilities migration(engine);
    EXPECT_EQ(migration.migrationStatus(), status) << why;
    EXPECT_EQ(migration.searchEngine(), engine);

    migration.finalizeMigration();
    EXPECT_EQ(LCMigrationUtilities::currentDatabaseSchemaVersionString(), status == 3 ? "313089" : remembered) << why;
    migration.reset();
    EXPECT_EQ(migration.migrationStatus(), 0);
    EXPECT_EQ(LCMigrationUtilities::currentDatabaseSchemaVersionString(), std::nullopt);
  }
  EXPECT_EQ(LCMigrationUtilities().migrationStatus(), 0);
}

TEST_F(MigrationTest, AnIndexFileNamesTheFolderOfItsPackage) {
  using namespace std::string_literals;
  struct Case {
    std::string contents, folder, package, identifier;
  };
  const std::string legacy = "com.vireo.loops.Legacy.";
  for (const auto& [contents, folder, package, identifier] :
       {Case{"ab\0/tmp/A/My  Jam Pack\0/tmp/B\0"s, "/tmp/A/My  Jam Pack", "My  Jam Pack", legacy + "MyJamPack"},
        Case{"/tmpfs/x\0"s, "/tmpfs/x", "x", legacy + "x"},  // the prefix is a text
        Case{"/Library/A\0/Users/B\0"s, "", "", legacy}, Case{"/tmp/cut off", "", "", legacy},
        Case{"", "", "", legacy}}) {
    const auto url = vesk::URL::fileURLWithPath(files.addFile(indexName('F'), contents));
    const auto file = LCLegacyIndexFile::indexFileWithContentsOfURL(url);
    EXPECT_EQ((Rows{file.crateAudioPath(), file.crateName(), file.crateIdentifier()}),
              (Rows{folder, package, identifier}));
    EXPECT_EQ(file.fileURL(), url);
  }
  for (const std::string& unreadable : {files.path("none"), files.path(), files.addFile("x", "/tmp/\xC3\xA4\0"s)}) {
    try {
      const LCLegacyIndexFile file(vesk::URL::fileURLWithPath(unreadable));
      ADD_FAILURE() << unreadable;
    } catch (const LCNamedException& exception) {
      EXPECT_EQ(exception.name(), "LCLegacyIndexFileException");
      EXPECT_EQ(exception.reason(), "failed reading contents of " + unreadable);
    }
  }
  const std::string name = indexName('F');
  for (const std::string& fits : {name, std::string("Search Index ääääääää-xxxx-xxxx-xxxx-xxxxxxxxxxxx.txt")}) {
    EXPECT_TRUE(LCLegacyIndexFile::isNameOfIndexFile(fits)) << fits;
  }
  for (const std::string& other : {name + "t", "s" + name.substr(1), name.substr(0, 50), std::string()}) {
    EXPECT_FALSE(LCLegacyIndexFile::isNameOfIndexFile(other)) << other;
  }
}

TEST_F(MigrationTest, PackagesOfReadableIndexFilesAreIndexedUnlessTheyAreFactoryContent) {
  addLoop("Jam Pack/One.aif");
  const std::string home = vesk::Environment::shared().homeFolder();
  const std::string factory = home + "/Library/Audio/Vireo Loops/F";
  std::filesystem::create_directories(factory);
  addIndex('1', files.path("Jam Pack"));
  addIndex('2', files.path("Jam Pack"));  // one package, indexed twice
  addIndex('3', factory);
  addIndex('4', "");
  files.addFile("index/" + indexName('5'), "/tmp/\xFF");
  addIndex('7', files.path("gone"));

  LCMigrationUtilities migration;
  import(migration);
  EXPECT_EQ(migration.migrationStatus(), 3);
  EXPECT_EQ(posted, Rows{"LCIndexingFinished"});
  EXPECT_EQ(rows("SELECT crateId, fileName, crateName, manufacturer, isVirtualCrate FROM CrateLoopRelation JOIN Crates "
                 "ON identifier = crateId JOIN Loops ON id = loopId"),
            Rows{"com.vireo.loops.Legacy.JamPack|One.aif|Jam Pack|Vireo Inc.|0"});
  EXPECT_TRUE(environment->hasLogged("failed reading contents of " + files.path("index/" + indexName('5'))));
}

TEST_F(MigrationTest, AnyOtherExceptionEndsTheImportAsUnspecified) {
  addLoop("Jam Pack/One.aif");
  addIndex('1', files.path("Jam Pack"));
  const auto thrower = vesk::NotificationCenter::shared().addObserver(
      LCFileIndexingDidFinishNotification, [](const std::string&) { throw std::runtime_error("of the host"); });
  LCMigrationUtilities migration;
  try {
    import(migration);
    ADD_FAILURE();
  } catch (const LCNamedException& exception) {
    EXPECT_EQ(exception.name() + "|" + exception.reason(), "Unspecified|");
  }
  vesk::NotificationCenter::shared().removeObserver(thrower);
  EXPECT_EQ(migration.migrationStatus(), 2);
  EXPECT_EQ(posted, Rows{});
  migration.finalizeMigration();
  EXPECT_EQ(LCMigrationUtilities::currentDatabaseSchemaVersionString(), std::nullopt);
}

TEST_F(MigrationTest, FavoritesAreTheLoopsOfFilesThatExist) {
  LCMigrationUtilities migration;
  const auto one = vesk::URL::fileURLWithPath(addLoop("L/One 1.aif")),
             two = vesk::URL::fileURLWithPath(addLoop("L/2.aif"));
  migration._indexLoopFilesInBackground({});
  EXPECT_FALSE(vesk::path::exists(LCSQLiteUtilities::databaseFile()));
  migration._indexLoopFilesInBackground({.fileURLs = {one, two}});
  migration.importFavorites(std::vector{one.path()});  // without an engine
  migration.setSearchEngine(engineOn(LCDatabaseConfiguration::defaultDatabaseConfiguration()));
  std::filesystem::remove(two.path());
  migration.importFavorites(std::vector{files.path("gone.aif"), one.path(), two.path()});
  EXPECT_EQ(rows("SELECT fileName FROM UserData JOIN Loops ON id = loopId WHERE isFavorite"), Rows{"One 1.aif"});
}
