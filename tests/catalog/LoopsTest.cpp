// Single loops: ways to name them, families, marks, and taking them out.
#include "CatalogTest.h"
#include "VeskLoopManagement/catalog/LCNearNames.h"

#include <chrono>
#include <set>
#include <thread>

namespace {

namespace fs = std::filesystem;
using Reference = LCLoopReference;

struct Loops : CatalogTest {
  Rows marks() const {
    return rows(
        "SELECT fileName, isFavorite, rating, userComment FROM UserData LEFT JOIN Loops ON id = loopId ORDER BY 1");
  }
  std::vector<LCLoopPlace> twoLoops() {
    for (const char* name : {"l/A.aif", "l/B.aif"}) add(name);
    scan({.paths = {"l"}});
    return {place("A.aif"), place("B.aif")};
  }
};

TEST_F(Loops, AreNamedByIdURLPathAndName) {
  for (const char* name : {"Bass.aif", "bass 1.aif", "Bassoon.aif", "Gro\u00DFe 1.aif", "x/Bass.aif"}) {
    add("l/" + std::string(name), loopFile({.beats = static_cast<int32_t>(4 + std::string_view(name).size())}));
  }
  scan({.paths = {"l"}});
  const auto catalog = open();
  const LCLoopPlace bassoon = place("Bassoon.aif");
  EXPECT_EQ(valueOf(catalog->place(Reference::ofId(bassoon.id))), bassoon);
  for (const char* fileName : {"Bassoon.aif", "Fagott.aif"}) {  // a localized name is not the one of the URL
    execute("UPDATE Loops SET fileName = '" + std::string(fileName) + "' WHERE id = " + std::to_string(bassoon.id));
    EXPECT_EQ(valueOf(catalog->place(Reference::ofPath(path("l/Bassoon.aif")))), bassoon) << fileName;
  }
  execute("UPDATE Loops SET fileName = 'Bassoon.aif' WHERE fileName = 'Fagott.aif'");
  const auto named = [&](std::string_view name) { return valueOf(catalog->placesWithName(name)).size(); };
  EXPECT_EQ(named("BASS.aif"), 2u);
  EXPECT_EQ(named("bass"), 4u);
  EXPECT_EQ(named("oon"), 0u);
  Reference mistyped = Reference::ofPath(path("l/Basson.aif"));
  mistyped.text = "Basson";
  for (const auto& failure : {catalog->place(mistyped).failure(), catalog->loop(mistyped).failure()}) {
    EXPECT_EQ(failure, (LCFailure{.kind = LCFailureKind::notFound,
                                  .message = "no such loop",
                                  .subject = "Basson",
                                  .nearNames = {"Bassoon.aif", "Bass.aif", "bass 1.aif"}}));
  }
  EXPECT_EQ(catalog->place(Reference::ofId(5)).failure().subject, "id:5");
  EXPECT_EQ(lc::nearNames("jazy", {"Jazz Funk", "JAZZ", "Jay", "Rock"}), (Rows{"JAZZ", "Jay"}));
  EXPECT_EQ(lc::nearNames("ja", {"Jazz", "ka", "j", "xyz"}), (Rows{"Jazz", "j", "ka"}));  // holding it is near
}

TEST_F(Loops, HaveTheNumberedVariantsOfTheirNameForAFamily) {
  const std::vector<Rows> families = {{"Pad.aif", "Pad 01.aif", "pad 1.2_3.aif"},
                                      {"Pad Swell 01.aif", "Pad Swell 02.aif"},
                                      {"It's 10% a_b: Größe 1.aif", "It's 10% a_b: Größe 2.aif"},
                                      {"It's 10% axb: Größe 1.aif"},
                                      {"Pad01.aif"},
                                      {" 01.aif"}};
  for (const auto& family : families) {
    for (const auto& name : family) add("Pad 9/Pads/" + name, loopFile({.beats = 7}));
  }
  add("other/Pad 02.aif", loopFile({.rootNote = 54}));
  scan({.paths = {"Pad 9", "other"}});
  const auto catalog = open();
  const auto familyOf = [&](const std::string& relative, std::optional<int64_t> rootNote = {}) {
    std::set<std::string> names;
    const auto id = valueOf(catalog->place(Reference::ofPath(path(relative)))).id;
    for (const auto& member : valueOf(catalog->family(id, rootNote)).members) names.insert(member.fileName);
    return names;
  };
  for (const Rows& family : families) {
    std::set<std::string> expected(family.begin(), family.end());
    if (family.front() == "Pad.aif") expected.insert("Pad 02.aif");
    for (const auto& name : family) EXPECT_EQ(familyOf("Pad 9/Pads/" + name), expected);
  }
  EXPECT_EQ(familyOf("other/Pad 02.aif", 66), std::set<std::string>{"Pad 02.aif"});  // C is far
  EXPECT_EQ(familyOf("Pad 9/Pads/Pad 01.aif", 73).size(), 3u);
  EXPECT_EQ(kindOf(catalog->family(1)), "notFound");
}

TEST_F(Loops, KeepTheMarksThatAChangeDoesNotName) {
  const auto both = twoLoops();
  const auto catalog = open({.access = LCCatalogAccess::mark});
  const std::string comment = "\"it's\"\t%@ 100%\nend";
  const std::tuple<LCMarkChange, LCLoopMarks, bool> cases[] = {
      {{.isFavorite = true}, {true, 0, ""}, true},      {{.rating = 5}, {true, 5, ""}, true},
      {{.comment = comment}, {true, 5, comment}, true}, {{.isFavorite = true}, {true, 5, comment}, false},
      {{.comment = "-6 dB"}, {true, 5, "-6 dB"}, true}, {{.isFavorite = false, .rating = 0}, {false, 0, "-6 dB"}, true},
      {{.rating = 0}, {false, 0, "-6 dB"}, false},      {{.comment = ""}, {false, 0, ""}, true}};
  for (const auto& [change, after, isChanged] : cases) {
    const Rows before = marks();
    for (const bool isDryRun : {true, false}) {
      EXPECT_EQ(marks(), before);
      const auto marked = valueOf(catalog->mark(both, change, isDryRun));
      ASSERT_EQ(marked.size(), 2u);
      for (size_t index : {0, 1}) {
        EXPECT_EQ(marked[index].place, both[index]);
        EXPECT_EQ(marked[index].marks, after);
        EXPECT_EQ(marked[index].isChanged, isChanged);
      }
    }
    for (const auto& place : both) EXPECT_EQ(valueOf(catalog->loop(Reference::ofId(place.id))).marks, after);
  }
}

TEST_F(Loops, AreMarkedAllOrNone) {
  const auto both = twoLoops();
  const auto catalog = open({.access = LCCatalogAccess::mark});
  valueOf(catalog->mark(both, {.isFavorite = true}));
  const Rows before = marks();
  for (const int64_t rating : {-1, 6}) EXPECT_EQ(kindOf(catalog->mark(both, {.rating = rating})), "usage");
  EXPECT_EQ(valueOf(catalog->remove({&both[1], 1})), 1);  // its marks stay, and are not touched without it
  EXPECT_EQ(kindOf(catalog->mark(both, {.rating = 3})), "notFound");
  EXPECT_EQ(kindOf(open()->mark({&both[0], 1}, {.rating = 3})), "database");  // opened for reading
  scan({.paths = {"l"}});
  EXPECT_EQ(marks(), before);
}

TEST_F(Loops, AreMarkedBesideWhatAnotherProgramMarksMeanwhile) {
  const auto both = twoLoops();
  const auto catalog = open({.access = LCCatalogAccess::mark});
  const LCConnection other = connection();
  LCSQLiteUtilities otherProgram(other.get());
  ASSERT_TRUE(otherProgram.executeStatementWithNoReturnValue(
      "BEGIN IMMEDIATE; INSERT INTO UserData SELECT id, 1, 0, 'theirs' FROM Loops WHERE fileName = 'A.aif'"));
  std::thread committing([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_TRUE(otherProgram.executeStatementWithNoReturnValue("COMMIT"));
  });
  const auto marked = catalog->mark(both, {.rating = 3});
  committing.join();
  EXPECT_EQ(kindOf(marked), "");
  EXPECT_EQ(marks(), (Rows{"A.aif|1|3|theirs", "B.aif|0|3|"}));
}

TEST_F(Loops, AreChosenByPlaceAndTakenOutInBatches) {
  for (int number = 0; number < 501; ++number) add("l/" + std::to_string(number) + ".aif");
  add("l2/Other.aif", loopFile({.genre = "Jazz"}));
  add("p/In.aif");
  add("p/Gone.aif");
  scan({.paths = {"l", "l2"}});
  scan({.paths = {"p"}, .package = "Pack"});
  fs::remove(path("p/Gone.aif"));
  const auto catalog = open({.access = LCCatalogAccess::mark});
  const std::string package = valueOf(catalog->package("pack")).identifier;
  const auto all = valueOf(catalog->places({}));
  const std::tuple<LCPlaceQuery, size_t, size_t> cases[] = {
      // how many, and how many of all without the folder
      {{}, 504, 504},
      {{.folder = path("l")}, 501, 504},
      {{.folder = path("none")}, 0, 504},
      {{.package = package}, 2, 2},
      {{.onlyMissing = true}, 1, 1},
      {{.folder = path("l"), .onlyMissing = true}, 0, 1},
      {{.folder = path("p"), .package = package, .onlyMissing = true}, 1, 1}};
  for (const auto& [query, count, among] : cases) {
    EXPECT_EQ(valueOf(catalog->places(query)).size(), count);
    EXPECT_EQ(valueOf(catalog->placesAmong(all, query)).size(), among);
  }

  const auto numbered = valueOf(catalog->places({.folder = path("l")}));
  int64_t removed = 0;
  Rows steps;
  const LCRemovalObserver observer{.removed = [&](const LCLoopPlace&) { ++removed; },
                                   .finishing = [&] { steps.push_back("finishing " + std::to_string(removed)); },
                                   .shouldContinue =
                                       [&] {
                                         steps.push_back(std::to_string(removed));
                                         return removed == 0;
                                       }};
  EXPECT_EQ(valueOf(catalog->remove(numbered, observer)), 500);
  EXPECT_EQ(steps, (Rows{"0", "500", "finishing 500"}));
  EXPECT_EQ(names(*catalog, {.keywords = {"Rock/Blues"}}).size(), 3u);  // the end-of-run tables are new
  EXPECT_TRUE(fs::exists(path("l/0.aif")));
  EXPECT_EQ(valueOf(catalog->packages()).size(), 1u);
  EXPECT_EQ(valueOf(catalog->remove(valueOf(catalog->places({.package = package})))), 2);
  EXPECT_TRUE(valueOf(catalog->packages()).empty());  // empty ones go, too
}

}  // namespace
