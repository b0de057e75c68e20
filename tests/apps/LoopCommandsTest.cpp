// info and remove: what is said of single loops, and what is taken out.
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
    EXPECT_EQ(program.run({"index", "l/sub", "--crate", "Sub"}).code, 0);
    EXPECT_EQ(program.run({"index", "l/Kit's.aif"}).code, 0);
  }

  std::string idOf(const std::string& name) const {
    return program.run({"--json", "search", "--name", name}).json()["loops"][0]["id"];
  }
  JSON info(const Words& arguments) const {
    Words whole = {"--json", "info"};
    whole.insert(whole.end(), arguments.begin(), arguments.end());
    return program.run(whole).json()["files"];
  }
  Words left() const { return program.run({"search"}).names(); }

  Program program;
};

TEST_F(LoopCommands, InfoTellsTheRecordTheRowAndTheKeywords) {
  const JSON files = info({"l/Kit's.aif"});
  ASSERT_EQ(files.size(), 1u);
  const JSON& record = files[0]["record"];
  EXPECT_EQ(record["bpm"], 120.0);
  EXPECT_EQ(record["beatCount"], 8);
  EXPECT_EQ(record["midiRootNote"], 48);
  EXPECT_EQ(record["frameCount"], 400);
  EXPECT_EQ(record["hasAuthoredChunks"], true);
  EXPECT_EQ(record["title"], "The title");
  EXPECT_EQ(record["descriptors"], JSON{"Dry"});
  EXPECT_EQ(record["hash"], idOf("Kit"));
  EXPECT_FALSE(record.contains("commentTag"));
  EXPECT_FALSE(record.contains("eventSequenceData"));
  EXPECT_EQ(files[0]["indexed"], true);
  EXPECT_EQ(files[0]["row"]["id"], record["hash"]);
  EXPECT_EQ(files[0]["keywords"], (JSON{"Drum Kit", "Drums", "Dry", "Rock/Blues"}));

  EXPECT_EQ(info({"--enhanced", "l/Kit's.aif"})[0]["record"]["eventSequenceData"], "YWJjZA==");
  JSON ids = JSON::array();
  const JSON withChunks = info({"--chunks", "l/Kit's.aif"});
  for (const auto& chunk : withChunks[0]["container"]["chunks"]) ids.push_back(chunk["id"]);
  EXPECT_EQ(ids, (JSON{"COMM", "SSND", "basc", "cate", "Sequ", "NAME"}));
}

TEST_F(LoopCommands, ALoopIsNamedByPathURLOrId) {
  const std::string path = program.path("l/Kit's.aif");
  for (const std::string& name : {path, std::string("l/sub/../Kit's.aif"), "file://" + path, "id:" + idOf("Kit")}) {
    EXPECT_EQ(info({name})[0]["path"], path) << name;
  }
  EXPECT_EQ(program.run({"--json", "info", "-"}, "l/Kit's.aif\nl/sub/Bass.aif\n").json()["files"].size(), 2u);
}

TEST_F(LoopCommands, InfoOfFilesThatAreNotIndexedNeedsNoDatabase) {
  fs::remove(program.database());
  const JSON file = info({"l/Kit's.aif"})[0];
  EXPECT_EQ(file["indexed"], false);
  EXPECT_EQ(file["record"]["beatCount"], 8);
  EXPECT_EQ(program.run({"info", "id:5"}).code, 5);
}

TEST_F(LoopCommands, InfoSaysWhyAFileHasNoRecord) {
  program.add("l/bad.aif", fixture::bytesOf("FORM?"));
  program.add("l/text.txt", fixture::bytesOf("x"));
  fs::remove(program.path("l/sub/Bass.aif"));
  struct Case {
    std::string path;
    std::string reason;
    bool isIndexed;
  };
  for (const auto& [path, reason, isIndexed] :
       {Case{"l/bad.aif", "malformed", false}, Case{"l/text.txt", "unsupported", false},
        Case{"l/sub/Bass.aif", "notFound", true}}) {
    const Outcome run = program.run({"--json", "info", path, "l/Kit's.aif"});
    EXPECT_EQ(run.code, 4);
    const JSON files = run.json()["files"];
    EXPECT_EQ(files[0]["failure"]["reason"], reason);
    EXPECT_EQ(files[0].contains("row"), isIndexed);
    EXPECT_TRUE(files[1].contains("record"));  // the others are told all the same
  }
}

TEST_F(LoopCommands, UnknownLoopsComeWithNearNames) {
  for (const char* command : {"info", "remove"}) {
    const Outcome run = program.run({"--json", "-q", command, "l/sub/Basson.aif"});
    EXPECT_EQ(run.code, 3);
    const JSON error = run.json()["error"];
    EXPECT_EQ(error["message"], "no such loop");
    EXPECT_EQ(error["subject"], "l/sub/Basson.aif");
    EXPECT_EQ(error["suggestions"], (JSON{"Bassoon.aif", "Bass.aif"}));
  }
  for (const Words& wrong : {Words{"info", "id:1x"}, Words{"info", "file:///%zz"}, Words{"info", "l"}}) {
    EXPECT_EQ(program.run(wrong).code, 2);
  }
}

TEST_F(LoopCommands, RemoveTakesOutRowsAndNeverFiles) {
  const std::string bassoon = idOf("Bassoon");
  const Outcome run = program.run({"--json", "remove", "-y", "l/Kit's.aif", "id:" + bassoon});
  EXPECT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.json()["removed"], 2);
  EXPECT_EQ(left(), Words{"Bass.aif"});
  EXPECT_TRUE(fs::exists(program.path("l/Kit's.aif")));
  EXPECT_EQ(program.run({"search", "-k", "Drums"}).names(), Words{});  // the end-of-run tables are new
}

TEST_F(LoopCommands, RemoveTakesFoldersMissingFilesAndPackages) {
  fs::remove(program.path("l/sub/Bass.aif"));
  EXPECT_EQ(program.run({"--json", "remove", "-n", "--missing"}).json()["loops"][0]["path"],
            program.path("l/sub/Bass.aif"));
  EXPECT_EQ(program.run({"--json", "remove", "-y", "l/Kit's.aif", "--missing"}).json()["removed"], 0);
  EXPECT_EQ(program.run({"--json", "remove", "-y", "l/Kit's.aif", "--crate", "Sub"}).json()["removed"], 0);
  EXPECT_EQ(program.run({"--json", "remove", "-n", "l", "--crate", "Sub"}).json()["removed"], 2);
  EXPECT_EQ(left().size(), 3u);
  EXPECT_EQ(program.run({"remove", "-y", "--missing", "l"}).code, 0);
  EXPECT_EQ(left(), (Words{"Bassoon.aif", "Kit's.aif"}));
  fs::remove_all(program.path("l/sub"));  // a folder that is gone still names its rows
  EXPECT_EQ(program.run({"remove", "-y", "l/sub"}).code, 0);
  EXPECT_EQ(left(), Words{"Kit's.aif"});
  EXPECT_EQ(program.run({"crates", "--json"}).json()["crates"], JSON::array());  // empty packages go, too
}

TEST_F(LoopCommands, RemoveAsksOnATerminalAndNeedsYesElsewhere) {
  if (!Program::hasTerminals()) GTEST_SKIP() << "no pseudo-terminals here";
  const Outcome run = program.run({"remove", "l/sub"});
  EXPECT_EQ(run.code, 2);
  EXPECT_NE(run.err.find("--yes"), std::string::npos);
  EXPECT_EQ(program.runOnTerminal({"--no-input", "remove", "l/sub"}).code, 2);
  const Outcome declined = program.runOnTerminal({"remove", "l/sub"}, "n\n");
  EXPECT_NE(declined.out.find("Take 2 loops out"), std::string::npos);
  EXPECT_EQ(declined.code, 1);
  EXPECT_EQ(left().size(), 3u);
  const Outcome agreed = program.runOnTerminal({"remove", "l/sub"}, "y\n");
  EXPECT_EQ(agreed.code, 0) << agreed.out;
  EXPECT_EQ(left(), Words{"Kit's.aif"});
}

}  // namespace
