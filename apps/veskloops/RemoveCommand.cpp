#include "RemoveCommand.h"

#include "Arguments.h"
#include "Consent.h"
#include "Database.h"
#include "English.h"
#include "LoopArguments.h"
#include "LoopJSON.h"
#include "Output.h"
#include "Progress.h"
#include "Signals.h"
#include "TerminalText.h"

#include <fmt/format.h>

#include <filesystem>
#include <memory>
#include <unordered_set>

namespace {

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
  LCPlaceQuery placesIn(std::optional<std::string> folder) const;
  void select();
  void selectArgument(LCCatalog& catalog, const LCLoopReference& reference);
  void add(const std::vector<LCLoopPlace>& places);
  void removeSelected();
  void tell(const LCLoopPlace& place);
  int report();

  Context& m_context;
  Output& m_output;
  const RemoveArguments& m_arguments;
  Progress m_progress;
  std::optional<std::string> m_package;  // its identifier
  std::vector<LCLoopPlace> m_selected;
  std::unordered_set<int64_t> m_selectedIds;
  int64_t m_removed = 0;
};

int RemoveRun::run() {
  select();
  if (!m_selected.empty() && !m_arguments.dryRun && !m_arguments.yes) {
    requireConsent(m_output, counted(m_selected.size(), "loop"), "The audio files stay.");
  }
  m_output.beginDocument("veskloops.remove/1", Output::Summary::alsoAsLastLine);
  m_output.beginList("loops");
  const InterruptionGuard guard;
  removeSelected();
  m_output.endList();
  return report();
}

// --- Which loops ---

LCPlaceQuery RemoveRun::placesIn(std::optional<std::string> folder) const {
  return {.folder = std::move(folder), .package = m_package, .onlyMissing = m_arguments.missing};
}

void RemoveRun::select() {
  std::vector<LCLoopReference> references;
  forEachEntry(m_arguments.loops, [&](const std::string& entry, bool) {
    references.push_back(loopArgument(entry));
    return true;
  });
  const auto catalog = openForReading(m_context);
  if (m_arguments.crate) m_package = valueOf(catalog->package(*m_arguments.crate)).identifier;
  if (m_arguments.loops.arguments.empty()) return add(valueOf(catalog->places(placesIn(std::nullopt))));
  for (const auto& reference : references) selectArgument(*catalog, reference);
}

// A loop by path or id, a folder with all loops below it, though it may be gone, or a loop by name.
void RemoveRun::selectArgument(LCCatalog& catalog, const LCLoopReference& reference) {
  LCLoopReference byPath = reference;
  byPath.name.reset();
  auto place = catalog.place(byPath);
  if (!place && reference.url && place.failure().kind == LCFailureKind::notFound) {
    const std::string path = reference.url->path();
    const bool anyBelow = !valueOf(catalog.places({.folder = path})).empty();
    std::error_code error;
    if (anyBelow || std::filesystem::is_directory(path, error)) return add(valueOf(catalog.places(placesIn(path))));
    place = catalog.place(reference);
  }
  const LCLoopPlace found = valueOf(std::move(place));
  add(valueOf(catalog.placesAmong({&found, 1}, placesIn(std::nullopt))));
}

void RemoveRun::add(const std::vector<LCLoopPlace>& places) {
  for (const auto& place : places) {
    if (m_selectedIds.insert(place.id).second) m_selected.push_back(place);
  }
}

// --- Taking them out ---

void RemoveRun::removeSelected() {
  if (m_selected.empty()) return;
  if (m_arguments.dryRun) {
    for (const auto& place : m_selected) tell(place);
    return;
  }
  const auto catalog = openForMarking(m_context);
  m_progress.begin("remove", std::ssize(m_selected));
  const LCRemovalObserver observer{.removed =
                                       [this](const LCLoopPlace& place) {
                                         tell(place);
                                         m_progress.step(m_removed, place.path());
                                       },
                                   .finishing =
                                       [this] {
                                         m_progress.end();
                                         m_progress.begin("finish", std::nullopt);
                                       },
                                   .shouldContinue = [] { return !InterruptionGuard::isInterrupted(); }};
  valueOf(catalog->remove(m_selected, observer));
  m_progress.end();
}

void RemoveRun::tell(const LCLoopPlace& place) {
  ++m_removed;
  m_output.item(jsonOfPlace(place));
  if (!m_arguments.dryRun) return;
  m_output.text(m_output.resultIsOnTerminal() ? printable(place.path()) : place.path());
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
  addPathList(app, arguments->loops, "LOOP",
              "Files, folders, file URLs, names of loops or id:NUMBER; not needed with --missing or --crate");
  app.add_flag("--missing", arguments->missing, "Only loops whose files are gone");
  addText(app, "--crate", arguments->crate, "Only loops of this content package", "ID|NAME");
  app.add_flag("-n,--dry-run", arguments->dryRun, "Only show what would be taken out");
  app.add_flag("-y,--yes", arguments->yes, "Do not ask");
  return [arguments](Context& context) {
    if (arguments->loops.arguments.empty() && !arguments->missing && !arguments->crate) {
      throw usageFailure("remove needs a loop, --missing or --crate", "See veskloops help remove.");
    }
    checkPathList(arguments->loops);
    return RemoveRun(context, *arguments).run();
  };
}
