#include "InfoCommand.h"

#include "Arguments.h"
#include "Database.h"
#include "FileFailures.h"
#include "LoopArguments.h"
#include "LoopJSON.h"
#include "Output.h"
#include "TerminalText.h"
#include "VeskLoopManagement/catalog/LCLoopFile.h"
#include "VeskLoopManagement/platform/audiofile/AudioFile.h"

#include <fmt/format.h>

#include <filesystem>
#include <memory>

namespace {

struct InfoArguments {
  PathListOptions loops;
  bool chunks = false;
  bool enhanced = false;
};

// What one argument stands for: a file, a row, or both.
struct Subject {
  LCLoopPlace place;  // as in the row; without one, the file
  bool isIndexed = false;
};

class InfoRun {
 public:
  InfoRun(Context& context, const InfoArguments& arguments)
      : m_context(context), m_output(context.output), m_arguments(arguments) {}

  int run();

 private:
  std::vector<Subject> subjectsFor(const std::vector<std::string>& entries);
  Subject subjectFor(const LCLoopReference& reference);
  void addNotFound();
  JSON describe(const Subject& subject);
  void addFile(JSON& object, const Subject& subject);
  void addChunks(JSON& object, const Subject& subject);
  void addRow(JSON& object, const Subject& subject);
  void print(const JSON& object);
  void printFields(const std::string& path, const std::string& prefix, const JSON& object);

  Context& m_context;
  Output& m_output;
  const InfoArguments& m_arguments;
  std::unique_ptr<LCCatalog> m_catalog;  // null without a database
  std::vector<Failure> m_notFound;
  bool m_anyFailed = false;
};

int InfoRun::run() {
  std::vector<std::string> entries;
  forEachEntry(m_arguments.loops, [&](const std::string& entry, bool) {
    entries.push_back(entry);
    return true;
  });
  m_catalog = openForReadingIfPossible(m_context);
  const std::vector<Subject> subjects = subjectsFor(entries);

  m_output.beginDocument("veskloops.info/1");
  m_output.beginList("files");
  for (const auto& subject : subjects) {
    if (!m_output.canWrite()) break;
    const JSON object = describe(subject);
    m_output.item(object);
    if (m_output.isText()) print(object);
  }
  m_output.endList();
  addNotFound();
  m_output.endDocument();
  if (!m_notFound.empty()) return kExitNotFound;
  return m_anyFailed ? kExitSomeFilesFailed : kExitDone;
}

// Of several, those that are found are answered though others are not.
std::vector<Subject> InfoRun::subjectsFor(const std::vector<std::string>& entries) {
  const bool isSingle = entries.size() == 1 && !readsStandardInput(m_arguments.loops);
  std::vector<Subject> subjects;
  for (const auto& entry : entries) {
    try {
      subjects.push_back(subjectFor(loopArgument(entry)));
    } catch (const Failure& failure) {
      if (isSingle || failure.code == kExitDatabase) throw;
      m_output.error(failure);
      m_notFound.push_back(failure);
    }
  }
  return subjects;
}

void InfoRun::addNotFound() {
  if (m_notFound.empty()) return;
  m_output.beginList("errors");
  for (const auto& failure : m_notFound) m_output.item(jsonOfFailure(failure), "error");
  m_output.endList();
}

Subject InfoRun::subjectFor(const LCLoopReference& reference) {
  if (reference.id && !m_catalog) openForReading(m_context);  // throws what is wrong with the database
  std::optional<LCFailure> failure;
  if (m_catalog) {
    const auto place = m_catalog->place(reference);
    if (place) return {.place = *place, .isIndexed = true};
    failure = place.failure();
  }
  const std::string path = reference.url ? reference.url->path() : std::string();
  std::error_code error;
  if (!reference.url || !std::filesystem::exists(path, error)) {
    throw failureFrom(failure.value_or(LCFailure{.kind = LCFailureKind::notFound,
                                                 .message = messageForMissing(path, "no such loop"),
                                                 .subject = reference.text}));
  }
  if (std::filesystem::is_directory(path, error)) {
    throw usageFailure(fmt::format("{} is a folder", reference.text), "Name the files in it.");
  }
  return {.place = {.urlText = reference.url->absoluteString()}};
}

JSON InfoRun::describe(const Subject& subject) {
  JSON object = JSON::object();
  addPath(object, subject.place.path(), subject.place.urlText);
  addFile(object, subject);
  if (m_arguments.chunks) addChunks(object, subject);
  object["indexed"] = subject.isIndexed;
  if (subject.isIndexed) addRow(object, subject);
  return object;
}

void InfoRun::addFile(JSON& object, const Subject& subject) {
  const LCLoopFile file = LCLoopFile::read(subject.place, m_arguments.enhanced);
  if (file.record) {
    object["record"] = jsonOfRecord(*file.record);
    if (!file.notes.empty()) object["notes"] = file.notes;
    return;
  }
  m_anyFailed = true;
  m_output.error(fileFailureText(file.failure));
  const JSON failure = jsonOfFileFailure(file.failure);
  object["failure"] = {{"reason", failure["reason"]}, {"detail", failure["detail"]}};
}

void InfoRun::addChunks(JSON& object, const Subject& subject) {
  std::string detail;
  const auto file = vesk::AudioFile::open(subject.place.path(), nullptr, &detail);
  if (file) {
    object["container"] = jsonOfChunks(*file);
  } else {
    m_output.warning(fmt::format("{}: the chunks cannot be listed ({})", subject.place.path(), detail));
  }
}

void InfoRun::addRow(JSON& object, const Subject& subject) {
  object["row"] = jsonOfLoop(valueOf(m_catalog->loop(LCLoopReference::ofId(subject.place.id))));
  object["keywords"] = valueOf(m_catalog->keywordsOfLoop(subject.place.id));
}

// A line for each field: in columns on a terminal, else with tabs and the path before it.
void InfoRun::print(const JSON& object) {
  const std::string path = object["path"];
  if (m_output.resultIsOnTerminal()) m_output.text(m_output.emphasized(printable(path)));
  printFields(path, "", object);
}

void InfoRun::printFields(const std::string& path, const std::string& prefix, const JSON& object) {
  constexpr size_t kNameWidth = 34;
  for (const auto& [name, value] : object.items()) {
    const std::string whole = prefix + name;
    const bool isTable = value.is_object() || (value.is_array() && !value.empty() && value.front().is_object());
    if (isTable) {
      printFields(path, whole + ".", value);
      continue;
    }
    if (whole == "path") continue;
    const std::string text = value.is_string() ? value.get<std::string>() : compactJSON(value);
    if (m_output.resultIsOnTerminal()) {
      m_output.text(
          fmt::format("  {}{}", m_output.faint(paddedToWidth(printable(whole), kNameWidth)), printable(text)));
    } else {
      m_output.text(fmt::format("{}\t{}\t{}", onOneLine(path), onOneLine(whole), onOneLine(text)));
    }
  }
}

}  // namespace

CommandRunner addInfoCommand(CLI::App& app) {
  auto arguments = std::make_shared<InfoArguments>();
  addPathList(app, arguments->loops, "LOOP", "Files, file URLs, names of loops or id:NUMBER");
  app.add_flag("--chunks", arguments->chunks, "Also list the chunks of the file");
  app.add_flag("--enhanced", arguments->enhanced,
               "Also read MIDI, generated-instrument, event and step-sequencer data (bytes in base 64)");
  return [arguments](Context& context) {
    if (arguments->loops.arguments.empty()) throw usageFailure("info needs a file or loop", "See veskloops help info.");
    checkPathList(arguments->loops);
    return InfoRun(context, *arguments).run();
  };
}
