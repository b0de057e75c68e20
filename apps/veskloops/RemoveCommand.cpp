#include "RemoveCommand.h"

#include "Arguments.h"
#include "CarriedLoops.h"
#include "Database.h"
#include "English.h"
#include "FileStates.h"
#include "JSON.h"
#include "LoopArguments.h"
#include "LoopRows.h"
#include "Output.h"
#include "platform/Path.h"
#include "Progress.h"
#include "Signals.h"
#include "TerminalText.h"
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <span>
#include <unordered_set>

namespace {

constexpr size_t kBatchSize = 500;

struct RemoveArguments {
  PathListOptions loops;
  std::optional<std::string> crate;
  bool missing = false;
  bool dryRun = false;
  bool yes = false;
};

class RemoveRun {
 public:
  RemoveRun(Context& context, const RemoveArguments& arguments)
      : m_context(context), m_output(context.output), m_arguments(arguments), m_progress(context.output) {}

  int run();

 private:
  void select(LoopRows& rows);
  void selectArgument(LoopRows& rows, const std::string& text, const std::optional<std::string>& crate);
  bool selectBelow(LoopRows& rows, const std::string& folderURLText, const std::optional<std::string>& crate);
  bool addIfWanted(const LoopPlace& place);
  void requireConsent() const;
  void removeSelected();
  void tell(const LoopPlace& place);
  int report();

  Context& m_context;
  Output& m_output;
  const RemoveArguments& m_arguments;
  Progress m_progress;
  std::vector<LoopPlace> m_selected;
  std::unordered_set<int64_t> m_selectedIds;
  int64_t m_removed = 0;
};

int RemoveRun::run() {
  {
    const auto engine = openForReading(m_context);
    LoopRows rows(engine->sqlite3Connection());
    select(rows);
  }
  if (!m_selected.empty() && !m_arguments.dryRun) requireConsent();
  m_output.beginDocument("veskloops.remove/1", Output::Summary::alsoAsLastLine);
  m_output.beginList("loops");
  const InterruptionGuard guard;
  removeSelected();
  m_output.endList();
  return report();
}

// --- Which loops ---

void RemoveRun::select(LoopRows& rows) {
  std::optional<std::string> crate;
  if (m_arguments.crate) crate = requiredCrate(rows, *m_arguments.crate).identifier;
  if (m_arguments.loops.arguments.empty()) {
    selectBelow(rows, "", crate);
    return;
  }
  forEachEntry(m_arguments.loops, [&](const std::string& entry, bool) {
    selectArgument(rows, entry, crate);
    return true;
  });
}

void RemoveRun::selectArgument(LoopRows& rows, const std::string& text, const std::optional<std::string>& crate) {
  const LoopArgument argument = loopArgument(text);
  const auto place = findPlace(rows, argument);
  if (place) {
    // The package is looked at here, too: "remove FILE --crate NAME" is about a loop of that package only.
    bool isOfCrate = !crate;
    if (crate) {
      const auto row = rows.rowWithId(place->id);
      isOfCrate = row && std::find(row->crates.begin(), row->crates.end(), *crate) != row->crates.end();
    }
    if (isOfCrate) addIfWanted(*place);
    return;
  }
  if (argument.loopId) throw unknownLoop(argument, &rows);
  const std::string path = argument.path();
  const bool anyBelow = selectBelow(rows, vesk::URL::fileURLWithPath(path, true).absoluteString(), crate);
  if (!anyBelow && !vesk::path::isDirectory(path)) throw unknownLoop(argument, &rows);
}

// True when there are rows, wanted or not.
bool RemoveRun::selectBelow(LoopRows& rows, const std::string& folderURLText, const std::optional<std::string>& crate) {
  bool any = false;
  rows.forEachPlaceBelow(folderURLText, crate, [&](const LoopPlace& place) {
    any = true;
    addIfWanted(place);
    return true;
  });
  return any;
}

bool RemoveRun::addIfWanted(const LoopPlace& place) {
  // Placeholders stand for loops that are not on this disk yet; they are not missing.
  const bool isWanted =
      !m_arguments.missing || (!place.isPlaceholder && !vesk::path::exists(pathOfURLText(place.urlText)));
  if (!isWanted || !m_selectedIds.insert(place.id).second) return false;
  m_selected.push_back(place);
  return true;
}

// --- Taking them out ---

void RemoveRun::requireConsent() const {
  if (m_arguments.yes) return;
  const std::string count = counted(m_selected.size(), "loop");
  if (!m_output.canAsk()) {
    throw usageFailure(fmt::format("{} would be taken out of the database", count),
                       "Say --yes to do it, or --dry-run to see which.");
  }
  if (!m_output.confirm(fmt::format("Take {} out of the database? The audio files stay.", count))) {
    throw Failure{.code = kExitFailed, .kind = "declined", .message = "nothing was taken out"};
  }
}

void RemoveRun::removeSelected() {
  if (m_selected.empty()) return;
  if (m_arguments.dryRun) {
    for (const auto& place : m_selected) tell(place);
    return;
  }
  const auto indexer = openForWriting(m_context);
  LoopRows rows(indexer->sqlite3Connection());
  FileStates states(m_output, databaseFile(m_context), FileStates::Use::readWrite);
  m_progress.begin("remove", static_cast<int64_t>(m_selected.size()));
  for (size_t begin = 0; begin < m_selected.size() && !InterruptionGuard::isInterrupted(); begin += kBatchSize) {
    const auto batch = std::span(m_selected).subspan(begin, std::min(kBatchSize, m_selected.size() - begin));
    removeLoops(*indexer, batch);
    states.begin();
    CarriedLoops::forgetRemoved(states, rows, batch);
    states.commit();
    for (const auto& place : batch) {
      tell(place);
      m_progress.step(m_removed, pathOfURLText(place.urlText));
    }
  }
  m_progress.end();
  m_progress.begin("finish", std::nullopt);
  indexer->finishIndexingInBlock(true);
  m_progress.end();
}

void RemoveRun::tell(const LoopPlace& place) {
  const std::string path = pathOfURLText(place.urlText);
  ++m_removed;
  JSON object = {{"id", std::to_string(place.id)}};
  addPath(object, path, place.urlText);
  m_output.item(object);
  if (m_arguments.dryRun) m_output.text(m_output.resultIsOnTerminal() ? printable(path) : path);
}

int RemoveRun::report() {
  const bool isInterrupted = InterruptionGuard::isInterrupted();
  m_output.field("removed", m_removed);
  m_output.field("dryRun", m_arguments.dryRun);
  m_output.field("interrupted", isInterrupted);
  m_output.endDocument();
  if (isInterrupted) m_output.warning("interrupted; what was finished is kept");
  if (!m_output.isQuiet() && !m_arguments.dryRun) m_output.text(fmt::format("{} removed", m_removed));
  if (m_arguments.dryRun && m_removed == 0) m_output.note("nothing would be taken out");
  return isInterrupted ? kExitSignalBase + InterruptionGuard::signalNumber() : kExitDone;
}

}  // namespace

CommandRunner addRemoveCommand(CLI::App& app) {
  auto arguments = std::make_shared<RemoveArguments>();
  addPathList(app, arguments->loops, "LOOP", "Files, folders, file URLs, or loops by id:NUMBER");
  app.add_flag("--missing", arguments->missing, "Only loops whose files are gone");
  addText(app, "--crate", arguments->crate, "Only loops of this content package", "ID|NAME");
  app.add_flag("-n,--dry-run", arguments->dryRun, "Only list what would be taken out");
  app.add_flag("-y,--yes", arguments->yes, "Do not ask");
  return [arguments](Context& context) {
    if (arguments->loops.arguments.empty() && !arguments->missing && !arguments->crate) {
      throw usageFailure("remove needs a loop, --missing or --crate", "See veskloops help remove.");
    }
    checkPathList(arguments->loops);
    return RemoveRun(context, *arguments).run();
  };
}
