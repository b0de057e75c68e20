#include "Program.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>

namespace {

namespace fs = std::filesystem;

TEST(Index, ReportsCountsAndReasonsInEveryFormat) {
  const Program program;
  const std::string one = program.add("l/one/A.aif"), two = program.add("l/two/A.aif");
  const std::string bad = program.add("l/bad.aif", fixture::bytesOf("FORM"));
  program.add("l/notes.txt", fixture::bytesOf("x"));
  JSON report = program.told({"index", "l"}, 4);
  for (const char* varying : {"seconds", "failures"}) report.erase(varying);
  JSON expected = JSON::parse(R"({"schema":"veskloops.index/1","walked":4,"indexed":2,"loops":1,"unchanged":0,
      "removed":0,"carried":0,"untagged":0,"unsupported":1,"failed":1,"dryRun":false,"interrupted":false})");
  expected["sameIdentity"] = JSON::array({JSON::array({one, two})});
  EXPECT_EQ(report, expected);
  const auto lines = program.run({"--jsonl", "index", "l"}).jsonLines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_TRUE(lines[0]["failure"]["path"] == bad && lines[0]["failure"]["reason"] == "malformed") << lines[0];
  EXPECT_EQ(lines[1]["failed"], 1);
  const Outcome text = program.run({"-v", "index", "l"});
  EXPECT_TRUE(text.out.starts_with("0 indexed, 2 unchanged, 0 of them without tags, 1 of other types, 1 failed"))
      << text.out;
  for (const auto& said : {bad, program.path("l/notes.txt: of another type"), two}) {
    EXPECT_NE(text.err.find(said), std::string::npos) << text.err;
  }
  EXPECT_TRUE(program.run({"index", "l", "--force"}).out.starts_with("2 files, 1 loop indexed, 0 unchanged"));
}

TEST(Index, ItsOptionsReachTheScan) {
  const Program program;
  for (const char* path : {"l/A.aif", "l/x/B.aif", "l/x/C.aif", "m/Moved.aif", ".h.aif"}) program.add(path);
  program.add("Drums/plain.aif", fixture::aiffFile());
  const std::tuple<Words, const char*, JSON> cases[] = {
      {{"index", "-n", "l", "--copy-to", "out"}, "dryRun", true},
      {{"index", "l", "--exclude", "A*", "--exclude", "x/C.aif"}, "indexed", 1},
      {{"index", "Drums", "--no-path-keywords", "--tagged-only"}, "indexed", 0},
      {{"index", "l", "--crate", "A\tB", "--batch", "1"}, "indexed", 3},
      {{"index", "m", "--copy-to", "out", "--move"}, "indexed", 1},
      {{"index", "-n", ".", "--hidden", "--exclude", "[!.]*"}, "indexed", 1}};
  for (const auto& [arguments, field, value] : cases) EXPECT_EQ(program.told(arguments)[field], value) << field;
  EXPECT_TRUE(fs::exists(program.path("out/Moved.aif")) && !fs::exists(program.path("m/Moved.aif")));
  fs::remove(program.path("l/A.aif"));
  EXPECT_EQ(program.told({"index", "l", "--prune"})["removed"], 1);
  EXPECT_EQ(program.told({"crates"})["crates"][0]["name"], "A\tB");
  EXPECT_EQ(program.run({"crates", "list"}).out,
            "com.vireo.loops.UserDomain.User LoopsA\uFFFDB\tA\uFFFDB\tUser Loops\t\t2\n");
}

TEST(Index, FoldersAreListedAddedForgottenAndIndexedAgain) {
  const Program program;
  program.add("a/A.aif");
  program.add("b/B.aif");
  const std::string a = program.path("a"), b = program.path("b");
  program.told({"index", "a"});
  const std::pair<Words, std::string> cases[] = {{{"folders"}, a + "\n"},
                                                 {{"folders", "add", "b"}, a + "\n" + b + "\n"},
                                                 {{"folders", "remove", "a"}, b + "\n"},
                                                 {{"folders", "list"}, b + "\n"}};
  for (const auto& [arguments, printed] : cases) EXPECT_EQ(program.run(arguments).out, printed);
  EXPECT_EQ(program.told({"folders"})["folders"][0]["path"], b);
  EXPECT_EQ(program.told({"folders", "remove", "a"}, 3)["error"]["suggestions"], JSON{b});
  EXPECT_EQ(program.told({"index"})["indexed"], 1);
  EXPECT_EQ(program.told({"search", "--folder", "nosuch"}, 3)["error"]["kind"], "notFound");
}

TEST(Index, NamesOfAnyBytesAreTakenAndComeBackExactly) {
  const Program program;
  Words names = {"it's \"q\"", "100% {x}", "r\xFFr", "Å e\xCC\x81", "new\nline", "[a,b]", "++", "-dash", "id:x"};
  Words arguments = {"index", "--exclude", "[+]+", "--"};
  for (const auto& name : names) {
    program.add(name + "/" + name + ".aif");
    arguments.push_back(name);
  }
  ASSERT_EQ(program.told(arguments)["indexed"], names.size());
  const std::string printed = program.run({"search", "--print0"}).out;
  for (const auto& name : names) {
    const std::string path = program.path(name + "/" + name + ".aif");
    EXPECT_NE(printed.find(path + '\0'), std::string::npos) << name;
    EXPECT_EQ(program.told({"info", path})["files"][0]["indexed"], true) << name;
  }
}

TEST(Index, TakesListsFromStandardInputAndRefusesNamedPathsThatAreMissing) {
  const Program program;
  for (const char* path : {"a b.aif", "c\nd.aif"}) program.add(path);
  EXPECT_EQ(program.told({"index", "a b.aif", "nothing"}, 3)["error"]["subject"], "nothing");
  EXPECT_FALSE(fs::exists(program.database()));  // stopped before anything was done
  const Outcome lines = program.run({"--json", "index", "-"}, "a b.aif\nmissing.aif\n");
  EXPECT_EQ(lines.code, 4);
  EXPECT_EQ(lines.json()["failures"][0]["reason"], "notFound");
  const Outcome nulls = program.run({"--json", "index", "--force", "-", "-0"}, std::string("a b.aif\0c\nd.aif", 15));
  EXPECT_EQ(nulls.json()["indexed"], 2) << nulls.err;
}

TEST(Index, AnInterruptedRunKeepsWhatItFinishedAndSaysSo) {
  for (const int number : {SIGINT, SIGTERM}) {
    const Program program;
    for (const char* path : {"A.aif", "B.aif"}) program.add(path);
    // When the failure of the third one is told, the two before it are done.
    const Outcome run = program.runUntil("none.aif", number, {"--json", "index", "-"}, "A.aif\nB.aif\nnone.aif\n");
    EXPECT_EQ(run.code, 128 + number) << run.err;
    EXPECT_TRUE(run.json()["interrupted"] == true && run.json()["indexed"] == 2) << run.out;
    EXPECT_EQ(program.run({"search", "-k", "Dry"}).names(), (Words{"A.aif", "B.aif"}));
  }
}

}  // namespace
