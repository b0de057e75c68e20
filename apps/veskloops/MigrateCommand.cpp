#include "MigrateCommand.h"

#include "Arguments.h"
#include "Database.h"
#include "English.h"
#include "Output.h"
#include "ScanPrinter.h"
#include "Signals.h"
#include "TerminalText.h"
#include "VeskLoopManagement/catalog/LCMigration.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>

namespace {

struct MigrateArguments {
  std::optional<std::string> from;
  std::vector<std::string> legacyFolders;
  std::optional<std::string> favorites;
  std::vector<std::string> relocations;
  std::optional<std::string> locale;
  bool dryRun = false;
};

bool isFolder(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_directory(path, error);
}

// Folders may have a "=" in their names: of several the first one counts that has an existing folder behind it.
LCRelocation relocationFrom(const std::string& word) {
  std::optional<LCRelocation> first;
  for (size_t at = word.find('='); at != std::string::npos; at = word.find('=', at + 1)) {
    if (at == 0 || at + 1 == word.size()) continue;
    const LCRelocation found{.oldFolder = absolutePath(word.substr(0, at)),
                             .newFolder = absolutePath(word.substr(at + 1))};
    if (isFolder(found.newFolder)) return found;
    if (!first) first = found;
  }
  if (!first) throw usageFailure("--relocate takes OLD=NEW", "Write --relocate /old/Loops=/new/Loops");
  return *first;
}

// A path a line, in a file or on standard input.
std::vector<std::string> pathsListedIn(const std::string& file) {
  std::vector<std::string> paths;
  if (file == "-") {
    const auto next = nextListedPath({.arguments = {file}});
    while (const auto path = next()) paths.push_back(*path);
    return paths;
  }
  std::ifstream stream(file);
  if (!stream || isFolder(file)) {
    throw Failure{.code = kExitNotFound, .kind = "notFound", .message = "the list cannot be read", .subject = file};
  }
  for (std::string line; std::getline(stream, line);) {
    if (!line.empty()) paths.push_back(absolutePath(line));
  }
  return paths;
}

LCMigrationRequest requestFor(const MigrateArguments& arguments) {
  LCMigrationRequest request{.locale = arguments.locale, .isDryRun = arguments.dryRun};
  if (arguments.from) request.olderDatabase = absolutePath(*arguments.from);
  for (const auto& word : arguments.relocations) request.relocations.push_back(relocationFrom(word));
  for (const auto& folder : arguments.legacyFolders) request.legacyFolders.push_back(absolutePath(folder));
  if (arguments.favorites) request.favorites = pathsListedIn(*arguments.favorites);
  return request;
}

// --- The result ---

JSON jsonOfPackage(const LCLegacyPackage& package) {
  JSON object = JSON::object();
  object["indexFile"] = package.indexFile;
  object["folder"] = package.audioFolder;
  object["identifier"] = package.identifier;
  object["leftOut"] = package.isLeftOut;
  object["indexed"] = package.indexed;
  addIfPresent(object, "trouble", package.trouble);
  return object;
}

JSON jsonOfPaths(const std::vector<std::string>& paths) {
  JSON list = JSON::array();
  for (const auto& path : paths) {
    JSON object = JSON::object();
    addPath(object, path, vesk::URL::fileURLWithPath(path, false).absoluteString());
    list.push_back(std::move(object));
  }
  return list;
}

void printDocument(Output& output, const LCMigrationReport& report, bool isDryRun) {
  output.endList();
  JSON packages = JSON::array();
  for (const auto& package : report.packages) packages.push_back(jsonOfPackage(package));
  output.field("copied", report.hasCopiedOlder);
  output.field("relocated", report.relocated);
  output.field("missingAtNewPlace", jsonOfPaths(report.missingAtNewPlace));
  output.field("packages", std::move(packages));
  output.field("favorites", report.favorites);
  output.field("unknownFavorites", jsonOfPaths(report.unknownFavorites));
  output.field("localeChanged", report.hasChangedLocale);
  output.field("upToDate", report.isUpToDate);
  output.field("dryRun", isDryRun);
  output.field("interrupted", report.isInterrupted);
  output.endDocument();
}

void warnOfPaths(Output& output, const std::vector<std::string>& paths, const std::string& what,
                 const std::string& nextStep) {
  if (paths.empty()) return;
  output.warning(fmt::format("{} {}, such as {}", paths.size(), what, paths.front()), nextStep);
}

int64_t indexedFilesOf(const LCMigrationReport& report) {
  int64_t files = 0;
  for (const auto& package : report.packages) files += package.indexed;
  return files;
}

int64_t takenOver(const LCMigrationReport& report) {
  return std::count_if(report.packages.begin(), report.packages.end(),
                       [](const LCLegacyPackage& package) { return !package.isLeftOut && !package.trouble; });
}

void printLines(Output& output, const LCMigrationReport& report, const MigrateArguments& arguments) {
  if (report.hasCopiedOlder) output.text(fmt::format("the loop database of {} was copied", *arguments.from));
  if (!arguments.relocations.empty()) output.text(fmt::format("{} relocated", counted(report.relocated, "loop")));
  if (!arguments.legacyFolders.empty()) {
    output.text(fmt::format("{} taken over, {} indexed", counted(takenOver(report), "legacy package"),
                            counted(indexedFilesOf(report), "file")));
  }
  if (arguments.favorites) output.text(fmt::format("{} marked", counted(report.favorites, "favorite")));
  if (arguments.locale) {
    output.text(report.hasChangedLocale ? fmt::format("names are those of {} now", *arguments.locale)
                                        : fmt::format("names were those of {} already", *arguments.locale));
  }
  if (arguments.dryRun) return output.text("dry run: nothing was changed");
  if (report.isInterrupted) return;
  output.text(report.isUpToDate ? "the loop database is up to date"
                                : "the loop database is of an earlier time: run veskloops index for its folders");
}

int runMigrate(Context& context, const MigrateArguments& arguments) {
  Output& output = context.output;
  const LCMigrationRequest request = requestFor(arguments);
  const InterruptionGuard guard;
  output.beginDocument("veskloops.migrate/1", Output::Summary::alsoAsLastLine);
  output.beginList("failures");
  ScanPrinter printer(output);
  const LCMigrationReport report =
      valueOf(LCMigration::run(databaseFile(context), request, printer), request.olderDatabase.value_or(""));
  printDocument(output, report, arguments.dryRun);

  bool hasTrouble = false;
  for (const auto& package : report.packages) {
    if (!package.trouble) continue;
    output.error(fmt::format("{}: {}", package.indexFile, *package.trouble));
    hasTrouble = true;
  }
  warnOfPaths(output, report.missingAtNewPlace, "of the relocated loops have no file at the new place",
              "Their rows stay; veskloops remove --missing takes them out.");
  warnOfPaths(output, report.unknownFavorites, "of the favorites have no file or are not in the database",
              "Run veskloops index for their folders, then migrate again.");
  if (!output.isQuiet()) printLines(output, report, arguments);
  if (report.isInterrupted) {
    output.warning("interrupted; what was finished is kept", "Run the same command again to finish.");
    return kExitSignalBase + InterruptionGuard::signalNumber();
  }
  return hasTrouble || !report.unknownFavorites.empty() ? kExitSomeFilesFailed : kExitDone;
}

}  // namespace

CommandRunner addMigrateCommand(CLI::App& app) {
  auto arguments = std::make_shared<MigrateArguments>();
  addText(app, "--from", arguments->from, "Begin with a copy of this older loop database; there must be none yet",
          "FILE");
  addTexts(app, "--relocate", arguments->relocations,
           "The folder OLD with all below it is NEW now; marks stay; repeatable", "OLD=NEW");
  addTexts(app, "--legacy", arguments->legacyFolders,
           "Index the packages that legacy index files in this folder name; repeatable", "DIR");
  addText(app, "--favorites", arguments->favorites,
          "Mark the loops of this list as favorites, a path on each line; - for standard input", "FILE");
  addText(app, "--localize", arguments->locale, "Show names in this language, such as zh_Hans", "LOCALE");
  app.add_flag("-n,--dry-run", arguments->dryRun, "Only show what would be done");
  return [arguments](Context& context) { return runMigrate(context, *arguments); };
}
