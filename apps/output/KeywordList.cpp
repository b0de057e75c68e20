#include "KeywordList.h"

#include "KeyNames.h"
#include "TerminalText.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"
#include "VeskLoopManagement/platform/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <tuple>

namespace {

std::string parentOf(const KeywordRow& keyword) {
  return LCKeywordHelper::parentKeywordForKeyword(keyword.name).value_or("");
}

std::string tableLine(std::string_view name, std::string_view count, std::string_view id, std::string_view parent) {
  return fmt::format("{}  {}  {}  {}", paddedToWidth(name, 32), paddedLeftToWidth(count, 8), paddedLeftToWidth(id, 6),
                     parent);
}

void printGroups(Output& output, std::span<const KeywordRow> keywords) {
  std::string group;
  for (const auto& keyword : keywords) {
    if (const std::string category = keywordCategoryWord(keyword.category); category != group) {
      if (!group.empty()) output.text("");
      output.text(output.emphasized(tableLine(category, "Loops", "Id", "Part of")));
      group = category;
    }
    const std::string line = tableLine("  " + printable(keyword.name), std::to_string(keyword.loopCount),
                                       std::to_string(keyword.id), parentOf(keyword));
    output.text(line.substr(0, line.find_last_not_of(' ') + 1));
  }
}

}  // namespace

void sortForReading(std::vector<KeywordRow>& keywords) {
  const auto words = keywordCategoryWords();
  const auto placeOf = [&](const KeywordRow& keyword) {
    return std::find(words.begin(), words.end(), keywordCategoryWord(keyword.category)) - words.begin();
  };
  std::stable_sort(keywords.begin(), keywords.end(), [&](const KeywordRow& left, const KeywordRow& right) {
    const auto leftPlace = placeOf(left);
    const auto rightPlace = placeOf(right);
    return std::tie(leftPlace, right.loopCount, left.name) < std::tie(rightPlace, left.loopCount, right.name);
  });
}

JSON jsonOfKeyword(const KeywordRow& keyword) {
  JSON object = {{"keyword", vesk::text::lossyUTF8(keyword.name)},
                 {"id", keyword.id},
                 {"category", keywordCategoryWord(keyword.category)}};
  if (const std::string parent = parentOf(keyword); !parent.empty()) object["parent"] = parent;
  object["count"] = keyword.loopCount;
  return object;
}

void printKeywords(Output& output, std::span<const KeywordRow> keywords) {
  if (output.resultIsOnTerminal()) {
    printGroups(output, keywords);
    return;
  }
  for (const auto& keyword : keywords) {
    output.text(fmt::format("{}\t{}\t{}\t{}\t{}", onOneLine(keyword.name), keyword.id,
                            keywordCategoryWord(keyword.category), parentOf(keyword), keyword.loopCount));
  }
}
