#include "KeywordList.h"

#include "TerminalText.h"
#include "TextTable.h"
#include "VeskLoopManagement/platform/Text.h"

#include <fmt/format.h>

namespace {

struct KindWord {
  LCKeywordKind kind;
  std::string_view word;
};
constexpr KindWord kKindWords[] = {{LCKeywordKind::genre, "genre"},
                                   {LCKeywordKind::mood, "mood"},
                                   {LCKeywordKind::instrument, "instrument"},
                                   {LCKeywordKind::other, "other"}};

TextTable tableOfGroup(const std::string& category, size_t width) {
  using Kind = TextTableColumn::Kind;
  return {{{.title = category, .width = 32},
           {.title = "Loops", .width = 8, .kind = Kind::number},
           {.title = "Id", .width = 6, .kind = Kind::number},
           {.title = "Part of", .width = 20}},
          width};
}

void printGroups(Output& output, std::span<const LCFacet> facets) {
  const TextTable table = tableOfGroup({}, output.resultTraits().columns);
  std::string group;
  for (const auto& facet : facets) {
    if (const std::string category = keywordKindWord(facet.kind()); category != group) {
      if (!group.empty()) output.text("");
      output.text(output.emphasized(tableOfGroup(category, output.resultTraits().columns).header()));
      group = category;
    }
    output.text(table.row(std::vector{"  " + printable(facet.keyword.name), std::to_string(facet.loopCount),
                                      std::to_string(facet.keyword.id), facet.parent.value_or("")}));
  }
}

}  // namespace

std::string keywordKindWord(LCKeywordKind kind) {
  for (const auto& entry : kKindWords) {
    if (entry.kind == kind) return std::string(entry.word);
  }
  return {};
}

std::optional<LCKeywordKind> keywordKindForWord(std::string_view word) {
  for (const auto& entry : kKindWords) {
    if (entry.word == word) return entry.kind;
  }
  return std::nullopt;
}

std::vector<std::string> keywordKindWords() {
  std::vector<std::string> words;
  for (const auto& entry : kKindWords) words.emplace_back(entry.word);
  return words;
}

JSON jsonOfKeyword(const LCFacet& facet) {
  JSON object = {{"keyword", vesk::text::lossyUTF8(facet.keyword.name)},
                 {"id", facet.keyword.id},
                 {"category", keywordKindWord(facet.kind())}};
  addIfPresent(object, "parent", facet.parent);
  object["count"] = facet.loopCount;
  return object;
}

void printKeywords(Output& output, std::span<const LCFacet> facets) {
  if (output.resultIsOnTerminal()) {
    printGroups(output, facets);
    return;
  }
  for (const auto& facet : facets) {
    output.text(fmt::format("{}\t{}\t{}\t{}\t{}", onOneLine(facet.keyword.name), facet.keyword.id,
                            keywordKindWord(facet.kind()), facet.parent.value_or(""), facet.loopCount));
  }
}
