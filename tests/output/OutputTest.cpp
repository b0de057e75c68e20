// What is written in each format and to whom, over a sink in memory; and the sink over the streams of a process.
#include "Output.h"

#include "support/TestEnvironment.h"

#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

using Summary = Output::Summary;

constexpr StreamTraits kTerminal{.isTerminal = true, .isDecorated = true};

// Everything that a command does up to `stage`, where it fails.
StringSink failedAt(int stage, ResultFormat format, Summary summary) {
  StringSink sink;
  Output output(sink, {.format = format});
  const JSON first = {{"id", 1}}, second = {{"id", 2}};
  if (stage > 0) output.beginDocument("s/1", summary);
  if (stage > 1) output.beginList("loops");
  if (stage > 2) output.item(first), output.item(second, "loop");
  if (stage > 3) output.endList(), output.field("total", 2);
  if (stage > 4) output.endDocument();
  EXPECT_EQ(output.finish(output.fail({.code = 3, .kind = "notFound", .message = "none"})), 3);
  return sink;
}

TEST(Output, IsOneDocumentOrLinesThatEndWithTheErrorWhereverACommandFails) {
  constexpr auto kJSON = ResultFormat::json, kLines = ResultFormat::jsonLines;
  constexpr auto kPlain = Summary::inDocumentOnly, kLastLine = Summary::alsoAsLastLine;
  const std::string error = R"("error":{"code":3,"kind":"notFound","message":"none"})";
  const std::string only = "{" + error + "}\n", begun = R"({"schema":"s/1",)",
                    items = "{\"id\":1}\n{\"loop\":{\"id\":2}}\n";
  const std::string list = begun + R"("loops":[{"id":1},{"id":2}])", total = R"("total":2)";
  const std::tuple<int, ResultFormat, Summary, std::string> cases[] = {
      {0, kJSON, kPlain, only},
      {3, kJSON, kPlain, list + "," + error + "}\n"},  // the list was open
      {4, kJSON, kPlain, list + "," + total + "," + error + "}\n"},
      {5, kJSON, kPlain, list + "," + total + "}\n"},  // complete: it stays the only one
      {3, kLines, kPlain, items + only},
      {3, kLines, kLastLine, items + begun + error + "}\n"},
      {5, kLines, kLastLine, items + begun + total + "}\n" + only},
  };
  for (const auto& [stage, format, summary, expected] : cases) {
    const StringSink sink = failedAt(stage, format, summary);
    EXPECT_EQ(sink.result, expected) << stage;
    EXPECT_EQ(sink.messages, "veskloops: error: none\n");
  }
}

TEST(Output, AFailureSaysWhatToDoNextInWordsAndInJSON) {
  StringSink sink;
  Output output(sink, {.format = ResultFormat::json});
  output.fail(
      {.message = "no such loop", .subject = "b\xFF", .suggestions = {"a", "b", "c"}, .nextStep = "List them."});
  EXPECT_EQ(sink.messages, "veskloops: error: no such loop: b\xFF\n  Did you mean \"a\", \"b\" or \"c\"? List them.\n");
  EXPECT_EQ(JSON::parse(sink.result)["error"], JSON::parse(R"({"code":1,"kind":"","message":"no such loop",
      "subject":"b\ufffd","suggestions":["a","b","c"],"nextStep":"List them."})"));
}

TEST(Output, ColourIsForDecoratedTerminalsUnlessAskedFor) {
  const std::tuple<When, StreamTraits, bool> cases[] = {{When::automatic, kTerminal, true},
                                                        {When::automatic, {.isTerminal = true}, false},
                                                        {When::always, {}, true},
                                                        {When::never, kTerminal, false}};
  for (const auto& [when, stream, hasColor] : cases) {
    StringSink sink;
    sink.resultStream = stream;
    Output output(sink, {.color = when});
    output.text(output.emphasized("a") + output.faint("b"));
    output.error("c");  // the other stream is no terminal
    EXPECT_EQ(sink.result, hasColor ? "\x1b[1ma\x1b[0m\x1b[2mb\x1b[0m\n" : "ab\n");
    EXPECT_EQ(sink.messages.find('\x1b') != std::string::npos, when == When::always);
  }
}

TEST(Output, MessagesCannotSteerATerminalAndElsewhereAreExact) {
  const std::string name = "a\x1b[31m\xC2\x9B\xFF\r.aif";
  for (const bool isTerminal : {true, false}) {
    StringSink sink;
    sink.messageStream.isTerminal = isTerminal;
    Output(sink, {}).warning("one\n  two " + name, "next " + name);
    const std::string shown = isTerminal ? "a\uFFFD[31m\uFFFD\uFFFD\uFFFD.aif" : name;
    EXPECT_EQ(sink.messages, "veskloops: warning: one\n  two " + shown + "\n  next " + shown + "\n");
  }
}

TEST(Output, QuietLeavesOutNotesAndVerboseAddsComments) {
  const std::string warning = "veskloops: warning: a\n", note = "veskloops: note: b\n";
  for (const auto& [options, expected] :
       {std::pair(OutputOptions{}, warning + note), std::pair(OutputOptions{.quiet = true}, warning),
        std::pair(OutputOptions{.verbose = true}, warning + note + "veskloops: note: c\n")}) {
    StringSink sink;
    Output output(sink, options);
    output.warning("a"), output.note("b"), output.comment("c");
    EXPECT_EQ(sink.messages, expected);
  }
}

TEST(Output, TheStatusLineGivesWayToResultsAndMessages) {
  StringSink sink;
  Output output(sink, {});
  output.setStatusLine("1/2"), output.text("loop");
  output.setStatusLine("2/2"), output.error("bad");
  EXPECT_EQ(sink.messages, "\r\x1b[K1/2\r\x1b[K\r\x1b[K2/2\r\x1b[Kveskloops: error: bad\n");
}

// --- The streams of a process ---

FILE* writingEndWithoutReader() {
  int ends[2] = {-1, -1};
  EXPECT_EQ(pipe(ends), 0);
  close(ends[0]);
  return fdopen(ends[1], "w");
}

TEST(StandardStreams, AFullDiskIsAFailureAndAReaderThatHasEnoughIsNone) {
  std::signal(SIGPIPE, SIG_IGN);
  const std::tuple<bool, size_t, int, int> cases[] = {// a pipe without a reader; size of the result, which fails while
                                                      // writing or only at the end; codes before and after
                                                      {false, 100000, 0, 1},
                                                      {false, 1, 0, 1},
                                                      {false, 1, 4, 4},
                                                      {true, 100000, 0, 0},
                                                      {true, 1, 4, 4}};
  for (const auto& [isPipe, size, code, finished] : cases) {
    FILE* result = isPipe ? writingEndWithoutReader() : fopen("/dev/full", "w");
    FILE* messages = tmpfile();
    StandardStreams sink(stdin, result, messages);
    Output output(sink, {});
    output.rawText(std::string(size, 'x'));
    EXPECT_EQ(output.canWrite(), size == 1);
    EXPECT_EQ(output.finish(code), finished);
    rewind(messages);
    char said[200] = {};
    const std::string_view text(said, fread(said, 1, sizeof said, messages));
    EXPECT_EQ(text, isPipe ? "" : "veskloops: error: the result could not be written: No space left on device\n");
    fclose(messages);
    fclose(result);
  }
}

TEST(StandardStreams, TellTerminalsAndTheSurroundingsThatWantThemPlain) {
  int ends[2] = {-1, -1};
  winsize size{.ws_row = 40, .ws_col = 97, .ws_xpixel = 0, .ws_ypixel = 0};
  if (openpty(&ends[0], &ends[1], nullptr, nullptr, &size) != 0) GTEST_SKIP() << "no pseudo-terminals here";
  FILE* const terminal = fdopen(ends[1], "r+");
  FILE* const noTerminal = tmpfile();
  for (const auto& [noColor, term, isDecorated] :
       {std::tuple("", "xterm", true), std::tuple("1", "xterm", false), std::tuple("", "dumb", false)}) {
    setenv("NO_COLOR", noColor, 1);
    setenv("TERM", term, 1);
    StandardStreams sink(terminal, noTerminal, terminal);
    const StreamTraits messages = sink.messageTraits(), result = sink.resultTraits();
    EXPECT_TRUE(messages.isTerminal && messages.isDecorated == isDecorated && messages.columns == 97) << term;
    EXPECT_TRUE(!result.isTerminal && !result.isDecorated && result.columns == 80) << term;
  }
  close(ends[0]);
  fclose(terminal);
  fclose(noTerminal);
}

}  // namespace
