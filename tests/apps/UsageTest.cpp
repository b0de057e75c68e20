#include "platform/Path.h"
#include "Program.h"
#include "VeskLoopManagement/platform/Text.h"

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

TEST(Usage, WrongArgumentsDoNothingAndSayWhatIsWrong) {
  const Program program;
  program.add("a.aif");
  const std::pair<Words, std::string_view> cases[] = {
      {{}, "a command is missing"},
      {{"serch"}, "Did you mean \"search\""},
      {{"--limit", "3", "search"}, "Write veskloops search --limit"},
      {{"search", "--limt", "3"}, "Did you mean \"--limit\""},
      {{"search", "--min-rating", "6"}, "--min-rating must be a number from 1 to 5, not \"6\""},
      {{"search", "--random", "--offset", "1"}, "--random does not go together with --offset"},
      {{"search", "--columns", "name,tone"}, "\"tone\" is not a column"},
      {{"keywords", "--genre", "Jazz"}, "--genre needs --available"},
      {{"family", "a.aif", "b.aif"}, "needs one loop"},
      {{"index", "-x", "a.aif"}, "unknown option: -x"},
      {{"label", "a.aif"}, "unknown command"},
      {{"tag", "a.aif"}, "there is nothing to change"},
      {{"tag", "--set", "genre", "a.aif"}, "gives a tag no value"},
      {{"tag", "--set", "gnre=Jazz", "a.aif"}, "there is no such tag"},
      {{"tag", "--set", "key=H", "a.aif"}, "keys are notes"},
      {{"tag", "--set", "genre=Jazz"}, "no file is named"},
      {{"tag", "--set", "genre=Jazz", "--favorites", "a.aif"}, "do not go together"},
      {{"tag", "--undo", "x"}, "\"x\" is no run"},
      {{"crates", "create"}, "needs a name"},
      {{"help", "nothing"}, "unknown command"},
      {{"index"}, "no folders are remembered"},
      {{"index", "--copy-to", "x"}, "needs a file or folder"},
      {{"search", "--facets", "--limit", "1"}, "does not go together"},
      {{"folders", "add"}, "DIR"},
      {{"index", "--move", "a.aif"}, "--move needs --copy-to"},
      {{"comment", "a.aif", "--claer"}, "Did you mean \"--clear\""},
      {{"index", "--batch", "0", "a.aif"}, "--batch must be"},
      {{"search", "--limit", "1", "--limit", "2"}, "only once"},
      {{"index", "-0", "a.aif"}, "--null needs a list"},
      {{"remove"}, "--missing"},
      {{"--color", "pink", "search"}, "must be auto, always or never, not \"pink\""},
  };
  for (const auto& [arguments, message] : cases) {
    const Outcome run = program.run(with(arguments, {"--json"}));  // asked for behind what is wrong
    EXPECT_EQ(run.code, 2);
    EXPECT_TRUE(run.err.starts_with("veskloops: error: ") && holds(run.err, message)) << run.err;
    EXPECT_EQ(run.json()["error"]["kind"], "usage");
  }
  EXPECT_FALSE(vesk::path::exists(program.database()));
}

TEST(Usage, VersionTellsWhatItStandsOn) {
  const JSON version = Program().run({"--version", "--json"}).json();
  EXPECT_EQ(version["schemaVersion"], 100930);
  EXPECT_TRUE(version["sqlite"].is_string() && version["icu"].is_string());
}

TEST(Usage, EveryCommandHasHelpWithAnExampleThatFitsAndSaysWhatIsRequired) {
  const Program program;
  const auto isFirstByte = [](char byte) { return (byte & 0xC0) != 0x80; };
  for (const char* usage : {"index|[PATH…]", "folders add|DIR…", "remove|[LOOP…]", "search|[TEXT…]", "keywords|[TEXT…]",
                            "family|LOOP", "info|LOOP…", "favorite|LOOP…", "rate|LOOP… N", "comment|LOOP… TEXT",
                            "crates show|CRATE…", "crates create|NAME", "crates remove|CRATE…"}) {
    const Words parts = vesk::text::split(usage, '|');
    const Outcome help = program.run(with({"help"}, vesk::text::split(parts[0], ' ')));
    EXPECT_TRUE(holds(help.out, "Usage: veskloops " + parts[0] + " [OPTIONS] " + parts[1] + "\n")) << help.out;
    EXPECT_TRUE(holds(help.out, "\nExample:\n  veskloops " + parts[0] + " ")) << help.out;
    EXPECT_EQ(holds(help.out, "(required)"), parts[1][0] != '[') << help.out;
    for (const auto& line : help.lines()) EXPECT_LE(std::count_if(line.begin(), line.end(), isFirstByte), 100) << line;
  }
  EXPECT_TRUE(holds(program.run({"help", "search"}).out, "only with --tempo"));
}

TEST(Usage, TablesAreForTerminalsAndPathsForScripts) {
  const Program program;
  const std::string path = program.add("Funk \x1b[31m.aif", loopFile({}, {fixture::chunk("NAME", "a\tb\nc\xC2\x9B")}));
  ASSERT_EQ(program.run({"index", "."}).code, 0);
  EXPECT_EQ(program.run({"search"}).out, path + "\n");  // the exact bytes
  for (const auto& line : program.run({"info", path}).lines()) {
    EXPECT_TRUE(line.starts_with(program.path("Funk \uFFFD[31m.aif\t"))) << line;
    EXPECT_EQ(std::count(line.begin(), line.end(), '\t'), 2) << line;
  }
  if (!program.hasTerminals()) GTEST_SKIP() << "no pseudo-terminals here";
  const std::string table = program.runOnTerminal({"search"}).out;
  EXPECT_TRUE(holds(table, "\x1b[1mName") && holds(table, "1 loop found")) << table;
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
  const Outcome index = program.runWithoutReader({"--jsonl", "index", "f"});
  EXPECT_EQ(index.code, 4);
  EXPECT_FALSE(holds(index.err, "could not be written")) << index.err;
  EXPECT_EQ(program.run({"search", "--count"}).out, "40\n");
  const Outcome search = program.runWithoutReader({"search"});
  EXPECT_EQ(std::pair(search.code, search.err), std::pair(0, std::string()));
}

}  // namespace
