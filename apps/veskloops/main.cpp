// veskloops: the command-line program of the loop library. It reads arguments, calls the library and prints.

#include "Arguments.h"
#include "Context.h"
#include "CratesCommand.h"
#include "Failure.h"
#include "FamilyCommand.h"
#include "FoldersCommand.h"
#include "Help.h"
#include "ImportCommand.h"
#include "IndexCommand.h"
#include "InfoCommand.h"
#include "KeywordsCommand.h"
#include "MarkCommands.h"
#include "MigrateCommand.h"
#include "Output.h"
#include "RemoveCommand.h"
#include "SearchCommand.h"
#include "TagCommand.h"
#include "VeskLoopManagement/catalog/LCLibraryVersions.h"
#include "VeskLoopManagement/catalog/LCNearNames.h"
#include "VeskLoopManagement/fileio/LCFileParser.h"
#include "VeskLoopManagement/platform/Environment.h"
#include "VeskLoopManagement/platform/Text.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <csignal>
#include <exception>
#include <memory>

namespace {

constexpr const char* kFooter =
    "LOOP is a path, a file URL, id:NUMBER, a file name, its beginning where one loop alone has it, or a name as the "
    "table shortens it.\n"
    "What stands in [ ] may be left out, and … means several. The options above may stand before or after the "
    "command.\n"
    "Exit codes: 0 done, 1 failed, 2 wrong usage, 3 not found, 4 some files failed, 5 database missing, locked, "
    "damaged or newer than this program, 130 and 143 interrupted.\n"
    "veskloops help COMMAND shows the help of a command.";

// The library's messages go where the program's do.
class ProgramEnvironment : public vesk::DefaultEnvironment {
 public:
  explicit ProgramEnvironment(Output& output) : m_output(output) {}
  void log(std::string_view message) override { m_output.warning(message); }

 private:
  Output& m_output;
};

struct Command {
  CLI::App* app = nullptr;
  CommandRunner run;
};

// The argument parser with everything that it fills.
struct Program {
  CLI::App app{"Index audio loops by their own tags and search them", "veskloops"};
  GlobalOptions options;
  std::vector<Command> commands;
  CLI::App* help = nullptr;
  std::vector<std::string> helpWords;
  bool wantsVersion = false;
  std::shared_ptr<HelpFormatter> formatter;

  explicit Program(const StreamTraits& result) {
    constexpr size_t kWidth = 100;
    formatter = std::make_shared<HelpFormatter>(result.isTerminal ? std::min(kWidth, result.columns) : kWidth);
    app.formatter(formatter);
    app.set_help_flag("-h,--help", "Show this help");
    app.require_subcommand(0, 1);
    app.footer(kFooter);
    addGlobalOptions();
    addCommand("index", "Put the loops of files and folders into the database", addIndexCommand);
    addCommand("folders", "List the folders that index remembers", addFoldersCommand);
    addCommand("remove", "Take loops out of the database; audio files stay", addRemoveCommand);
    addCommand("search", "Find loops", addSearchCommand);
    addCommand("keywords", "List what loops are tagged with", addKeywordsCommand);
    addCommand("family", "Show the numbered variants of a loop", addFamilyCommand);
    addCommand("info", "Show what is known of a loop", addInfoCommand);
    addCommand("favorite", "Mark loops as favourites", addFavoriteCommand);
    addCommand("rate", "Rate loops from 0 to 5", addRateCommand);
    addCommand("comment", "Put a comment on loops", addCommentCommand);
    addCommand("tag", "Change the tags in loop files, and take changes back", addTagCommand);
    addCommand("crates", "List, make and remove content packages", addCratesCommand);
    addCommand("import", "Take over the loops of a ready-made loop database", addImportCommand);
    addCommand("migrate", "Bring over what older versions and moved libraries left", addMigrateCommand);
    help = app.add_subcommand("help", "Show the help of a command")->fallthrough();
    addArguments(*help, "COMMAND", helpWords, "The command, with its own where it has some: crates show");
  }

  const Command* chosenCommand() const {
    for (const auto& command : commands) {
      if (command.app->parsed()) return &command;
    }
    return nullptr;
  }

 private:
  void addGlobalOptions() {
    const std::map<std::string, When> whenWords = {
        {"auto", When::automatic}, {"always", When::always}, {"never", When::never}};
    const std::map<std::string, ProgressStyle> progressWords = {{"auto", ProgressStyle::automatic},
                                                                {"always", ProgressStyle::always},
                                                                {"never", ProgressStyle::never},
                                                                {"json", ProgressStyle::json}};
    addText(app, "--database", options.database,
            "The loop database (default: the variable VESKLOOPS_DATABASE, else your own database)", "FILE")
        ->envname("VESKLOOPS_DATABASE");
    auto* json = app.add_flag_callback(
        "--json", [this] { options.format = ResultFormat::json; }, "Print one JSON document");
    app.add_flag_callback(
           "--jsonl", [this] { options.format = ResultFormat::jsonLines; }, "Print one JSON object per line")
        ->excludes(json);
    auto* quiet = app.add_flag("-q,--quiet", options.quiet, "Print only results, warnings and errors");
    app.add_flag("-v,--verbose", options.verbose, "Tell more")->excludes(quiet);
    addChoice(app, "--color", {"auto", "always", "never"}, "Colour: auto, always or never",
              [this, whenWords](const std::string& word) { options.color = whenWords.at(word); });
    addChoice(app, "--progress", {"auto", "always", "never", "json"}, "Progress: auto, always, never or json",
              [this, progressWords](const std::string& word) { options.progress = progressWords.at(word); });
    app.add_flag("--no-input", options.noInput, "Never ask");
    app.add_flag("--version", wantsVersion, "Show the version");
  }

  void addCommand(const std::string& name, const std::string& description, CommandRunner (*add)(CLI::App&)) {
    CLI::App* command = app.add_subcommand(name, description)->fallthrough();
    command->footer("More options for every command: veskloops help");
    commands.push_back({command, add(*command)});
  }
};

// When the arguments cannot be read, the format of the answer is still what was asked for.
ResultFormat formatAskedFor(const std::vector<std::string>& arguments) {
  for (const auto& argument : arguments) {
    if (argument == "--json") return ResultFormat::json;
    if (argument == "--jsonl") return ResultFormat::jsonLines;
  }
  return ResultFormat::text;
}

std::string helpHint(const Program& program) {
  const Command* command = program.chosenCommand();
  return command == nullptr ? "See veskloops help." : fmt::format("See veskloops help {}.", command->app->get_name());
}

// Words that could stand where `word` does: options of the program and of the chosen command, or commands.
std::vector<std::string> knownWords(const Program& program, const CLI::App* command, const std::string& word) {
  std::vector<std::string> words;
  const std::vector<const CLI::App*> apps =
      command == nullptr ? std::vector{&program.app} : std::vector{&program.app, command};
  if (word.starts_with('-')) {
    for (const CLI::App* app : apps) {
      for (const auto* option : app->get_options()) {
        for (const auto& name : option->get_lnames()) words.push_back("--" + name);
      }
    }
  } else {
    for (const auto* app : apps.back()->get_subcommands([](const CLI::App*) { return true; }))
      words.push_back(app->get_name());
  }
  return words;
}

Failure unknownWord(const Program& program, const std::string& word) {
  const Command* command = program.chosenCommand();
  Failure failure = usageFailure(word.starts_with('-') ? "unknown option" : "unknown command", helpHint(program));
  failure.subject = word;
  if (word.starts_with('-') && !word.starts_with("--")) return failure;  // one letter is like any other
  if (command != nullptr && command->app->get_option_no_throw(word) != nullptr) {
    failure.message = "an option of the command must stand after it";
    failure.nextStep = fmt::format("Write veskloops {} {} …", command->app->get_name(), word);
    return failure;
  }
  failure.suggestions = lc::nearNames(word, knownWords(program, command == nullptr ? nullptr : command->app, word));
  return failure;
}

// What the parser says of options, in sentences.
std::string messageFor(const CLI::ParseError& error) {
  const std::string text = error.what();
  const std::string option = text.substr(0, text.find_first_of(": "));
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
    if (text.find("flag override") != std::string::npos) return option + " takes no value";
    return option + (text.find("At Most") != std::string::npos ? " may be given only once" : " needs a value");
  }
  if (dynamic_cast<const CLI::ValidationError*>(&error) != nullptr) return option + text.substr(option.size() + 1);
  if (dynamic_cast<const CLI::ExcludesError*>(&error) != nullptr) {
    return vesk::text::replacingAll(text, " excludes ", " does not go together with ");
  }
  if (dynamic_cast<const CLI::RequiresError*>(&error) != nullptr) {
    return vesk::text::replacingAll(text, " requires ", " needs ");
  }
  return text;
}

Failure failureFor(const Program& program, const CLI::ParseError& error) {
  if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
    const auto words = program.app.remaining(true);
    if (!words.empty()) return unknownWord(program, words.front());
  }
  return usageFailure(messageFor(error), helpHint(program));
}

int showVersion(Context& context) {
  const LCLibraryVersions versions = LCLibraryVersions::current();
  Output& output = context.output;
  output.beginDocument("veskloops.version/1", Output::Summary::alsoAsLastLine);
  output.field("version", versions.library);
  output.field("schemaVersion", versions.databaseSchema);
  output.field("sqlite", versions.sqlite);
  output.field("icu", versions.icu);
  output.endDocument();
  output.text(fmt::format("veskloops {}", versions.library));
  return kExitDone;
}

int printHelp(Output& output, const std::string& text) {
  output.beginDocument("veskloops.help/1", Output::Summary::alsoAsLastLine);
  output.field("text", text);
  output.endDocument();
  output.rawText(text);
  return kExitDone;
}

int showHelp(Context& context, const Program& program) {
  const CLI::App* subject = &program.app;
  std::string name = program.app.get_name();
  for (const auto& word : program.helpWords) {
    const auto found = subject->get_subcommands([&](const CLI::App* app) { return app->get_name() == word; });
    if (found.empty()) throw unknownWord(program, word);
    subject = found.front();
    name += " " + subject->get_name();
  }
  return printHelp(context.output, program.formatter->make_help(subject, name, CLI::AppFormatMode::Normal));
}

int runChosen(Context& context, const Program& program) {
  if (program.wantsVersion) return showVersion(context);
  if (program.help->parsed()) return showHelp(context, program);
  const Command* command = program.chosenCommand();
  if (command == nullptr) throw usageFailure("a command is missing", "veskloops help lists the commands.");
  return command->run(context);
}

int run(Sink& sink, Program& program, const std::vector<std::string>& arguments) {
  program.options.format = formatAskedFor(arguments);
  try {
    program.app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::CallForHelp&) {
    Output output(sink, program.options);
    return output.finish(printHelp(output, program.app.help()));
  } catch (const CLI::ParseError& error) {
    Output output(sink, program.options);
    return output.finish(output.fail(failureFor(program, error)));
  }

  Output output(sink, program.options);
  vesk::Environment::setShared(std::make_shared<ProgramEnvironment>(output));
  Context context{program.options, output};
  int code = kExitDone;
  try {
    code = runChosen(context, program);
  } catch (const Failure& failure) {
    code = output.fail(failure);
  } catch (const std::exception& error) {
    code = output.fail(Failure{.code = kExitFailed, .kind = "failed", .message = error.what()});
  }
  code = output.finish(code);
  if (program.options.progress == ProgressStyle::json) output.eventLine({{"event", "done"}, {"code", code}});
  vesk::Environment::setShared(nullptr);
  return code;
}

}  // namespace

int main(int count, char** arguments) {
  LCFileParser::setAllowsSDIIFiles(true);
  std::signal(SIGPIPE, SIG_IGN);  // a reader that has enough must not end a run half way
  StandardStreams streams;
  Program program(streams.resultTraits());
  return run(streams, program, markedArguments(count, arguments, program.app, "comment"));
}
