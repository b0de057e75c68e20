#include "ImportCommand.h"

#include "Arguments.h"
#include "Database.h"
#include "English.h"
#include "Output.h"
#include "TextTable.h"
#include "VeskLoopManagement/catalog/LCDatabaseImport.h"

#include <fmt/format.h>

#include <memory>

namespace {

struct ImportArguments {
  std::vector<std::string> sources;
  std::optional<std::string> identifier;
  std::optional<std::string> placeholder;
  bool dryRun = false;
};

JSON jsonOfCounts(const LCTableCounts& counts) {
  return {{"table", counts.table}, {"inSource", counts.inSource}, {"before", counts.before}, {"after", counts.after}};
}

void printCounts(Output& output, const std::vector<LCTableCounts>& tables) {
  using Kind = TextTableColumn::Kind;
  constexpr size_t kNumberWidth = 10;
  const TextTable table({{.title = "Table", .width = 20},
                         {.title = "Imported", .width = kNumberWidth, .kind = Kind::number},
                         {.title = "Before", .width = kNumberWidth, .kind = Kind::number},
                         {.title = "After", .width = kNumberWidth, .kind = Kind::number}},
                        output.resultTraits().columns);
  if (output.resultIsOnTerminal()) output.text(output.emphasized(table.header()));
  for (const auto& [name, inSource, before, after] : tables) {
    const std::vector cells = {name, std::to_string(inSource), std::to_string(before), std::to_string(after)};
    output.text(output.resultIsOnTerminal() ? table.row(cells) : fmt::format("{}", fmt::join(cells, "\t")));
  }
}

void printReport(Output& output, const LCImportReport& report, const ImportArguments& arguments) {
  output.beginDocument("veskloops.import/1", Output::Summary::alsoAsLastLine);
  output.beginList("tables");
  for (const auto& counts : report.tables) output.item(jsonOfCounts(counts), "table");
  output.endList();
  output.field("identifier", report.identifier);
  output.field("importedBefore", report.wasImportedBefore);
  output.field("newLoops", report.newLoops);
  output.field("dryRun", arguments.dryRun);
  output.endDocument();
  printCounts(output, report.tables);
}

int runImport(Context& context, const ImportArguments& arguments) {
  Output& output = context.output;
  const std::string source = absolutePath(arguments.sources.front());
  const LCImportReport report =
      valueOf(LCDatabaseImport::run(databaseFile(context), {.source = source,
                                                            .identifier = arguments.identifier,
                                                            .placeholder = arguments.placeholder,
                                                            .isDryRun = arguments.dryRun}),
              source);
  if (report.damagedFileKeptAs) {
    output.warning(fmt::format("the loop database was damaged and starts anew; the old file is kept as {}",
                               *report.damagedFileKeptAs),
                   "Run veskloops index for your folders.");
  }
  printReport(output, report, arguments);
  if (report.wasImportedBefore) {
    output.note(fmt::format("{} was imported before; nothing was done", report.identifier));
  } else if (report.warning) {
    output.warning(*report.warning);
  } else {
    output.note(fmt::format("{} {} over{}", counted(report.newLoops, "loop"), arguments.dryRun ? "would come" : "came",
                            arguments.dryRun ? " (dry run: nothing was changed)" : ""));
  }
  return kExitDone;
}

}  // namespace

CommandRunner addImportCommand(CLI::App& app) {
  auto arguments = std::make_shared<ImportArguments>();
  addArguments(app, "DB", arguments->sources, "The loop database to take over; it is only read");
  addText(app, "--identifier", arguments->identifier,
          "Import it once under this identifier (default: made of its name and contents)", "ID");
  addText(app, "--placeholder", arguments->placeholder,
          "Let the loops that come over lie here: the URL is put before their file names as it stands", "URL");
  app.add_flag("-n,--dry-run", arguments->dryRun, "Only show what would come over");
  return [arguments](Context& context) {
    if (arguments->sources.size() != 1) {
      throw usageFailure("import needs one loop database", "See veskloops help import.");
    }
    return runImport(context, *arguments);
  };
}
