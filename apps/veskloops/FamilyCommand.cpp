#include "FamilyCommand.h"

#include "Arguments.h"
#include "Database.h"
#include "JSON.h"
#include "KeyNames.h"
#include "LoopArguments.h"
#include "LoopRows.h"
#include "Output.h"
#include "platform/Path.h"
#include "TerminalText.h"
#include "VeskLoopManagement/platform/Text.h"
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>

namespace {

struct FamilyArguments {
  std::vector<std::string> loops;
  bool inKey = false;
  bool print0 = false;
};

struct Member {
  int64_t id = 0;
  std::string urlText;
  std::string name;  // of the file
  int64_t loopType = 0;
};

Member memberOfRow(const LoopRow& row) {
  return Member{.id = row.id,
                .urlText = row.urlText,
                .name = vesk::path::lastComponent(pathOfURLText(row.urlText)),
                .loopType = row.loopType};
}

// What is left of a file's name without extension and variant number.
std::string familyName(const std::string& fileName) {
  return LCSearchEngine::familyNameForLoopName(fileName).value_or(vesk::path::deletingExtension(fileName));
}

// The engine's family is everything that begins with the family's name, folders included ("Pad" brings "Pads/Slow 1"
// and "Pad Swell 01"); of these only the variants are meant.
std::vector<Member> familyOf(const LCSearchEngine& engine, const LoopRow& given, int64_t rootKey) {
  const Member givenMember = memberOfRow(given);
  const std::string family = familyName(givenMember.name);
  std::vector<Member> members;
  bool hasGiven = false;
  const auto candidates = engine.loopFamilyForLoopId(given.id, std::nullopt, rootKey);
  for (const auto& found : candidates.value_or(std::vector<LCLoopFamilyMember>())) {
    if (!found.url) continue;
    const Member member{.id = found.loopId,
                        .urlText = found.url->absoluteString(),
                        .name = found.url->lastPathComponent(),
                        .loopType = found.vireoLoopType};
    if (!vesk::text::equalIgnoringCase(familyName(member.name), family)) continue;
    hasGiven = hasGiven || member.id == given.id;
    members.push_back(member);
  }
  if (!hasGiven) members.insert(members.begin(), givenMember);  // nothing but a number is its name
  return members;
}

JSON jsonOfMember(const Member& member, bool isGiven) {
  JSON object = {{"id", std::to_string(member.id)}};
  addPath(object, pathOfURLText(member.urlText), member.urlText);
  object["fileName"] = vesk::text::lossyUTF8(member.name);
  if (const auto type = loopTypeName(member.loopType)) object["loopType"] = *type;
  object["isGiven"] = isGiven;
  return object;
}

void printList(Output& output, const std::vector<Member>& members, int64_t givenId) {
  size_t width = 0;
  for (const auto& member : members) width = std::max(width, displayWidth(printable(member.name)));
  for (const auto& member : members) {
    const std::string folder = vesk::path::deletingLastComponent(pathOfURLText(member.urlText));
    output.text(fmt::format("{} {}  {}", member.id == givenId ? '*' : ' ', paddedToWidth(printable(member.name), width),
                            output.faint(printable(folder))));
  }
}

void printPaths(Output& output, std::vector<Member> members, const FamilyArguments& arguments, int64_t givenId) {
  std::stable_partition(members.begin(), members.end(), [&](const Member& member) { return member.id == givenId; });
  for (const auto& member : members) {
    output.rawText(pathOfURLText(member.urlText) + (arguments.print0 ? '\0' : '\n'));
  }
}

LoopRow givenLoop(LoopRows& rows, const std::string& text) {
  const LoopArgument argument = loopArgument(text);
  const auto place = findPlace(rows, argument);
  const auto row = place ? rows.rowWithId(place->id) : std::nullopt;
  if (!row) throw unknownLoop(argument, &rows);
  return *row;
}

int runFamily(Context& context, const FamilyArguments& arguments) {
  if (arguments.loops.size() != 1) throw usageFailure("family needs one loop", "See veskloops help family.");
  Output& output = context.output;
  const auto engine = openForReading(context);
  LoopRows rows(engine->sqlite3Connection());
  const LoopRow given = givenLoop(rows, arguments.loops.front());
  const int64_t rootKey = arguments.inKey ? engineRootKey(given.rootNote) : 0;
  if (arguments.inKey && rootKey == 0) output.note("the loop has no key; its variants of every key are listed");
  const auto members = familyOf(*engine, given, rootKey);

  output.beginDocument("veskloops.family/1");
  output.field("family", vesk::text::lossyUTF8(familyName(memberOfRow(given).name)));
  output.beginList("loops");
  for (const auto& member : members) output.item(jsonOfMember(member, member.id == given.id));
  output.endList();
  output.endDocument();
  if (output.resultIsOnTerminal() && !arguments.print0) {
    printList(output, members, given.id);
  } else {
    printPaths(output, members, arguments, given.id);
  }
  return kExitDone;
}

}  // namespace

CommandRunner addFamilyCommand(CLI::App& app) {
  auto arguments = std::make_shared<FamilyArguments>();
  addArguments(app, "LOOP", arguments->loops, "One of the variants; where paths are printed, its own stands first");
  app.add_flag("--key", arguments->inKey, "Only variants in the loop's key or two semitones around it, or without key");
  app.add_flag("--print0", arguments->print0, "End every path with a NUL character");
  return [arguments](Context& context) { return runFamily(context, *arguments); };
}
