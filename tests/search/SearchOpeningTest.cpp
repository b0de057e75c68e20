#include "database/LCDatabaseSchema.h"
#include "platform/Path.h"
#include "search/LCSearchEngineDesktop.h"
#include "search/SearchDatabase.h"

#include <gtest/gtest.h>

#include <sqlite3.h>

namespace {

const std::string kGarbage(8192, 'g');

LCDatabaseConfiguration configurationFor(const std::string& file, bool readOnly = false) {
  return {file, readOnly, kDefaultDatabaseSchemaVersion};
}

}  // namespace

TEST(Opening, MakesTheFolderAndAnEmptyDatabaseWithAllTables) {
  TemporaryFolder folder;
  const LCDatabaseConfiguration configuration = configurationFor(folder.path("new/deep/loops.db"));
  EXPECT_FALSE(LCSearchEngine::databaseLooksDamaged(configuration));
  const auto engine = LCSearchEngineDesktop::initWithDatabaseConfiguration(configuration);
  ASSERT_NE(engine, nullptr);
  engine->doSearch();
  EXPECT_EQ(engine->numberOfLoops(), 0);
  EXPECT_TRUE(engine->isIndexFileVersionValid());
  EXPECT_FALSE(engine->databaseWasCorruptAndNeedsReindexing());
  for (const char* table : {"Loops", "Tagging", "UserData", "LoopsLoudnessV4"}) {
    EXPECT_TRUE(LCSQLiteUtilities::isTableWithName(table, std::nullopt, engine->sqlite3Connection())) << table;
  }
}

TEST(Opening, RebuildsADamagedDatabaseWithoutItsCompanions) {
  struct Case {
    const char* what;
    bool isGarbage, hasMarker;
  };
  for (const auto& [what, isGarbage, hasMarker] : {Case{"garbage", true, false}, Case{"marked", false, true}}) {
    SearchDatabase database;
    database.add({.id = 1, .fileName = "a"});
    const TemporaryFolder& folder = database.folder();
    if (isGarbage) folder.addFile("loops.db", kGarbage);
    if (hasMarker) folder.addFile(kCorruptDatabaseFileIndicatorName, "1");
    folder.addFile("loops.db-old", "companion");
    folder.addFile("loops.db folder/inside", "no companion");
    folder.addFile("other.db", "other");

    EXPECT_TRUE(LCSearchEngine::databaseLooksDamaged(database.configuration())) << what;
    EXPECT_TRUE(vesk::path::exists(folder.path("loops.db-old"))) << "looking changes nothing";
    const auto engine = LCSearchEngineDesktop::initWithDatabaseConfiguration(database.configuration());
    ASSERT_NE(engine, nullptr);
    EXPECT_TRUE(engine->databaseWasCorruptAndNeedsReindexing()) << what;
    EXPECT_EQ(engine->totalNumberOfLoops(), 0) << what;
    EXPECT_TRUE(engine->isIndexFileVersionValid()) << what;
    EXPECT_FALSE(vesk::path::exists(folder.path(kCorruptDatabaseFileIndicatorName)));
    EXPECT_FALSE(vesk::path::exists(folder.path("loops.db-old")));
    EXPECT_TRUE(vesk::path::exists(folder.path("loops.db folder/inside")));
    EXPECT_TRUE(vesk::path::exists(folder.path("other.db")));
    EXPECT_FALSE(LCSearchEngine::databaseLooksDamaged(database.configuration())) << what;
  }
}

TEST(Opening, ReadOnlyMakesNothingAndDeletesADamagedFile) {
  const auto environment = TestEnvironment::install();
  TemporaryFolder folder;
  const std::string missing = folder.path("new/loops.db");
  EXPECT_EQ(LCSearchEngineDesktop::initWithDatabaseConfiguration(configurationFor(missing, true)), nullptr);
  EXPECT_FALSE(vesk::path::exists(folder.path("new")));
  EXPECT_TRUE(environment->hasLogged("Can't open loops database: status (14)"));

  const std::string damaged = folder.addFile("damaged.db", kGarbage);
  EXPECT_EQ(LCSearchEngineDesktop::initWithDatabaseConfiguration(configurationFor(damaged, true)), nullptr);
  EXPECT_FALSE(vesk::path::exists(damaged));

  SearchDatabase database;
  database.add({.id = 1, .fileName = "a"});
  const auto engine = LCSearchEngineDesktop::initWithDatabaseConfiguration(database.configuration(true));
  ASSERT_NE(engine, nullptr);
  engine->doSearch();  // the result is the connection's own
  EXPECT_EQ(resultIds(*engine), std::vector<int64_t>{1});
  EXPECT_TRUE(database.numbers("SELECT 1 FROM sqlite_master WHERE name = 'LoopsLoudnessV4'").empty());
}

TEST(Opening, SaysWhyAFolderCannotBeMade) {
  const auto environment = TestEnvironment::install();
  TemporaryFolder folder;
  folder.addFile("file", "");
  EXPECT_EQ(LCSearchEngineDesktop::initWithDatabaseConfiguration(configurationFor(folder.path("file/loops.db"))),
            nullptr);
  EXPECT_TRUE(environment->hasLogged("Error: "));
  EXPECT_TRUE(environment->hasLogged("Can't open loops database: status ("));
}

TEST(Opening, ComposesFileNames) {
  SearchDatabase database;
  database.add({.id = 1, .fileName = "A\xCC\x88.wav"});
  const auto engine = LCSearchEngineDesktop::initWithDatabaseConfiguration(database.configuration());
  engine->doSearch();
  EXPECT_EQ(engine->resultObjectForKey("fileName", 0), LCCell("Ä.wav"));
}

// One engine's registration must not stand for another's connection.
TEST(Engines, EachFindTextOfOtherScripts) {
  SearchDatabase database;
  addVariedLoops(database);
  for (int count = 0; count < 2; ++count) {
    const auto engine = LCSearchEngineDesktop::initWithDatabaseConfiguration(database.configuration());
    engine->setSearchString("ärger");
    engine->doSearch();
    EXPECT_EQ(engine->numberOfLoops(), 2);
    EXPECT_EQ(engine->textSearchLikeFunction(), "LC_LOCALIZED_LIKE");
  }
}
