// What a person and other programs have put to a loop follows it when a scan finds its file under a new identity.
#include "CatalogTest.h"

namespace {

namespace fs = std::filesystem;

struct CarriedMarks : CatalogTest {
  CarriedMarks() {
    add("l/Amber 100 BPM.aif");
    add("l/Birch.aif", loopFile({.genre = "Jazz", .beats = 16}));
    scan({.paths = {"l"}, .package = "Mine"});
    execute(
        "INSERT INTO UserData SELECT id, fileName < 'B', 4, substr(fileName, 1, 5) FROM Loops;"
        "INSERT INTO LoopsLoudnessV4 SELECT id, fileName, -9, -1, -18 FROM Loops WHERE fileName LIKE 'Amber%';"
        "INSERT INTO LoopsMetaInfos SELECT id, 'Topper', 1, 1, 1 FROM Loops WHERE fileName LIKE 'Amber%'");
  }

  int64_t carried(const LCScanRequest& request = {.paths = {"l"}}) { return scan(request).carried; }
  void exchange(const std::string& one, const std::string& other) const {
    rename(one, "aside");
    rename(other, one);
    rename("aside", other);
  }
  // Every marked loop by name with its marks, loudness and package; then what belongs to no loop.
  Rows everything() const {
    return rows(
        "SELECT Loops.fileName || ': ' || isFavorite || rating || userComment || coalesce(' ' || "
        "LoopsLoudnessV4.filename, '') || "
        "coalesce(' ' || stringValue, '') || (SELECT ' ' || count(*) FROM CrateLoopRelation WHERE loopId = Loops.id) "
        "FROM Loops JOIN UserData ON UserData.loopId = Loops.id LEFT JOIN LoopsLoudnessV4 USING (id) "
        "LEFT JOIN LoopsMetaInfos ON LoopsMetaInfos.loopId = Loops.id "
        "UNION ALL SELECT 'orphan' FROM (SELECT loopId FROM UserData UNION ALL SELECT id FROM LoopsLoudnessV4 "
        "UNION ALL SELECT loopId FROM LoopsMetaInfos UNION ALL SELECT loopId FROM CrateLoopRelation) "
        "WHERE loopId NOT IN (SELECT id FROM Loops) ORDER BY 1");
  }
  std::string statesFile() const { return fs::directory_iterator(environment->cacheFolder())->path(); }
};

TEST_F(CarriedMarks, FollowAFileThatIsTaggedAnewRenamedOrMovedAway) {
  const auto expectCarried = [this](LCScanRequest request, const std::string& name) {
    const Rows before = everything();
    request.isDryRun = true;
    EXPECT_EQ(carried(request), 1);
    EXPECT_EQ(everything(), before);
    request.isDryRun = false;
    EXPECT_EQ(carried(request), 1);
    EXPECT_EQ(everything(), (Rows{name + ": 14Amber " + name + " Topper 1", "Birch.aif: 04Birch 1"}));
    EXPECT_EQ(carried(), 0);
  };
  add("l/Amber 100 BPM.aif", loopFile({.genre = "Funk"}));
  expectCarried({.paths = {"l"}}, "Amber 100 BPM.aif");
  rename("l/Amber 100 BPM.aif", "l/Amber 110 BPM.aif");
  expectCarried({.paths = {"l"}, .prunes = true}, "Amber 110 BPM.aif");
  folder.addFolder("l/sub");
  rename("l/Amber 110 BPM.aif", "l/sub/Amber 120.aif");
  expectCarried({.paths = {"l/sub/Amber 120.aif"}}, "Amber 120.aif");
  add("l/sub/Amber 120.aif", loopFile({.genre = "House"}));
  expectCarried({.paths = {"l/sub"}, .copyTo = "m", .movesInsteadOfCopying = true}, "Amber 120.aif");
  fs::copy_file(path("m/Amber 120.aif"), path("l/Amber 120.aif"));
  fs::remove(path("m/Amber 120.aif"));
  EXPECT_EQ(carried(), 0);  // the identity is the same
  const LCConnection states = lc::openConnection(statesFile(), LCOpenMode::readWriteCreate);
  EXPECT_EQ(rowsOf(states.get(), "SELECT count(*) FROM FileStates"), Rows{"2"});
}

TEST_F(CarriedMarks, FollowALoopThatWasTakenOutMeanwhile) {
  rename("l/Amber 100 BPM.aif", "l/Amber 110 BPM.aif");
  add("l/Birch.aif", loopFile({.genre = "Urban"}));
  const auto catalog = open({.access = LCCatalogAccess::mark});
  EXPECT_EQ(valueOf(catalog->remove(valueOf(catalog->places({})))), 2);
  EXPECT_EQ(carried(), 2);
  EXPECT_EQ(rows("SELECT fileName, rating, userComment FROM UserData LEFT JOIN Loops ON id = loopId ORDER BY 1"),
            (Rows{"Amber 110 BPM.aif|4|Amber", "Birch.aif|4|Birch"}));
}

TEST_F(CarriedMarks, FollowTwoFilesThatChangeTheirNames) {
  exchange("l/Amber 100 BPM.aif", "l/Birch.aif");
  EXPECT_EQ(carried({.paths = {"l"}, .batchSize = 1}), 2);
  EXPECT_EQ(everything(), (Rows{"Amber 100 BPM.aif: 04Birch 1", "Birch.aif: 14Amber Birch.aif Topper 1"}));
}

TEST_F(CarriedMarks, StayWithALoopThatIsStillThereSomewhere) {
  add("l/sub/Birch.aif");
  add("m/Birch.aif");  // the same loop; the row is of this one
  scan({.paths = {"l", "m"}});
  const Rows before = everything();
  rename("l/sub/Birch.aif", "l/sub/Elm.aif");
  EXPECT_EQ(carried({.paths = {"l/sub"}}), 0);
  fs::create_hard_link(path("l/Amber 100 BPM.aif"), path("l/Linked.aif"));
  EXPECT_EQ(carried(), 0);
  exchange("l/Birch.aif", "m/Birch.aif");  // both keep their name and tags, and so their identity
  EXPECT_EQ(carried({.paths = {"l", "m"}}), 0);
  EXPECT_EQ(everything(), before);
}

TEST_F(CarriedMarks, TheCacheMayBeDamaged) {
  const std::string states = statesFile();
  for (const char* companion : {"", "-wal", "-shm"}) fs::remove(states + companion);
  fs::copy_file(folder.addFile("states", std::string(8192, 'x')), states);
  EXPECT_EQ(carried(), 0);
  EXPECT_NE(testing::PrintToString(log.notes).find("cannot be used"), std::string::npos);
  rename("l/Birch.aif", "l/Elm.aif");
  EXPECT_EQ(carried(), 1);  // what was remembered in the run before
}

// What is remembered of files comes second, so that the next scan tries again.
TEST_F(CarriedMarks, AreCarriedByTheNextScanWhenTheDatabaseRefuses) {
  rename("l/Amber 100 BPM.aif", "l/Amber 110 BPM.aif");
  execute(
      "CREATE TRIGGER refusing BEFORE INSERT ON UserData BEGIN SELECT RAISE(ABORT, 'x'); END;"
      "CREATE TRIGGER refusingToo BEFORE UPDATE ON UserData BEGIN SELECT RAISE(ABORT, 'x'); END");
  const Rows before = everything();
  EXPECT_EQ(kindOf(tryToScan({.paths = {"l"}})), "database");
  EXPECT_EQ(everything(), before);
  execute("DROP TRIGGER refusing; DROP TRIGGER refusingToo");
  EXPECT_EQ(carried(), 1);
  EXPECT_EQ(everything(), (Rows{"Amber 110 BPM.aif: 14Amber Amber 110 BPM.aif Topper 1", "Birch.aif: 04Birch 1"}));
}

}  // namespace
