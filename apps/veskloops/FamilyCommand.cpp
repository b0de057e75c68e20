#include "FamilyCommand.h"

#include "Arguments.h"
#include "Database.h"
#include "LoopArguments.h"
#include "LoopLists.h"
#include "VeskLoopManagement/platform/Text.h"

#include <memory>

namespace {

struct FamilyArguments {
  std::vector<std::string> loops;
  bool inKey = false;
  bool print0 = false;
};

int runFamily(Context& context, const FamilyArguments& arguments) {
  if (arguments.loops.size() != 1) throw usageFailure("family needs one loop", "See veskloops help family.");
  const LCLoopReference reference = loopArgument(arguments.loops.front());
  Output& output = context.output;
  const auto catalog = openForReading(context);
  const LCCatalogLoop given = valueOf(catalog->loop(reference));
  const bool hasKey = given.rootNote > 0;
  if (arguments.inKey && !hasKey) output.note("the loop has no key; its variants in every key are listed");
  const auto rootNote = arguments.inKey && hasKey ? std::optional(given.rootNote) : std::nullopt;
  const auto family = valueOf(catalog->family(given.place.id, rootNote));

  output.beginDocument("veskloops.family/1");
  output.field("family", vesk::text::lossyUTF8(family.name));
  output.field("total", family.members.size());
  output.field("offset", 0);
  output.beginList("loops");
  for (const auto& member : family.members) output.item(jsonOfMember(member, given.place.id));
  output.endList();
  output.endDocument();
  if (output.resultIsOnTerminal() && !arguments.print0) {
    printFamilyTable(output, family.members, given.place.id);
  } else {
    printFamilyPaths(output, family.members, given.place.id, std::string(1, arguments.print0 ? '\0' : '\n'));
  }
  return kExitDone;
}

}  // namespace

CommandRunner addFamilyCommand(CLI::App& app) {
  auto arguments = std::make_shared<FamilyArguments>();
  addArguments(app, "LOOP", arguments->loops, "One of the variants; where paths are printed, its own comes first");
  app.add_flag("--key", arguments->inKey, "Only variants in the loop's key or two semitones around it, or without key");
  app.add_flag("--print0", arguments->print0, "End every path with a NUL character");
  return [arguments](Context& context) {
    if (arguments->print0 && context.options.format != ResultFormat::text) {
      throw usageFailure("--print0 does not go together with --json or --jsonl");
    }
    return runFamily(context, *arguments);
  };
}
