// Searching: filters, order, pages, and what a held result answers.
#include "CatalogTest.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"

#include <algorithm>
#include <limits>
#include <set>

namespace {

using Page = LCPageRequest;
using Field = LCSortField;

const std::string kFunk1 = "Funky Beat 01.aif", kFunk2 = "Funky Beat 02.aif", kBass = "Slow Bass.aif";
const std::string kLead = "Lead.aif", kUnknown = "Unknown.aif";
const Rows kAll = {kFunk1, kFunk2, kLead, kBass, kUnknown};

constexpr LCMusicalKey kA{57}, kAMinor{57, LCScale::minor}, kBFlat{58}, kC{48}, kE{52}, kFSharp{54};
constexpr LCKeyMatch kExact = LCKeyMatch::exact, kCompatible = LCKeyMatch::compatible;
constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Five loops that differ in what queries ask for. "Lead" is marked.
struct Query : CatalogTest {
  Query() {
    using fixture::chunk;
    add("a/" + kFunk1, loopFile({.rootNote = 57, .keyType = 1}));
    add("a/" + kFunk2, loopFile({.beats = 16}));
    add("a/x/" + kBass, loopFile({"Bass", "Electric Bass", "Jazz", {"Dry", "Dark"}, 50, 1, 6, 3},
                                 {chunk("NAME", "The title"), chunk("(c) ", "The copyright"),
                                  chunk("COMT", fixture::comtPayload({"The comment"})),
                                  chunk("coll", fixture::collPayload("The collection", "The theme"))}));
    add("b/" + kLead, loopFile({"Piano", "", "Zorp", {}, 71, 3}, {chunk("midi", "MThd"), chunk("AUTH", "Some One")}));
    add("b/" + kUnknown, loopFile({"Piano", "", "", {"Single"}, 0, 0, 8, 0}));
    scan({.paths = {"a"}, .package = "Pack A"});
    scan({.paths = {"b"}});
    execute("INSERT INTO UserData SELECT id, 1, 4, 'so \"good\"' FROM Loops WHERE fileName = 'Lead.aif'");
  }
};

TEST_F(Query, FindsTheLoopsThatPassEveryFilterInBothLayouts) {
  const std::pair<LCLoopQuery, Rows> cases[] = {
      {{}, kAll},
      {{.words = {"beat", "funky"}}, {kFunk1, kFunk2}},  // in any order
      {{.words = {"Some", "One"}}, {kLead}},             // together, in the author
      {{.words = {"x"}}, {kBass}},                       // below a folder that was scanned
      {{.words = {folder.path()}}, {}},                  // not above it
      {{.words = {folder.path()}, .inWholePath = true}, kAll},
      {{.words = {"_"}}, {}},
      {{.keywords = {"dry", "Jazz"}}, {kBass}},           // and, in any case
      {{.keywords = {"Dry"}, .instrument = "Kick"}, {}},  // known, but no loop has it: nothing, not everything
      {{.genre = "zorp"}, {kLead}},                       // a genre that only the file knows
      {{.instrument = "Electric Bass"}, {kBass}},
      {{.tempo = LCTempoSpan{89.5, 90.4}}, {kBass}},
      {{.key = kA, .keyMatch = kExact}, {kFunk1, kUnknown}},
      {{.key = kAMinor, .keyMatch = kExact}, {kFunk1}},
      {{.key = kBFlat, .keyMatch = kExact}, {kUnknown}},
      {{.key = kBFlat}, {kFunk1, kFunk2, kLead, kUnknown}},  // G# to C
      {{.key = kC, .scale = LCScale::minor}, {kBass}},       // A# to D
      {{.key = kBFlat, .withKey = true}, {kFunk1, kFunk2, kLead}},
      {{.key = kAMinor, .keyMatch = kCompatible, .withKey = true}, {kFunk1, kFunk2, kBass}},  // C, D minor
      {{.key = kAMinor, .keyMatch = kCompatible, .scale = LCScale::major}, {kFunk2}},
      {{.key = LCMusicalKey{48, LCScale::minor}, .keyMatch = kCompatible, .withKey = true}, {}},
      {{.key = kE, .keyMatch = kCompatible, .withKey = true}, {kFunk1, kLead}},  // A of any scale, B
      {{.key = kFSharp, .keyMatch = kCompatible, .withKey = true}, {kLead}},     // its relative is A major, not minor
      {{.scale = LCScale::minor}, {kFunk1, kBass}},
      {{.signature = LCTimeSignature{3, 4}}, {kBass, kUnknown}},
      {{.loopTypes = {kLoopTypeMIDI}}, {kLead}},
      {{.loopTypes = {kLoopTypeMIDI, kLoopTypeAudio}}, kAll},
      {{.onlyFavorites = true}, {kLead}},
      {{.minimumRating = 4}, {kLead}},
      {{.minimumRating = 5}, {}},
      {{.tempo = LCTempoSpan{90, 90}, .minimumRating = 1}, {}},
      {{.package = "pack a"}, {kFunk1, kFunk2, kBass}},
      {{.folder = path("a/x")}, {kBass}},
      {{.name = "b"}, {kFunk1, kFunk2, kBass}},
  };
  for (const auto layout : {LCCatalogLayout::desktop, LCCatalogLayout::mobile}) {
    const auto catalog = open({.layout = layout});
    int number = 0;
    for (const auto& [query, found] : cases) {
      ++number;
      EXPECT_EQ(names(*catalog, query), found) << "case " << number;
    }
  }
}

TEST_F(Query, TemposAreComparedInWholeBeatsPerMinute) {
  const Rows all = {"60 bpm.aif", "117.4 bpm.aif", "117.5 bpm.aif", "120 bpm.aif", "124.4 bpm.aif", "240 bpm.aif"};
  for (const auto& name : all) add("t/" + name);
  add("t/None.aif");
  scan({.paths = {"t"}});
  execute("UPDATE Loops SET tempo = 0 WHERE fileName = 'None.aif'");
  const auto [half, below, low, middle, high, twice] = std::tie(all[0], all[1], all[2], all[3], all[4], all[5]);
  const std::tuple<const char*, bool, Rows> cases[] = {
      {"118-124", false, {low, middle, high}},        // stored as 118, 120, 124
      {"117.5-124.4", false, {low, middle, high}},    // rounded like these
      {"120~5%", false, {below, low, middle, high}},  // 114 to 126
      {"120~2%", false, {low, middle}},               // 117.6 is 118
      {"120", false, {middle}},
      {"0-999999999999", false, {below, low, middle, high, twice, half}},
      {"119-121", true, {middle, twice, half}},  // 59.5 is 60
      {"60", true, {middle, half}}};
  for (const auto& [text, withHalfAndDouble, found] : cases) {
    const auto tempo = LCTempoSpan::fromText(text);
    EXPECT_EQ(names({.tempo = tempo, .withHalfAndDoubleTempo = withHalfAndDouble, .folder = path("t")}), found) << text;
  }
  EXPECT_EQ(LCTempoSpan::around(120, 0.05), LCTempoSpan::fromText("120~5%"));
  for (const char* text : {"", "fast", "120-", "-120", "124-118", "120~5", "1e2", "+120", "0", "1.2.3", "120 "}) {
    EXPECT_EQ(LCTempoSpan::fromText(text), std::nullopt) << text;
  }
}

TEST_F(Query, RefusesWhatMakesNoSenseAndNamesWhatMayHaveBeenMeant) {
  execute(
      "INSERT INTO Crates VALUES ('x.1', 'Twice', '', 0), ('x.2', 'tWice', '', 0);"
      "INSERT INTO Keywords VALUES (19001, 'ZORP', 0)");
  const auto catalog = open();
  const auto many = LCKeywordHelper::keywordsForCategory(kCategoryInstrumentSubType);
  const std::tuple<LCLoopQuery, const char*, Rows> cases[] = {
      {{.keywords = {"Jaz"}}, "notFound", {"Jazz"}},
      {{.keywords = {""}}, "notFound", {}},
      {{.genre = "Drums"}, "notFound", {}},  // an instrument
      {{.package = "Pack B"}, "notFound", {"Pack A"}},
      {{.package = "TWICE"}, "ambiguous", {"x.1", "x.2"}},
      {{.package = "x.2"}, "", {}},
      {{.key = kAMinor, .scale = LCScale::major}, "usage", {}},
      {{.folder = path("nosuch")}, "notFound", {}},
      {{.keywords = {many.begin(), many.end()}}, "usage", {}},
      {{.words = Rows(901, "x")}, "usage", {}},
      {{.words = {std::string(15001, 'x')}}, "usage", {}},
      {{.words = Rows(900, "x")}, "", {}},
      {{.tempo = LCTempoSpan{2, 1}}, "usage", {}},
      {{.tempo = LCTempoSpan{kNaN, kNaN}}, "usage", {}},
      {{.order = {{Field::random}, {Field::name}}}, "usage", {}}};
  for (const auto& [query, kind, nearNames] : cases) {
    const auto result = catalog->search(query);
    EXPECT_EQ(kindOf(result), kind) << testing::PrintToString(nearNames);
    EXPECT_EQ(result ? Rows() : result.failure().nearNames, nearNames);
  }
  EXPECT_EQ(names(*catalog), kAll);                                 // nothing stays of a query that was refused
  EXPECT_EQ(names(*catalog, {.keywords = {"Zorp"}}), Rows{kLead});  // "ZORP", which comes first, is another one
}

TEST_F(Query, OrdersByEveryFieldAndThenByName) {
  execute("UPDATE Loops SET lengthInSeconds = numberOfBeats + iif(numberOfBeats = 6, 100, 0)");
  const std::pair<std::vector<LCSortKey>, Rows> cases[] = {
      {{{Field::name, true}}, {kAll.rbegin(), kAll.rend()}},
      {{{Field::path}}, {kFunk1, kFunk2, kBass, kLead, kUnknown}},
      {{{Field::tempo}}, {kBass, kFunk1, kLead, kUnknown, kFunk2}},
      {{{Field::beats, true}, {Field::name, true}}, {kFunk2, kUnknown, kLead, kFunk1, kBass}},
      {{{Field::key}}, {kUnknown, kFunk2, kBass, kFunk1, kLead}},
      {{{Field::length}}, {kFunk1, kLead, kUnknown, kFunk2, kBass}},
      {{{Field::type, true}}, {kLead, kFunk1, kFunk2, kBass, kUnknown}},
      {{{Field::rating, true}}, {kLead, kFunk1, kFunk2, kBass, kUnknown}},
      {{{Field::genre}}, {kBass, kFunk1, kFunk2, kLead, kUnknown}},  // Jazz, Rock/Blues, two without
      {{{Field::instrument, true}, {Field::tempo}}, {kLead, kUnknown, kFunk1, kFunk2, kBass}},
      {{{Field::id}}, rows("SELECT fileName FROM Loops ORDER BY id")},
      {{{Field::favorite, true}}, {kLead, kFunk1, kFunk2, kBass, kUnknown}}};
  for (const auto& [order, found] : cases) EXPECT_EQ(names({.order = order}), found);
  std::set<Rows> orders;  // the same order of five loops twelve times is as good as impossible
  for (int count = 0; count < 12; ++count) orders.insert(names({.order = {{Field::random}}}));
  EXPECT_GT(orders.size(), 1u);
  for (const Rows& each : orders) EXPECT_TRUE(std::is_permutation(each.begin(), each.end(), kAll.begin(), kAll.end()));
}

TEST_F(Query, AnswersPagesLoopsPlacesAndRows) {
  const auto catalog = open();
  const auto result = valueOf(catalog->search({}));
  const std::pair<Page, Rows> cases[] = {{{}, kAll},
                                         {{.offset = 1, .limit = 2}, {kFunk2, kLead}},
                                         {{.offset = 4}, {kUnknown}},
                                         {{.offset = 3, .limit = kMost}, {kBass, kUnknown}},
                                         {{.offset = kMost, .limit = 9}, {}}};
  for (const auto& [request, found] : cases) {
    const LCLoopPage page = valueOf(result.page(request));
    EXPECT_EQ(page.total, 5);
    EXPECT_EQ(page.offset, request.offset);
    Rows paged, placed;
    for (const auto& loop : page.loops) paged.push_back(loop.fileName);
    const auto add = [&](const LCLoopPlace& place) {
      placed.push_back(vesk::path::lastComponent(place.path()));
      return true;
    };
    EXPECT_EQ(valueOf(result.forEachPlace(request, add)), std::ssize(found));
    EXPECT_TRUE(paged == found && placed == found) << testing::PrintToString(paged);
  }
  int asked = 0;
  EXPECT_EQ(valueOf(result.forEachLoop({}, [&](const LCCatalogLoop&) { return ++asked < 3; })), 3);
  EXPECT_EQ(valueOf(result.forEachPlace({}, [&](const LCLoopPlace&) { return ++asked < 5; })), 2);
  EXPECT_EQ(kindOf(result.page({.offset = -1})) + kindOf(result.families({.limit = -1})), "usageusage");
  const int64_t bass = place(kBass).id;
  EXPECT_EQ(valueOf(result.rowOfLoop(bass)), 3);
  const auto nothing =
      valueOf(catalog->search({.instrument = "Kick"}));  // the table is still that of the search before
  EXPECT_EQ(kindOf(nothing.rowOfLoop(bass)), "notFound");
  EXPECT_TRUE(valueOf(nothing.page({})).loops.empty() && valueOf(nothing.facets()).empty());
  EXPECT_EQ(valueOf(nothing.families({})).total + nothing.count(), 0);
}

TEST_F(Query, ALoopHasEveryColumnAndOnlyWhatIsKnown) {
  const LCLoopPlace bass = place(kBass);
  const std::string id = std::to_string(bass.id);
  execute("INSERT INTO LoopsLoudnessV4 VALUES (" + id +
          ", 'n', -14.5, -0.5, -18.0);"
          "INSERT INTO CrateLoopRelation VALUES ('a.1', " +
          id + ")");
  const auto keyword = [](const char* name) {
    return LCLoopKeyword{LCKeywordHelper::keywordIdForKeyword(std::string(name)), name};
  };
  const auto catalog = open();
  const auto loopAt = [&](const std::string& relative) {
    return valueOf(catalog->loop(LCLoopReference::ofPath(path(relative))));
  };
  EXPECT_EQ(bass.urlText, "file://" + path("a/x/Slow%20Bass.aif"));
  LCCatalogLoop expected = {bass, kBass, 90, 6, {3, 4}, 50, 1, 1, kLoopTypeAudio, 4, keyword("Jazz"), keyword("Bass")};
  expected.subInstrument = keyword("Electric Bass");
  expected.descriptors = {"Dark", "Dry"};
  expected.title = "The title", expected.copyright = "The copyright", expected.fileComment = "The comment";
  expected.collection = "The collection", expected.theme = "The theme";
  expected.packages = {"a.1", "com.vireo.loops.UserDomain.User LoopsPack A"};
  expected.loudness = {-14.5, -0.5, -18};
  EXPECT_EQ(valueOf(valueOf(catalog->search({.name = "Slow"})).page({})).loops, std::vector{expected});
  EXPECT_EQ(loopAt("a/x/" + kBass), expected);
  EXPECT_EQ(valueOf(catalog->keywordsOfLoop(bass.id)), (Rows{"Bass", "Dark", "Dry", "Electric Bass", "Jazz"}));
  // Indexed right after a loop with a genre and descriptors of its own.
  const auto unknown = loopAt("b/" + kUnknown), lead = loopAt("b/" + kLead);
  EXPECT_TRUE(!unknown.genre && !unknown.subInstrument && !unknown.marks && unknown.packages.empty());
  EXPECT_TRUE(unknown.descriptors == Rows{"Single"} && !unknown.loudness.isMeasured() && !unknown.title);
  EXPECT_EQ(lead.marks, (LCLoopMarks{true, 4, "so \"good\""}));
  EXPECT_EQ(lead.genre, (LCLoopKeyword{0, "Zorp"}));
  EXPECT_TRUE(lead.loopType == kLoopTypeMIDI && lead.author == "Some One" && lead.descriptors.empty());
  execute("DROP TABLE LoopsLoudnessV4");  // an older database has none
  EXPECT_FALSE(valueOf(open()->loop(LCLoopReference::ofId(bass.id))).loudness.isMeasured());
}

TEST_F(Query, FacetsCountTheLoopsOfTheResult) {
  execute(
      "INSERT INTO Tagging SELECT Loops.id, Keywords.id FROM Loops, Keywords WHERE fileName = 'Lead.aif' AND "
      "name IN ('Tuba', 'Trumpet')");  // both of the group "Brass"
  const auto catalog = open();
  const auto facets = [&](const LCLoopQuery& query, LCFacetScope scope = LCFacetScope::all) {
    Rows words;
    for (const auto& facet : valueOf(valueOf(catalog->search(query)).facets(scope))) {
      words.push_back(facet.keyword.name + " " + std::to_string(facet.loopCount) + facet.parent.value_or(""));
      EXPECT_NE(facet.keyword.id, 0) << facet.keyword.name;
    }
    return words;
  };
  // Genres, moods, instruments and others, the most frequent first, then by name.
  EXPECT_EQ(facets({.keywords = {"Dry"}}), (Rows{"Rock/Blues 2", "Jazz 1", "Dry 3", "Dark 1", "Drum Kit 2Drums",
                                                 "Drums 2", "Bass 1", "Electric Bass 1Bass"}));
  EXPECT_EQ(facets({.minimumRating = 1}),
            (Rows{"Brass 1", "Piano 1Keyboards", "Trumpet 1Horn/Wind", "Tuba 1Horn/Wind", "Zorp 1"}));
  constexpr auto kNarrowing = LCFacetScope::narrowing;
  EXPECT_EQ(facets({.keywords = {"Dry"}, .tempo = LCTempoSpan{100, 300}}, kNarrowing), Rows{});
  EXPECT_EQ(facets({.keywords = {"Dry"}, .name = "s"}, kNarrowing), Rows{});
  for (const bool withUnused : {false, true}) {
    const auto all = valueOf(catalog->keywords(withUnused));
    const auto isKick = [](const LCFacet& each) { return each.keyword.name == "Kick" && each.loopCount == 0; };
    EXPECT_EQ(std::any_of(all.begin(), all.end(), isKick), withUnused);
    EXPECT_EQ(all.at(0).keyword.name, "Rock/Blues");
    EXPECT_EQ(all.at(0).loopCount, 2);
  }
}

TEST_F(Query, AResultEndsWithTheNextSearchWithAChangeAndWithItsCatalog) {
  auto catalog = open({.access = LCCatalogAccess::mark});
  const auto answers = [&](const LCLoopResult& result) {
    return std::set<std::string>{kindOf(result.page({})),     kindOf(result.forEachPlace({}, nullptr)),
                                 kindOf(result.rowOfLoop(1)), kindOf(result.facets()),
                                 kindOf(result.families({})), result.isCurrent() ? "current" : "resultOutdated"};
  };
  const std::set<std::string> outdated = {"resultOutdated"};
  const LCLoopPlace bass = place(kBass);
  const auto first = valueOf(catalog->search({})), second = valueOf(catalog->search({.name = "b"}));
  EXPECT_EQ(answers(first), outdated);
  valueOf(catalog->mark({&bass, 1}, {.rating = 2}));  // our own marks end nothing
  EXPECT_EQ(valueOf(second.page({})).loops.size(), 3u);
  execute("UPDATE UserData SET rating = 3");
  EXPECT_EQ(answers(second), outdated);
  const auto third = valueOf(catalog->search({}));
  EXPECT_TRUE(third.isCurrent());
  catalog.reset();
  EXPECT_EQ(answers(third), outdated);
}

TEST_F(Query, FamiliesOfTheResultStandInOneRowEach) {
  for (const char* name : {"f/Pad 2.aif", "f/pad 10.aif", "f/Pad.aif", "f/Pads.aif"}) add(name);
  scan({.paths = {"f"}});
  const auto catalog = open();
  const auto result = valueOf(catalog->search({.order = {{Field::name, true}}}));
  const Rows all = {"0 Unknown.aif 1", "1 Slow Bass.aif 1", "2 Pads.aif 1",
                    "3 Pad.aif 3",     "6 Lead.aif 1",      "7 Funky Beat 02.aif 2"};
  for (const auto& [request, begin, end] : {std::tuple{Page{}, 0, 6}, std::tuple{Page{2, 3}, 2, 5},
                                            std::tuple{Page{5, 9}, 5, 6}, std::tuple{Page{99}, 6, 6}}) {
    Rows rows;
    const auto page = valueOf(result.families(request));
    EXPECT_TRUE(page.total == 6 && page.offset == request.offset);
    for (const auto& [loop, row, count] : page.rows) {
      rows.push_back(std::to_string(row) + " " + loop.fileName + " " + std::to_string(count));
    }
    EXPECT_EQ(rows, Rows(all.begin() + begin, all.begin() + end));
  }
}

}  // namespace
