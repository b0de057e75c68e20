// What is told, kept and left alone when a database cannot be used as it is.
#include "CatalogTest.h"

#include <unistd.h>

#include <future>

namespace {

namespace fs = std::filesystem;
using Access = LCCatalogAccess;

struct Opening : CatalogTest {
  Opening() {
    add("l/A.aif");
    scan({.paths = {"l"}});
  }
  void make(const std::string& name, const std::string& sql, bool isCopy = true) const {
    if (isCopy) fs::copy_file(file, path(name));
    execute(sql, path(name));
  }
  std::string contents() const { return vesk::path::readFile(file).value_or("none"); }
};

// Has the rights of nobody while it lives.
struct Unprivileged {
  Unprivileged() { EXPECT_EQ(seteuid(before == 0 ? 65534 : before), 0); }
  ~Unprivileged() { EXPECT_EQ(seteuid(before), 0); }
  const uid_t before = geteuid();
};

TEST_F(Opening, SaysWhatStandsInTheWayAndNeitherMakesNorChangesAnything) {
  folder.addFile("garbage.db", "garbage at the beginning" + contents().substr(24));
  make("loopless.db", "DROP TABLE Loops");
  make("foreign.db", "CREATE TABLE Loops (id INTEGER PRIMARY KEY, title TEXT)", false);
  make("older.db", "ALTER TABLE Loops DROP COLUMN ksLoopType");
  make("newer.db", "UPDATE DatabaseMigrationInfos SET integerValue = 100931 WHERE key = 'DATABASE_SCHEMA_VERSION'");
  const std::tuple<const char*, std::string, std::string, std::string> cases[] = {
      // For reading, for marking, for making and scanning; "-": it opens, and is written.
      {"none/x.db", "databaseMissing", "databaseMissing", "-"},
      {"loopless.db", "databaseMissing", "databaseMissing", "-"},
      {"foreign.db", "databaseForeign", "databaseForeign", "databaseForeign"},
      {"l/A.aif", "databaseForeign", "databaseForeign", "databaseForeign"},
      {"/proc/self/x.db", "databaseMissing", "databaseMissing", "databaseUnopenable"},
      {"l", "databaseUnopenable", "databaseUnopenable", "databaseUnopenable"},
      {"older.db", "databaseOlder", "-", "-"},
      {"newer.db", "databaseNewer", "databaseNewer", "databaseNewer"},
      {"garbage.db", "databaseDamaged", "databaseDamaged", "-"}};
  for (const auto& [place, kind, kindForMarking, kindForMaking] : cases) {
    file = *place == '/' ? place : path(place);
    const std::string before = contents();
    const auto tries = [&](const std::string& expected, const auto& opening) {
      if (expected == "-") return;
      const auto outcome = opening();
      EXPECT_EQ(kindOf(outcome), expected) << place;
      EXPECT_TRUE(outcome || (!outcome.failure().nextStep.empty() && outcome.failure().subject == file)) << place;
      EXPECT_EQ(contents(), before) << place;
    };
    tries(kind, [&] { return LCCatalog::open(file); });
    tries(kindForMarking, [&] { return LCCatalog::open(file, {.access = Access::mark}); });
    tries("", [&] { return tryToScan({.paths = {"l/A.aif"}, .isDryRun = true}); });
    tries(kindForMaking, [&] { return LCCatalog::open(file, {.access = Access::create}); });
    tries(kindForMaking, [&] { return tryToScan({.paths = {"l/A.aif"}}); });
    if (kindForMaking != "-") continue;
    scan({.paths = {"l/A.aif"}});
    EXPECT_EQ(names(), Rows{"A.aif"}) << place;
  }
}

TEST_F(Opening, PutsADamagedOneAsideAndNeverDeletesIt) {
  const std::string sound = contents(), damaged = "garbage at the beginning" + sound.substr(24);
  const std::tuple<std::string, std::string, bool> cases[] = {
      {"loops.db", damaged, false},
      {"damaged-2", damaged, false},  // a copy never begins with the name of the database
      {"marked.db", sound, true}};    // by the engine, in an earlier search
  for (const auto& [name, before, isMarked] : cases) {
    const TemporaryFolder place;
    file = place.addFile(name, before);
    if (isMarked) place.addFile("LoopsDatabaseV10.db-isDamaged", "1");
    place.addFile(name + "-shm", "shared");
    for (const char* end : {".backup", "-notes.txt"}) place.addFile(name + end, "mine");
    scan({.paths = {"l"}});
    EXPECT_NE(log.warnings.back().find(file + " was damaged"), std::string::npos);
    const std::string kept = log.warnings.back().substr(log.warnings.back().rfind(" /") + 1);
    EXPECT_FALSE(vesk::path::lastComponent(kept).starts_with(name));
    EXPECT_EQ(vesk::path::readFile(kept), before);
    EXPECT_EQ(vesk::path::readFile(kept + "-shm"), "shared");
    for (const char* end : {".backup", "-notes.txt"}) EXPECT_EQ(vesk::path::readFile(file + end), "mine");
    EXPECT_EQ(names(), Rows{"A.aif"});
    EXPECT_EQ(open({.access = Access::create})->damagedFileKeptAs(), std::nullopt);
    place.addFile(name, "nothing of ours");  // but the place is remembered
    EXPECT_TRUE(open({.access = Access::create})->damagedFileKeptAs());
  }
}

TEST_F(Opening, OfTheDefaultFileMakesNoFolderAndBringsAnOlderOneForward) {
  const std::string home = environment->homeFolder(), oldest = home + "/Library/Application Support/Orrin";
  const std::string before = std::exchange(file, LCCatalog::defaultDatabaseFile());
  EXPECT_EQ(kindOf(LCCatalog::open(file)), "databaseMissing");
  EXPECT_TRUE(fs::is_empty(home + "/Music"));
  fs::create_directories(oldest);
  fs::copy_file(before, oldest + "/LoopsDatabaseV09.db");
  EXPECT_EQ(names(), Rows{"A.aif"});
}

TEST_F(Opening, WaitsForAnotherProgramAndThenSaysThatItIsLocked) {
  const auto marker = open({.access = Access::mark});
  const std::vector marked = {place("A.aif")};
  const LCConnection other = connection();
  LCSQLiteUtilities otherProgram(other.get());
  ASSERT_TRUE(otherProgram.executeStatementWithNoReturnValue("BEGIN IMMEDIATE"));
  EXPECT_EQ(names(), Rows{"A.aif"});  // readers may go on
  ASSERT_TRUE(otherProgram.executeStatementWithNoReturnValue("COMMIT; BEGIN EXCLUSIVE"));
  std::vector<std::future<std::string>> kinds;
  for (const auto access : {Access::read, Access::mark, Access::create}) {
    kinds.push_back(std::async([&, access] { return kindOf(LCCatalog::open(file, {.access = access})); }));
  }
  kinds.push_back(std::async([&] { return kindOf(tryToScan({.paths = {"l"}})); }));
  kinds.push_back(std::async([&] { return kindOf(marker->mark(marked, {.rating = 3})); }));
  for (auto& kind : kinds) EXPECT_EQ(kind.get(), "databaseLocked") << &kind - kinds.data();
}

TEST_F(Opening, ReadingNeedsNoRightToWriteAndRepairsNothing) {
  execute("DELETE FROM DatabaseMigrationInfos");  // the file-name repair is due again
  const std::string before = contents();
  fs::permissions(folder.path(), fs::perms{0755});
  fs::permissions(file, fs::perms{0444});
  const Unprivileged asNobody;
  EXPECT_EQ(names(), Rows{"A.aif"});
  EXPECT_EQ(contents(), before);
  EXPECT_EQ(kindOf(LCCatalog::open(file, {.access = Access::mark})), "databaseUnopenable");
  EXPECT_EQ(kindOf(LCCatalog::open(path("new.db"), {.access = Access::create})), "databaseUnopenable");
}

}  // namespace
