#include "IndexCommand.h"

#include "Arguments.h"
#include "Database.h"
#include "English.h"
#include "FileFailures.h"
#include "Output.h"
#include "ScanPrinter.h"
#include "Signals.h"
#include "VeskLoopManagement/catalog/LCLibraryScan.h"

#include <fmt/format.h>

#include <cmath>
#include <filesystem>
#include <memory>

namespace {

struct IndexArguments {
  PathListOptions paths;
  std::optional<std::string> crate;
  std::optional<std::string> copyTo;
  std::vector<std::string> excludedPatterns;
  int64_t batchSize = 500;
  bool move = false;
  bool prune = false;
  bool force = false;
  bool noPathKeywords = false;
  bool taggedOnly = false;
  bool hidden = false;
  bool dryRun = false;
};

void requireExistingPaths(const PathListOptions& paths) {
  for (const auto& argument : paths.arguments) {
    std::error_code error;
    const std::string path = absolutePath(argument);
    if (argument == "-" || std::filesystem::exists(path, error)) continue;
    throw Failure{.code = kExitNotFound,
                  .kind = "notFound",
                  .message = messageForMissing(path, "no such file or folder"),
                  .subject = argument,
                  .nextStep = "Loops whose files are gone are taken out with veskloops remove."};
  }
}

LCScanRequest requestFor(const IndexArguments& arguments) {
  LCScanRequest request{.paths = {},
                        .nextPath = nextListedPath(arguments.paths),
                        .excludedPatterns = arguments.excludedPatterns,
                        .package = arguments.crate,
                        .movesInsteadOfCopying = arguments.move,
                        .prunes = arguments.prune,
                        .readsEveryFile = arguments.force,
                        .readsPathKeywords = !arguments.noPathKeywords,
                        .onlyTagged = arguments.taggedOnly,
                        .withHidden = arguments.hidden,
                        .isDryRun = arguments.dryRun,
                        .batchSize = arguments.batchSize};
  request.scansRememberedFolders = arguments.paths.arguments.empty();
  for (const auto& argument : arguments.paths.arguments) {
    if (argument != "-") request.paths.push_back(absolutePath(argument));
  }
  if (arguments.copyTo) request.copyTo = absolutePath(*arguments.copyTo);
  return request;
}

// --- The result ---

void printReport(Output& output, const LCScanReport& report, const IndexArguments& arguments) {
  output.endList();
  output.field("walked", report.walked);
  output.field("indexed", report.indexed);
  output.field("loops", report.loops);
  output.field("unchanged", report.unchanged);
  output.field("removed", report.removed);
  output.field("carried", report.carried);
  output.field("untagged", report.untagged);
  output.field("unsupported", report.unsupported);
  output.field("failed", report.failed);
  output.field("sameIdentity", jsonOfIdentityGroups(report.sameIdentity));
  if (!report.sameIdentity.isComplete) output.field("sameIdentityIsComplete", false);
  output.field("seconds", std::round(report.seconds * 1000) / 1000);
  output.field("dryRun", arguments.dryRun);
  output.field("interrupted", report.isInterrupted);
  output.endDocument();
}

// Files of one identity are one loop.
std::string indexedInWords(const LCScanReport& report) {
  if (report.loops == report.indexed) return fmt::format("{} indexed", report.indexed);
  return fmt::format("{}, {} indexed", counted(report.indexed, "file"), counted(report.loops, "loop"));
}

std::string summary(const LCScanReport& report, const IndexArguments& arguments) {
  std::string text = indexedInWords(report);
  text += fmt::format(", {} unchanged, {} {}, {} of other types, {} failed in {:.1f} s", report.unchanged,
                      report.untagged, arguments.taggedOnly ? "without tags left out" : "of them without tags",
                      report.unsupported, report.failed, report.seconds);
  if (arguments.prune) text += fmt::format(", {} removed", report.removed);
  if (report.carried > 0)
    text += fmt::format(", marks of {} kept under a new identity", counted(report.carried, "loop"));
  if (arguments.dryRun) text += " (dry run: nothing was changed)";
  return text;
}

int runIndex(Context& context, const IndexArguments& arguments) {
  Output& output = context.output;
  requireExistingPaths(arguments.paths);
  const InterruptionGuard guard;
  output.beginDocument("veskloops.index/1", Output::Summary::alsoAsLastLine);
  output.beginList("failures");
  ScanPrinter printer(output);
  const LCScanReport report = valueOf(LCLibraryScan::run(databaseFile(context), requestFor(arguments), printer));
  printReport(output, report, arguments);

  if (const std::string groups = identityGroupsText(report.sameIdentity); !groups.empty()) output.warning(groups);
  if (report.isInterrupted) {
    output.warning("interrupted; what was finished is kept", "Run the same command again to finish.");
  }
  if (!output.isQuiet()) output.text(summary(report, arguments));
  if (report.isInterrupted) return kExitSignalBase + InterruptionGuard::signalNumber();
  return report.failed > 0 ? kExitSomeFilesFailed : kExitDone;
}

}  // namespace

CommandRunner addIndexCommand(CLI::App& app) {
  auto arguments = std::make_shared<IndexArguments>();
  addPathList(app, arguments->paths, "PATH",
              "Files and folders with loops; folders are remembered, and indexed again when no PATH is given");
  addText(app, "--crate", arguments->crate, "Put the loops into this content package; a new name makes a new package",
          "ID|NAME");
  auto* copyTo = addText(app, "--copy-to", arguments->copyTo,
                         "Copy the loops into this folder and index the copies; nothing is overwritten", "DIR");
  app.add_flag("--move", arguments->move, "Move them there instead")->needs(copyTo);
  app.add_flag("--prune", arguments->prune, "Also take out the loops of these folders whose files are gone");
  app.add_flag("--force", arguments->force, "Also read files that have not changed since they were indexed");
  app.add_flag("--no-path-keywords", arguments->noPathKeywords, "Take no keywords from file and folder names");
  app.add_flag("--tagged-only", arguments->taggedOnly,
               "Leave out files that have no tags, neither in themselves nor by the words of their paths");
  app.add_flag("--hidden", arguments->hidden, "Also take files and folders whose names begin with a dot");
  addNumber(app, "--batch", {1, 1000000}, "Write to the database after every N loops", [=](int64_t number) {
    arguments->batchSize = number;
  })->default_str(std::to_string(arguments->batchSize));
  addTexts(app, "--exclude", arguments->excludedPatterns,
           "Leave out names that match; a pattern with / is for paths below PATH; repeatable", "GLOB");
  app.add_flag("-n,--dry-run", arguments->dryRun, "Only show what would be done");
  return [arguments](Context& context) {
    if (arguments->paths.arguments.empty() && arguments->copyTo) {
      throw usageFailure("--copy-to needs a file or folder to copy", "See veskloops help index.");
    }
    checkPathList(arguments->paths);
    if (arguments->crate && arguments->crate->empty()) throw usageFailure("--crate needs a name");
    return runIndex(context, *arguments);
  };
}
