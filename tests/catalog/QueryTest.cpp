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

constexpr LCMusicalKey kAMinor{57, LCScale::minor}, kBFlat{58}, kC{48}, kE{52}, kFSharp{54};
constexpr LCKeyMatch kExact = LCKeyMatch::exact, kCompatible = LCKeyMatch::compatible;
constexpr int64_t kMost = std::numeric_limits<int64_t>::max();

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
    add("bZ20/" + kLead,
        loopFile({"Piano", "", "Zorp", {}, 71, 3}, {chunk("midi", "MThd"), chunk("AUTH", "Some One")}));
    add("bZ20/" + kUnknown, loopFile({"Piano", "", "", {"Single"}, 0, 0, 8, 0}));
    scan({.paths = {"a"}, .package = "Pack A"});
    scan({.paths = {"bZ20"}});
    for (const char* empty : {"b ", "b__0"}) folder.addFolder(empty);
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
      {{.key = kAMinor, .keyMatch = kExact}, {kFunk1}},
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
      {{.onlyFavorites = true}, {kLead}},
      {{.minimumRating = 4}, {kLead}},
      {{.package = "pack a"}, {kFunk1, kFunk2, kBass}},
      {{.folder = path("a/x")}, {kBass}},
      {{.folder = path("b ")}, {}},  // neither its "%20" nor "_" is a pattern for "bZ20"
      {{.folder = path("b__0")}, {}},
      {{.name = "b"}, {kFunk1, kFunk2, kBass}},
  };
  for (const auto layout : {LCCatalogLayout::desktop, LCCatalogLayout::mobile}) {
    const auto catalog = open({.layout = layout});
    for (const auto& each : cases) EXPECT_EQ(names(*catalog, each.first), each.second) << "case " << &each - cases;
  }
}

TEST_F(Query, TemposAreComparedInWholeBeatsPerMinute) {
  const Rows all = {"60 bpm.aif", "117.4 bpm.aif", "117.5 bpm.aif", "120 bpm.aif", "124.4 bpm.aif", "240 bpm.aif"};
  for (const auto& name : all) add("t/" + name);
  scan({.paths = {"t"}});
  const auto [half, below, low, middle, high, twice] = std::tie(all[0], all[1], all[2], all[3], all[4], all[5]);
  const std::tuple<const char*, bool, Rows> cases[] = {
      {"117.5-124.4", false, {low, middle, high}},    // stored as 118, 120, 124, and rounded like these
      {"120~5%", false, {below, low, middle, high}},  // 114 to 126
      {"120", false, {middle}},
      {"0-999999999999", false, {below, low, middle, high, twice, half}},
      {"119-121", true, {middle, twice, half}}};  // 59.5 is 60
  for (const auto& [text, withHalfAndDouble, found] : cases) {
    const auto tempo = LCTempoSpan::fromText(text);
    EXPECT_EQ(names({.tempo = tempo, .withHalfAndDoubleTempo = withHalfAndDouble, .folder = path("t")}), found) << text;
  }
  EXPECT_EQ(LCTempoSpan::around(120, 0.05), LCTempoSpan::fromText("120~5%"));
  for (const char* text : {"", "fast", "120-", "-120", "124-118", "120~5", "1e2", "0", "120 "}) {
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
      {{.genre = "Drums"}, "notFound", {}},  // an instrument
      {{.package = "Pack B"}, "notFound", {"Pack A"}},
      {{.package = "TWICE"}, "ambiguous", {"x.1", "x.2"}},
      {{.key = kAMinor, .scale = LCScale::major}, "usage", {}},
      {{.folder = path("nosuch")}, "notFound", {}},
      {{.keywords = {many.begin(), many.end()}}, "usage", {}},
      {{.words = Rows(901, "x")}, "usage", {}},
      {{.words = {std::string(15001, 'x')}}, "usage", {}},
      {{.words = Rows(900, "x")}, "", {}},
      {{.tempo = LCTempoSpan{2, 1}}, "usage", {}},
      {{.order = {{Field::random}, {Field::name}}}, "usage", {}}};
  for (const auto& [query, kind, nearNames] : cases) {
    const auto result = catalog->search(query);
    EXPECT_EQ(kindOf(result), kind) << testing::PrintToString(nearNames);
    if (!result) {
      EXPECT_EQ(result.failure().nearNames, nearNames);
    }
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
      {{{Field::genre}}, {kBass, kFunk1, kFunk2, kLead, kUnknown}},        // Jazz, Rock/Blues, Zorp
      {{{Field::genre, true}}, {kLead, kFunk1, kFunk2, kBass, kUnknown}},  // Zorp, which only a file knows
      {{{Field::instrument, true}, {Field::tempo}}, {kLead, kUnknown, kFunk1, kFunk2, kBass}},
      {{{Field::id}}, rows("SELECT fileName FROM Loops ORDER BY id")},
      {{{Field::favorite, true}}, {kLead, kFunk1, kFunk2, kBass, kUnknown}}};
  for (const auto layout : {LCCatalogLayout::desktop, LCCatalogLayout::mobile}) {
    const auto catalog = open({.layout = layout});
    for (const auto& [order, found] : cases) EXPECT_EQ(names(*catalog, {.order = order}), found);
  }
  std::set<Rows> orders;  // the same order of five loops twelve times is as good as impossible
  for (int count = 0; count < 12; ++count) orders.insert(names({.order = {{Field::random}}}));
  EXPECT_GT(orders.size(), 1u);
}

TEST_F(Query, AnswersPagesLoopsPlacesAndRows) {
  const auto catalog = open({.access = LCCatalogAccess::mark});
  const auto result = valueOf(catalog->search({}));
  const std::pair<Page, Rows> cases[] = {{{}, kAll},
                                         {{.offset = 1, .limit = 2}, {kFunk2, kLead}},
                                         {{.offset = 3, .limit = kMost}, {kBass, kUnknown}},
                                         {{.offset = kMost, .limit = 9}, {}}};
  for (const auto& [request, found] : cases) {
    const LCLoopPage page = valueOf(result.page(request));
    Rows paged, placed;
    for (const auto& loop : page.loops) paged.push_back(loop.fileName);
    const auto add = [&](const LCLoopPlace& place) {
      placed.push_back(vesk::path::lastComponent(place.path()));
      return true;
    };
    EXPECT_EQ(valueOf(result.forEachPlace(request, add)), std::ssize(found));
    EXPECT_TRUE(page.total == 5 && page.offset == request.offset && paged == found && placed == found) << page.offset;
  }
  // While rows are handed on, what would wait for the end of it is refused, and what is to come is as it was.
  std::set<std::string> kinds;
  const auto askingFor = [&](int64_t most) {
    return [&, most, asked = int64_t{0}](const LCCatalogLoop& loop) mutable {
      const std::vector places = {loop.place};
      kinds.insert(
          {kindOf(catalog->search({})), kindOf(catalog->remove(places)), kindOf(catalog->createPackage({"N"}))});
      return kindOf(catalog->mark(places, {.rating = 1})).empty() && ++asked < most;
    };
  };
  EXPECT_EQ(valueOf(result.forEachLoop({}, askingFor(3))), 3);
  EXPECT_EQ(valueOf(result.forEachLoop({}, askingFor(9))), 5);
  EXPECT_EQ(kinds, std::set<std::string>{"usage"});
  EXPECT_EQ(kindOf(result.page({.offset = -1})), "usage");
  const int64_t bass = place(kBass).id;
  EXPECT_EQ(valueOf(result.rowOfLoop(bass)), 3);
  const auto nothing = valueOf(catalog->search({.instrument = "Kick"}));  // the table is that of the search before
  EXPECT_EQ(kindOf(nothing.rowOfLoop(bass)), "notFound");
  EXPECT_TRUE(valueOf(nothing.page({})).loops.empty() && valueOf(nothing.facets()).empty());
  EXPECT_EQ(valueOf(nothing.families({})).total + nothing.count(), 0);
}

TEST_F(Query, ALoopHasEveryColumnAndOnlyWhatIsKnown) {
  execute(
      "INSERT INTO LoopsLoudnessV4 SELECT id, 'n', -14.5, -0.5, -18.0 FROM Loops WHERE fileName = 'Slow Bass.aif';"
      "INSERT INTO CrateLoopRelation SELECT 'a.1', id FROM Loops WHERE fileName = 'Slow Bass.aif'");
  const auto keyword = [](const char* name) {
    return LCLoopKeyword{LCKeywordHelper::keywordIdForKeyword(std::string(name)), name};
  };
  const auto catalog = open();
  const auto loopWithName = [&](const std::string& name) {
    return valueOf(catalog->loop(LCLoopReference::ofId(place(name).id)));
  };
  const LCLoopPlace bass = place(kBass);
  EXPECT_EQ(bass.urlText, "file://" + path("a/x/Slow%20Bass.aif"));
  LCCatalogLoop expected = {bass, kBass, 90, 6, {3, 4}, 50, 1, 1, kLoopTypeAudio, 4, keyword("Jazz"), keyword("Bass")};
  expected.subInstrument = keyword("Electric Bass");
  expected.descriptors = {"Dark", "Dry"};
  expected.title = "The title", expected.copyright = "The copyright", expected.fileComment = "The comment";
  expected.collection = "The collection", expected.theme = "The theme";
  expected.packages = {"a.1", "com.vireo.loops.UserDomain.User LoopsPack A"};
  expected.loudness = {-14.5, -0.5, -18};
  EXPECT_EQ(valueOf(valueOf(catalog->search({.name = "Slow"})).page({})).loops, std::vector{expected});
  EXPECT_EQ(loopWithName(kBass), expected);
  EXPECT_EQ(valueOf(catalog->keywordsOfLoop(bass.id)), (Rows{"Bass", "Dark", "Dry", "Electric Bass", "Jazz"}));
  // A genre that a file does not name stays in the texts from the loop before it, but is no tag of its own.
  const fixture::Pairs tags = {{"category", "Drums"}};
  add("c/1.aif", loopFile({.genre = "Zorp"}));
  add("c/2.caf", fixture::cafFile({fixture::chunk("uuid", fixture::searchInfoPayload(tags))}));
  scan({.paths = {"c"}});
  EXPECT_EQ(rows("SELECT genre FROM LoopsKeywords JOIN Loops ON id = loopId WHERE fileName = '2.caf'"), Rows{"Zorp"});
  EXPECT_EQ(loopWithName("2.caf").genre, std::nullopt);
  const auto unknown = loopWithName(kUnknown), lead = loopWithName(kLead);
  EXPECT_TRUE(!unknown.genre && !unknown.subInstrument && !unknown.marks && unknown.packages.empty());
  EXPECT_TRUE(unknown.descriptors == Rows{"Single"} && !unknown.loudness.isMeasured() && !unknown.title);
  EXPECT_EQ(lead.marks, (LCLoopMarks{true, 4, "so \"good\""}));
  EXPECT_EQ(lead.genre, (LCLoopKeyword{0, "Zorp"}));
  EXPECT_TRUE(lead.loopType == kLoopTypeMIDI && lead.author == "Some One" && lead.descriptors.empty());
}

TEST_F(Query, FacetsCountTheLoopsOfTheResult) {
  const auto catalog = open();
  const auto inWords = [](const std::vector<LCFacet>& facets) {
    Rows words;
    for (const auto& facet : facets) {
      words.push_back(facet.keyword.name + " " + std::to_string(facet.loopCount) + facet.parent.value_or(""));
    }
    return words;
  };
  const auto facets = [&](const LCLoopQuery& query, LCFacetScope scope = LCFacetScope::all) {
    return inWords(valueOf(valueOf(catalog->search(query)).facets(scope)));
  };
  // Genres, moods, instruments and others, the most frequent first, then by name.
  EXPECT_EQ(facets({.keywords = {"Dry"}}), (Rows{"Rock/Blues 2", "Jazz 1", "Dry 3", "Dark 1", "Drum Kit 2Drums",
                                                 "Drums 2", "Bass 1", "Electric Bass 1Bass"}));
  EXPECT_EQ(facets({.minimumRating = 1}), (Rows{"Piano 1Keyboards", "Zorp 1"}));
  constexpr auto kNarrowing = LCFacetScope::narrowing;
  EXPECT_EQ(facets({.keywords = {"Dry"}}, kNarrowing),  // not what all of them carry
            (Rows{"Rock/Blues 2", "Jazz 1", "Dark 1", "Drum Kit 2Drums", "Drums 2", "Bass 1", "Electric Bass 1Bass"}));
  for (const bool withUnused : {false, true}) {
    const Rows all = inWords(valueOf(catalog->keywords(withUnused)));
    EXPECT_EQ(all.at(0), "Rock/Blues 2");
    EXPECT_EQ(std::count(all.begin(), all.end(), "Kick 0Drums"), withUnused);
  }
}

TEST_F(Query, AResultEndsWithTheNextSearchWithAChangeAndWithItsCatalog) {
  execute("PRAGMA journal_mode = WAL");
  auto catalog = open({.access = LCCatalogAccess::mark});
  const auto isOutdated = [](const LCLoopResult& result) {
    const std::set<std::string> answers = {kindOf(result.page({})), kindOf(result.forEachPlace({}, nullptr)),
                                           kindOf(result.rowOfLoop(1)), kindOf(result.facets()),
                                           kindOf(result.families({}))};
    return answers == std::set<std::string>{"resultOutdated"} && !result.isCurrent();
  };
  const LCLoopPlace bass = place(kBass);
  const auto first = valueOf(catalog->search({})), second = valueOf(catalog->search({.name = "b"}));
  EXPECT_TRUE(isOutdated(first));
  valueOf(catalog->mark({&bass, 1}, {.rating = 2}));  // our own marks end nothing
  EXPECT_EQ(valueOf(second.page({})).loops.size(), 3u);
  const auto snapshot = open({.holdsSnapshot = true});
  const auto held = valueOf(snapshot->search({.minimumRating = 4}));
  execute("UPDATE UserData SET rating = 3");
  EXPECT_TRUE(isOutdated(second) && held.isCurrent());
  EXPECT_EQ(names(*snapshot, {.minimumRating = 4}), Rows{kLead});  // as it was at its first question
  const auto third = valueOf(catalog->search({}));
  EXPECT_TRUE(third.isCurrent());
  catalog.reset();
  EXPECT_TRUE(isOutdated(third));
}

TEST_F(Query, FamiliesOfTheResultStandInOneRowEach) {
  const auto catalog = open();
  const auto result = valueOf(catalog->search({.order = {{Field::name, true}}}));
  const Rows all = {"0 Unknown.aif 1", "1 Slow Bass.aif 1", "2 Lead.aif 1", "3 Funky Beat 02.aif 2"};
  for (const auto& [request, begin, end] :
       {std::tuple{Page{}, 0, 4}, std::tuple{Page{1, 2}, 1, 3}, std::tuple{Page{99}, 4, 4}}) {
    Rows rows;
    const auto page = valueOf(result.families(request));
    for (const auto& [loop, row, count] : page.rows) {
      rows.push_back(std::to_string(row) + " " + loop.fileName + " " + std::to_string(count));
    }
    EXPECT_EQ(rows, Rows(all.begin() + begin, all.begin() + end));
    EXPECT_TRUE(page.total == 4 && page.offset == request.offset);
  }
}

}  // namespace
