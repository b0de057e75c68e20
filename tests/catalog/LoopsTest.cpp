// Single loops: ways to name them, families, marks, and taking them out.
#include "CatalogTest.h"
#include "VeskLoopManagement/catalog/LCNearNames.h"

#include <chrono>
#include <future>

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
  for (const char* name : {"Bass.aif", "bass 1.aif", "Bassoon.aif", "x/Bass.aif"}) {
    add("l/" + std::string(name), loopFile({.genre = name}));
  }
  scan({.paths = {"l"}});
  const auto catalog = open();
  const LCLoopPlace bassoon = place("Bassoon.aif");
  for (const char* name : {"bassO", "BASSO….aif", "b…oon.aif"}) {
    EXPECT_EQ(valueOf(catalog->place({.name = name})), bassoon) << name;
  }
  for (const char* name : {"Bass_on", "%oon", "oon", "…oon.ai"}) {
    EXPECT_EQ(kindOf(catalog->place({.name = name})), "notFound") << name;
  }
  fs::create_symlink("nothing", path("dead.aif"));
  EXPECT_EQ(catalog->place(Reference::ofPath(path("dead.aif"))).failure().message, "the link leads nowhere");
  EXPECT_EQ(kindOf(catalog->place({.url = Reference::ofPath(path("l")).url, .name = "bassO"})), "notFound");
  const LCFailure several = catalog->place({.name = "BASS.aif"}).failure();
  EXPECT_EQ(several.nearNames, (Rows{path("l/Bass.aif"), path("l/x/Bass.aif")}));
  EXPECT_EQ(catalog->place({.name = "bass"}).failure().message, "the name fits 4 loops");
  Reference mistyped = Reference::ofPath(path("l/Basson.aif"));
  mistyped.text = "Basson";
  EXPECT_EQ(catalog->place(mistyped).failure(), (LCFailure{.kind = LCFailureKind::notFound,
                                                           .message = "no such loop",
                                                           .subject = "Basson",
                                                           .nearNames = {"Bassoon.aif", "Bass.aif", "bass 1.aif"}}));
  EXPECT_EQ(catalog->loop(Reference::ofId(5)).failure().subject, "id:5");
  execute("UPDATE Loops SET fileName = 'Fagott.aif' WHERE fileName = 'Bassoon.aif'");  // localized, unlike its URL
  for (const auto& reference : {Reference::ofId(bassoon.id), Reference::ofPath(path("l/Bassoon.aif"))}) {
    EXPECT_EQ(valueOf(catalog->place(reference)), bassoon);
  }
  EXPECT_EQ(lc::nearNames("jazy", {"Jazz Funk", "JAZZ", "Jay", "Rock"}), (Rows{"JAZZ", "Jay"}));
}

TEST_F(Loops, HaveTheNumberedVariantsOfTheirNameForAFamily) {
  for (const char* name : {"Pad.aif", "Pad 01.aif", "pad 1.2_3.aif", "Pad Swell 01.aif", "Pad01.aif", " 01.aif"}) {
    add("Pad 9/Pads/" + std::string(name));
  }
  scan({.paths = {"Pad 9"}});
  const auto catalog = open();
  const auto family = [&](const char* name, std::optional<int64_t> note = {}) {
    Rows names;
    for (const auto& member : valueOf(catalog->family(place(name).id, note)).members) names.push_back(member.fileName);
    return names;
  };
  const Rows pads = {"Pad 01.aif", "pad 1.2_3.aif", "Pad.aif"};
  EXPECT_EQ(family("Pad.aif"), pads);
  EXPECT_EQ(family(" 01.aif"), Rows{" 01.aif"});
  EXPECT_EQ(family("Pad.aif", 73), pads);  // all are in C
  EXPECT_EQ(family("Pad.aif", 66), Rows{"Pad.aif"});
  EXPECT_EQ(kindOf(catalog->family(1)), "notFound");
}

TEST_F(Loops, KeepTheMarksThatAChangeDoesNotName) {
  const auto both = twoLoops();
  const auto catalog = open({.access = LCCatalogAccess::mark});
  const std::string comment = "\"it's\"\t%@ 100%\nend";
  const std::tuple<LCMarkChange, LCLoopMarks, bool> cases[] = {
      {{.isFavorite = true}, {true, 0, ""}, true},
      {{.rating = 5}, {true, 5, ""}, true},
      {{.comment = comment}, {true, 5, comment}, true},
      {{.isFavorite = true}, {true, 5, comment}, false},
      {{.isFavorite = false, .rating = 0}, {false, 0, comment}, true}};
  for (const auto& [change, after, isChanged] : cases) {
    const Rows before = marks();
    for (const bool isDryRun : {true, false}) {
      EXPECT_EQ(marks(), before);
      const auto marked = valueOf(catalog->mark(both, change, isDryRun));
      for (const auto& each : marked) EXPECT_TRUE(each.marks == after && each.isChanged == isChanged);
      EXPECT_EQ(marked.at(1).place, both[1]);
    }
    EXPECT_EQ(valueOf(catalog->loop(Reference::ofId(both[1].id))).marks, after);
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
  EXPECT_EQ(kindOf(open()->remove({&both[0], 1})), "database");
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
  auto marking = std::async(std::launch::async, [&] { return kindOf(catalog->mark(both, {.rating = 3})); });
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_TRUE(otherProgram.executeStatementWithNoReturnValue("COMMIT"));
  EXPECT_EQ(marking.get(), "");
  EXPECT_EQ(marks(), (Rows{"A.aif|1|3|theirs", "B.aif|0|3|"}));
}

TEST_F(Loops, AreChosenByPlaceAndTakenOutInBatches) {
  for (int number = 0; number < 501; ++number) add("l/" + std::to_string(number) + ".aif");
  for (const char* name : {"l2/Other.aif", "p/In.aif", "p/Gone.aif"}) add(name);
  scan({.paths = {"l", "l2"}});
  scan({.paths = {"p"}, .package = "Pack"});
  fs::remove(path("p/Gone.aif"));
  const auto catalog = open({.access = LCCatalogAccess::mark});
  const std::string package = valueOf(catalog->package("pack")).identifier;
  const auto all = valueOf(catalog->places({}));
  const std::tuple<LCPlaceQuery, size_t, size_t> cases[] = {
      // how many, and how many of all without the folder
      {{.folder = path("l")}, 501, 504},
      {{.onlyMissing = true}, 1, 1},
      {{.folder = path("p"), .package = package, .onlyMissing = true}, 1, 1}};
  for (const auto& [query, count, among] : cases) {
    EXPECT_EQ(valueOf(catalog->places(query)).size(), count);
    EXPECT_EQ(valueOf(catalog->placesAmong(all, query)).size(), among);
  }

  int64_t removed = 0;
  const LCRemovalObserver stopping{.removed = [&](const LCLoopPlace&) { ++removed; },
                                   .finishing = [&] { EXPECT_EQ(removed, 500); },
                                   .shouldContinue = [&] { return removed == 0; }};
  EXPECT_EQ(valueOf(catalog->remove(valueOf(catalog->places({.folder = path("l")})), stopping)), 500);
  EXPECT_EQ(names(*catalog, {.keywords = {"Rock/Blues"}}).size(), 4u);  // the end-of-run tables are new
  EXPECT_TRUE(fs::exists(path("l/0.aif")));
  EXPECT_EQ(valueOf(catalog->remove(valueOf(catalog->places({.package = package})))), 2);
  EXPECT_TRUE(valueOf(catalog->packages()).empty());  // empty ones go, too
}

}  // namespace
