// keywords, search --facets and family: what is left to choose from, and what belongs together.
#include "Program.h"
#include "VeskLoopManagement/database/LCConnection.h"
#include "VeskLoopManagement/database/LCStatement.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace {

using Counts = std::map<std::string, int64_t>;

// Brass and effects, of which groups are made; some loops have two members of one group.
struct Keywords : testing::Test {
  Keywords() {
    add("1.aif", "Trumpet", "Deep House", {"Dry", "Dark"});
    add("2.aif", "Tuba", "Tech House", {"Dry", "Dark", "Trombone"});
    add("3.aif", "Impacts & Crashes", "Deep House", {"Dry", "Dark", "Explosions"});
    add("4.aif", "Impacts & Crashes", "Zorp", {"Dry", "Dark"});
    add("5.aif", "Impacts & Crashes", "Jazz", {"Dry"});
    EXPECT_EQ(program.run({"index", "l"}).code, 0);
  }

  void add(const std::string& name, const std::string& instrument, const std::string& genre,
           const fixture::Texts& descriptors) const {
    program.add("l/" + name,
                loopFile({.instrument = instrument, .subInstrument = "", .genre = genre, .descriptors = descriptors}));
  }

  // Of the loops with both keywords, how many have each; a group stands for its members.
  Counts countedBySQL(const std::string& first, const std::string& second) const {
    const LCConnection connection = lc::openConnection(program.database(), LCOpenMode::readOnly);
    LCStatement statement(
        connection.get(),
        "WITH Tags AS (SELECT loopId, name FROM Tagging JOIN Keywords ON Keywords.id = keywordId),"
        " Members (groupName, member) AS (VALUES ('Brass', 'Trumpet'), ('Brass', 'Tuba'), ('Brass', 'Trombone'),"
        " ('House', 'Deep House'), ('House', 'Tech House'), ('Boom', 'Impacts & Crashes'), ('Boom', 'Explosions'),"
        " ('Effects', 'Impacts & Crashes'), ('Effects', 'Explosions'), ('All Effects', 'Impacts & Crashes'),"
        " ('All Effects', 'Explosions')),"
        " AllTags AS (SELECT * FROM Tags UNION SELECT loopId, groupName FROM Tags JOIN Members ON member = name)"
        " SELECT name, count(*) FROM AllTags"
        " WHERE loopId IN (SELECT loopId FROM Tags WHERE name = ?1)"
        " AND loopId IN (SELECT loopId FROM Tags WHERE name = ?2) GROUP BY name");
    statement.bind(1, first);
    statement.bind(2, second);
    Counts counts;
    while (statement.step()) counts[statement.textAt(0)] = statement.int64At(1);
    return counts;
  }

  static Counts countsIn(const JSON& keywords) {
    Counts counts;
    for (const auto& keyword : keywords) counts[keyword["keyword"]] = keyword["count"];
    return counts;
  }

  Program program;
};

TEST_F(Keywords, CountsAfterNarrowingAreThoseOfTheTags) {
  for (const auto& [first, second] : {std::pair("Dry", "Dark"), std::pair("Dark", "Deep House"),
                                      std::pair("Dry", "Impacts & Crashes"), std::pair("Dry", "Brass")}) {
    const Counts expected = countedBySQL(first, second);
    EXPECT_GE(expected.size(), 5u);
    EXPECT_EQ(countsIn(program.run({"search", "-k", first, "-k", second, "--facets", "--json"}).json()["facets"]),
              expected);
    EXPECT_EQ(
        countsIn(program.run({"keywords", "--available", "-k", first, "-k", second, "--json"}).json()["keywords"]),
        expected);
  }
  EXPECT_EQ(program.run({"search", "--instrument", "Kick", "--facets", "--json"}).json()["facets"], JSON::array());
  EXPECT_EQ(program.run({"keywords", "--available", "--instrument", "Kick"}).out, "");
}

TEST_F(Keywords, FacetsStandInsteadOfLoopsAsTextAndBehindThemAsLinesOfJSON) {
  const Words lines = program.run({"search", "--name", "1", "--facets"}).lines();
  ASSERT_EQ(lines.size(), 6u);
  EXPECT_EQ(lines[1], "House\t10006\tgenre\t\t1");
  EXPECT_TRUE(lines[5].starts_with("Trumpet\t")) << lines[5];
  const auto objects = program.run({"search", "--name", "1", "--facets", "--jsonl"}).jsonLines();
  ASSERT_EQ(objects.size(), 7u);
  EXPECT_EQ(objects[0]["fileName"], "1.aif");
  EXPECT_EQ(objects[1]["facet"], (JSON{{"keyword", "Deep House"}, {"id", 1001}, {"category", "genre"}, {"count", 1}}));
}

TEST_F(Keywords, ListsWhatTheDatabaseHasAndOnRequestWhatItLacks) {
  EXPECT_EQ(program.run({"keywords", "hoUse"}).lines(),
            (Words{"House\t10006\tgenre\t\t3", "Deep House\t1001\tgenre\t\t2", "Tech House\t1002\tgenre\t\t1"}));
  EXPECT_EQ(program.run({"keywords", "deep", "house"}).lines().size(), 1u);
  EXPECT_EQ(program.run({"keywords", "--category", "other", "--json"}).json()["keywords"][0]["keyword"], "Zorp");
  const JSON all = program.run({"keywords", "electro house", "--all", "--json"}).json();
  EXPECT_EQ(all["schema"], "veskloops.keywords/1");
  EXPECT_EQ(all["total"], 1);
  EXPECT_EQ(all["keywords"][0]["count"], 0);
  EXPECT_EQ(program.run({"keywords", "Drum Kit", "--all", "--json"}).json()["keywords"][0]["parent"], "Drums");
  EXPECT_EQ(program.run({"keywords", "house", "--available", "--text", "2.aif"}).lines(),
            (Words{"House\t10006\tgenre\t\t1", "Tech House\t1002\tgenre\t\t1"}));
}

TEST(Family, AreTheNumberedVariantsOfTheNameAndNothingElse) {
  const Program program;
  const std::vector<Words> families = {{"Pad.aif", "Pad 01.aif", "pad 1.2_3.aif"},
                                       {"Pad Swell 01.aif", "Pad Swell 02.aif"},
                                       {"It's 10% off 1.aif", "It's 10% off 2.aif"},
                                       {"a:b c 1.aif", "a:b c 2.aif"},
                                       {"Größe – 音 1.aif", "Größe – 音 2.aif"},
                                       {"a_b 1.aif", "a_b 2.aif"},
                                       {"axb 1.aif"},
                                       {"Pad01.aif"},
                                       {" 01.aif"}};
  for (const auto& family : families) {
    for (const auto& name : family) program.add("Pad 9/Pads/" + name, loopFile({.beats = 7}));
  }
  program.add("other/Pad 02.aif", loopFile({.rootNote = 54}));
  ASSERT_EQ(program.run({"index", "."}).code, 0);
  for (auto family : families) {
    for (const auto& name : family) {
      Words expected = family;
      if (family.front() == "Pad.aif") expected.emplace_back("Pad 02.aif");
      const std::string path = "Pad 9/Pads/" + name;
      const Outcome text = program.run({"family", path});
      ASSERT_FALSE(text.names().empty()) << name << text.err;
      EXPECT_EQ(text.names().front(), name);
      Words found;
      Words given;
      const JSON document = program.run({"family", path, "--json"}).json();
      for (const auto& loop : document["loops"]) {
        found.push_back(loop["fileName"]);
        if (loop["isGiven"] == true) given.push_back(loop["fileName"]);
      }
      EXPECT_EQ(given, Words{name});
      EXPECT_TRUE(std::is_permutation(found.begin(), found.end(), expected.begin(), expected.end()))
          << name << testing::PrintToString(found);
      EXPECT_EQ(text.lines().size(), found.size());
    }
  }
  EXPECT_EQ(program.run({"family", "other/Pad 02.aif", "--key", "--json"}).json()["loops"].size(), 1u);  // C is far
  EXPECT_EQ(program.run({"family", "Pad 9/Pads/Pad 01.aif", "--key"}).lines().size(), 3u);
  const JSON unknown = program.run({"family", "Pad 9/Pads/Pad 03.aif", "--json"}).json();
  EXPECT_EQ(unknown["error"]["message"], "no such loop");
  EXPECT_TRUE(unknown["error"].contains("suggestions"));
}

}  // namespace
