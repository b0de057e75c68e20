#include "PackageList.h"

#include "TerminalText.h"
#include "TextTable.h"

#include <fmt/format.h>

namespace {

void printFields(Output& output, const LCPackage& package) {
  output.text(fmt::format("{}\t{}\t{}\t{}\t{}", onOneLine(package.identifier), onOneLine(package.name),
                          onOneLine(package.manufacturer), package.isVirtual ? "virtual" : "", package.loopCount));
}

void printDetails(Output& output, const LCPackage& package) {
  constexpr size_t kNameWidth = 14;
  output.text(output.emphasized(printable(package.name)));
  for (const auto& [name, value] : {std::pair("Identifier", package.identifier),
                                    {"Manufacturer", package.manufacturer},
                                    {"Virtual", package.isVirtual ? "yes" : "no"},
                                    {"Loops", std::to_string(package.loopCount)}}) {
    output.text(fmt::format("  {}{}", output.faint(paddedToWidth(name, kNameWidth)), printable(value)));
  }
}

}  // namespace

JSON jsonOfPackage(const LCPackage& package) {
  return {{"identifier", package.identifier},
          {"name", package.name},
          {"manufacturer", package.manufacturer},
          {"virtual", package.isVirtual},
          {"loops", package.loopCount}};
}

void printPackages(Output& output, std::span<const LCPackage> packages) {
  if (!output.resultIsOnTerminal()) {
    for (const auto& package : packages) printFields(output, package);
    return;
  }
  using Kind = TextTableColumn::Kind;
  const TextTable table({{.title = "Name", .width = 28},
                         {.title = "Manufacturer", .width = 18},
                         {.title = "Loops", .width = 6, .kind = Kind::number},
                         {.title = "Identifier", .width = 30, .kind = Kind::path, .grows = true}},
                        output.resultTraits().columns);
  output.text(output.emphasized(table.header()));
  for (const auto& package : packages) {
    output.text(table.row(std::vector{printable(package.name), printable(package.manufacturer),
                                      std::to_string(package.loopCount), printable(package.identifier)}));
  }
}

void printPackagesInDetail(Output& output, std::span<const LCPackage> packages) {
  for (const auto& package : packages) {
    output.resultIsOnTerminal() ? printDetails(output, package) : printFields(output, package);
  }
}
