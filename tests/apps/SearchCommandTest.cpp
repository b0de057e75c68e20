// search, keywords and family: how arguments reach the query, and what is printed of the result.
#include "Program.h"

#include <gtest/gtest.h>

namespace {

const std::string kFunk1 = "Funky Beat 01.aif", kFunk2 = "Funky Beat 02.aif", kBass = "Slow Bass.aif";
const Words kAll = {kFunk1, kFunk2, "Lead.aif", kBass};

// Four loops that differ in what searches ask for. "Lead" is marked.
struct Search : testing::Test {
  Search() {
    program.add("a/" + kFunk1, loopFile({.rootNote = 57, .keyType = 1}));  // A minor
    program.add("a/" + kFunk2, loopFile({.beats = 16}));
    program.add("a/x/" + kBass, loopFile({"Bass", "Electric Bass", "Jazz", {"Dry", "Dark"}, 50, 1, 6, 3}));
    program.add("b/Lead.aif", loopFile({"Piano", "", "Zorp", {"Dry"}, 59}, {fixture::chunk("midi", "MThd")}));
    program.told({"index", "a", "--crate", "Pack A"});
    program.told({"index", "b"});
    program.told({"favorite", "b/Lead.aif"});
    program.told({"rate", "b/Lead.aif", "4"});
  }
  Outcome search(Words arguments) const {
    arguments.insert(arguments.begin(), "search");
    return program.run(arguments);
  }
  Program program;
};

TEST_F(Search, ArgumentsReachTheQuery) {
  const std::pair<Words, Words> cases[] = {
      {{}, kAll},
      {{"beat", "funky"}, {kFunk1, kFunk2}},
      {{"--name", "b", "--layout", "mobile"}, {kFunk1, kFunk2, kBass}},
      {{"-k", "dry", "--keyword", "Jazz"}, {kBass}},
      {{"--genre", "zorp"}, {"Lead.aif"}},
      {{"--instrument", "Electric Bass"}, {kBass}},
      {{"--tempo", "85-95"}, {kBass}},
      {{"--tempo", "120~1%", "--half-double"}, {kFunk1, kFunk2, "Lead.aif"}},
      {{"--key", "Am", "--key-match", "exact"}, {kFunk1}},
      {{"--key", "Bb"}, {kFunk1, kFunk2, "Lead.aif"}},
      {{"--key", "8A", "--key-match", "compatible"}, {kFunk1, kFunk2, kBass}},
      {{"--key", "Bb", "--key-match", "exact", "--with-key"}, {}},
      {{"x"}, {kBass}},
      {{"--in-path", program.path("b/")}, {"Lead.aif"}},
      {{"--sort", "rating:desc,genre,id", "--limit", "2"}, {"Lead.aif", kBass}},
      {{"--key", "F#", "--key-match", "exact"}, {}},
      {{"--key", "c", "--scale", "minor"}, {kBass}},
      {{"--signature", "3/4"}, {kBass}},
      {{"--type", "midi", "--type", "drummer"}, {"Lead.aif"}},
      {{"--favorites"}, {"Lead.aif"}},
      {{"--min-rating", "5"}, {}},
      {{"--crate", "pack a"}, {kFunk1, kFunk2, kBass}},
      {{"--folder", "./b/../a/x/"}, {kBass}},
      {{"--sort", "beats:desc,name:desc"}, {kFunk2, "Lead.aif", kFunk1, kBass}},
      {{"--limit", "2", "--offset", "1"}, {kFunk2, "Lead.aif"}},
  };
  for (const auto& [arguments, found] : cases) {
    EXPECT_EQ(search(arguments).names(), found) << testing::PrintToString(arguments);
  }
  EXPECT_EQ(search({"--random"}).names().size(), kAll.size());
}

TEST_F(Search, WordsThatMeanNothingAreRefused) {
  const JSON error = program.told({"search", "-k", "Jaz"}, 3)["error"];
  EXPECT_TRUE(error["kind"] == "notFound" && error["suggestions"] == JSON{"Jazz"}) << error;
  for (const char* wrong : {"--key=H", "--signature=4", "--sort=mood", "--sort=name:down", "--type=tape",
                            "--scale=lydian", "--limit=-1", "--tempo=fast"}) {
    EXPECT_EQ(search({wrong}).code, 2) << wrong;
  }
  EXPECT_EQ(search({"--print0", "--json"}).code, 2);
}

TEST_F(Search, TextIsMadeForScripts) {
  const std::string bass = program.path("a/x/Slow Bass.aif"), funk2 = program.path("a/" + kFunk2);
  const std::pair<Words, std::string> cases[] = {
      {{"search", "slow"}, bass + "\n"},
      {{"search", "slow", "--print0"}, bass + std::string(1, '\0')},
      {{"search", "slow", "--columns", "name,tempo"}, kBass + "\t90\n"},
      {{"search", "--favorites", "--columns", "favorite,rating,comment"}, "yes\t4\t\n"},
      {{"search", "--count", "--limit", "1", "-k", "Dry"}, "4\n"},
      {{"search", "--name", "Lead", "--facets"}, ""},
      {{"keywords", "--available", "--text", "slow", "--category", "genre"}, "Jazz\t65\tgenre\t\t1\n"},
      {{"keywords", "eLectric", "bass"}, "Electric Bass\t30\tinstrument\tBass\t1\n"},
      {{"keywords", "--all", "kick"}, "Kick\t8\tinstrument\tDrums\t0\n"},
      {{"family", "a/Funky Beat 02.aif"}, funk2 + "\n" + program.path("a/" + kFunk1) + "\n"},
      {{"family", "a/Funky Beat 02.aif", "--key"}, funk2 + "\n"},  // A is far from C
  };
  for (const auto& [arguments, printed] : cases) EXPECT_EQ(program.run(arguments).out, printed);
}

TEST_F(Search, JSONTellsTheWholeResultAndLinesItsParts) {
  const JSON page = program.told({"search", "--offset", "3", "--facets"});
  EXPECT_EQ(page["schema"], "veskloops.search/1");
  EXPECT_EQ(page["total"], 4);
  EXPECT_EQ(page["offset"], 3);
  ASSERT_EQ(page["loops"].size(), 1u);
  EXPECT_EQ(page["loops"][0]["fileName"], kBass);
  EXPECT_EQ(page["facets"][0]["keyword"], "Rock/Blues");
  const auto lines = program.run({"search", "--jsonl", "--name", "l", "--facets"}).jsonLines();
  ASSERT_EQ(lines.size(), 8u);  // two loops, and what not both of them carry
  EXPECT_EQ(lines[0]["fileName"], "Lead.aif");
  EXPECT_EQ(lines[2]["facet"]["keyword"], "Jazz");
  const JSON count = {{"schema", "veskloops.search/1"}, {"total", 1}};
  EXPECT_EQ(program.run({"search", "--count", "slow", "--jsonl"}).jsonLines(), std::vector<JSON>{count});
  EXPECT_EQ(program.told({"search", "nothing like this"})["total"], 0);
  EXPECT_EQ(program.told({"search", "nothing like this", "--fail-empty"}, 3)["total"], 0);

  const JSON keywords = program.told({"keywords", "--category", "other"});
  EXPECT_EQ(keywords["keywords"][0]["keyword"], "Zorp");
  const JSON family = program.told({"family", "a/Funky Beat 02.aif"});
  EXPECT_EQ(family["family"], "Funky Beat");
  ASSERT_EQ(family["loops"].size(), 2u);
  EXPECT_EQ(family["total"], 2);
  for (const auto& loop : family["loops"]) EXPECT_EQ(loop["isGiven"], loop["fileName"] == kFunk2);
}

}  // namespace
