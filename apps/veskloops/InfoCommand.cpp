#include "InfoCommand.h"

#include "Arguments.h"
#include "Database.h"
#include "LoopArguments.h"
#include "LoopFile.h"
#include "LoopJSON.h"
#include "LoopRows.h"
#include "Output.h"
#include "platform/Path.h"
#include "TerminalText.h"
#include "VeskLoopManagement/platform/audiofile/AudioFile.h"
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include <fmt/format.h>

#include <memory>

namespace {

struct InfoArguments {
  PathListOptions loops;
  bool chunks = false;
  bool enhanced = false;
};

// What one argument stands for: a file, a row, or both.
struct Subject {
  std::optional<vesk::URL> url;
  std::string path;
  std::optional<int64_t> loopId;  // when indexed
};

class InfoRun {
 public:
  InfoRun(Context& context, const InfoArguments& arguments)
      : m_context(context), m_output(context.output), m_arguments(arguments) {}

  int run();

 private:
  Subject subjectFor(const std::string& text);
  JSON describe(const Subject& subject);
  void addFile(JSON& object, const Subject& subject);
  void addChunks(JSON& object, const Subject& subject);
  void addRow(JSON& object, const Subject& subject);
  void print(const JSON& object);
  void printFields(const std::string& path, const std::string& prefix, const JSON& object);

  Context& m_context;
  Output& m_output;
  const InfoArguments& m_arguments;
  std::unique_ptr<LCSearchEngine> m_engine;  // null without a database
  std::unique_ptr<LoopRows> m_rows;
  bool m_anyFailed = false;
};

int InfoRun::run() {
  m_engine = openForReadingIfPossible(m_context);
  if (m_engine) m_rows = std::make_unique<LoopRows>(m_engine->sqlite3Connection());
  std::vector<Subject> subjects;
  forEachEntry(m_arguments.loops, [&](const std::string& entry, bool) {
    subjects.push_back(subjectFor(entry));
    return true;
  });

  m_output.beginDocument("veskloops.info/1");
  m_output.beginList("files");
  for (const auto& subject : subjects) {
    if (!m_output.canWrite()) break;
    const JSON object = describe(subject);
    m_output.item(object);
    if (m_output.isText()) print(object);
  }
  m_output.endList();
  m_output.endDocument();
  return m_anyFailed ? kExitSomeFilesFailed : kExitDone;
}

Subject InfoRun::subjectFor(const std::string& text) {
  const LoopArgument argument = loopArgument(text);
  if (argument.loopId && !m_rows) openForReading(m_context);  // throws what is wrong with the database
  const auto place = m_rows ? findPlace(*m_rows, argument) : std::nullopt;
  Subject subject{.url = argument.url, .path = argument.path()};
  if (place) {
    subject.loopId = place->id;
    subject.url = vesk::URL::fromString(place->urlText);
    subject.path = pathOfURLText(place->urlText);
  } else if (!argument.url || !vesk::path::exists(subject.path)) {
    throw unknownLoop(argument, m_rows.get());
  } else if (vesk::path::isDirectory(subject.path)) {
    throw usageFailure(fmt::format("{} is a folder", text), "info is about single files.");
  }
  return subject;
}

JSON InfoRun::describe(const Subject& subject) {
  JSON object = JSON::object();
  addPath(object, subject.path, subject.url ? subject.url->absoluteString() : subject.path);
  addFile(object, subject);
  if (m_arguments.chunks) addChunks(object, subject);
  object["indexed"] = subject.loopId.has_value();
  if (subject.loopId) addRow(object, subject);
  return object;
}

void InfoRun::addFile(JSON& object, const Subject& subject) {
  const auto url = subject.url ? *subject.url : vesk::URL::fileURLWithPath(subject.path, false);
  const LoopFileReading reading = readLoopFile(vesk::path::resolvingSymlinks(subject.path), url, m_arguments.enhanced);
  if (reading.record) {
    object["record"] = jsonOfRecord(*reading.record);
    return;
  }
  m_anyFailed = true;
  m_output.error(failureText(subject.path, reading.reason, reading.detail));
  JSON failure = jsonOfFailure(subject.path, reading.reason, reading.detail);
  object["failure"] = {{"reason", failure["reason"]}, {"detail", failure["detail"]}};
}

void InfoRun::addChunks(JSON& object, const Subject& subject) {
  std::string detail;
  const auto file = vesk::AudioFile::open(subject.path, nullptr, &detail);
  if (file) {
    object["container"] = jsonOfChunks(*file);
  } else {
    m_output.warning(fmt::format("{}: the chunks cannot be listed ({})", subject.path, detail));
  }
}

void InfoRun::addRow(JSON& object, const Subject& subject) {
  if (const auto row = m_rows->rowWithId(*subject.loopId)) object["row"] = jsonOfLoop(*row);
  object["keywords"] = m_engine->keywordsForLoopId(*subject.loopId);
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
  addPathList(app, arguments->loops, "LOOP", "Files, file URLs, or loops by id:NUMBER");
  app.add_flag("--chunks", arguments->chunks, "List the chunks of the file, too");
  app.add_flag("--enhanced", arguments->enhanced,
               "Read MIDI, generated-instrument, event and step-sequencer data, too (bytes in base 64)");
  return [arguments](Context& context) {
    if (arguments->loops.arguments.empty()) throw usageFailure("info needs a file or loop", "See veskloops help info.");
    checkPathList(arguments->loops);
    return InfoRun(context, *arguments).run();
  };
}
