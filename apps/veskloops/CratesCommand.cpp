#include "CratesCommand.h"

#include "Database.h"
#include "Output.h"
#include "TerminalText.h"

#include <fmt/format.h>

namespace {

JSON jsonOfPackage(const LCPackage& package) {
  return {{"identifier", package.identifier},
          {"name", package.name},
          {"manufacturer", package.manufacturer},
          {"virtual", package.isVirtual},
          {"loops", package.loopCount}};
}

std::string tableLine(std::string_view name, std::string_view manufacturer, std::string_view loops,
                      std::string_view identifier) {
  return fmt::format("{}  {}  {}  {}", paddedToWidth(name, 28), paddedToWidth(manufacturer, 18),
                     paddedLeftToWidth(loops, 8), identifier);
}

void print(Output& output, const LCPackage& package) {
  const std::string count = std::to_string(package.loopCount);
  if (output.resultIsOnTerminal()) {
    output.text(
        tableLine(printable(package.name), printable(package.manufacturer), count, printable(package.identifier)));
  } else {
    output.text(fmt::format("{}\t{}\t{}\t{}\t{}", onOneLine(package.identifier), onOneLine(package.name),
                            onOneLine(package.manufacturer), package.isVirtual ? "virtual" : "", count));
  }
}

int listPackages(Context& context) {
  Output& output = context.output;
  const auto packages = valueOf(openForReading(context)->packages());
  if (output.resultIsOnTerminal()) {
    output.text(output.emphasized(tableLine("Name", "Manufacturer", "Loops", "Identifier")));
  }
  output.beginDocument("veskloops.crates/1");
  output.beginList("crates");
  for (const auto& package : packages) {
    output.item(jsonOfPackage(package));
    print(output, package);
  }
  output.endList();
  output.endDocument();
  return kExitDone;
}

}  // namespace

CommandRunner addCratesCommand(CLI::App& app) {
  app.add_subcommand("list", "List them; the same as crates alone")->fallthrough();
  app.require_subcommand(0, 1);
  return listPackages;
}
