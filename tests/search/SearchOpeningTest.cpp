#include "search/SearchDatabase.h"

#include <chrono>

namespace {

const std::string kGarbage(8192, 'g');

std::unique_ptr<LCSearchEngineDesktop> opened(const std::string& file, bool readOnly) {
  return LCSearchEngineDesktop::initWithDatabaseConfiguration({file, readOnly, kDefaultDatabaseSchemaVersion});
}

}  // namespace

TEST(Opening, RebuildsADamagedDatabaseWithoutItsCompanionsAndLogsEach) {
  const auto environment = TestEnvironment::install();
  for (const bool isMarked : {true, false}) {
    SearchDatabase database;
    database.add(1, "a");
    const TemporaryFolder& folder = database.folder();
    folder.addFile(isMarked ? kCorruptDatabaseFileIndicatorName : "loops.db", kGarbage);
    for (const char* name : {"loops.db-old", "other.db"}) folder.addFile(name, name);
    folder.addFolder("loops.db folder");

    EXPECT_TRUE(Engine::databaseLooksDamaged(database.configuration())) << isMarked;
    const auto engine = database.engine();
    EXPECT_TRUE(engine->databaseWasCorruptAndNeedsReindexing() && engine->totalNumberOfLoops() == 0) << isMarked;
    EXPECT_EQ(vesk::path::subpaths(folder.path()), (Rows{"loops.db", "loops.db folder", "other.db"}));
    for (const char* name : {"loops.db", "loops.db-old"}) EXPECT_TRUE(environment->hasLogged(folder.path(name) + "\n"));
    EXPECT_FALSE(Engine::databaseLooksDamaged(database.configuration())) << isMarked;
  }
}

TEST(Opening, RebuildsAfterASearchThatMetDamage) {
  SearchDatabase database;
  for (int64_t id = 1; id <= 100; ++id) database.add(id, id == 100 ? "needle.wav" : "hay.wav");
  std::string bytes = vesk::path::readFile(database.file()).value();
  constexpr size_t kPage = 4096;
  for (size_t found; (found = bytes.find("needle.wav")) != std::string::npos;) {  // far from what opening reads
    bytes.replace(found / kPage * kPage, kPage, kPage, 'x');
  }
  database.folder().addFile("loops.db", bytes);
  EXPECT_FALSE(Engine::databaseLooksDamaged(database.configuration()));
  const auto engine = database.engine();
  EXPECT_EQ(idsFound(*engine), Ids{});
  ASSERT_TRUE(engine->lastSearchFailure());
  EXPECT_EQ(engine->lastSearchFailure()->status, SQLITE_CORRUPT);
  EXPECT_TRUE(Engine::databaseLooksDamaged(database.configuration()));
}

TEST(Opening, MakesTheFolderUnlessReadOnlyWhichDeletesADamagedFile) {
  const auto environment = TestEnvironment::install();
  const TemporaryFolder folder;
  EXPECT_EQ(opened(folder.path("new/loops.db"), true), nullptr);
  EXPECT_TRUE(environment->hasLogged("Can't open loops database: status (14)"));
  EXPECT_EQ(opened(folder.addFile("damaged.db", kGarbage), true), nullptr);
  EXPECT_EQ(vesk::path::subpaths(folder.path()), Rows{});
  EXPECT_TRUE(opened(folder.path("new/deep/loops.db"), false)->isIndexFileVersionValid());
}

TEST(Opening, WaitsForNoWriterAndMakesTheTableOfLoudnessWhenItIsNeeded) {
  SearchDatabase database;
  database.run("BEGIN IMMEDIATE");
  const auto began = std::chrono::steady_clock::now();
  const auto engine = database.engine();
  EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(4));  // connections wait for 5 s
  database.run("COMMIT");
  EXPECT_TRUE(engine->saveLoadnessInfo({-20, -2, -19}, "a", 1));
}

// One engine's registration must not stand for another's connection. Opening composes file names.
TEST(Engines, EachFindTextOfOtherScripts) {
  SearchDatabase database;
  database.add(1, "A\xCC\x88rger.wav");
  for (int count = 0; count < 2; ++count) {
    const auto engine = database.engine();
    engine->setSearchString("ärger");
    EXPECT_EQ(idsFound(*engine), Ids{1});
    EXPECT_EQ(engine->resultObjectForKey("fileName", 0), LCCell("Ärger.wav"));
  }
}
