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
  EXPECT_EQ("id:" + record["hash"].get<std::string>(), idOf("Kit"));
  EXPECT_EQ(record["eventSequenceData"], "YWJjZA==");
  EXPECT_EQ(file["row"]["id"], record["hash"]);
  EXPECT_EQ(file["keywords"], (JSON{"Drum Kit", "Drums", "Dry", "Rock/Blues"}));
  EXPECT_EQ(file["container"]["chunks"][4]["id"], "Sequ");
  const JSON plain = info({"l/Kit's.aif"})[0];
  EXPECT_FALSE(plain["record"].contains("eventSequenceData") || plain.contains("container"));
}

TEST_F(LoopCommands, ALoopIsNamedByPathURLIdOrList) {
  const std::string path = program.path("l/Kit's.aif");
  for (const std::string& name : Words{path, "l/sub/../Kit's.aif", "file://" + path, idOf("Kit"), "kit's", "K….aif"}) {
    EXPECT_EQ(info({name})[0]["path"], path) << name;
  }
  fs::create_symlink("nothing", program.path("dead.aif"));
  const Outcome list = program.run({"--json", "info", "-"}, "l/Kit's.aif\nl/no.aif\nl/sub/Bass.aif\ndead.aif\n");
  EXPECT_EQ(list.code, 3);  // the others are answered
  EXPECT_EQ(list.json()["files"].size(), 2u);
  EXPECT_EQ(list.json()["errors"][0]["subject"], "l/no.aif");
  EXPECT_NE(list.err.find("error: no such loop: l/no.aif"), std::string::npos) << list.err;
  for (const Words& dead :
       {Words{"info", "dead.aif"}, {"--database", "none.db", "info", "dead.aif"}, {"index", "dead.aif"}}) {
    EXPECT_EQ(program.told(dead, 3)["error"]["message"], "the link leads nowhere");
  }
  for (const char* wrong : {"id:1x", "file:///%zz", "l"}) EXPECT_EQ(program.run({"info", wrong}).code, 2) << wrong;
  const Outcome several = program.run({"--json", "favorite", "bass"});
  EXPECT_EQ(several.json()["error"]["code"], 3);
  EXPECT_NE(several.err.find("\n  " + program.path("l/sub/Bassoon.aif\n")), std::string::npos) << several.err;
  const auto fails = [&](const Words& arguments) {
    const JSON error = program.told(arguments, 3)["error"];
    EXPECT_EQ(error["message"], "no such loop");
    EXPECT_EQ(error["subject"], "l/sub/Basson.aif");
    EXPECT_EQ(error["suggestions"], (JSON{"Bassoon.aif", "Bass.aif"}));
  };
  for (const char* command : {"info", "remove", "favorite", "family"}) fails({command, "l/sub/Basson.aif"});
  fails({"favorite", "l/Kit's.aif", "l/sub/Basson.aif"});
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
  const std::pair<Words, std::string> cases[] = {
      {{"favorite", loop}, "yes\t0\t"},
      {{"rate", loop, "5", "-n"}, "yes\t5\t"},
      {{"rate", loop, "4"}, "yes\t4\t"},
      {{"comment", loop, comment}, "yes\t4\t\"it's\"\uFFFD%@ 100%\uFFFDend"},
      {{"comment", loop, "--", "-n"}, "yes\t4\t-n"},
      {{"comment", loop, "-hi"}, "yes\t4\t-hi"},
      {{"-q", "--color", "never", "comment", loop, "-6 dB"}, "yes\t4\t-6 dB"},
      {{"favorite", "--off", loop}, "no\t4\t-6 dB"},
      {{"rate", "--clear", loop}, "no\t0\t-6 dB"},
      {{"comment", "--clear", loop}, "no\t0\t"}};
  for (const auto& [arguments, printed] : cases) EXPECT_EQ(program.run(arguments).out, loop + "\t" + printed + "\n");
  const JSON marks =
      program.run({"--json", "rate", loop, "-", "-0", "3"}, std::string("l/sub/Bass.aif\0l/Kit's.aif", 26)).json();
  ASSERT_EQ(marks["loops"].size(), 2u) << "each once";
  EXPECT_EQ(marks["loops"][1]["rating"], 3);
  const Words refused[] = {{"rate", loop},        {"rate", loop, "6"}, {"rate", loop, "-1"},
                           {"rate", loop, "3.0"}, {"rate", loop, ""},  {"rate", "3"},
                           {"rate", "--clear"},   {"comment", loop},   {"favorite"}};
  for (const Words& each : refused) EXPECT_EQ(program.run(each).code, 2) << testing::PrintToString(each);
}

TEST_F(LoopCommands, RemoveTakesLoopsFoldersMissingFilesAndPackages) {
  fs::remove(program.path("l/sub/Bass.aif"));
  const Words all = left();
  const std::tuple<Words, size_t, Words> cases[] = {
      {{"remove", "-n", "--missing"}, 1, all},
      {{"remove", "-y", "l/Kit's.aif", "--missing"}, 0, all},
      {{"remove", "-n", "l", "--crate", "Sub"}, 2, all},
      {{"remove", "-y", "--missing", "l"}, 1, {"Bassoon.aif", "Kit's.aif"}},
      {{"remove", "-y", idOf("Kit"), "kit"}, 1, {"Bassoon.aif"}}};
  for (const auto& [arguments, removed, rest] : cases) {
    EXPECT_EQ(program.told(arguments)["loops"].size(), removed);
    EXPECT_EQ(left(), rest);
  }
  EXPECT_TRUE(fs::exists(program.path("l/Kit's.aif")));
  fs::remove_all(program.path("l/sub"));  // a folder that is gone still names its rows
  EXPECT_EQ(program.run({"remove", "-y", "l/sub"}).out, "1 removed\n");
}

TEST_F(LoopCommands, CratesAreMadeShownAndRemoved) {
  const std::string made = "i\tMy Crate\tMe\tvirtual\t0\n",
                    sub = "com.vireo.loops.UserDomain.User LoopsSub\tSub\tUser Loops\t\t";
  const std::tuple<Words, int, std::string> cases[] = {
      {{"crates", "create", "-n", "sUb", "--identifier", "x"}, 2, ""},
      {{"crates", "create", "My Crate", "--manufacturer", "Me", "--identifier", "i", "--virtual"}, 0, made},
      {{"index", "l/Kit's.aif", "-q"}, 0, ""},  // its end drops no crate that had no loops before
      {{"remove", "-y", "kit", "-q"}, 0, ""},
      {{"crates", "show", "my crate"}, 0, made},
      {{"crates", "remove", "sub"}, 2, ""},
      {{"crates", "remove", "-y", "Sub", "none"}, 3, ""},
      {{"crates", "remove", "-n", "i"}, 0, made},
      {{"crates", "remove", "-y", "i", "sub"}, 0, made + sub + "2\n"},
      {{"crates", "create", "Sub"}, 0, sub + "0\n"},
      {{"crates"}, 0, sub + "0\n"}};
  for (const auto& [arguments, code, printed] : cases) {
    const Outcome run = program.run(arguments);
    EXPECT_EQ(run.code, code) << run.err;
    EXPECT_EQ(run.out, printed) << run.err;
  }
  EXPECT_EQ(left().size(), 2u);
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
  const Words commands[] = {{"search"},       {"keywords"},        {"crates"}, {"family", "x"}, {"remove", "-y", "l"},
                            {"info", "id:1"}, {"favorite", "id:1"}};
  for (const Words& command : commands) {
    Words whole = {"--json", "--database", "none.db"};
    whole.insert(whole.end(), command.begin(), command.end());
    const Outcome run = program.run(whole);
    EXPECT_EQ(run.json()["error"]["kind"], "databaseMissing");
    EXPECT_NE(run.err.find("\n  "), std::string::npos) << "no next step: " << run.err;
  }
  EXPECT_EQ(program.told({"--database", "", "search"}, 5)["error"]["kind"], "databaseMissing");
  EXPECT_FALSE(fs::exists(program.path("none.db")) || fs::exists(program.path("home/Music")));
  const JSON unindexed = program.told({"--database", "none.db", "info", "l/Kit's.aif"})["files"][0];
  EXPECT_EQ(unindexed["indexed"], false);  // what the file says needs no database
  EXPECT_EQ(unindexed["record"]["beatCount"], 8);
  EXPECT_EQ(program.told({"--database", "l/Kit's.aif", "index", "l"}, 5)["error"]["kind"], "databaseForeign");
  program.told({"--database", "garbage.db", "index", "l"});
  program.folder().addFile("garbage.db", std::string(4096, 'x'));
  const Outcome index = program.run({"--database", "garbage.db", "index", "l"});
  EXPECT_EQ(index.code, 0);
  EXPECT_NE(index.err.find("the old file is kept as " + program.path("damaged-")), std::string::npos) << index.err;
}

}  // namespace
