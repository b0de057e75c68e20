#include "MarkCommands.h"

#include "Arguments.h"
#include "Database.h"
#include "JSON.h"
#include "LoopArguments.h"
#include "LoopRows.h"
#include "Output.h"
#include "platform/Path.h"
#include "TerminalText.h"
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include <fmt/format.h>

#include <memory>
#include <unordered_set>

namespace {

constexpr std::string_view kStar = "★";
constexpr size_t kNameWidth = 40;

struct MarkArguments {
  PathListOptions loops;
  bool clear = false;  // take the mark away instead of setting it
  bool dryRun = false;
};

struct MarkedLoop {
  LoopPlace place;
  LoopMarks marks;
  bool isChanged = false;
};

// Puts the one mark that a command is about into the marks of a loop.
using MarkChange = std::function<void(LoopMarks& marks)>;

// Everything that the three commands have in common.
class MarkRun {
 public:
  MarkRun(Context& context, const MarkArguments& arguments)
      : m_context(context), m_output(context.output), m_arguments(arguments) {}

  int run(const MarkChange& change);

 private:
  void select();
  void selectLoop(const std::string& text);
  void mark(MarkedLoop& loop, const MarkChange& change);
  void write(const MarkedLoop& loop);
  void report() const;
  void print(const MarkedLoop& loop) const;

  Context& m_context;
  Output& m_output;
  const MarkArguments& m_arguments;
  std::unique_ptr<LCSearchEngine> m_engine;
  std::unique_ptr<LoopRows> m_rows;
  std::vector<MarkedLoop> m_loops;
  std::unordered_set<int64_t> m_selectedIds;
};

int MarkRun::run(const MarkChange& change) {
  m_engine = m_arguments.dryRun ? openForReading(m_context) : openForMarking(m_context);
  m_rows = std::make_unique<LoopRows>(m_engine->sqlite3Connection());
  select();
  if (!m_arguments.dryRun) beginWriting(m_engine->sqlite3Connection());
  for (auto& loop : m_loops) mark(loop, change);
  if (!m_arguments.dryRun) commitWriting(m_engine->sqlite3Connection());
  report();
  return kExitDone;
}

// All loops are found before the first one is marked.
void MarkRun::select() {
  forEachEntry(m_arguments.loops, [this](const std::string& entry, bool) {
    selectLoop(entry);
    return true;
  });
}

void MarkRun::selectLoop(const std::string& text) {
  const LoopArgument argument = loopArgument(text);
  const auto place = findPlace(*m_rows, argument);
  if (!place) throw unknownLoop(argument, m_rows.get());
  if (m_selectedIds.insert(place->id).second) m_loops.push_back({.place = *place});
}

// The marks are read within the transaction, so that none that another program sets meanwhile is lost.
void MarkRun::mark(MarkedLoop& loop, const MarkChange& change) {
  const LoopMarks before = m_rows->marksWithId(loop.place.id).value_or(LoopMarks{});
  loop.marks = before;
  change(loop.marks);
  loop.isChanged = loop.marks != before;
  if (loop.isChanged && !m_arguments.dryRun) write(loop);
}

// The engine clears what it is not given.
void MarkRun::write(const MarkedLoop& loop) {
  const LCResultDictionary row = {{"id", {loop.place.id}}};
  if (m_engine->setUserDataDict(row, loop.marks.isFavorite, loop.marks.rating, loop.marks.comment)) return;
  throw Failure{.code = kExitDatabase,
                .kind = "database",
                .message = "the marks could not be written; nothing was changed",
                .subject = pathOfURLText(loop.place.urlText)};
}

// --- The result ---

void MarkRun::report() const {
  m_output.beginDocument("veskloops.marks/1");
  m_output.beginList("loops");
  for (const auto& loop : m_loops) {
    JSON object = {{"id", std::to_string(loop.place.id)}};
    addPath(object, pathOfURLText(loop.place.urlText), loop.place.urlText);
    object["favorite"] = loop.marks.isFavorite;
    object["rating"] = loop.marks.rating;
    object["comment"] = loop.marks.comment;
    object["changed"] = loop.isChanged;
    m_output.item(object);
    print(loop);
  }
  m_output.endList();
  m_output.field("dryRun", m_arguments.dryRun);
  m_output.endDocument();
  if (m_arguments.dryRun && m_output.resultIsOnTerminal()) m_output.note("dry run: nothing was changed");
}

void MarkRun::print(const MarkedLoop& loop) const {
  const LoopMarks& marks = loop.marks;
  const std::string path = pathOfURLText(loop.place.urlText);
  if (m_output.resultIsOnTerminal()) {
    const std::string rating = marks.rating > 0 ? std::to_string(marks.rating) : "-";
    const std::string name = paddedToWidth(printable(vesk::path::lastComponent(path)), kNameWidth);
    std::string line =
        fmt::format("{}  {}  {}  {}", marks.isFavorite ? kStar : " ", rating, name, printable(marks.comment));
    m_output.text(line.erase(line.find_last_not_of(' ') + 1));
  } else {
    m_output.text(fmt::format("{}\t{}\t{}\t{}", onOneLine(path), marks.isFavorite ? "yes" : "no", marks.rating,
                              onOneLine(marks.comment)));
  }
}

// --- Arguments ---

void addMarkOptions(CLI::App& app, MarkArguments& arguments, const std::string& mark, const std::string& clear,
                    const std::string& clearDescription) {
  addPathList(app, arguments.loops, "LOOP", "Files, file URLs, or loops by id:NUMBER" + mark);
  app.add_flag(clear, arguments.clear, clearDescription);
  app.add_flag("-n,--dry-run", arguments.dryRun, "Only tell what would be marked");
}

void requireLoops(const MarkArguments& arguments, const std::string& command, const std::string& needs) {
  if (!arguments.loops.arguments.empty()) return checkPathList(arguments.loops);
  throw usageFailure(fmt::format("{} needs {}", command, needs), fmt::format("See veskloops help {}.", command));
}

// The last argument, which is the mark and no loop.
std::string takeMark(MarkArguments& arguments) {
  if (arguments.loops.arguments.empty()) return {};
  std::string mark = std::move(arguments.loops.arguments.back());
  arguments.loops.arguments.pop_back();
  return mark;
}

int64_t ratingForWord(const std::string& word) {
  if (word.size() == 1 && word[0] >= '0' && word[0] <= '5') return word[0] - '0';
  throw usageFailure(fmt::format("\"{}\" is no rating", word), "Ratings go from 0 to 5 and stand behind the loops.");
}

}  // namespace

CommandRunner addFavoriteCommand(CLI::App& app) {
  auto arguments = std::make_shared<MarkArguments>();
  addMarkOptions(app, *arguments, "", "--off", "Make them no favourites");
  return [arguments](Context& context) {
    requireLoops(*arguments, "favorite", "a loop");
    return MarkRun(context, *arguments).run([&](LoopMarks& marks) { marks.isFavorite = !arguments->clear; });
  };
}

CommandRunner addRateCommand(CLI::App& app) {
  auto arguments = std::make_shared<MarkArguments>();
  addMarkOptions(app, *arguments, ", and behind them the rating, 0 to 5", "--clear",
                 "Take the rating away; there is no N then");
  return [arguments](Context& context) {
    MarkArguments loops = *arguments;
    const int64_t rating = loops.clear || loops.loops.arguments.empty() ? 0 : ratingForWord(takeMark(loops));
    requireLoops(loops, "rate", loops.clear ? "a loop" : "a loop and a rating from 0 to 5");
    return MarkRun(context, loops).run([&](LoopMarks& marks) { marks.rating = rating; });
  };
}

CommandRunner addCommentCommand(CLI::App& app) {
  auto arguments = std::make_shared<MarkArguments>();
  addMarkOptions(app, *arguments, ", and behind them the comment; one that begins with - stands behind --", "--clear",
                 "Take the comment away; there is no TEXT then");
  return [arguments](Context& context) {
    MarkArguments loops = *arguments;
    const std::string comment = loops.clear ? "" : takeMark(loops);
    requireLoops(loops, "comment", loops.clear ? "a loop" : "a loop and a text");
    return MarkRun(context, loops).run([&](LoopMarks& marks) { marks.comment = comment; });
  };
}
