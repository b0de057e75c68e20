// Loops, keywords and progress as people and scripts read them.
#include "English.h"
#include "KeywordList.h"
#include "LoopColumns.h"
#include "Output.h"
#include "Progress.h"
#include "TerminalText.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"

#include <gtest/gtest.h>

#include <chrono>
#include <sstream>

namespace {

const LCCatalogLoop kLoop = {.place = {.id = -5, .urlText = "file:///l/Funk%20%1B%5B31m%FF.aif"},
                             .fileName = "Funk \x1b[31m\xFF.aif",
                             .tempo = 90,
                             .beatCount = 8,
                             .signature = {3, 4},
                             .rootNote = 50,
                             .keyType = 1,
                             .lengthInSeconds = 4.25,
                             .genre = LCLoopKeyword{.name = "Jazz"},
                             .instrument = LCLoopKeyword{.name = "Bass"},
                             .subInstrument = LCLoopKeyword{.name = "Electric Bass"},
                             .descriptors = {"Dark", "Dry"},
                             .packages = {"x\ty"},
                             .marks = LCLoopMarks{.isFavorite = true, .rating = 0, .comment = "a\nb"},
                             .loudness = {.integratedLoudness = -14.55, .targetIntegratedLoudness = -18}};

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

TEST(LoopColumns, AreFieldsBetweenTabsInFullForScripts) {
  EXPECT_EQ(
      tabSeparated(columnsForWords("name,path,url,id,tempo,key,beats,signature,length,type,instrument,genre,"
                                   "descriptors,crates,favorite,rating,comment,loudness,peak,target,gain,id"),
                   kLoop),
      "Funk \uFFFD[31m\xFF.aif\t/l/Funk \uFFFD[31m\xFF.aif\tfile:///l/Funk%20%1B%5B31m%FF.aif\t-5\t90\tD minor\t8\t"
      "3/4\t4.25\taudio\tElectric Bass\tJazz\tDark, Dry\tx\uFFFDy\tyes\t\ta\uFFFDb\t-14.55\t\t-18\t-3.45\t-5");
  EXPECT_EQ(tabSeparated(columnsForWords("favorite,rating,key,length,gain"), {}), "\t\t\t\t");
  EXPECT_THROW(columnsForWords("name,tone"), Failure);
}

TEST(LoopTable, TakesTheColumnsThatHaveRoom) {
  struct Case {
    size_t width;
    std::string_view columns;
    std::string_view header;
    std::string_view row;
  };
  const Case cases[] = {
      {44, "", "Name                        Tempo  Key     ", "Funk \uFFFD[31m\uFFFD.aif                90  D min"},
      {30, "id,name", "                  Id  Name                ", "                  -5  Funk \uFFFD[31m\uFFFD.aif"},
      {44, "favorite,genre,length", "Fav.  Genre                Length", "yes   Jazz                  4.2 s"},
  };
  for (const auto& [width, columns, header, row] : cases) {
    StringSink sink;
    sink.resultStream.columns = width;
    Output output(sink, {});
    const LoopTable table(output, columns.empty() ? LoopColumns() : columnsForWords(columns));
    table.printHeader();
    table.printRow(kLoop);
    EXPECT_EQ(linesOf(sink.result), (std::vector<std::string>{std::string(header), std::string(row)}));
  }
}

TEST(KeywordList, StandsInGroupsForPeopleAndInFieldsForScripts) {
  const std::vector<LCFacet> keywords = {
      {.keyword = {1, "Funk"}, .category = kCategoryGenre, .loopCount = 1},
      {.keyword = {2, "Jazz"}, .category = kCategoryGenre, .loopCount = 1},
      {.keyword = {85, "Dry"}, .category = kCategoryDescriptor, .loopCount = 3},
      {.keyword = {3, "Drum Kit"}, .category = kCategoryInstrumentSubType, .loopCount = 2, .parent = "Drums"},
      {.keyword = {60, "Drums"}, .category = kCategoryInstrumentType, .loopCount = 1},
      {.keyword = {9, "Zo\trp"}, .category = 99, .loopCount = 50}};
  StringSink piped;
  Output toScript(piped, {});
  printKeywords(toScript, keywords);
  EXPECT_EQ(piped.result,
            "Funk\t1\tgenre\t\t1\nJazz\t2\tgenre\t\t1\nDry\t85\tmood\t\t3\nDrum Kit\t3\tinstrument\tDrums\t2\n"
            "Drums\t60\tinstrument\t\t1\nZo\uFFFDrp\t9\tother\t\t50\n");
  StringSink terminal;
  terminal.resultStream.isTerminal = true;
  Output toPerson(terminal, {});
  printKeywords(toPerson, keywords);
  const auto lines = linesOf(terminal.result);
  ASSERT_EQ(lines.size(), 13u);  // four groups with titles and a blank line between them
  EXPECT_EQ(lines[0], "genre                                Loops      Id  Part of");
  EXPECT_EQ(lines[8], "  Drum Kit                               2       3  Drums");
  EXPECT_EQ(compactJSON(jsonOfKeyword(keywords[3])),
            R"({"keyword":"Drum Kit","id":3,"category":"instrument","parent":"Drums","count":2})");
  EXPECT_FALSE(jsonOfKeyword(keywords[0]).contains("parent"));
}

TEST(Progress, ShowsTheFirstAndTheLastAndAtMostTenASecond) {
  StringSink sink;
  Output output(sink, {.progress = ProgressStyle::json});
  const auto began = std::chrono::steady_clock::now();
  Progress progress(output);
  progress.begin("index", 5000);
  for (int done = 1; done <= 5000; ++done) progress.step(done, "/l/\xFF.aif");
  progress.end();
  const auto tenths = (std::chrono::steady_clock::now() - began) / std::chrono::milliseconds(100);
  const auto lines = linesOf(sink.messages);
  ASSERT_GE(lines.size(), 2u);
  EXPECT_LE(lines.size(), static_cast<size_t>(tenths) + 2);
  EXPECT_EQ(lines.front(), R"({"event":"progress","phase":"index","done":0,"total":5000})");
  EXPECT_EQ(lines.back(), R"({"event":"progress","phase":"index","done":5000,"total":5000,"path":"/l/�.aif"})");
  EXPECT_EQ(sink.result, "");
}

TEST(Progress, IsShownWhereItIsWanted) {
  struct Case {
    ProgressStyle style;
    StreamTraits stream;
    bool quiet;
    std::string_view shown;
  };
  constexpr StreamTraits kTerminal{.isTerminal = true, .isDecorated = true, .columns = 21};
  constexpr StreamTraits kPlainTerminal{.isTerminal = true, .columns = 21};
  constexpr std::string_view kStatus = "\r\x1b[KIndexing  [> …/2  0%\r\x1b[K";
  constexpr std::string_view kLine = "Indexing  [>                   ]  0/2  0%\n";
  for (const auto& [style, stream, quiet, shown] :
       {Case{ProgressStyle::automatic, kTerminal, false, kStatus}, Case{ProgressStyle::automatic, kTerminal, true, ""},
        Case{ProgressStyle::automatic, kPlainTerminal, false, ""}, Case{ProgressStyle::automatic, {}, false, ""},
        Case{ProgressStyle::always, kPlainTerminal, true, kStatus}, Case{ProgressStyle::always, {}, false, kLine},
        Case{ProgressStyle::never, kTerminal, false, ""}}) {
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
  struct Case {
    std::string_view text;
    size_t width;
    std::string_view shown;
  };
  for (const auto& [text, width, shown] :
       {Case{"Funky Beat Long 01.aif", 12, "Funky B….aif"}, Case{"音音音音", 6, "音…音 "},  // two columns each
        Case{"e\u0301e\u0301", 3, "e\u0301e\u0301 "}, Case{"abc", 1, "…"}, Case{"abc", 0, ""}}) {
    EXPECT_EQ(paddedToWidth(text, width), shown);
  }
  EXPECT_EQ(paddedLeftToWidth("8", 3), "  8");
}

TEST(English, OnlyOneIsSingular) {
  EXPECT_EQ(counted(0, "loop") + ", " + counted(1, "loop") + ", " + counted(2, "loop"), "0 loops, 1 loop, 2 loops");
}

}  // namespace
