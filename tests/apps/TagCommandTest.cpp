// Tags changed from the command line, what is printed of it, and taking it back.
#include "platform/Path.h"
#include "Program.h"

#include <gtest/gtest.h>

namespace {

struct TagCommand : testing::Test {
  TagCommand() {
    for (const char* name : {"l/A.aif", "l/B.aif"}) program.add(name);
    program.add("l/C.wav", fixture::wavFile());
    program.told({"index", "l"});
    program.told({"favorite", "l/A.aif"});
  }

  std::string bytesOf(const char* name) const { return *vesk::path::readFile(program.path(name)); }
  Words genres() const {
    Words genres;
    const JSON told = program.told({"search"});
    for (const JSON& loop : told["loops"]) genres.push_back(loop.value("genre", "-"));
    return genres;
  }

  Program program;
};

TEST_F(TagCommand, ChangesFilesAndTheDatabaseAndTakesItBack) {
  const std::string before = bytesOf("l/A.aif");
  const Outcome dry = program.run({"tag", "-n", "l/A.aif", "--set", "genre=Jazz"});
  const std::string line = program.path("l/A.aif") + "\tgenre\tRock/Blues\tJazz";
  EXPECT_EQ(dry.lines(), Words{line});
  EXPECT_EQ(bytesOf("l/A.aif"), before);

  const JSON told = program.told({"tag", "A", "--set", "genre=Jazz", "--clear", "key", "--add-descriptor", "Dark"});
  EXPECT_EQ(told["files"][0]["fields"]["genre"], (JSON{{"from", "Rock/Blues"}, {"to", "Jazz"}}));
  EXPECT_EQ(told["files"][0]["fields"]["key"]["to"], nullptr);
  EXPECT_EQ(told["changed"], 1);
  const JSON loop = program.told({"search", "--favorites"})["loops"][0];
  EXPECT_EQ(loop["genre"], "Jazz") << "the mark followed";
  EXPECT_EQ(loop["id"], told["files"][0]["newId"]);
  EXPECT_NE(loop["id"], told["files"][0]["oldId"]);
  EXPECT_EQ(program.told({"tag", "l/A.aif", "--set", "genre=Jazz"})["run"], nullptr) << "unchanged";

  EXPECT_EQ(program.told({"tag", "--history"})["runs"][0]["files"], 1);
  EXPECT_EQ(program.told({"tag", "--undo"})["changed"], 1);
  EXPECT_EQ(bytesOf("l/A.aif"), before);
  EXPECT_EQ(program.told({"tag", "--history", "1"})["files"][0]["undone"], true);
  EXPECT_EQ(program.told({"search", "--favorites"})["loops"][0]["genre"], "Rock/Blues");
}

TEST_F(TagCommand, TakesFilesFromASearchAListOrJSON) {
  EXPECT_EQ(program.told({"tag", "--genre", "Rock/Blues", "--set", "genre=Jazz"})["changed"], 2);
  const std::string list = program.run({"search", "--print0", "--genre", "Jazz"}).out;
  EXPECT_EQ(program.run({"--json", "tag", "-0", "-", "--set", "genre=Funk"}, list).json()["changed"], 2);
  std::string info = program.run({"--json", "info", "l/A.aif", "l/B.aif"}).out;
  EXPECT_EQ(program.run({"--json", "tag", "--from-json", "-"}, info).json()["unchanged"], 2);
  info.replace(info.find("Funk"), 4, "Jazz");
  EXPECT_EQ(program.run({"--json", "tag", "--from-json", "-"}, info).json()["changed"], 1);
  EXPECT_EQ(genres(), (Words{"Jazz", "Funk", "-"}));
  EXPECT_EQ(program.told({"tag", "--key", "C", "--set", "title=In C"})["changed"], 2) << "the WAV has no key";
  const std::string object = R"({"genre":"Jazz"})";
  EXPECT_EQ(program.run({"--json", "tag", "l/B.aif", "--from-json", "-"}, object).json()["changed"], 1);
}

TEST_F(TagCommand, AFileThatCannotTakeATagIsSaidAndLeavesTheOthers) {
  const Outcome run = program.run({"tag", "l/C.wav", "l/A.aif", "--set", "genre=Jazz"});
  EXPECT_EQ(run.code, 4);
  EXPECT_NE(run.err.find("C.wav: WAV files have no place for genre"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("1 file changed, 0 unchanged, 1 failed; veskloops tag --undo 1"), std::string::npos)
      << run.err;
  EXPECT_EQ(program.told({"tag", "l/none.aif", "--set", "genre=Jazz"}, 3)["error"]["subject"], "l/none.aif");
  const JSON unknown = program.told({"tag", "l/A.aif", "--set", "genre=Jaz"}, 4)["files"][0]["failure"];
  EXPECT_EQ(unknown["suggestions"], JSON{"Jazz"});
}

}  // namespace
