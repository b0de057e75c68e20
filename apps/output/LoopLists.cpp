#include "LoopLists.h"

#include "LoopJSON.h"
#include "TerminalText.h"
#include "TextTable.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using Kind = TextTableColumn::Kind;

constexpr TextTableColumn kFolderColumn{.title = "Folder", .width = 10, .kind = Kind::path, .grows = true};

std::string folderOf(const LCLoopPlace& place) {
  return printable(std::filesystem::path(place.path()).parent_path().string());
}

std::string nameOf(const LCLoopPlace& place) {
  return printable(std::filesystem::path(place.path()).filename().string());
}

// As wide as its widest cell.
TextTableColumn columnOf(std::string_view title, const std::vector<std::string>& cells) {
  TextTableColumn column{.title = title, .width = displayWidth(title)};
  for (const auto& cell : cells) column.width = std::max(column.width, displayWidth(cell));
  return column;
}

}  // namespace

// --- Families ---

JSON jsonOfMember(const LCCatalogLoop& member, int64_t givenId) {
  JSON object = jsonOfLoop(member);
  object["isGiven"] = member.place.id == givenId;
  return object;
}

void printFamilyTable(Output& output, std::span<const LCCatalogLoop> members, int64_t givenId) {
  std::vector<std::string> names;
  for (const auto& member : members) names.push_back(printable(member.fileName));
  const TextTable table({{.width = 1, .kind = Kind::number}, columnOf("Name", names), kFolderColumn},
                        output.resultTraits().columns);
  output.text(output.emphasized(table.header()));
  for (const auto& member : members) {
    output.text(table.row(std::vector<std::string>{member.place.id == givenId ? "*" : "", printable(member.fileName),
                                                   folderOf(member.place)}));
  }
}

void printFamilyPaths(Output& output, std::span<const LCCatalogLoop> members, int64_t givenId, std::string_view end) {
  for (const bool isGivenAsked : {true, false}) {
    for (const auto& member : members) {
      if ((member.place.id == givenId) == isGivenAsked) output.rawText(member.place.path().append(end));
    }
  }
}

// --- Marks ---

JSON jsonOfMarkedLoop(const LCMarkedLoop& loop) {
  JSON object = jsonOfPlace(loop.place);
  object["favorite"] = loop.marks.isFavorite;
  object["rating"] = loop.marks.rating;
  object["comment"] = loop.marks.comment;
  object["changed"] = loop.isChanged;
  return object;
}

void printMarkedLoops(Output& output, std::span<const LCMarkedLoop> loops) {
  if (!output.resultIsOnTerminal()) {
    for (const auto& [place, marks, isChanged] : loops) {
      output.rawText(fmt::format("{}\t{}\t{}\t{}\n", place.path(), marks.isFavorite ? "yes" : "no", marks.rating,
                                 onOneLine(marks.comment)));
    }
    return;
  }
  std::vector<std::string> names, comments;
  for (const auto& [place, marks, isChanged] : loops) {
    names.push_back(nameOf(place));
    comments.push_back(printable(marks.comment));
  }
  const TextTable table({columnOf("Name", names),
                         {.title = "Fav.", .width = 4},
                         {.title = "Rating", .width = 6, .kind = Kind::number},
                         columnOf("Comment", comments),
                         kFolderColumn},
                        output.resultTraits().columns);
  output.text(output.emphasized(table.header()));
  for (size_t index = 0; index < loops.size(); ++index) {
    const auto& [place, marks, isChanged] = loops[index];
    output.text(table.row(std::vector<std::string>{names[index], marks.isFavorite ? "yes" : "",
                                                   marks.rating > 0 ? std::to_string(marks.rating) : "",
                                                   comments[index], folderOf(place)}));
  }
}
