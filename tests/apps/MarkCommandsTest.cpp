// favorite, rate and comment.
#include "Program.h"

#include <gtest/gtest.h>

namespace {

struct Marks : testing::Test {
  Marks() {
    for (const char* name : {"l/Amber 01.aif", "l/Amber 02.aif", "l/Birch.aif"}) program.add(name);
    EXPECT_EQ(program.run({"index", "l"}).code, 0);
  }
  Words stored() const {
    return program.rows(
        "SELECT fileName || '|' || isFavorite || '|' || rating || '|' || userComment FROM UserData "
        "JOIN Loops ON id = loopId ORDER BY 1");
  }
  Program program;
};

TEST_F(Marks, EachKeepsTheOtherTwo) {
  const std::string loop = program.path("l/Birch.aif");
  const std::string comment = "\"it's\"\t%@ 100%\nend";
  struct Case {
    Words arguments;
    std::string printed;
    bool isChanged = true;
  };
  const std::vector<Case> cases = {{{"favorite", loop}, "yes\t0\t"},
                                   {{"rate", loop, "5"}, "yes\t5\t"},
                                   {{"comment", loop, comment}, "yes\t5\t\"it's\"\uFFFD%@ 100%\uFFFDend"},
                                   {{"favorite", loop}, "yes\t5\t\"it's\"\uFFFD%@ 100%\uFFFDend", false},
                                   {{"comment", loop, "--", "-6 dB"}, "yes\t5\t-6 dB"},
                                   {{"favorite", "--off", loop}, "no\t5\t-6 dB"},
                                   {{"rate", loop, "0"}, "no\t0\t-6 dB"},
                                   {{"rate", "--clear", loop}, "no\t0\t-6 dB", false},
                                   {{"comment", loop, ""}, "no\t0\t"}};
  for (const auto& [arguments, printed, isChanged] : cases) {
    Words dryRun = arguments;
    dryRun.insert(dryRun.begin() + 1, {"--json", "-n"});
    const Words before = stored();
    JSON told = program.run(dryRun).json();
    EXPECT_EQ(told["loops"][0]["changed"], isChanged) << printed;
    EXPECT_EQ(told["dryRun"], true);
    EXPECT_EQ(stored(), before);
    EXPECT_EQ(program.run(arguments).out, loop + "\t" + printed + "\n");
  }
  ASSERT_EQ(program.run({"comment", loop, comment}).code, 0);
  EXPECT_EQ(program.run({"--json", "info", loop}).json()["files"][0]["row"]["comment"], comment);
}

TEST_F(Marks, LoopsComeAsPathsURLsIdsAndListsAndCountOnce) {
  const JSON birch = program.run({"--json", "search", "--name", "Birch"}).json()["loops"][0];
  const std::string id = birch["id"];
  const Outcome run = program.run({"--json", "rate", "id:" + id, birch["url"], "-", "-0", "3"},
                                  std::string("l/Amber 01.aif\0l/Birch.aif", 26));
  EXPECT_EQ(run.json()["loops"].size(), 2u) << run.err;
  EXPECT_EQ(stored(), (Words{"Amber 01.aif|0|3|", "Birch.aif|0|3|"}));
}

TEST_F(Marks, WrongArgumentsAndUnknownLoopsMarkNothing) {
  const Outcome run = program.run({"--json", "favorite", "l/Birch.aif", "l/Ambr 01.aif", "l/Amber 02.aif"});
  EXPECT_EQ(run.code, 3);
  EXPECT_EQ(run.json()["error"]["suggestions"], (JSON{"Amber 01.aif", "Amber 02.aif"}));
  const std::string loop = "l/Birch.aif";
  for (const Words& wrong : {Words{"rate", loop},
                             {"rate", loop, "6"},
                             {"rate", loop, "-1"},
                             {"rate", loop, "3.0"},
                             {"rate", loop, ""},
                             {"rate", "3"},
                             {"rate", "--clear"},
                             {"comment", loop},
                             {"favorite"}}) {
    EXPECT_EQ(program.run(wrong).code, 2) << testing::PrintToString(wrong);
  }
  EXPECT_EQ(stored(), Words{});
}

}  // namespace
