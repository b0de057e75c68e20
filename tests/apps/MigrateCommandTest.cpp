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
  for (const auto& [arguments, code] : {std::pair(Words{"import"}, 2),
                                        {{"import", "gone.db"}, 5},
                                        {{"import", "l/A.aif"}, 5},
                                        {{"import", "loops.db"}, 2}}) {
    EXPECT_EQ(program.told(arguments, code)["error"]["code"], code) << arguments.back();
  }
}

TEST_F(MigrateCommand, MigrateTellsWhatEachPartDid) {
  std::filesystem::rename(program.path("l"), program.path("n=w"));
  program.add("Pack/P.aif", loopFile({.genre = "Jazz"}));
  program.folder().addFile("index/Search Index 12345678-1234-1234-1234-123456789012.txt",
                           program.path("Pack") + std::string(1, '\0'));
  program.folder().addFile("index/Search Index 22345678-1234-1234-1234-123456789012.txt", "\xFF");
  program.folder().addFile("favorites", "n=w/A.aif\n\n/gone.aif\n");
  const Words all = {"migrate", "--relocate", "l=n=w", "--legacy", "index", "--favorites", "favorites"};
  const JSON told = program.told(all, 4);
  EXPECT_EQ(told["relocated"], 1);
  EXPECT_EQ(told["packages"][0]["indexed"], 1);
  EXPECT_EQ(told["unknownFavorites"][0]["path"], "/gone.aif");
  EXPECT_EQ(told["upToDate"], true);
  const JSON loop = program.told({"search", "--favorites"})["loops"][0];
  EXPECT_EQ(loop["path"], program.path("n=w/A.aif"));
  EXPECT_EQ(loop["rating"], 3);
  const Outcome text = program.run({"migrate", "--favorites", "-", "--localize", "de"}, program.path("Pack/P.aif"));
  EXPECT_EQ(text.lines(), (Words{"1 favorite marked", "names are those of de now", "the loop database is up to date"}));

  for (const auto& [arguments, code] : {std::pair(Words{"migrate", "--from", "loops.db"}, 2),
                                        {{"migrate", "--relocate", "x"}, 2},
                                        {{"migrate", "--relocate", "x=gone"}, 3},
                                        {{"migrate", "--favorites", "gone"}, 3},
                                        {{"migrate", "--legacy", "x"}, 3}}) {
    EXPECT_EQ(program.told(arguments, code)["error"]["code"], code) << arguments.back();
  }
}

}  // namespace
