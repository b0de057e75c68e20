#include "TagCommand.h"

#include "Arguments.h"
#include "Database.h"
#include "English.h"
#include "LoopArguments.h"
#include "Output.h"
#include "Progress.h"
#include "SearchFilters.h"
#include "Signals.h"
#include "TagJSON.h"
#include "TerminalText.h"
#include "VeskLoopManagement/catalog/LCNearNames.h"
#include "VeskLoopManagement/catalog/LCTagEdit.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>

namespace {

struct TagArguments {
  PathListOptions files;
  std::vector<std::string> sets, clears, addedDescriptors, removedDescriptors;
  std::optional<std::string> json;
  std::optional<std::string> backup;
  std::vector<std::string> undo, history;  // of the options, at most one run
  bool wantsUndo = false;
  bool wantsHistory = false;
  bool force = false;
  bool copyBack = false;
  bool preserveTime = false;
  bool noReindex = false;
  bool dryRun = false;
  SearchFilters filters;
  bool hasFilters = false;
};

// --- What is to be changed ---

LCTagField fieldNamed(const std::string& name) {
  if (const auto field = lc::tagFieldFromName(name)) return *field;
  std::vector<std::string> names;
  for (const LCTagField field : lc::tagFields()) names.emplace_back(lc::tagFieldName(field));
  Failure failure = usageFailure("there is no such tag", fmt::format("Tags are {}.", fmt::join(names, ", ")));
  failure.subject = name;
  failure.suggestions = lc::nearNames(name, names);
  throw failure;
}

LCTagChange changeFor(const std::string& assignment) {
  const size_t sign = assignment.find('=');
  if (sign == std::string::npos) {
    throw usageFailure(fmt::format("\"{}\" gives a tag no value", assignment), "Write --set genre=Jazz.");
  }
  const LCTagField field = fieldNamed(assignment.substr(0, sign));
  LCTagChange change{.kind = LCTagChange::Kind::set, .field = field, .text = assignment.substr(sign + 1)};
  LCFileData nobody;
  if (const auto problem = lc::setTagText(nobody, field, change.text)) {
    throw usageFailure(fmt::format("\"{}\" is no {}: {}", change.text, lc::tagFieldName(field), *problem));
  }
  return change;
}

std::vector<LCTagChange> changesFor(const TagArguments& arguments) {
  using Kind = LCTagChange::Kind;
  std::vector<LCTagChange> changes;
  for (const auto& name : arguments.clears) changes.push_back({.kind = Kind::clear, .field = fieldNamed(name)});
  for (const auto& assignment : arguments.sets) changes.push_back(changeFor(assignment));
  const auto addWords = [&](const std::vector<std::string>& words, Kind kind) {
    for (const auto& word : words) changes.push_back({.kind = kind, .field = LCTagField::descriptors, .text = word});
  };
  addWords(arguments.removedDescriptors, Kind::removeDescriptor);
  addWords(arguments.addedDescriptors, Kind::addDescriptor);
  return changes;
}

std::string contentsOf(const std::string& file) {
  std::ifstream stream;
  if (file != "-") stream.open(absolutePath(file), std::ios::binary);
  if (file != "-" && !stream) {
    throw Failure{.code = kExitNotFound, .kind = "notFound", .message = "the file cannot be read", .subject = file};
  }
  std::istream& source = file == "-" ? std::cin : stream;
  return {std::istreambuf_iterator<char>(source), {}};
}

// --- Which files ---

// Where a LOOP is: a file as it is named, else what the database knows by that name.
std::string pathFor(const Context& context, const std::string& argument) {
  const LCLoopReference reference = loopArgument(argument);
  std::error_code error;
  if (reference.url && std::filesystem::exists(reference.url->path(), error)) return reference.url->path();
  if (const auto catalog = openForReadingIfPossible(context)) return valueOf(catalog->place(reference)).path();
  throw Failure{.code = kExitNotFound, .kind = "notFound", .message = "no such file", .subject = argument};
}

class TagRun {
 public:
  TagRun(Context& context, const TagArguments& arguments)
      : m_context(context), m_output(context.output), m_arguments(arguments), m_changes(changesFor(arguments)) {}

  void checkArguments() const;
  // Every edit is known before the first file is touched.
  void chooseEdits();
  int run();

 private:
  void addFiles();
  void addFound();
  void addFromJSON();
  void add(std::string path) { m_edits.push_back({.path = std::move(path), .changes = m_changes}); }

  Context& m_context;
  Output& m_output;
  const TagArguments& m_arguments;
  std::vector<LCTagChange> m_changes;
  std::vector<LCTagEdit> m_edits;
};

LCTagOptions optionsFor(const Context& context, const TagArguments& arguments) {
  LCTagOptions options;
  if (!arguments.noReindex) options.databaseFile = databaseFile(context);
  if (arguments.backup) options.backupFolder = absolutePath(*arguments.backup);
  options.allowsUnknownKeywords = arguments.force;
  options.copiesBack = arguments.copyBack;
  options.keepsModificationTime = arguments.preserveTime;
  options.isDryRun = arguments.dryRun;
  return options;
}

void TagRun::checkArguments() const {
  if (m_changes.empty() && !m_arguments.json) {
    throw usageFailure("there is nothing to change", "Say what with --set genre=Jazz, for example.");
  }
  const bool hasFiles = !m_arguments.files.arguments.empty();
  if (hasFiles && m_arguments.hasFilters) {
    throw usageFailure("files and filters of a search do not go together", "Name files, or say what they are like.");
  }
  if (!hasFiles && !m_arguments.hasFilters && !m_arguments.json) {
    throw usageFailure("no file is named", "Name files, or say by the filters of search what they are like.");
  }
  checkPathList(m_arguments.files);
}

void TagRun::chooseEdits() {
  if (m_arguments.json) return addFromJSON();
  if (m_arguments.hasFilters) return addFound();
  addFiles();
}

void TagRun::addFiles() {
  forEachEntry(m_arguments.files, [&](const std::string& entry, bool isListed) {
    add(isListed ? absolutePath(entry) : pathFor(m_context, entry));
    return true;
  });
}

void TagRun::addFound() {
  const auto catalog = openForReading(m_context);
  auto result = valueOf(catalog->search(queryFor(m_arguments.filters)));
  const auto page = valueOf(result.page({}));
  for (const auto& loop : page.loops) add(loop.place.path());
}

// Tags of single files come with their paths; those of one object are meant for the files that are named.
void TagRun::addFromJSON() {
  TagsFromJSON tags = tagsFromJSON(contentsOf(*m_arguments.json));
  if (!tags.problem.empty()) {
    throw usageFailure(fmt::format("{}: {}", *m_arguments.json, tags.problem),
                       "It is what info --json or search --json prints, or an object such as {\"genre\":\"Jazz\"}.");
  }
  const bool isForFiles = tags.edits.size() == 1 && tags.edits[0].path.empty();
  const bool namesFiles = !m_arguments.files.arguments.empty() || m_arguments.hasFilters;
  if (isForFiles != namesFiles) {
    throw usageFailure(isForFiles ? "the tags are for no file" : "the list names its files itself",
                       isForFiles ? "Name the files." : "Name no other ones.");
  }
  if (isForFiles) {
    m_changes.insert(m_changes.begin(), tags.edits[0].changes.begin(), tags.edits[0].changes.end());
    return m_arguments.hasFilters ? addFound() : addFiles();
  }
  for (LCTagEdit& edit : tags.edits) {
    edit.path = absolutePath(edit.path);
    edit.changes.insert(edit.changes.end(), m_changes.begin(), m_changes.end());
    m_edits.push_back(std::move(edit));
  }
}

// --- The run, and taking one back ---

// Prints what becomes of each file.
class TagPrinter : public LCTagObserver {
 public:
  TagPrinter(Output& output, std::string_view phase, std::optional<int64_t> total)
      : m_output(output), m_progress(output) {
    m_progress.begin(phase, total);
  }
  void end() { m_progress.end(); }

  void fileDone(const LCTagReport& report) override {
    m_output.item(jsonOfTagReport(report), "file");
    if (report.problem) {
      m_output.error(fmt::format("{}: {}", report.path, report.detail), nextStep(report));
    }
    if (report.isChanged) print(report);
    for (const auto& note : report.notes) m_output.warning(fmt::format("{}: {}", report.path, note));
    m_progress.step(++m_done, report.path);
  }
  void noted(const std::string& text) override { m_output.comment(text); }
  void warned(const std::string& text, const std::string& nextStep) override { m_output.warning(text, nextStep); }
  bool shouldContinue() override { return !InterruptionGuard::isInterrupted(); }

 private:
  static std::string nextStep(const LCTagReport& report) {
    const std::string near = quotedChoices(report.nearNames);
    if (!near.empty()) return fmt::format("Did you mean {}?", near);
    const bool canCopyBack =
        report.problem == LCTagProblem::hasOtherNames || report.problem == LCTagProblem::ownerNotKept;
    return canCopyBack ? "With --copy-back it is written over in place." : "";
  }

  // On a terminal the file and its fields below it, else a line for each field.
  void print(const LCTagReport& report) {
    if (!m_output.resultIsOnTerminal()) {
      for (const auto& [name, change] : report.fields) {
        m_output.text(fmt::format("{}\t{}\t{}\t{}", report.path, name, onOneLine(change.from.value_or("")),
                                  onOneLine(change.to.value_or(""))));
      }
      return;
    }
    m_output.text(m_output.emphasized(printable(report.path)));
    for (const auto& [name, change] : report.fields) {
      m_output.text("  " + printable(tagFieldChangeText(name, change)));
    }
  }

  Output& m_output;
  Progress m_progress;
  int64_t m_done = 0;
};

std::string summary(const LCTagRunReport& report, bool isDryRun, std::string_view verb) {
  std::string text = fmt::format("{} {}, {} unchanged, {} failed", counted(report.changed, "file"), verb,
                                 report.unchanged, report.failed);
  if (isDryRun) return text + " (dry run: nothing was changed)";
  if (report.runId != 0) text += fmt::format("; veskloops tag --undo {} takes it back", report.runId);
  return text;
}

int finish(Output& output, const LCTagRunReport& report, bool isDryRun, std::string_view verb) {
  output.endList();
  output.field("run", report.runId == 0 ? JSON(nullptr) : JSON(std::to_string(report.runId)));
  output.field("changed", report.changed);
  output.field("unchanged", report.unchanged);
  output.field("failed", report.failed);
  output.field("dryRun", isDryRun);
  output.field("interrupted", report.isInterrupted);
  output.endDocument();
  if (report.isInterrupted) output.warning("interrupted; what was finished is kept");
  output.note(summary(report, isDryRun, verb));
  if (report.isInterrupted) return kExitSignalBase + InterruptionGuard::signalNumber();
  return report.failed > 0 ? kExitSomeFilesFailed : kExitDone;
}

int TagRun::run() {
  LCTagOptions options = optionsFor(m_context, m_arguments);
  options.nextEdit = [this, next = size_t{0}]() mutable {
    return next < m_edits.size() ? std::optional(m_edits[next++]) : std::nullopt;
  };
  const InterruptionGuard guard;
  m_output.beginDocument("veskloops.tag/1", Output::Summary::alsoAsLastLine);
  m_output.beginList("files");
  TagPrinter printer(m_output, "tag", std::ssize(m_edits));
  const LCTagRunReport report = valueOf(LCTagRun::run(options, printer));
  printer.end();
  return finish(m_output, report, m_arguments.dryRun, "changed");
}

std::optional<int64_t> runNumber(const std::vector<std::string>& words) {
  if (words.empty() || words[0].empty()) return std::nullopt;
  int64_t number = 0;
  const char* end = words[0].data() + words[0].size();
  const auto [rest, error] = std::from_chars(words[0].data(), end, number);
  if (error == std::errc{} && rest == end && number > 0) return number;
  throw usageFailure(fmt::format("\"{}\" is no run", words[0]), "veskloops tag --history lists them by number.");
}

int undo(Context& context, const TagArguments& arguments) {
  Output& output = context.output;
  const auto run = runNumber(arguments.undo);
  const InterruptionGuard guard;
  output.beginDocument("veskloops.tag/1", Output::Summary::alsoAsLastLine);
  output.beginList("files");
  TagPrinter printer(output, "undo", std::nullopt);
  LCTagRunReport report = valueOf(LCTagRun::undo(run, optionsFor(context, arguments), printer));
  printer.end();
  report.runId = 0;  // there is nothing more to take back
  return finish(output, report, arguments.dryRun,
                arguments.dryRun ? "to be given back" : "given their former bytes back");
}

// --- History ---

std::string localTime(int64_t seconds) {
  const auto time = static_cast<std::time_t>(seconds);
  std::tm parts{};
  localtime_r(&time, &parts);
  char text[32];
  return {text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts)};
}

std::string stateText(const LCTagHistoryEntry& entry) {
  if (entry.undone == entry.files && entry.files > 0) return "undone";
  if (entry.undone > 0) return fmt::format("{} undone", entry.undone);
  return entry.isFinished ? "" : "ended half-way";
}

int showHistory(Context& context) {
  Output& output = context.output;
  const auto entries = valueOf(LCTagRun::history());
  output.beginDocument("veskloops.tag-history/1");
  output.beginList("runs");
  const bool isTable = output.resultIsOnTerminal();
  for (const auto& entry : entries) {
    output.item(jsonOfTagHistoryEntry(entry));
    const std::string time = localTime(entry.startedAt), state = stateText(entry);
    output.text(isTable ? fmt::format("{:>5}  {}  {:>12}  {}", entry.runId, time, counted(entry.files, "file"), state)
                        : fmt::format("{}\t{}\t{}\t{}", entry.runId, time, entry.files, state));
  }
  output.endList();
  output.endDocument();
  if (entries.empty()) output.note("no tags were changed yet");
  return kExitDone;
}

int showRun(Context& context, int64_t run) {
  Output& output = context.output;
  const auto files = valueOf(LCTagRun::filesOfRun(run));
  output.beginDocument("veskloops.tag-history/1");
  output.field("run", std::to_string(run));
  output.beginList("files");
  for (const auto& file : files) {
    JSON object = JSON::object();
    object["path"] = file.path;
    object["fields"] = jsonOfTagFields(file.fields);
    object["undone"] = file.isUndone;
    output.item(object);
    const std::string path = output.resultIsOnTerminal() ? printable(file.path) : file.path;
    output.text(file.isUndone ? path + " (undone)" : path);
    for (const auto& [name, change] : file.fields) {
      output.text("  " + printable(tagFieldChangeText(name, change)));
    }
  }
  output.endList();
  output.endDocument();
  return kExitDone;
}

int runTag(Context& context, const TagArguments& arguments) {
  if (arguments.wantsHistory) {
    const auto run = runNumber(arguments.history);
    return run ? showRun(context, *run) : showHistory(context);
  }
  if (arguments.wantsUndo) return undo(context, arguments);
  TagRun run(context, arguments);
  run.checkArguments();
  run.chooseEdits();
  return run.run();
}

// An option with one value or none.
CLI::Option* addRunOption(CLI::App& app, const std::string& name, bool& isWanted, std::vector<std::string>& run,
                          const std::string& description) {
  return app
      .add_option_function<std::vector<std::string>>(
          name,
          [&](const std::vector<std::string>& words) {
            isWanted = true;
            run = words;
          },
          description)
      ->type_name("[RUN]")
      ->expected(0, 1);
}

// Those of search. There what a person looks for may be near, or unknown of a loop; here the files are changed.
std::vector<CLI::Option*> addTagFilters(CLI::App& app, SearchFilters& filters) {
  filters.keyMatch = "exact";
  auto options = addSearchFilters(app, filters);
  CLI::Option* withKey = app.get_option("--with-key");
  std::erase(options, withKey);
  app.remove_option(withKey);
  app.get_option("--key")->description("In this key, in any octave: Am, \"F# major\", Bb, C or 8A");
  options.push_back(addTexts(app, "--text", filters.words, "As TEXT of search; repeatable"));
  for (auto* option : options) option->group("Filters, instead of files");
  return options;
}

}  // namespace

CommandRunner addTagCommand(CLI::App& app) {
  auto arguments = std::make_shared<TagArguments>();
  addPathList(app, arguments->files, "FILE", "Files, or loops by name or id:NUMBER; else those that the filters find");
  addTexts(app, "--set", arguments->sets,
           "Give a tag a value: title, author, copyright, comment, instrument, subInstrument, genre, descriptors, "
           "collection, theme, beats, key, scale, signature, fileType, integratedLoudness, truePeak, targetLoudness, "
           "iconId, preferFileName or patchInfo; repeatable",
           "TAG=VALUE");
  addTexts(app, "--clear", arguments->clears, "Take a tag away; repeatable", "TAG");
  addTexts(app, "--add-descriptor", arguments->addedDescriptors, "Add a word to the descriptors; repeatable", "WORD");
  addTexts(app, "--remove-descriptor", arguments->removedDescriptors, "Take one away; repeatable", "WORD");
  addText(
      app, "--from-json", arguments->json,
      "Take the tags from what info --json or search --json printed, or from an object of tags; - is standard input",
      "FILE");
  app.add_flag("--force", arguments->force, "Take keywords, too, that nobody knows");
  app.add_flag("--copy-back", arguments->copyBack,
               "Write over files with several names (hard links) in place, which a power cut can leave half done");
  addText(app, "--backup", arguments->backup, "Copy files there before they are changed", "DIR");
  app.add_flag("--preserve-mtime", arguments->preserveTime, "Leave the time of the last change as it is");
  app.add_flag("--no-reindex", arguments->noReindex, "Leave the loop database as it is");
  app.add_flag("-n,--dry-run", arguments->dryRun, "Only show what would be changed");
  auto* undo = addRunOption(app, "--undo", arguments->wantsUndo, arguments->undo,
                            "Give the files of a run, or of the last one, their former bytes back");
  addRunOption(app, "--history", arguments->wantsHistory, arguments->history, "List earlier runs, or the files of one")
      ->excludes(undo);
  const auto filters = addTagFilters(app, arguments->filters);
  return [arguments, filters](Context& context) {
    arguments->filters.withKey = arguments->filters.key.has_value();
    arguments->hasFilters =
        std::any_of(filters.begin(), filters.end(), [](const CLI::Option* filter) { return filter->count() > 0; });
    return runTag(context, *arguments);
  };
}
