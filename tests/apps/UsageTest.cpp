#include "platform/Path.h"
#include "Program.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

bool holds(const std::string& text, std::string_view part) {
  return text.find(part) != std::string::npos;
}

Words with(Words words, const Words& more) {
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

TEST(Usage, WrongArgumentsDoNothingAndSayWhatIsWrongInEveryFormat) {
  const Program program;
  program.add("a.aif");
  struct Case {
    Words arguments;
    std::string_view message;
  };
  const std::vector<Case> cases = {
      {{}, "a command is missing"},
      {{"serch"}, "Did you mean \"search\""},
      {{"--limit", "3", "search"}, "Write veskloops search --limit"},
      {{"search", "--limt", "3"}, "Did you mean \"--limit\""},
      {{"search", "--half-double"}, "requires --tempo"},
      {{"search", "--min-rating", "6"}, "--min-rating"},
      {{"search", "--random", "--sort", "name"}, "excludes"},
      {{"search", "--random", "--offset", "1"}, "excludes"},
      {{"search", "--columns", "name,tone"}, "\"tone\" is no column"},
      {{"search", "--columns", "name", "--print0"}, "excludes"},
      {{"search", "--count", "--facets"}, "excludes"},
      {{"keywords", "--genre", "Jazz"}, "requires --available"},
      {{"keywords", "--available", "--all"}, "excludes"},
      {{"family", "a.aif", "b.aif"}, "needs one loop"},
      {{"index", "--force", "a.aif"}, "unknown option"},
      {{"index", "-x", "a.aif"}, "unknown option: -x"},
      {{"tag", "a.aif"}, "unknown command"},
      {{"crates", "create", "X"}, "unknown command"},
      {{"help", "nothing"}, "unknown command"},
      {{"index"}, "no folders are remembered"},
      {{"index", "--copy-to", "x"}, "needs a file or folder"},
      {{"search", "--facets", "--limit", "1"}, "excludes"},
      {{"folders", "add"}, "DIR"},
      {{"index", "--move", "a.aif"}, "--copy-to"},
      {{"index", "--batch", "0", "a.aif"}, "--batch"},
      {{"index", "--batch", "many", "a.aif"}, "--batch"},
      {{"index", "-0", "a.aif"}, "--null"},
      {{"remove"}, "--missing"},
      {{"info"}, "needs a file"},
      {{"--color", "pink", "search"}, "pink"},
      {{"-q", "-v", "search"}, "excludes"},
  };
  for (const auto& [arguments, message] : cases) {
    const Outcome text = program.run(arguments);
    EXPECT_EQ(text.code, 2) << text.err;
    EXPECT_TRUE(text.out.empty());
    EXPECT_TRUE(text.err.starts_with("veskloops: error: ")) << text.err;
    EXPECT_TRUE(holds(text.err, message)) << text.err;
    const Outcome json = program.run(with({"--json"}, arguments));
    EXPECT_EQ(json.code, 2);
    EXPECT_EQ(json.json()["error"]["code"], 2);
    EXPECT_EQ(json.json()["error"]["kind"], "usage");
  }
  EXPECT_FALSE(vesk::path::exists(program.database()));
}

TEST(Usage, OptionsOfEveryCommandStandBeforeOrBehindIt) {
  const Program program;
  program.add("a.aif");
  ASSERT_EQ(program.run({"index", "a.aif"}).code, 0);
  for (const Words& arguments : {Words{"--json", "search"}, Words{"search", "--json"}}) {
    EXPECT_EQ(program.run(arguments).json()["total"], 1);
  }
  EXPECT_EQ(program.run({"search", "--database", "none.db"}).code, 5);
}

TEST(Usage, VersionTellsWhatItStandsOn) {
  const JSON version = Program().run({"--version", "--json"}).json();
  EXPECT_EQ(version["schemaVersion"], 100930);
  EXPECT_TRUE(version["sqlite"].is_string());
  EXPECT_TRUE(version["icu"].is_string());
}

TEST(Usage, ArgumentsThatLookLikeSyntaxAreTakenAsTheyAre) {
  const Program program;
  const Words folders = {"[a,b]", "++", "-dash", "{}", "id:x", "a'b \"c\" $d"};
  for (const auto& folder : folders) program.add(folder + "/" + folder + ".aif");
  const Outcome index = program.run({"index", "--json", "--", "[a,b]", "++", "-dash", "{}", "id:x", "a'b \"c\" $d"});
  EXPECT_EQ(index.json()["indexed"], folders.size()) << index.err;
  EXPECT_EQ(program.run({"search", "--name", "[a,b]"}).names(), Words{"[a,b].aif"});
  EXPECT_EQ(program.run({"index", "--exclude", "[+]+", "--json", "[a,b]", "++"}).json()["walked"], 2);
  EXPECT_EQ(program.run({"index", "--exclude", "[+]*", "--json", "[a,b]", "++"}).json()["walked"], 1);
}

TEST(Usage, TablesAreForTerminalsAndPathsForScripts) {
  const Program program;
  const std::string path = program.add("Funk \x1b[31m.aif", loopFile({}, {fixture::chunk("NAME", "a\tb\nc\xC2\x9B")}));
  ASSERT_EQ(program.run({"index", "."}).code, 0);
  EXPECT_EQ(program.run({"search"}).out, path + "\n");  // the exact bytes
  for (const auto& line : program.run({"info", "--chunks", path}).lines()) {
    EXPECT_TRUE(line.starts_with(program.path("Funk \uFFFD[31m.aif\t"))) << line;
    EXPECT_EQ(std::count(line.begin(), line.end(), '\t'), 2) << line;
  }
  if (!Program::hasTerminals()) GTEST_SKIP() << "no pseudo-terminals here";
  const std::string table = program.runOnTerminal({"search"}).out;
  EXPECT_TRUE(holds(table, "\x1b[1mName")) << table;
  EXPECT_TRUE(holds(table, "1 loop found")) << table;
  EXPECT_FALSE(holds(program.runOnTerminal({"--color", "never", "search"}).out, "\x1b[1m"));
}

TEST(Usage, ProgressAsJSONEndsWithTheCodeAndLeavesTheResultAlone) {
  const Program program;
  program.add("f/A.aif");
  const Outcome run = program.run({"--json", "--progress", "json", "index", "f"});
  EXPECT_EQ(run.json()["indexed"], 1);
  EXPECT_TRUE(run.err.starts_with("{\"event\":\"progress\",")) << run.err;
  EXPECT_TRUE(run.err.ends_with("{\"event\":\"done\",\"code\":0}\n")) << run.err;
}

TEST(Usage, AReaderThatHasEnoughEndsNoRun) {
  const Program program;
  for (int number = 0; number < 40; ++number) program.add("f/" + std::to_string(number) + ".aif");
  program.add("f/bad.aif", fixture::bytesOf("FORM"));
  const Outcome index = program.runWithoutReader({"index", "f"});
  const Outcome lines = program.runWithoutReader({"--jsonl", "index", "f"});
  EXPECT_EQ(index.code, 4);
  EXPECT_EQ(lines.code, 4) << lines.err;
  EXPECT_FALSE(holds(lines.err, "could not be written")) << lines.err;
  EXPECT_EQ(program.run({"search", "--count"}).out, "40\n");
  for (const Words& search : {Words{"search"}, Words{"search", "--json"}}) {
    const Outcome run = program.runWithoutReader(search);
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.err, "");
  }
}

}  // namespace
