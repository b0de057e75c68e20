// What a person and other programs have put to a loop follows it when index finds its file under a new identity.
#include "platform/Path.h"
#include "Program.h"
#include "VeskLoopManagement/database/LCConnection.h"
#include "VeskLoopManagement/database/LCStatement.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

namespace {

namespace fs = std::filesystem;

struct CarriedMarks : testing::Test {
  CarriedMarks() {
    program.add("l/Amber 100 BPM.aif");
    program.add("l/Birch.aif", loopFile({.genre = "Jazz", .beats = 16}));
    index({"l", "--crate", "Mine"});
    program.execute(
        "INSERT INTO UserData SELECT id, fileName < 'B', 4, substr(fileName, 1, 5) FROM Loops;"
        "INSERT INTO LoopsLoudnessV4 SELECT id, fileName, -9, -1, -18 FROM Loops WHERE fileName LIKE 'Amber%';"
        "INSERT INTO LoopsMetaInfos SELECT id, 'Topper', 1, 1, 1 FROM Loops WHERE fileName LIKE 'Amber%'");
  }

  JSON index(Words arguments) const {
    arguments.insert(arguments.begin(), {"--json", "index"});
    const Outcome run = program.run(arguments);
    EXPECT_EQ(run.code, 0) << run.err;
    return run.json();
  }
  void rename(const std::string& from, const std::string& to) const {
    fs::rename(program.path(from), program.path(to));
  }
  void exchange(const std::string& one, const std::string& other) const {
    rename(one, "aside");
    rename(other, one);
    rename("aside", other);
  }
  // Every marked loop by name with its marks, loudness and package; then what belongs to no loop.
  Words everything() const {
    return program.rows(
        "SELECT Loops.fileName || ': ' || isFavorite || rating || userComment || coalesce(' ' || "
        "LoopsLoudnessV4.filename, '') || "
        "coalesce(' ' || stringValue, '') || (SELECT ' ' || count(*) FROM CrateLoopRelation WHERE loopId = Loops.id) "
        "FROM Loops JOIN UserData ON UserData.loopId = Loops.id LEFT JOIN LoopsLoudnessV4 USING (id) "
        "LEFT JOIN LoopsMetaInfos ON LoopsMetaInfos.loopId = Loops.id "
        "UNION ALL SELECT 'orphan' FROM (SELECT loopId FROM UserData UNION ALL SELECT id FROM LoopsLoudnessV4 "
        "UNION ALL SELECT loopId FROM LoopsMetaInfos UNION ALL SELECT loopId FROM CrateLoopRelation) "
        "WHERE loopId NOT IN (SELECT id FROM Loops) ORDER BY 1");
  }
  int64_t rememberedFiles() const {
    const LCConnection connection = lc::openConnection(statesFile(), LCOpenMode::readWriteCreate);
    LCStatement statement(connection.get(), "SELECT count(*) FROM FileStates");
    return statement.step() ? statement.int64At(0) : -1;
  }
  std::string statesFile() const { return fs::directory_iterator(program.path("home/veskloops"))->path(); }

  Program program;
};

TEST_F(CarriedMarks, FollowAFileThatIsTaggedAnewRenamedOrMovedAway) {
  const auto expectCarried = [this](const Words& arguments, const std::string& name) {
    const Words before = everything();
    Words dryRun = arguments;
    dryRun.push_back("-n");
    const JSON told = index(dryRun);
    EXPECT_EQ(told["carried"], 1);
    EXPECT_EQ(told["removed"], 0);
    EXPECT_EQ(everything(), before);
    EXPECT_EQ(index(arguments)["carried"], 1);
    EXPECT_EQ(everything(), (Words{name + ": 14Amber " + name + " Topper 1", "Birch.aif: 04Birch 1"}));
    EXPECT_EQ(index({"l"})["carried"], 0);
  };
  program.add("l/Amber 100 BPM.aif", loopFile({.genre = "Funk"}));
  expectCarried({"l"}, "Amber 100 BPM.aif");
  rename("l/Amber 100 BPM.aif", "l/Amber 110 BPM.aif");
  expectCarried({"l", "--prune"}, "Amber 110 BPM.aif");
  program.folder().addFolder("l/sub");
  rename("l/Amber 110 BPM.aif", "l/sub/Amber 120.aif");
  expectCarried({"l/sub/Amber 120.aif"}, "Amber 120.aif");
  program.add("l/sub/Amber 120.aif", loopFile({.genre = "House"}));
  expectCarried({"l/sub", "--copy-to", "m", "--move"}, "Amber 120.aif");
  fs::copy_file(program.path("m/Amber 120.aif"), program.path("l/Amber 120.aif"));
  fs::remove(program.path("m/Amber 120.aif"));
  EXPECT_EQ(index({"l"})["carried"], 0);  // the identity is the same
  EXPECT_EQ(rememberedFiles(), 2);
}

TEST_F(CarriedMarks, FollowALoopThatWasTakenOutMeanwhile) {
  rename("l/Amber 100 BPM.aif", "l/Amber 110 BPM.aif");
  program.add("l/Birch.aif", loopFile({.genre = "Urban"}));
  for (const Words& arguments : {Words{"remove", "--missing", "-y"}, Words{"remove", "-y", "l/Birch.aif"}}) {
    EXPECT_EQ(program.run(arguments).code, 0);
  }
  EXPECT_EQ(program.rows("SELECT count(*) FROM Loops"), Words{"0"});
  EXPECT_EQ(index({"l"})["carried"], 2);
  EXPECT_EQ(
      program.rows("SELECT fileName || isFavorite || rating || userComment FROM UserData JOIN Loops ON id = loopId "
                   "ORDER BY 1"),
      (Words{"Amber 110 BPM.aif14Amber", "Birch.aif04Birch"}));
  EXPECT_EQ(program.rows("SELECT count(*) FROM UserData"), Words{"2"});
}

TEST_F(CarriedMarks, FollowTwoFilesThatChangeTheirNames) {
  exchange("l/Amber 100 BPM.aif", "l/Birch.aif");
  EXPECT_EQ(index({"l", "--batch", "1"})["carried"], 2);
  EXPECT_EQ(everything(), (Words{"Amber 100 BPM.aif: 04Birch 1", "Birch.aif: 14Amber Birch.aif Topper 1"}));
}

TEST_F(CarriedMarks, StayWithALoopThatIsStillThereSomewhere) {
  program.add("l/sub/Birch.aif");
  program.add("m/Birch.aif");  // the same loop; the row is of this one
  index({"l", "m"});
  const Words before = everything();
  rename("l/sub/Birch.aif", "l/sub/Elm.aif");
  EXPECT_EQ(index({"l/sub"})["carried"], 0);
  fs::create_hard_link(program.path("l/Amber 100 BPM.aif"), program.path("l/Linked.aif"));
  EXPECT_EQ(index({"l"})["carried"], 0);
  exchange("l/Birch.aif", "m/Birch.aif");  // both keep their name and tags, and so their identity
  EXPECT_EQ(index({"l", "m"})["carried"], 0);
  EXPECT_EQ(everything(), before);
}

TEST_F(CarriedMarks, AreNotGivenToAnotherFileOfTheSamePlaceSizeAndTime) {
  struct stat before {
  }, now{};
  ASSERT_EQ(stat(program.path("l/Amber 100 BPM.aif").c_str(), &before), 0);
  fs::remove(program.path("l/Amber 100 BPM.aif"));
  for (int number = 0; number < 50 && now.st_ino != before.st_ino; ++number) {
    const std::string path = program.add("l/Cedar " + std::to_string(number) + ".aif", loopFile({.genre = "Funk"}));
    const timespec times[] = {before.st_atim, before.st_mtim};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    ASSERT_EQ(stat(path.c_str(), &now), 0);
  }
  EXPECT_EQ(index({"l"})["carried"], 0);
  EXPECT_EQ(program.run({"search", "--favorites"}).names(), Words{"Amber 100 BPM.aif"});
}

TEST_F(CarriedMarks, TheCacheMayBeDamagedOrMissing) {
  const std::string states = statesFile();
  for (const std::string& garbage : {std::string(8192, 'x'), std::string()}) {
    for (const char* companion : {"", "-wal", "-shm"}) fs::remove(states + companion);
    if (!garbage.empty()) program.folder().addFile("home/veskloops/" + vesk::path::lastComponent(states), garbage);
    const Outcome run = program.run({"-v", "index", "l"});
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.err.find("cannot be used") != std::string::npos, !garbage.empty()) << run.err;
    rename("l/Birch.aif", "l/Birch " + std::to_string(garbage.size()) + ".aif");
    EXPECT_EQ(index({"l"})["carried"], 1);  // what was remembered in the run before
    rename("l/Birch " + std::to_string(garbage.size()) + ".aif", "l/Birch.aif");
    EXPECT_EQ(index({"l"})["carried"], 1);
  }
}

}  // namespace
