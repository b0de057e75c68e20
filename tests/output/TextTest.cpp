// Loops, keywords and progress as people and scripts read them.
#include "KeywordList.h"
#include "KnownLoop.h"
#include "LoopColumns.h"
#include "LoopLists.h"
#include "Output.h"
#include "PackageList.h"
#include "Progress.h"
#include "TerminalText.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"

#include <gtest/gtest.h>

#include <chrono>
#include <sstream>

namespace {

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

TEST(LoopColumns, AreFieldsBetweenTabsInFullForScripts) {
  EXPECT_EQ(
      tabSeparated(columnsForWords("name,path,url,id,tempo,key,beats,signature,length,type,instrument,genre,"
                                   "descriptors,crates,favorite,rating,comment,loudness,peak,target,gain"),
                   kLoop),
      "Funk \uFFFD[31m\xFF.aif\t/l/Funk "
      "\uFFFD[31m\xFF.aif\tfile:///l/Funk%20%1B%5B31m%FF.aif\t-9223372036854775808\t90\t"
      "D minor\t8\t3/4\t4.1\tmidi\tElectric Bass\tJazz\tDark, Dry\tx\uFFFDy\tyes\t4\ta\uFFFDb\t-14.5\t-0.5\t-18\t-3.5");
  EXPECT_EQ(tabSeparated(columnsForWords("favorite,rating,key,length,gain"), {}), "\t\t\t\t");
  EXPECT_THROW(columnsForWords("name,tone"), Failure);
}

TEST(LoopTable, TakesTheColumnsThatHaveRoomAndNeverWraps) {
  const std::string name = "Funk \uFFFD[31m\uFFFD.aif", id = "-9223372036854775808";
  const std::tuple<size_t, const char*, std::string> cases[] = {
      {10, "", "Name\nFunk …aif\n"},
      {60, "",
       "Name                      Folder            Tempo  Key\n" + name +
           "           /l                   90  D min\n"},
      {60, "name,id",
       "Name                                                     Id\n" + name + std::string(24, ' ') + id + "\n"},
      {30, "id,path,tempo", std::string(18, ' ') + "Id  Path\n" + id + "  /l….aif\n"},
  };
  for (const auto& [width, columns, printed] : cases) {
    StringSink sink;
    sink.resultStream.columns = width;
    Output output(sink, {});
    const LoopTable table(output, *columns == 0 ? LoopColumns() : columnsForWords(columns));
    table.printHeader();
    table.printRow(kLoop);
    EXPECT_EQ(sink.result, printed);
    for (const auto& line : linesOf(sink.result)) EXPECT_LT(displayWidth(line), width);
  }
}

// What a list prints on a terminal of 60 columns, and elsewhere.
template <typename Print>
std::pair<std::string, std::string> onTerminalAndElsewhere(Print print) {
  StringSink terminal, pipe;
  terminal.resultStream = {.isTerminal = true, .columns = 60};
  for (StringSink* sink : {&terminal, &pipe}) {
    Output output(*sink, {});
    print(output);
  }
  for (const auto& line : linesOf(terminal.result)) EXPECT_LT(displayWidth(line), 60u) << line;
  return {terminal.result, pipe.result};
}

TEST(LoopLists, ShowMarksAndFoldersToPeopleAndExactPathsToScripts) {
  const std::vector<LCMarkedLoop> marked = {{.place = kLoop.place, .marks = *kLoop.marks}};
  const auto [table, lines] = onTerminalAndElsewhere([&](Output& output) { printMarkedLoops(output, marked); });
  EXPECT_EQ(
      table,
      "Name             Fav.  Rating  Comment  Folder\nFunk \uFFFD[31m\uFFFD.aif  yes        4  a\uFFFDb      /l\n");
  EXPECT_EQ(lines, "/l/Funk \x1b[31m\xFF.aif\tyes\t4\ta\uFFFDb\n");
}

TEST(PackageList, ShowsAllThatIsKnown) {
  const std::vector<LCPackage> packages = {{.identifier = "com.x." + std::string(60, 'y') + ".Pack",
                                            .name = "Pa\tck",
                                            .manufacturer = "Me",
                                            .loopCount = 7}};
  const std::string fields = packages[0].identifier + "\tPa\uFFFDck\tMe\t\t7\n";
  const auto [table, lines] = onTerminalAndElsewhere([&](Output& output) { printPackages(output, packages); });
  EXPECT_TRUE(table.find("7  com") != std::string::npos && table.ends_with("yyy.Pack\n")) << table;
  EXPECT_EQ(lines, fields);
  StringSink sink;
  sink.resultStream.isTerminal = true;
  Output output(sink, {});
  printPackagesInDetail(output, packages);
  EXPECT_EQ(sink.result, "Pa\uFFFDck\n  Identifier    " + packages[0].identifier +
                             "\n  Manufacturer  Me\n  Virtual       no\n  Loops         7\n");
}

TEST(KeywordList, StandsInGroupsForPeopleAndInFieldsForScripts) {
  const std::vector<LCFacet> keywords = {
      {.keyword = {1, "Funk"}, .category = kCategoryGenre, .loopCount = 1},
      {.keyword = {3, "Drum Kit"}, .category = kCategoryInstrumentSubType, .loopCount = 2, .parent = "Drums"},
      {.keyword = {9, "Zo\trp"}, .category = 99, .loopCount = 50}};
  const auto [table, lines] = onTerminalAndElsewhere([&](Output& output) { printKeywords(output, keywords); });
  EXPECT_EQ(lines, "Funk\t1\tgenre\t\t1\nDrum Kit\t3\tinstrument\tDrums\t2\nZo\uFFFDrp\t9\tother\t\t50\n");
  EXPECT_TRUE(table.starts_with("genre                   Loops      Id  Part of\n  Funk")) << table;
  EXPECT_EQ(compactJSON(jsonOfKeyword(keywords[1])),
            R"({"keyword":"Drum Kit","id":3,"category":"instrument","parent":"Drums","count":2})");
}

TEST(Progress, ShowsTheFirstAndTheLastOfEveryPhaseAndAtMostTenASecond) {
  StringSink sink;
  Output output(sink, {.progress = ProgressStyle::json});
  const auto began = std::chrono::steady_clock::now();
  Progress progress(output);
  const auto shown = [](const std::string& rest) { return R"({"event":"progress","phase":")" + rest + "}"; };
  progress.begin("scan", {}), progress.step(2, "b"), progress.end();
  EXPECT_EQ(linesOf(sink.messages), (std::vector{shown(R"(scan","done":0)"), shown(R"(scan","done":2,"path":"b")")}));
  sink.messages.clear();
  progress.begin("index", 5000);
  for (int done = 1; done <= 5000; ++done) progress.step(done, "/l/\xFF.aif");
  progress.end();
  const auto tenths = (std::chrono::steady_clock::now() - began) / std::chrono::milliseconds(100);
  const auto lines = linesOf(sink.messages);
  ASSERT_GE(lines.size(), 2u);
  EXPECT_LE(lines.size(), static_cast<size_t>(tenths) + 2);
  EXPECT_EQ(lines.front(), shown(R"(index","done":0,"total":5000)"));
  EXPECT_EQ(lines.back(), shown(R"(index","done":5000,"total":5000,"path":"/l/�.aif")"));
  EXPECT_EQ(sink.result, "");
}

TEST(Progress, IsShownWhereItIsWanted) {
  constexpr StreamTraits kTerminal{.isTerminal = true, .isDecorated = true, .columns = 21};
  constexpr StreamTraits kPlainTerminal{.isTerminal = true, .columns = 21};
  constexpr const char* kStatus = "\r\x1b[KIndexing  [> …/2  0%\r\x1b[K";
  const std::tuple<ProgressStyle, StreamTraits, bool, const char*> cases[] = {
      {ProgressStyle::automatic, kTerminal, false, kStatus},
      {ProgressStyle::automatic, kTerminal, true, ""},  // quiet
      {ProgressStyle::automatic, kPlainTerminal, false, ""},
      {ProgressStyle::always, kPlainTerminal, true, kStatus},
      {ProgressStyle::always, {}, false, "Indexing  [>                   ]  0/2  0%\n"},
      {ProgressStyle::never, kTerminal, false, ""}};
  for (const auto& [style, stream, quiet, shown] : cases) {
    StringSink sink;
    sink.messageStream = stream;
    Output output(sink, {.quiet = quiet, .progress = style});
    Progress progress(output);
    progress.begin("index", 2);
    progress.end();
    EXPECT_EQ(sink.messages, shown);
  }
}

TEST(TerminalText, ControlsAreReplacedAndOnlyPeopleLoseIllFormedBytes) {
  // Tab, line end, ESC, DEL, C1, line separator; a mark of direction; an ill-formed byte.
  const std::string text = "a\t\n\x1b\x7F\xC2\x9B\u2028|\u202E|\xFF";
  const std::string six = "a\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD|";
  EXPECT_EQ(onOneLine(text), six + "\u202E|\xFF");
  EXPECT_EQ(printable(text), six + "\uFFFD|\uFFFD");
  EXPECT_EQ(printableLines("a\t\nb"), "a\uFFFD\nb");
}

TEST(TerminalText, WhatIsTooWideLosesItsMiddle) {
  const std::tuple<const char*, size_t, const char*> cases[] = {{"Funky Beat Long 01.aif", 12, "Funky B….aif"},
                                                                {"音音音音", 6, "音…音 "},  // two columns each
                                                                {"e\u0301e\u0301", 3, "e\u0301e\u0301 "},
                                                                {"abc", 1, "…"}};
  for (const auto& [text, width, shown] : cases) EXPECT_EQ(paddedToWidth(text, width), shown);
  EXPECT_EQ(cutPathToWidth("/home/me/Loops/Drums/Kick", 12), "/hom…ms/Kick");
  EXPECT_EQ(wrappedToWidth("one two  音音音 longer", 8), (std::vector<std::string>{"one two", "音音音", "longer"}));
  EXPECT_EQ(paddedLeftToWidth("8", 3), "  8");
}

}  // namespace
