#include "CratesCommand.h"

#include "Database.h"
#include "LoopRows.h"
#include "Output.h"
#include "TerminalText.h"
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include <fmt/format.h>

namespace {

JSON jsonOfCrate(const CrateRow& crate) {
  return {{"identifier", crate.identifier},
          {"name", crate.name},
          {"manufacturer", crate.manufacturer},
          {"virtual", crate.isVirtual},
          {"loops", crate.loopCount}};
}

std::string tableLine(std::string_view name, std::string_view manufacturer, std::string_view loops,
                      std::string_view identifier) {
  return fmt::format("{}  {}  {}  {}", paddedToWidth(name, 28), paddedToWidth(manufacturer, 18),
                     paddedLeftToWidth(loops, 8), identifier);
}

void print(Output& output, const CrateRow& crate) {
  const std::string count = std::to_string(crate.loopCount);
  if (output.resultIsOnTerminal()) {
    output.text(tableLine(printable(crate.name), printable(crate.manufacturer), count, printable(crate.identifier)));
  } else {
    output.text(fmt::format("{}\t{}\t{}\t{}\t{}", onOneLine(crate.identifier), onOneLine(crate.name),
                            onOneLine(crate.manufacturer), crate.isVirtual ? "virtual" : "", count));
  }
}

int listCrates(Context& context) {
  Output& output = context.output;
  const auto engine = openForReading(context);
  const auto crates = LoopRows(engine->sqlite3Connection()).crates();
  if (output.resultIsOnTerminal()) {
    output.text(output.emphasized(tableLine("Name", "Manufacturer", "Loops", "Identifier")));
  }
  output.beginDocument("veskloops.crates/1");
  output.beginList("crates");
  for (const auto& crate : crates) {
    output.item(jsonOfCrate(crate));
    print(output, crate);
  }
  output.endList();
  output.endDocument();
  return kExitDone;
}

}  // namespace

CommandRunner addCratesCommand(CLI::App& app) {
  app.add_subcommand("list", "List them; the same as crates alone")->fallthrough();
  app.require_subcommand(0, 1);
  return listCrates;
}
