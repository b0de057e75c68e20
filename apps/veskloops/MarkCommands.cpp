#include "MarkCommands.h"

#include "Arguments.h"
#include "Database.h"
#include "LoopArguments.h"
#include "LoopLists.h"

#include <fmt/format.h>

#include <memory>
#include <unordered_set>

namespace {

struct MarkArguments {
  PathListOptions loops;
  bool clear = false;  // take the mark away instead of setting it
  bool dryRun = false;
};

// The loops that were named, each once, though several arguments may name it.
std::vector<LCLoopPlace> namedLoops(LCCatalog& catalog, const std::vector<LCLoopReference>& references) {
  std::vector<LCLoopPlace> places;
  std::unordered_set<int64_t> ids;
  for (const auto& reference : references) {
    const LCLoopPlace place = valueOf(catalog.place(reference));
    if (ids.insert(place.id).second) places.push_back(place);
  }
  return places;
}

// --- The result ---

void report(Output& output, const std::vector<LCMarkedLoop>& loops, bool isDryRun) {
  output.beginDocument("veskloops.marks/1");
  output.beginList("loops");
  for (const auto& loop : loops) output.item(jsonOfMarkedLoop(loop));
  output.endList();
  output.field("dryRun", isDryRun);
  output.endDocument();
  printMarkedLoops(output, loops);
  if (isDryRun && output.resultIsOnTerminal()) output.note("dry run: nothing was changed");
}

// What the three commands have in common: all loops are found before the first one is marked.
int mark(Context& context, const MarkArguments& arguments, const LCMarkChange& change) {
  std::vector<LCLoopReference> references;
  forEachEntry(arguments.loops, [&](const std::string& entry, bool) {
    references.push_back(loopArgument(entry));
    return true;
  });
  const auto catalog = arguments.dryRun ? openForReading(context) : openForMarking(context);
  const auto places = namedLoops(*catalog, references);
  report(context.output, valueOf(catalog->mark(places, change, arguments.dryRun)), arguments.dryRun);
  return kExitDone;
}

// --- Arguments ---

void addMarkOptions(CLI::App& app, MarkArguments& arguments, const std::string& mark, const std::string& clear,
                    const std::string& clearDescription) {
  addPathList(app, arguments.loops, "LOOP", "Files, file URLs, names of loops or id:NUMBER" + mark);
  app.add_flag(clear, arguments.clear, clearDescription);
  app.add_flag("-n,--dry-run", arguments.dryRun, "Only show what would be marked");
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
  throw usageFailure(fmt::format("\"{}\" is not a rating", word), "Write the rating, from 0 to 5, after the loops.");
}

}  // namespace

CommandRunner addFavoriteCommand(CLI::App& app) {
  auto arguments = std::make_shared<MarkArguments>();
  addMarkOptions(app, *arguments, "", "--off", "Unmark them instead");
  return [arguments](Context& context) {
    requireLoops(*arguments, "favorite", "a loop");
    return mark(context, *arguments, {.isFavorite = !arguments->clear});
  };
}

CommandRunner addRateCommand(CLI::App& app) {
  auto arguments = std::make_shared<MarkArguments>();
  addMarkOptions(app, *arguments, ", followed by N, the rating from 0 to 5; 0 takes it away", "--clear",
                 "Take the rating away; leave out N");
  return [arguments](Context& context) {
    MarkArguments loops = *arguments;
    const int64_t rating = loops.clear || loops.loops.arguments.empty() ? 0 : ratingForWord(takeMark(loops));
    requireLoops(loops, "rate", loops.clear ? "a loop" : "a loop and a rating from 0 to 5");
    return mark(context, loops, {.rating = rating});
  };
}

CommandRunner addCommentCommand(CLI::App& app) {
  auto arguments = std::make_shared<MarkArguments>();
  addMarkOptions(app, *arguments, ", followed by TEXT, the comment; write -- before one that looks like an option",
                 "--clear", "Take the comment away; leave out TEXT");
  return [arguments](Context& context) {
    MarkArguments loops = *arguments;
    const std::string comment = loops.clear ? "" : takeMark(loops);
    requireLoops(loops, "comment", loops.clear ? "a loop" : "a loop and a text");
    return mark(context, loops, {.comment = comment});
  };
}
