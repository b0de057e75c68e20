#include "CratesCommand.h"

#include "Arguments.h"
#include "Consent.h"
#include "Database.h"
#include "English.h"
#include "PackageList.h"

#include <fmt/format.h>

#include <memory>

namespace {

struct CratesArguments {
  std::vector<std::string> names;  // of crates; to all but "create" an identifier will do, too
  std::optional<std::string> manufacturer;
  std::optional<std::string> identifier;
  bool isVirtual = false;
  bool dryRun = false;
  bool yes = false;
};

enum class Detail { line, properties };

int report(Output& output, const std::vector<LCPackage>& packages, Detail detail = Detail::line,
           bool isDryRun = false) {
  output.beginDocument("veskloops.crates/1");
  output.beginList("crates");
  for (const auto& package : packages) output.item(jsonOfPackage(package));
  output.endList();
  if (isDryRun) output.field("dryRun", true);
  output.endDocument();
  detail == Detail::properties ? printPackagesInDetail(output, packages) : printPackages(output, packages);
  if (isDryRun && output.resultIsOnTerminal()) output.note("dry run: nothing was changed");
  return kExitDone;
}

std::vector<LCPackage> namedPackages(LCCatalog& catalog, const std::vector<std::string>& names) {
  std::vector<LCPackage> packages;
  for (const auto& name : names) packages.push_back(valueOf(catalog.package(name)));
  return packages;
}

void requireNames(const CratesArguments& arguments, const std::string& command) {
  if (!arguments.names.empty()) return;
  throw usageFailure(fmt::format("crates {} needs a name", command),
                     fmt::format("See veskloops help crates {}.", command));
}

std::unique_ptr<LCCatalog> openForChange(const Context& context, const CratesArguments& arguments) {
  return arguments.dryRun ? openForReading(context) : openForMarking(context);
}

// --- The commands ---

int listPackages(Context& context) {
  Output& output = context.output;
  const auto packages = valueOf(openForReading(context)->packages());
  report(output, packages);
  if (output.isText() && output.resultIsOnTerminal()) output.note(counted(std::ssize(packages), "package"));
  return kExitDone;
}

int showPackages(Context& context, const CratesArguments& arguments) {
  requireNames(arguments, "show");
  report(context.output, namedPackages(*openForReading(context), arguments.names), Detail::properties);
  if (context.output.isText() && context.output.resultIsOnTerminal()) {
    context.output.note("veskloops search --crate NAME lists the loops of a package");
  }
  return kExitDone;
}

int createPackage(Context& context, const CratesArguments& arguments) {
  requireNames(arguments, "create");
  if (arguments.names.size() > 1)
    throw usageFailure("crates create makes one package at a time", "Put quotes around a name with blanks.");
  const LCNewPackage package{.name = arguments.names.front(),
                             .manufacturer = arguments.manufacturer,
                             .identifier = arguments.identifier,
                             .isVirtual = arguments.isVirtual};
  const auto made = valueOf(openForChange(context, arguments)->createPackage(package, arguments.dryRun));
  return report(context.output, {made}, Detail::line, arguments.dryRun);
}

// All are found before the first one is removed.
int removePackages(Context& context, const CratesArguments& arguments) {
  requireNames(arguments, "remove");
  const auto catalog = openForChange(context, arguments);
  const auto packages = namedPackages(*catalog, arguments.names);
  if (!arguments.dryRun && !arguments.yes) {
    requireConsent(context.output, counted(packages.size(), "package"), "The loops stay.");
  }
  for (const auto& package : packages) valueOf(catalog->removePackage(package.identifier, arguments.dryRun));
  return report(context.output, packages, Detail::line, arguments.dryRun);
}

// --- Their arguments ---

CLI::App* addCommand(CLI::App& app, const std::string& name, const std::string& description) {
  return app.add_subcommand(name, description)->fallthrough();
}

void addDryRun(CLI::App& app, CratesArguments& arguments) {
  app.add_flag("-n,--dry-run", arguments.dryRun, "Only show what would be done");
}

}  // namespace

CommandRunner addCratesCommand(CLI::App& app) {
  auto arguments = std::make_shared<CratesArguments>();
  addCommand(app, "list", "List the packages, as crates alone does");
  CLI::App* show = addCommand(app, "show", "Show what is known of packages");
  addArguments(*show, "CRATE", arguments->names, "Names or identifiers");
  CLI::App* create = addCommand(app, "create", "Make an empty package; index --crate fills it");
  addArguments(*create, "NAME", arguments->names, "Its name");
  addText(*create, "--manufacturer", arguments->manufacturer, "Who made it (default: User Loops)", "NAME");
  addText(*create, "--identifier", arguments->identifier, "Its identifier (default: made of manufacturer and name)",
          "ID");
  create->add_flag("--virtual", arguments->isVirtual, "Mark it as virtual");
  addDryRun(*create, *arguments);
  CLI::App* remove = addCommand(app, "remove", "Remove packages; their loops stay in the database");
  addArguments(*remove, "CRATE", arguments->names, "Names or identifiers");
  addDryRun(*remove, *arguments);
  remove->add_flag("-y,--yes", arguments->yes, "Do not ask");
  app.require_subcommand(0, 1);
  return [=](Context& context) {
    if (show->parsed()) return showPackages(context, *arguments);
    if (create->parsed()) return createPackage(context, *arguments);
    if (remove->parsed()) return removePackages(context, *arguments);
    return listPackages(context);
  };
}
