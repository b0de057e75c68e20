#include "Program.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

namespace {

// Five loops that differ in what searches ask for.
class Search : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    s_program = new Program;
    s_program->add("a/Funky Beat 01.aif", loopFile({.rootNote = 57, .keyType = 1}));  // A minor
    s_program->add("a/Funky Beat 02.aif", loopFile({.rootNote = 48, .keyType = 2, .beats = 16}));
    s_program->add("a/x/Slow Bass.aif", loopFile({.instrument = "Bass",
                                                  .subInstrument = "Electric Bass",
                                                  .genre = "Jazz",
                                                  .descriptors = {"Dry", "Dark"},
                                                  .rootNote = 50,
                                                  .keyType = 1,
                                                  .beats = 6,
                                                  .signatureTop = 3}));
    s_program->add("b/Lead.aif", loopFile({.instrument = "Piano",
                                           .subInstrument = "",
                                           .genre = "Zorp",
                                           .descriptors = {},
                                           .rootNote = 59,
                                           .keyType = 3},
                                          {fixture::chunk("midi", "MThd"), fixture::chunk("AUTH", "Some One")}));
    s_program->add("b/Unknown.aif", loopFile({.instrument = "Piano",
                                              .subInstrument = "",
                                              .genre = "",
                                              .descriptors = {"Single"},
                                              .rootNote = 0,
                                              .keyType = 0,
                                              .signatureTop = 0}));
    ASSERT_EQ(s_program->run({"index", "a", "--crate", "Pack A"}).code, 0);
    ASSERT_EQ(s_program->run({"index", "b"}).code, 0);
  }

  static void TearDownTestSuite() {
    delete s_program;
    s_program = nullptr;
  }

  static Outcome run(Words arguments) {
    arguments.insert(arguments.begin(), "search");
    return s_program->run(arguments);
  }

  static Words sortedNames(const Words& arguments) {
    Words names = run(arguments).names();
    std::sort(names.begin(), names.end());
    return names;
  }

  static JSON loop(const std::string& name) { return run({"--json", "--name", name}).json()["loops"][0]; }

  static Program* s_program;
};

Program* Search::s_program = nullptr;

const std::string kFunk1 = "Funky Beat 01.aif";
const std::string kFunk2 = "Funky Beat 02.aif";
const std::string kBass = "Slow Bass.aif";
const std::string kLead = "Lead.aif";
const std::string kUnknown = "Unknown.aif";

TEST_F(Search, FiltersFindTheLoopsThatTheyName) {
  const std::vector<std::pair<Words, Words>> cases = {
      {{}, {kFunk1, kFunk2, kLead, kBass, kUnknown}},
      {{"beat", "funky"}, {kFunk1, kFunk2}},  // words in any order
      {{"Some One"}, {kLead}},                // the author
      {{"--name", "b"}, {kFunk1, kFunk2, kBass}},
      {{"-k", "dry", "-k", "Jazz"}, {kBass}},  // and, in any case
      {{"--genre", "zorp"}, {kLead}},          // a genre that only the file knows
      {{"--instrument", "Electric Bass"}, {kBass}},
      {{"--instrument", "Kick"}, {}},  // known, but no loop has it: nothing, not everything
      {{"-k", "Dry", "--instrument", "Kick"}, {}},
      {{"--key", "A", "--key-match", "exact"}, {kFunk1, kUnknown}},
      {{"--key", "Am", "--key-match", "exact"}, {kFunk1}},
      {{"--key", "Bb", "--key-match", "exact"}, {kUnknown}},
      {{"--key", "Bb"}, {kFunk1, kFunk2, kLead, kUnknown}},  // G# to C
      {{"--key", "C", "--scale", "minor"}, {kBass}},         // A# to D
      {{"--scale", "minor"}, {kFunk1, kBass}},
      {{"--signature", "3/4"}, {kBass, kUnknown}},
      {{"--type", "midi"}, {kLead}},
      {{"--type", "midi", "--type", "drummer"}, {kLead}},
      {{"--crate", "pack a"}, {kFunk1, kFunk2, kBass}},
      {{"--folder", "a/x"}, {kBass}},
      {{"--folder", "a"}, {kFunk1, kFunk2, kBass}},
      {{"--folder", "./b/../a/x/"}, {kBass}},
  };
  for (const auto& [arguments, expected] : cases) {
    for (const char* layout : {"desktop", "mobile"}) {
      Words whole = arguments;
      whole.insert(whole.end(), {"--layout", layout});
      Words sorted = expected;
      std::sort(sorted.begin(), sorted.end());
      EXPECT_EQ(sortedNames(whole), sorted) << layout << " " << testing::PrintToString(arguments);
    }
  }
}

TEST_F(Search, SortsAndPages) {
  EXPECT_EQ(run({}).names(), (Words{kFunk1, kFunk2, kLead, kBass, kUnknown}));
  EXPECT_EQ(run({"--sort", "beats:desc,name:desc"}).names(), (Words{kFunk2, kUnknown, kLead, kFunk1, kBass}));
  EXPECT_EQ(run({"--limit", "2", "--offset", "1"}).names(), (Words{kFunk2, kLead}));
  EXPECT_EQ(run({"--offset", "4"}).names(), Words{kUnknown});
  EXPECT_EQ(run({"--offset", "9223372036854775807", "--limit", "9"}).names(), Words{});
  const JSON page = run({"--json", "--limit", "1", "--offset", "3"}).json();
  EXPECT_EQ(page["total"], 5);
  EXPECT_EQ(page["offset"], 3);
  EXPECT_EQ(page["loops"].size(), 1u);
  EXPECT_EQ(run({"--jsonl", "--limit", "3"}).jsonLines().size(), 3u);
}

TEST_F(Search, AnEmptyResultIsNoFailureUnlessAskedFor) {
  EXPECT_EQ(run({"nothing like this"}).code, 0);
  EXPECT_EQ(run({"nothing like this", "--fail-empty"}).code, 3);
  const Outcome json = run({"--instrument", "Kick", "--fail-empty", "--json"});
  EXPECT_EQ(json.code, 3);
  EXPECT_EQ(json.json()["total"], 0);
}

TEST_F(Search, UnknownNamesAreNotFoundAndComeWithNearOnes) {
  struct Case {
    Words arguments;
    JSON suggestions;
  };
  const std::vector<Case> cases = {{{"-k", "Jaz"}, {"Jazz"}},
                                   {{"--genre", "Drums"}, nullptr},  // an instrument
                                   {{"--crate", "Pack B"}, {"Pack A"}}};
  for (const auto& [arguments, suggestions] : cases) {
    Words whole = arguments;
    whole.push_back("--json");
    const Outcome result = run(whole);
    EXPECT_EQ(result.code, 3);
    EXPECT_EQ(result.json()["error"]["kind"], "notFound");
    EXPECT_EQ(result.json()["error"].value("suggestions", JSON()), suggestions);
  }
  for (const Words& wrong :
       {Words{"--key", "H"}, Words{"--key", "Am", "--scale", "major"}, Words{"--signature", "4"},
        Words{"--signature", "4/4x"}, Words{"--sort", "mood"}, Words{"--sort", "name:down"}, Words{"--type", "tape"},
        Words{"--scale", "lydian"}, Words{"--limit", "-1"}, Words{"--tempo", "fast"}, Words{"--tempo", "120-"},
        Words{"--tempo", "124-118"}, Words{"--tempo", "120~5"}, Words{"--tempo", "1e2"}, Words{"--tempo", "+120"},
        Words{"--tempo", "0"}}) {
    EXPECT_EQ(run(wrong).code, 2) << wrong[1];
  }
}

TEST_F(Search, JSONTellsWhatIsKnownAndLeavesOutWhatIsNot) {
  JSON bass = loop("Slow");
  EXPECT_TRUE(bass["id"].is_string());
  bass.erase("id");
  const std::string path = s_program->path("a/x/Slow Bass.aif");
  EXPECT_EQ(bass, (JSON{{"path", path},
                        {"url", "file://" + s_program->path("a/x/Slow%20Bass.aif")},
                        {"fileName", kBass},
                        {"tempo", 90},
                        {"beats", 6},
                        {"signature", "3/4"},
                        {"key", "D"},
                        {"keyNote", 50},
                        {"scale", "minor"},
                        {"seconds", 4.0},
                        {"loopType", "audio"},
                        {"genre", "Jazz"},
                        {"instrument", "Bass"},
                        {"subInstrument", "Electric Bass"},
                        {"descriptors", {"Dark", "Dry"}},
                        {"crates", {"com.vireo.loops.UserDomain.User LoopsPack A"}}}));
  // Indexed right after a loop with a genre and descriptors of its own.
  const JSON unknown = loop("Unknown");
  for (const char* name : {"genre", "key", "keyNote", "scale", "signature", "favorite", "loudness", "subInstrument"}) {
    EXPECT_FALSE(unknown.contains(name)) << name << unknown;
  }
  EXPECT_EQ(unknown["descriptors"], JSON{"Single"});
  EXPECT_EQ(loop("Lead")["descriptors"], JSON::array());
}

TEST_F(Search, RandomOrderLosesNoLoop) {
  const Words sorted = sortedNames({});
  bool isShuffled = false;
  for (int attempt = 0; attempt < 20 && !isShuffled; ++attempt) {
    EXPECT_EQ(sortedNames({"--random"}), sorted);
    isShuffled = run({"--random"}).names() != run({}).names();
  }
  EXPECT_TRUE(isShuffled);
  EXPECT_EQ(run({"--random", "--limit", "2", "--tempo", "60-300"}).names().size(), 2u);
}

TEST_F(Search, CountIsANumberAndNothingElse) {
  EXPECT_EQ(run({"--count", "--limit", "1", "-k", "Dry"}).out, "3\n");
  EXPECT_EQ(run({"--count", "--instrument", "Kick"}).out, "0\n");
  const JSON expected = {{"schema", "veskloops.search/1"}, {"total", 3}};
  EXPECT_EQ(run({"--count", "-k", "Dry", "--json"}).json(), expected);
  EXPECT_EQ(run({"--count", "-k", "Dry", "--jsonl"}).jsonLines(), std::vector<JSON>{expected});
}

TEST_F(Search, ColumnsAreFieldsBetweenTabsWhenPiped) {
  EXPECT_EQ(run({"--name", "Slow", "--columns", "name,tempo"}).out, kBass + "\t90\n");
  EXPECT_TRUE(run({"--json", "--columns", "tempo"}).json()["loops"][0].contains("url"));  // has everything
}

TEST_F(Search, MarksAndLoudnessAreShownWhenRecorded) {
  const std::string id = loop("Lead")["id"];
  s_program->execute("INSERT INTO UserData VALUES (" + id + ", 1, 4, 'so good');" +
                     "INSERT INTO LoopsLoudnessV4 VALUES (" + id + ", 'Lead.aif', -14.5, -0.5, -18.0);");
  const JSON lead = loop("Lead");
  EXPECT_EQ(lead["favorite"], true);
  EXPECT_EQ(lead["rating"], 4);
  EXPECT_EQ(lead["comment"], "so good");
  EXPECT_EQ(lead["loudness"], (JSON{{"integrated", -14.5}, {"truePeak", -0.5}, {"target", -18.0}, {"gain", -3.5}}));
  EXPECT_EQ(run({"--name", "Lead", "--columns", "favorite,rating,comment,loudness,peak,target,gain"}).out,
            "yes\t4\tso good\t-14.5\t-0.5\t-18\t-3.5\n");
  EXPECT_EQ(run({"--favorites"}).names(), Words{kLead});
  EXPECT_EQ(run({"--min-rating", "4"}).names(), Words{kLead});
  EXPECT_EQ(run({"--min-rating", "5"}).names(), Words{});
  EXPECT_EQ(run({"--min-rating", "1", "--tempo", "90"}).names(), Words{});
  EXPECT_EQ(run({"--min-rating", "1", "--facets"}).out,
            "Piano\t1\tinstrument\tKeyboards\t1\nZorp\t10009\tother\t\t1\n");
}

TEST(SearchTempo, RangesAreComparedInWholeBeatsPerMinute) {
  const Program program;
  const Words names = {"60 bpm.aif", "117.4 bpm.aif", "117.5 bpm.aif", "120 bpm.aif", "124.4 bpm.aif", "240 bpm.aif"};
  for (const auto& name : names) program.add("l/" + name);
  program.add("l/None.aif");
  ASSERT_EQ(program.run({"index", "l"}).code, 0);
  program.execute("UPDATE Loops SET tempo = 0 WHERE fileName = 'None.aif'");
  const auto [half, below, low, middle, high, twice] =
      std::tie(names[0], names[1], names[2], names[3], names[4], names[5]);
  const std::vector<std::pair<Words, Words>> cases = {
      {{"118-124"}, {low, middle, high}},        // stored as 118, 120, 124
      {{"117.5-124.4"}, {low, middle, high}},    // rounded like these
      {{"120~5%"}, {below, low, middle, high}},  // 114 to 126
      {{"120~2%"}, {low, middle}},               // 117.6 is 118
      {{"120"}, {middle}},
      {{"0-999999999999"}, {below, low, middle, high, twice, half}},
      {{"120", "--half-double"}, {middle, twice, half}},
      {{"119-121", "--half-double"}, {middle, twice, half}},  // 59.5 is 60
      {{"60", "--half-double"}, {middle, half}},
      {{"120", "-k", "Jazz"}, {}},
  };
  for (const auto& [arguments, expected] : cases) {
    for (const char* layout : {"desktop", "mobile"}) {
      Words whole = {"search", "--layout", layout, "--tempo"};
      whole.insert(whole.end(), arguments.begin(), arguments.end());
      EXPECT_EQ(program.run(whole).names(), expected) << testing::PrintToString(arguments);
    }
  }
  const JSON page =
      program.run({"search", "--tempo", "118-124", "--limit", "1", "--offset", "1", "--json", "--facets"}).json();
  EXPECT_EQ(page["total"], 3);
  ASSERT_EQ(page["loops"].size(), 1u);
  EXPECT_EQ(page["loops"][0]["fileName"], middle);
  EXPECT_EQ(page["facets"][0]["count"], 3);  // of the whole result
}

}  // namespace
