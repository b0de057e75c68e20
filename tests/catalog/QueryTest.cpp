// Searching: filters, order, pages, and what a held result answers.
#include "CatalogTest.h"
#include "VeskLoopManagement/loudness/LCLoudnessDatabase.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"

#include <algorithm>
#include <limits>
#include <set>

namespace {

const std::string kFunk1 = "Funky Beat 01.aif", kFunk2 = "Funky Beat 02.aif", kBass = "Slow Bass.aif";
const std::string kLead = "Lead.aif", kUnknown = "Unknown.aif";
const Rows kAll = {kFunk1, kFunk2, kLead, kBass, kUnknown};

constexpr LCMusicalKey kA{57}, kAMinor{57, LCScale::minor}, kB{59}, kBFlat{58}, kC{48};

// Five loops that differ in what queries ask for. "Lead" is marked.
struct Query : CatalogTest {
  Query() {
    add("a/" + kFunk1, loopFile({.rootNote = 57, .keyType = 1}));
    add("a/" + kFunk2, loopFile({.beats = 16}));
    add("a/x/" + kBass, loopFile({.instrument = "Bass",
                                  .subInstrument = "Electric Bass",
                                  .genre = "Jazz",
                                  .descriptors = {"Dry", "Dark"},
                                  .rootNote = 50,
                                  .keyType = 1,
                                  .beats = 6,
                                  .signatureTop = 3},
                                 {fixture::chunk("NAME", "The title"), fixture::chunk("(c) ", "The copyright"),
                                  fixture::chunk("COMT", fixture::comtPayload({"The comment"})),
                                  fixture::chunk("coll", fixture::collPayload("The collection", "The theme"))}));
    add("b/" + kLead, loopFile({.instrument = "Piano",
                                .subInstrument = "",
                                .genre = "Zorp",
                                .descriptors = {},
                                .rootNote = 59,
                                .keyType = 3},
                               {fixture::chunk("midi", "MThd"), fixture::chunk("AUTH", "Some One")}));
    add("b/" + kUnknown, loopFile({.instrument = "Piano",
                                   .subInstrument = "",
                                   .genre = "",
                                   .descriptors = {"Single"},
                                   .rootNote = 0,
                                   .keyType = 0,
                                   .signatureTop = 0}));
    scan({.paths = {"a"}, .package = "Pack A"});
    scan({.paths = {"b"}});
    execute("INSERT INTO UserData SELECT id, 1, 4, 'so \"good\"' FROM Loops WHERE fileName = 'Lead.aif'");
  }
  static Rows words(const std::vector<LCFacet>& facets) {
    Rows words;
    for (const auto& facet : facets) {
      words.push_back(facet.keyword.name + " " + std::to_string(facet.loopCount));
    }
    return words;
  }
};

TEST_F(Query, FindsTheLoopsThatPassEveryFilterInBothLayouts) {
  struct Case {
    LCLoopQuery query;
    Rows found;  // by name
  };
  const Case cases[] = {
      {{}, kAll},
      {{.words = {"beat", "funky"}}, {kFunk1, kFunk2}},   // in any order
      {{.words = {"Some", "One"}}, {kLead}},              // together, in the author
      {{.keywords = {"dry", "Jazz"}}, {kBass}},           // and, in any case
      {{.keywords = {"Dry"}, .instrument = "Kick"}, {}},  // known, but no loop has it: nothing, not everything
      {{.genre = "zorp"}, {kLead}},                       // a genre that only the file knows
      {{.instrument = "Electric Bass"}, {kBass}},
      {{.instrument = "Kick"}, {}},
      {{.tempo = LCTempoSpan{89.5, 90.4}}, {kBass}},
      {{.tempo = LCTempoSpan{120, 120}, .withHalfAndDoubleTempo = true}, {kFunk1, kFunk2, kLead, kUnknown}},
      {{.key = kA, .keyMatch = LCKeyMatch::exact}, {kFunk1, kUnknown}},
      {{.key = kAMinor, .keyMatch = LCKeyMatch::exact}, {kFunk1}},
      {{.key = kBFlat, .keyMatch = LCKeyMatch::exact}, {kUnknown}},
      {{.key = kBFlat}, {kFunk1, kFunk2, kLead, kUnknown}},  // G# to C
      {{.key = kC, .scale = LCScale::minor}, {kBass}},       // A# to D
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
      {{.folder = path("a")}, {kFunk1, kFunk2, kBass}},
      {{.name = "b"}, {kFunk1, kFunk2, kBass}},
  };
  for (const auto layout : {LCCatalogLayout::desktop, LCCatalogLayout::mobile}) {
    const auto catalog = open({.layout = layout});
    for (const auto& [query, found] : cases) {
      EXPECT_EQ(names(*catalog, query), found) << &query - &cases[0].query << " of a layout";
      EXPECT_EQ(valueOf(catalog->search(query)).count(), std::ssize(found));
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
  struct Case {
    const char* text;
    bool withHalfAndDouble;
    Rows found;
  };
  for (const auto& [text, withHalfAndDouble, found] :
       {Case{"118-124", false, {low, middle, high}},        // stored as 118, 120, 124
        Case{"117.5-124.4", false, {low, middle, high}},    // rounded like these
        Case{"120~5%", false, {below, low, middle, high}},  // 114 to 126
        Case{"120~2%", false, {low, middle}},               // 117.6 is 118
        Case{"120", false, {middle}}, Case{"0-999999999999", false, {below, low, middle, high, twice, half}},
        Case{"120", true, {middle, twice, half}}, Case{"119-121", true, {middle, twice, half}},  // 59.5 is 60
        Case{"60", true, {middle, half}}}) {
    const LCLoopQuery query{.tempo = LCTempoSpan::fromText(text).value_or(LCTempoSpan{}),
                            .withHalfAndDoubleTempo = withHalfAndDouble,
                            .folder = path("t")};
    EXPECT_EQ(names(query), found) << text;
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
  struct Case {
    LCLoopQuery query;
    const char* kind;
    Rows nearNames;
  };
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const auto catalog = open();
  for (const auto& [query, kind, nearNames] :
       {Case{{.keywords = {"Jaz"}}, "notFound", {"Jazz"}}, Case{{.keywords = {""}}, "notFound", {}},
        Case{{.genre = "Drums"}, "notFound", {}},  // an instrument
        Case{{.package = "Pack B"}, "notFound", {"Pack A"}}, Case{{.package = "TWICE"}, "ambiguous", {"x.1", "x.2"}},
        Case{{.package = "x.2"}, "", {}}, Case{{.key = kAMinor, .scale = LCScale::major}, "usage", {}},
        Case{{.tempo = LCTempoSpan{2, 1}}, "usage", {}}, Case{{.tempo = LCTempoSpan{nan, nan}}, "usage", {}},
        Case{{.order = {{LCSortField::random}, {LCSortField::name}}}, "usage", {}}}) {
    const auto result = catalog->search(query);
    EXPECT_EQ(kindOf(result), kind) << testing::PrintToString(nearNames);
    EXPECT_EQ(result ? Rows() : result.failure().nearNames, nearNames);
  }
  EXPECT_EQ(names(*catalog), kAll);                                 // nothing stays of a query that was refused
  EXPECT_EQ(names(*catalog, {.keywords = {"Zorp"}}), Rows{kLead});  // "ZORP", which comes first, is another one
}

TEST_F(Query, OrdersByEveryFieldAndThenByName) {
  execute("UPDATE Loops SET lengthInSeconds = numberOfBeats");
  using Field = LCSortField;
  struct Case {
    std::vector<LCSortKey> order;
    Rows found;
  };
  for (const auto& [order, found] :
       {Case{{}, kAll}, Case{{{Field::name, true}}, {kAll.rbegin(), kAll.rend()}},
        Case{{{Field::path}}, {kFunk1, kFunk2, kBass, kLead, kUnknown}},
        Case{{{Field::tempo}}, {kBass, kFunk1, kLead, kUnknown, kFunk2}},
        Case{{{Field::beats, true}, {Field::name, true}}, {kFunk2, kUnknown, kLead, kFunk1, kBass}},
        Case{{{Field::key}}, {kUnknown, kFunk2, kBass, kFunk1, kLead}},
        Case{{{Field::length}}, {kBass, kFunk1, kLead, kUnknown, kFunk2}},
        Case{{{Field::type, true}}, {kLead, kFunk1, kFunk2, kBass, kUnknown}},
        Case{{{Field::favorite, true}}, {kLead, kFunk1, kFunk2, kBass, kUnknown}}}) {
    EXPECT_EQ(names({.order = order}), found);
  }
  std::set<Rows> orders;  // the same order of five loops twelve times is as good as impossible
  for (int count = 0; count < 12; ++count) orders.insert(names({.order = {{Field::random}}}));
  EXPECT_GT(orders.size(), 1u);
  for (Rows each : orders) {
    std::sort(each.begin(), each.end());
    EXPECT_EQ(each, (Rows{kFunk1, kFunk2, kLead, kBass, kUnknown}));
  }
}

TEST_F(Query, AnswersPagesLoopsPlacesAndRows) {
  constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
  const auto catalog = open();
  const auto result = valueOf(catalog->search({}));
  struct Case {
    LCPageRequest request;
    Rows found;
  };
  for (const auto& [request, found] :
       {Case{{}, kAll}, Case{{.offset = 1, .limit = 2}, {kFunk2, kLead}}, Case{{.offset = 4}, {kUnknown}},
        Case{{.offset = 3, .limit = kMost}, {kBass, kUnknown}}, Case{{.offset = kMost, .limit = 9}, {}}}) {
    const LCLoopPage page = valueOf(result.page(request));
    EXPECT_EQ(page.total, 5);
    EXPECT_EQ(page.offset, request.offset);
    Rows names, placed;
    for (const auto& loop : page.loops) names.push_back(loop.fileName);
    const auto add = [&](const LCLoopPlace& place) {
      placed.push_back(vesk::path::lastComponent(place.path()));
      return placed.size() < 2;
    };
    EXPECT_EQ(valueOf(result.forEachPlace(request, add)), std::min<int64_t>(2, std::ssize(found)));
    EXPECT_EQ(names, found);
    EXPECT_EQ(placed, Rows(found.begin(), found.begin() + std::min<std::ptrdiff_t>(2, std::ssize(found))));
  }
  int asked = 0;
  EXPECT_EQ(valueOf(result.forEachLoop({}, [&](const LCCatalogLoop&) { return ++asked < 3; })), 3);
  EXPECT_EQ(kindOf(result.page({.offset = -1})), "usage");
  EXPECT_EQ(kindOf(result.families({.limit = -1})), "usage");
  EXPECT_EQ(valueOf(result.rowOfLoop(place(kBass).id)), 3);
  const auto nothing =
      valueOf(catalog->search({.instrument = "Kick"}));  // the table is still that of the search before
  EXPECT_EQ(kindOf(nothing.rowOfLoop(place(kBass).id)), "notFound");
  EXPECT_TRUE(valueOf(nothing.page({})).loops.empty() && valueOf(nothing.facets()).empty());
  EXPECT_EQ(valueOf(nothing.families({})).total, 0);
}

TEST_F(Query, ALoopHasEveryColumnAndOnlyWhatIsKnown) {
  const LCLoopPlace bass = place(kBass);
  const LCLoopLoudnessInfo loudness{-14.5, -0.5, -18};
  execute("INSERT INTO LoopsLoudnessV4 VALUES (" + std::to_string(bass.id) +
          ", 'n', -14.5, -0.5, -18.0);"
          "INSERT INTO CrateLoopRelation VALUES ('a.1', " +
          std::to_string(bass.id) + ")");
  const auto keyword = [](const char* name) {
    return LCLoopKeyword{LCKeywordHelper::keywordIdForKeyword(std::string(name)), name};
  };
  const auto catalog = open();
  EXPECT_EQ(bass.urlText, "file://" + path("a/x/Slow%20Bass.aif"));
  const LCCatalogLoop expected = {.place = bass,
                                  .fileName = kBass,
                                  .tempo = 90,
                                  .beatCount = 6,
                                  .signature = {3, 4},
                                  .rootNote = 50,
                                  .keyType = 1,
                                  .fileType = 1,
                                  .lengthInSeconds = 4,
                                  .genre = keyword("Jazz"),
                                  .instrument = keyword("Bass"),
                                  .subInstrument = keyword("Electric Bass"),
                                  .descriptors = {"Dark", "Dry"},
                                  .title = "The title",
                                  .copyright = "The copyright",
                                  .fileComment = "The comment",
                                  .collection = "The collection",
                                  .theme = "The theme",
                                  .packages = {"a.1", "com.vireo.loops.UserDomain.User LoopsPack A"},
                                  .loudness = loudness};
  const auto asResult = valueOf(valueOf(catalog->search({.name = "Slow"})).page({})).loops;
  ASSERT_EQ(asResult.size(), 1u);
  EXPECT_EQ(asResult[0], expected);
  EXPECT_EQ(valueOf(catalog->loop(LCLoopReference::ofId(bass.id))), expected);
  EXPECT_EQ(valueOf(catalog->keywordsOfLoop(bass.id)), (Rows{"Bass", "Dark", "Dry", "Electric Bass", "Jazz"}));
  const auto unknown = valueOf(catalog->loop(LCLoopReference::ofPath(path("b/" + kUnknown))));
  EXPECT_TRUE(!unknown.genre && !unknown.subInstrument && !unknown.marks && unknown.packages.empty());
  EXPECT_EQ(unknown.descriptors, Rows{"Single"});
  EXPECT_FALSE(unknown.loudness.isMeasured());
  const auto lead = valueOf(catalog->loop(LCLoopReference::ofPath(path("b/" + kLead))));
  EXPECT_EQ(lead.marks, (LCLoopMarks{true, 4, "so \"good\""}));
  EXPECT_EQ(lead.genre, (LCLoopKeyword{0, "Zorp"}));
  EXPECT_EQ(lead.loopType, kLoopTypeMIDI);
  EXPECT_EQ(lead.author, "Some One");
  execute("DROP TABLE LoopsLoudnessV4");  // an older database has none
  EXPECT_FALSE(valueOf(open()->loop(LCLoopReference::ofId(bass.id))).loudness.isMeasured());
}

TEST_F(Query, FacetsCountTheLoopsOfTheResult) {
  const auto catalog = open();
  const auto facets = [&](const LCLoopQuery& query) { return valueOf(valueOf(catalog->search(query)).facets()); };
  // Genres, moods, instruments and others, the most frequent first, then by name; two of four drums are electric.
  EXPECT_EQ(words(facets({.keywords = {"Dry"}})),
            (Rows{"Rock/Blues 2", "Jazz 1", "Dry 3", "Dark 1", "Drum Kit 2", "Drums 2", "Bass 1", "Electric Bass 1"}));
  EXPECT_EQ(words(facets({.minimumRating = 1})), (Rows{"Piano 1", "Zorp 1"}));
  const auto bass = facets({.name = "Slow"});
  EXPECT_EQ(bass.at(bass.size() - 1).parent, "Bass");
  EXPECT_EQ(bass.at(0).kind(), LCKeywordKind::genre);
  EXPECT_EQ(words(facets({})), words(valueOf(catalog->keywords())));
  const auto all = valueOf(catalog->keywords(true));
  const auto kick =
      std::find_if(all.begin(), all.end(), [](const LCFacet& each) { return each.keyword.name == "Kick"; });
  ASSERT_NE(kick, all.end());
  EXPECT_TRUE(kick->loopCount == 0 && kick->parent == "Drums" && kick->kind() == LCKeywordKind::instrument);
}

TEST_F(Query, AResultEndsWithTheNextSearchWithAChangeAndWithItsCatalog) {
  auto catalog = open({.access = LCCatalogAccess::mark});
  const LCLoopPlace bass = place(kBass);
  const auto first = valueOf(catalog->search({}));
  const auto kinds = [&](const LCLoopResult& result) {
    return std::set<std::string>{kindOf(result.page({})),     kindOf(result.forEachPlace({}, nullptr)),
                                 kindOf(result.rowOfLoop(1)), kindOf(result.facets()),
                                 kindOf(result.families({})), result.isCurrent() ? "current" : "resultOutdated"};
  };
  const std::set<std::string> outdated = {"resultOutdated"};
  const auto second = valueOf(catalog->search({.name = "b"}));
  EXPECT_EQ(kinds(first), outdated);
  valueOf(catalog->mark({&bass, 1}, {.rating = 2}));  // our own marks end nothing
  EXPECT_EQ(valueOf(second.page({})).loops.size(), 3u);
  execute("UPDATE UserData SET rating = 3");
  EXPECT_EQ(kinds(second), outdated);
  const auto third = valueOf(catalog->search({}));
  EXPECT_TRUE(third.isCurrent());
  catalog.reset();
  EXPECT_EQ(kinds(third), outdated);
}

// Members outside the result do not count.
TEST_F(Query, FamiliesOfTheResultStandInOneRowEach) {
  for (const char* name : {"Pad 2.aif", "pad 10.aif", "Pad.aif", "Pads.aif"}) add(std::string("f/") + name);
  scan({.paths = {"f"}});
  const auto catalog = open();
  const auto result = valueOf(catalog->search({.words = {"aif"}, .order = {{LCSortField::name, true}}}));
  const auto folded = [&](const LCPageRequest& request) {
    Rows rows;
    const auto page = valueOf(result.families(request));
    EXPECT_EQ(page.total, 6);
    EXPECT_EQ(page.offset, request.offset);
    for (const auto& [loop, row, count] : page.rows) {
      rows.push_back(std::to_string(row) + " " + loop.fileName + " " + std::to_string(count));
    }
    return rows;
  };
  const Rows all = {"0 Unknown.aif 1", "1 Slow Bass.aif 1", "2 Pads.aif 1",
                    "3 Pad.aif 3",     "6 Lead.aif 1",      "7 Funky Beat 02.aif 2"};
  EXPECT_EQ(folded({}), all);
  EXPECT_EQ(folded({.offset = 2, .limit = 3}), Rows(all.begin() + 2, all.begin() + 5));
  EXPECT_EQ(folded({.offset = 5, .limit = 9}), Rows(all.begin() + 5, all.end()));
  EXPECT_EQ(folded({.offset = 99}), Rows{});
}

}  // namespace
