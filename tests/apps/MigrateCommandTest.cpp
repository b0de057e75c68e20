// Databases, packages and places of an earlier time, brought over from the command line.
#include "platform/Path.h"
#include "Program.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

struct MigrateCommand : testing::Test {
  MigrateCommand() {
    program.add("l/A.aif");
    program.told({"index", "l"});
    program.told({"rate", "A", "3"});
  }
  Program program;
};

TEST_F(MigrateCommand, ImportPrintsRowsPerTableAndWarnsWhenNoLoopComesOver) {
  program.add("m/B.aif", loopFile({.genre = "Jazz"}));
  program.told({"--database", "maker.db", "index", "m"});
  const JSON dry = program.told({"import", "maker.db", "-n"});
  EXPECT_EQ(dry["tables"][0], (JSON{{"table", "Loops"}, {"inSource", 1}, {"before", 1}, {"after", 2}}));
  const Outcome text = program.run({"import", "maker.db", "--identifier", "m", "--placeholder", "file:///P/"});
  EXPECT_EQ(text.lines().at(0), "Loops\t1\t1\t2");
  EXPECT_NE(text.err.find("1 loop came over"), std::string::npos);
  EXPECT_EQ(program.run({"search"}).lines(), (Words{program.path("l/A.aif"), "/P/B.aif"}));
  EXPECT_NE(program.run({"import", "maker.db"}).err.find("warning: no loop came over: the loop"), std::string::npos);
  EXPECT_EQ(program.told({"import", "l/A.aif"}, 5)["error"]["kind"], "databaseForeign");
  const std::string missing = program.run({"import", "none.db"}).err;
  EXPECT_NE(missing.find("Get the file again from where it came."), std::string::npos) << missing;
  EXPECT_EQ(program.run({"import"}).code, 2);
}

TEST_F(MigrateCommand, MigrateTellsWhatEachPartDid) {
  std::filesystem::rename(program.path("l"), program.path("n=w"));
  program.folder().addFile("index/Search Index 22345678-1234-1234-1234-123456789012.txt", "\xFF");
  const JSON told = program.told({"migrate", "--relocate", "l=n=w", "--legacy", "index"}, 4);
  EXPECT_EQ(told["relocated"], 1);
  EXPECT_TRUE(told["packages"][0].contains("trouble"));
  const Outcome text = program.run({"migrate", "--favorites", "-", "--localize", "de"}, "n=w/A.aif\n/gone.aif\n");
  EXPECT_EQ(text.code, 4) << "one is not there";
  EXPECT_EQ(text.lines(), (Words{"1 favorite marked", "names are those of de now", "the loop database is up to date"}));
  EXPECT_EQ(program.told({"search", "--favorites", "--min-rating", "3"})["loops"][0]["path"],
            program.path("n=w/A.aif"));
  for (const auto& [option, word, code] : {std::tuple("--from", "loops.db", 2), {"--relocate", "x=gone", 3}}) {
    EXPECT_EQ(program.run({"migrate", option, word}).code, code) << option << " " << word;
  }
}

}  // namespace
