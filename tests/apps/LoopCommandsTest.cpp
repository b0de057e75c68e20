// What is said of single loops, how they are marked and taken out, and what is said without a database.
#include "Program.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

namespace fs = std::filesystem;

struct LoopCommands : testing::Test {
  LoopCommands() {
    program.add("l/Kit's.aif", loopFile({}, {fixture::chunk("Sequ", "abcd"), fixture::chunk("NAME", "The title")}));
    program.add("l/sub/Bass.aif", loopFile({.instrument = "Bass", .subInstrument = "", .genre = "Jazz"}));
    program.add("l/sub/Bassoon.aif", loopFile({.instrument = "Horn/Wind", .subInstrument = "Bassoon"}));
    program.told({"index", "l/sub", "--crate", "Sub"});
    program.told({"index", "l/Kit's.aif"});
  }

  std::string idOf(const std::string& name) const {
    return "id:" + program.told({"search", "--name", name})["loops"][0]["id"].get<std::string>();
  }
  JSON info(Words arguments) const {
    arguments.insert(arguments.begin(), "info");
    return program.told(arguments)["files"];
  }
  Words left() const { return program.run({"search"}).names(); }

  Program program;
};

TEST_F(LoopCommands, InfoTellsTheRecordTheRowTheKeywordsAndTheChunks) {
  const JSON file = info({"--enhanced", "--chunks", "l/Kit's.aif"})[0];
  const JSON& record = file["record"];
  EXPECT_TRUE(record["bpm"] == 120.0 && record["title"] == "The title" && record["eventSequenceData"] == "YWJjZA==");
  EXPECT_TRUE(file["indexed"] == true && file["row"]["id"] == record["hash"]) << file;
  EXPECT_EQ(file["keywords"], (JSON{"Drum Kit", "Drums", "Dry", "Rock/Blues"}));
  EXPECT_EQ(file["container"]["chunks"][4]["id"], "Sequ");
  const JSON plain = info({"l/Kit's.aif"})[0];
  EXPECT_FALSE(plain["record"].contains("eventSequenceData") || plain.contains("container"));
}

TEST_F(LoopCommands, ALoopIsNamedByPathURLIdOrList) {
  const std::string path = program.path("l/Kit's.aif");
  for (const std::string& name : {path, std::string("l/sub/../Kit's.aif"), "file://" + path, idOf("Kit")}) {
    EXPECT_EQ(info({name})[0]["path"], path) << name;
  }
  EXPECT_EQ(program.run({"--json", "info", "-"}, "l/Kit's.aif\nl/sub/Bass.aif\n").json()["files"].size(), 2u);
  for (const char* wrong : {"id:1x", "file:///%zz", "l"}) EXPECT_EQ(program.run({"info", wrong}).code, 2) << wrong;
  const JSON expected = JSON::parse(R"({"code":3,"kind":"notFound","message":"no such loop",
      "subject":"l/sub/Basson.aif","suggestions":["Bassoon.aif","Bass.aif"]})");
  for (const char* command : {"info", "remove", "favorite", "family"}) {
    EXPECT_EQ(program.told({command, "l/sub/Basson.aif"}, 3)["error"], expected) << command;
  }
  program.told({"favorite", "l/Kit's.aif", "l/sub/Basson.aif"}, 3);
  EXPECT_EQ(program.run({"search", "--favorites"}).out, "");  // all are found before the first one is marked
}

TEST_F(LoopCommands, InfoSaysWhyAFileHasNoRecordAndGoesOn) {
  program.add("l/bad.aif", fixture::bytesOf("FORM?"));
  fs::remove(program.path("l/sub/Bass.aif"));
  const JSON files = program.told({"info", "l/bad.aif", "l/sub/Bass.aif", "l/Kit's.aif"}, 4)["files"];
  EXPECT_TRUE(files[0]["failure"]["reason"] == "malformed" && !files[0].contains("row"));
  EXPECT_TRUE(files[1]["failure"]["reason"] == "notFound" && files[1].contains("row"));
  EXPECT_TRUE(files[2].contains("record"));
}

TEST_F(LoopCommands, MarksArePrintedAsTheyAreThenAndOnlyTheNamedOneChanges) {
  const std::string loop = program.path("l/Kit's.aif"), comment = "\"it's\"\t%@ 100%\nend";
  const std::pair<Words, std::string> cases[] = {{{"favorite", loop}, "yes\t0\t"},
                                                 {{"rate", loop, "5", "-n"}, "yes\t5\t"},
                                                 {{"rate", loop, "4"}, "yes\t4\t"},
                                                 {{"comment", loop, comment}, "yes\t4\t\"it's\"\uFFFD%@ 100%\uFFFDend"},
                                                 {{"comment", loop, "--", "-6 dB"}, "yes\t4\t-6 dB"},
                                                 {{"favorite", "--off", loop}, "no\t4\t-6 dB"},
                                                 {{"rate", "--clear", loop}, "no\t0\t-6 dB"},
                                                 {{"comment", "--clear", loop}, "no\t0\t"}};
  for (const auto& [arguments, printed] : cases) EXPECT_EQ(program.run(arguments).out, loop + "\t" + printed + "\n");
  const JSON marks =
      program.run({"--json", "rate", loop, "-", "-0", "3"}, std::string("l/sub/Bass.aif\0l/Kit's.aif", 26)).json();
  EXPECT_EQ(marks["schema"], "veskloops.marks/1");
  ASSERT_EQ(marks["loops"].size(), 2u) << "each once";
  EXPECT_EQ(marks["loops"][1]["rating"], 3);
  EXPECT_EQ(program.told({"rate", "-n", loop, "3"})["loops"][0]["changed"], false);
  for (const Words& wrong : {Words{"rate", loop}, Words{"rate", loop, "6"}, Words{"rate", loop, "3.0"},
                             Words{"rate", "--clear"}, Words{"comment", loop}, Words{"favorite"}}) {
    EXPECT_EQ(program.run(wrong).code, 2) << testing::PrintToString(wrong);
  }
}

TEST_F(LoopCommands, RemoveTakesLoopsFoldersMissingFilesAndPackages) {
  fs::remove(program.path("l/sub/Bass.aif"));
  const Words all = left();
  const std::tuple<Words, size_t, Words> cases[] = {
      {{"remove", "-n", "--missing"}, 1, all},
      {{"remove", "-y", "l/Kit's.aif", "--missing"}, 0, all},
      {{"remove", "-n", "l", "--crate", "Sub"}, 2, all},
      {{"remove", "-y", "--missing", "l"}, 1, {"Bassoon.aif", "Kit's.aif"}},
      {{"remove", "-y", idOf("Kit"), "l/Kit's.aif"}, 1, {"Bassoon.aif"}}};
  for (const auto& [arguments, removed, rest] : cases) {
    EXPECT_EQ(program.told(arguments)["loops"].size(), removed);
    EXPECT_EQ(left(), rest);
  }
  EXPECT_TRUE(fs::exists(program.path("l/Kit's.aif")));
  fs::remove_all(program.path("l/sub"));  // a folder that is gone still names its rows
  EXPECT_EQ(program.run({"remove", "-y", "l/sub"}).out, "1 removed\n");
}

TEST_F(LoopCommands, RemoveAsksOnATerminalAndNeedsYesElsewhere) {
  const Outcome run = program.run({"remove", "l/sub"});
  EXPECT_EQ(run.code, 2);
  EXPECT_NE(run.err.find("--yes"), std::string::npos);
  if (!program.hasTerminals()) GTEST_SKIP() << "no pseudo-terminals here";
  EXPECT_EQ(program.runOnTerminal({"--no-input", "remove", "l/sub"}).code, 2);
  const Outcome declined = program.runOnTerminal({"remove", "l/sub"}, "\n");
  EXPECT_NE(declined.out.find("Take 2 loops out"), std::string::npos);
  EXPECT_EQ(declined.code, 1);
  EXPECT_EQ(left().size(), 3u);
  EXPECT_EQ(program.runOnTerminal({"remove", "l/sub"}, "y\n").code, 0);
  EXPECT_EQ(left(), Words{"Kit's.aif"});
}

TEST_F(LoopCommands, DatabaseTroubleIsToldWithANextStep) {
  for (const Words& command : {Words{"search"}, Words{"keywords"}, Words{"crates"}, Words{"family", "x"},
                               Words{"remove", "-y", "l"}, Words{"info", "id:1"}, Words{"favorite", "id:1"}}) {
    Words whole = {"--database", "none.db"};
    whole.insert(whole.end(), command.begin(), command.end());
    const JSON error = program.told(whole, 5)["error"];
    EXPECT_TRUE(error["kind"] == "databaseMissing" && error.contains("nextStep")) << error;
  }
  EXPECT_FALSE(fs::exists(program.path("none.db")));
  const JSON unindexed = program.told({"--database", "none.db", "info", "l/Kit's.aif"})["files"][0];
  EXPECT_TRUE(unindexed["indexed"] == false && unindexed["record"]["beatCount"] == 8);  // needs no database
  program.folder().addFile("garbage.db", std::string(4096, 'x'));
  const Outcome index = program.run({"--database", "garbage.db", "index", "l"});
  EXPECT_EQ(index.code, 0);
  EXPECT_NE(index.err.find("the old file is kept as " + program.path("damaged-")), std::string::npos) << index.err;
}

}  // namespace
