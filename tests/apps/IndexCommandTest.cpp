#include "Program.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

namespace {

namespace fs = std::filesystem;

JSON indexed(const Program& program, Words arguments, int code = 0) {
  arguments.insert(arguments.begin(), {"--json", "index"});
  const Outcome run = program.run(arguments);
  EXPECT_EQ(run.code, code) << run.err;
  return run.json();
}

Words found(const Program& program, Words arguments = {}) {
  arguments.insert(arguments.begin(), "search");
  return program.run(arguments).names();
}

TEST(Index, CountsEveryFileOnceAndReportsTheBrokenOnesWithTheirReason) {
  const Program program;
  program.add("loops/A.aif");
  program.add("loops/sub/B.aif", loopFile({.genre = "Jazz"}));
  program.add("loops/C.aif", fixture::aiffFile());
  program.add("loops/notes.txt", fixture::bytesOf("hello"));
  program.add("loops/broken.aif", fixture::bytesOf("FORM"));
  program.add("loops/empty.wav", {});
  program.add("loops/._A.aif", fixture::bytesOf("companion"));
  program.add("loops/__MACOSX/D.aif");
  fs::create_symlink("nowhere.aif", program.path("loops/gone.aif"));

  const JSON result = indexed(program, {"loops"}, 4);
  EXPECT_EQ(result["schema"], "veskloops.index/1");
  EXPECT_EQ(result["walked"], 7);
  EXPECT_EQ(result["indexed"], 2);
  EXPECT_EQ(result["untagged"], 1);
  EXPECT_EQ(result["unsupported"], 1);
  EXPECT_EQ(result["unchanged"], 0);
  EXPECT_EQ(result["interrupted"], false);
  std::map<std::string, std::string> reasons;
  for (const auto& failure : result["failures"]) reasons[failure["path"]] = failure["reason"];
  EXPECT_EQ(reasons, (std::map<std::string, std::string>{{program.path("loops/broken.aif"), "malformed"},
                                                         {program.path("loops/empty.wav"), "malformed"},
                                                         {program.path("loops/gone.aif"), "unreadable"}}));
  EXPECT_EQ(found(program), (Words{"A.aif", "B.aif"}));
  EXPECT_EQ(found(program, {"-k", "Jazz"}), Words{"B.aif"});  // the end-of-run tables are there
}

TEST(Index, NamesOfAnyBytesComeBackExactly) {
  const Program program;
  const Words names = {"it's.aif", "\"q\".aif", "100% {x}.aif", "r\xFFr.aif", "Å e\xCC\x81.aif", "new\nline.aif"};
  for (const auto& name : names) program.add("loops/" + name);
  ASSERT_EQ(indexed(program, {"loops"})["indexed"], names.size());
  const std::string printed = program.run({"search", "--print0"}).out;
  for (const auto& name : names) {
    const std::string path = program.path("loops/" + name);
    EXPECT_NE(printed.find(path + '\0'), std::string::npos) << name;
    const JSON file = program.run({"--json", "info", path}).json()["files"][0];
    EXPECT_EQ(file["indexed"], true) << name;
    EXPECT_EQ(file.contains("pathIsExact"), name == "r\xFFr.aif");
  }
  const JSON bad = program.run({"--json", "info", program.path("loops/r\xFFr.aif")}).json()["files"][0];
  EXPECT_TRUE(bad["url"].get<std::string>().ends_with("/r%FFr.aif"));
  EXPECT_TRUE(bad["path"].get<std::string>().ends_with("/r\uFFFDr.aif"));
}

TEST(Index, TakesListsFromStandardInput) {
  const Program program;
  program.add("a b.aif");
  program.add("c\nd.aif");
  const Outcome lines = program.run({"--json", "index", "-"}, "a b.aif\nmissing.aif\n");
  EXPECT_EQ(lines.code, 4);
  EXPECT_EQ(lines.json()["indexed"], 1);
  EXPECT_EQ(lines.json()["failures"][0]["reason"], "notFound");
  const Outcome nulls = program.run({"--json", "index", "-", "-0"}, std::string("a b.aif\0c\nd.aif", 15));
  EXPECT_EQ(nulls.json()["indexed"], 2) << nulls.err;
}

TEST(Index, ANamedPathThatIsMissingStopsBeforeAnythingIsDone) {
  const Program program;
  program.add("a.aif");
  const Outcome run = program.run({"--json", "index", "a.aif", "nothing"});
  EXPECT_EQ(run.code, 3);
  EXPECT_EQ(run.json()["error"]["subject"], "nothing");
  EXPECT_FALSE(fs::exists(program.database()));
}

TEST(Index, FollowsLinksOnceAndOpensNoPipes) {
  const Program program;
  program.add("loops/real/A.aif");
  program.add("outside/B.aif", loopFile({.genre = "Jazz"}));
  fs::create_directory_symlink("../loops", program.path("loops/cycle"));
  fs::create_directory_symlink("real", program.path("loops/alias"));  // comes before "real" by name
  fs::create_directory_symlink("../outside", program.path("loops/more"));
  mkfifo(program.path("loops/pipe.aif").c_str(), 0600);
  EXPECT_EQ(indexed(program, {"loops"})["walked"], 2);
  EXPECT_EQ(program.run({"search"}).lines(),
            (Words{program.path("loops/real/A.aif"), program.path("loops/more/B.aif")}));
}

TEST(Index, ExcludesByNameAndByPath) {
  const Program program;
  for (const char* path : {"l/a.aif", "l/old/b.aif", "l/x/old/c.aif", "l/x/d.aif", "l/e.wav"}) program.add(path);
  struct Case {
    Words patterns;
    int walked;
  };
  for (const auto& [patterns, walked] : {Case{{"old"}, 3}, Case{{"x/old"}, 4}, Case{{"*.wav", "x"}, 2}}) {
    Words arguments = {"-n", "l"};
    for (const auto& pattern : patterns) arguments.insert(arguments.end(), {"--exclude", pattern});
    EXPECT_EQ(indexed(program, arguments)["walked"], walked) << patterns[0];
  }
}

TEST(Index, FilesOfOneIdentityAreReportedOnlyWhileBothAreThere) {
  const Program program;
  program.add("l/one/Same.aif");
  program.add("l/two/Same.aif");
  const JSON both = indexed(program, {"l"});
  EXPECT_EQ(both["sameIdentity"],
            JSON::array({JSON::array({program.path("l/one/Same.aif"), program.path("l/two/Same.aif")})}));
  EXPECT_EQ(program.run({"search"}).lines(), Words{program.path("l/two/Same.aif")});
  fs::remove(program.path("l/two/Same.aif"));  // as if it had been moved to "one"
  EXPECT_EQ(indexed(program, {"l"})["sameIdentity"], JSON::array());
  EXPECT_EQ(program.run({"search"}).lines(), Words{program.path("l/one/Same.aif")});
}

TEST(Index, PackagesAreMadeOnceAndFoundByNameAndIdentifier) {
  const Program program;
  program.add("a/A.aif");
  program.add("b/B.aif");
  program.add("c/C.aif");
  ASSERT_EQ(indexed(program, {"a", "--crate", "My \"own\" it's"})["indexed"], 1);
  const JSON crate = program.run({"crates", "--json"}).json()["crates"][0];
  EXPECT_EQ(crate["name"], "My \"own\" it's");
  ASSERT_EQ(indexed(program, {"b", "--crate", "my \"OWN\" it's"})["indexed"], 1);
  ASSERT_EQ(indexed(program, {"c", "--crate", crate["identifier"]})["indexed"], 1);
  const JSON crates = program.run({"crates", "list", "--json"}).json()["crates"];
  ASSERT_EQ(crates.size(), 1u);
  EXPECT_EQ(crates[0]["loops"], 3);
  EXPECT_EQ(found(program, {"--crate", "My \"own\" it's"}), (Words{"A.aif", "B.aif", "C.aif"}));
}

TEST(Index, CopiesAreIndexedAndNothingIsOverwritten) {
  const Program program;
  program.add("src/sub/A.aif");
  program.add("src/it's.aif");
  EXPECT_EQ(indexed(program, {"src", "--copy-to", "src/out"})["indexed"], 2);
  const Words copies = {program.path("src/out/sub/A.aif"), program.path("src/out/it's.aif")};
  EXPECT_EQ(program.run({"search"}).lines(), copies);
  // Again: the copies are there already and stay indexed; the folder of the copies is not copied into itself.
  EXPECT_EQ(indexed(program, {"src", "--copy-to", "src/out"})["indexed"], 2);
  EXPECT_EQ(program.run({"search"}).lines(), copies);

  program.add("src/sub/A.aif", loopFile({.genre = "Jazz"}));
  const JSON conflict = indexed(program, {"src/sub/A.aif", "--copy-to", "src/out/sub"}, 4);
  EXPECT_EQ(conflict["failures"][0]["reason"], "destinationExists");
  EXPECT_EQ(found(program, {"-k", "Jazz"}), Words{});

  EXPECT_EQ(indexed(program, {"src/sub/A.aif", "--copy-to", "moved", "--move"})["indexed"], 1);
  EXPECT_FALSE(fs::exists(program.path("src/sub/A.aif")));
  EXPECT_EQ(program.run({"search", "-k", "Jazz"}).lines(), Words{program.path("moved/A.aif")});
  // A copy that fails leaves everything as it was, the loop's own row too.
  program.add("it's/file", fixture::bytesOf("x"));
  fs::create_symlink(program.path("nowhere/N.aif"), program.path("it's/N.aif"));
  const std::string original = program.add("N.aif", loopFile({.genre = "Urban"}));
  ASSERT_EQ(indexed(program, {"N.aif", "--crate", "Kept"})["indexed"], 1);
  for (const auto& [folder, reason] : {std::pair{"it's/file", "copyFailed"}, std::pair{"it's", "destinationExists"}}) {
    EXPECT_EQ(indexed(program, {"N.aif", "--copy-to", folder}, 4)["failures"][0]["reason"], reason);
    EXPECT_EQ(program.run({"search", "-k", "Urban", "--crate", "Kept"}).lines(), Words{original});
  }
}

TEST(Index, PruningTakesOutWhatIsGoneBelowTheFolderOnlyAndKeepsPlaceholders) {
  const Program program;
  for (const char* path : {"l/A.aif", "l/B.aif", "l/D.aif", "l2/C.aif"}) program.add(path);
  const fixture::Pairs tags = {{"category", "Drums"}, {"beat count", "4"}};
  program.add("l/Web.caf", fixture::cafFile({{.id = "uuid", .payload = fixture::searchInfoPayload(tags)},
                                             {.id = "uuid", .payload = fixture::uuidPayload(fixture::kWebLoopID)}}));
  ASSERT_EQ(indexed(program, {"l", "l2"})["indexed"], 5);
  for (const char* path : {"l/A.aif", "l/D.aif", "l2/C.aif", "l/Web.caf"}) fs::remove(program.path(path));
  EXPECT_EQ(indexed(program, {"l", "--prune", "-n"})["removed"], 2);
  EXPECT_EQ(found(program).size(), 5u);
  EXPECT_EQ(indexed(program, {"l", "--prune", "--batch", "1"})["removed"], 2);
  EXPECT_EQ(found(program), (Words{"B.aif", "C.aif", "Web.caf"}));
}

TEST(Index, ADryRunTellsAndChangesNothing) {
  const Program program;
  program.add("Drums/A.aif");
  const JSON result = indexed(program, {"-n", "--copy-to", "out", "--crate", "X", "Drums"});
  EXPECT_EQ(result["indexed"], 1);
  EXPECT_EQ(result["dryRun"], true);
  EXPECT_FALSE(fs::exists(program.database()));
  EXPECT_FALSE(fs::exists(program.path("out")));
}

TEST(Index, KeywordsOfThePathCanBeLeftOut) {
  const Program program;
  program.add("Drums/plain.aif", fixture::aiffFile());
  EXPECT_EQ(indexed(program, {"Drums", "--no-path-keywords"})["untagged"], 1);
  EXPECT_EQ(indexed(program, {"Drums"})["indexed"], 1);
}

TEST(Index, AnInterruptedRunKeepsWhatItFinishedAndSaysSo) {
  for (const int number : {SIGINT, SIGTERM}) {
    const Program program;
    program.add("A.aif");
    program.add("B.aif", loopFile({.genre = "Jazz"}));
    RunningProgram running = program.start({"--json", "index", "-"});
    running.write("A.aif\nB.aif\nnone.aif\n");
    ASSERT_TRUE(running.waitForMessage("none.aif"));  // the two before it are done, the list is still open
    running.signal(number);
    const Outcome run = running.finish();
    EXPECT_EQ(run.code, 128 + number) << run.err;
    EXPECT_EQ(run.json()["interrupted"], true);
    EXPECT_EQ(run.json()["indexed"], 2);
    EXPECT_EQ(found(program, {"-k", "Jazz"}), Words{"B.aif"});
  }
}

TEST(Index, LinesOfJSONEndWithTheSummary) {
  const Program program;
  program.add("l/A.aif");
  program.add("l/bad.aif", fixture::bytesOf("x"));
  const auto lines = program.run({"--jsonl", "index", "l"}).jsonLines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0]["failure"]["path"], program.path("l/bad.aif"));
  EXPECT_EQ(lines[1]["indexed"], 1);
  EXPECT_EQ(lines[1]["failed"], 1);
}

}  // namespace
