#include "FamilyCommand.h"

#include "Arguments.h"
#include "Database.h"
#include "LoopArguments.h"
#include "LoopJSON.h"
#include "Output.h"
#include "TerminalText.h"
#include "VeskLoopManagement/platform/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <memory>

namespace {

struct FamilyArguments {
  std::vector<std::string> loops;
  bool inKey = false;
  bool print0 = false;
};

JSON jsonOfMember(const LCCatalogLoop& member, bool isGiven) {
  JSON object = jsonOfLoop(member);
  object["isGiven"] = isGiven;
  return object;
}

void printList(Output& output, const std::vector<LCCatalogLoop>& members, int64_t givenId) {
  size_t width = 0;
  for (const auto& member : members) width = std::max(width, displayWidth(printable(member.fileName)));
  for (const auto& member : members) {
    const std::string folder = std::filesystem::path(member.place.path()).parent_path();
    output.text(fmt::format("{} {}  {}", member.place.id == givenId ? '*' : ' ',
                            paddedToWidth(printable(member.fileName), width), output.faint(printable(folder))));
  }
}

void printPaths(Output& output, std::vector<LCCatalogLoop> members, const FamilyArguments& arguments, int64_t givenId) {
  std::stable_partition(members.begin(), members.end(),
                        [&](const LCCatalogLoop& member) { return member.place.id == givenId; });
  for (const auto& member : members) output.rawText(member.place.path() + (arguments.print0 ? '\0' : '\n'));
}

int runFamily(Context& context, const FamilyArguments& arguments) {
  if (arguments.loops.size() != 1) throw usageFailure("family needs one loop", "See veskloops help family.");
  const LCLoopReference reference = loopArgument(arguments.loops.front());
  Output& output = context.output;
  const auto catalog = openForReading(context);
  const LCCatalogLoop given = valueOf(catalog->loop(reference));
  const bool hasKey = given.rootNote > 0;
  if (arguments.inKey && !hasKey) output.note("the loop has no key; its variants of every key are listed");
  const auto rootNote = arguments.inKey && hasKey ? std::optional(given.rootNote) : std::nullopt;
  const auto family = valueOf(catalog->family(given.place.id, rootNote));

  output.beginDocument("veskloops.family/1");
  output.field("family", vesk::text::lossyUTF8(family.name));
  output.field("total", family.members.size());
  output.field("offset", 0);
  output.beginList("loops");
  for (const auto& member : family.members) output.item(jsonOfMember(member, member.place.id == given.place.id));
  output.endList();
  output.endDocument();
  if (output.resultIsOnTerminal() && !arguments.print0) {
    printList(output, family.members, given.place.id);
  } else {
    printPaths(output, family.members, arguments, given.place.id);
  }
  return kExitDone;
}

}  // namespace

CommandRunner addFamilyCommand(CLI::App& app) {
  auto arguments = std::make_shared<FamilyArguments>();
  addArguments(app, "LOOP", arguments->loops, "One of the variants; where paths are printed, its own stands first");
  app.add_flag("--key", arguments->inKey, "Only variants in the loop's key or two semitones around it, or without key");
  app.add_flag("--print0", arguments->print0, "End every path with a NUL character");
  return [arguments](Context& context) {
    if (arguments->print0 && context.options.format != ResultFormat::text) {
      throw usageFailure("--print0 excludes --json and --jsonl");
    }
    return runFamily(context, *arguments);
  };
}
