#include "KeywordRows.h"

#include "VeskLoopManagement/model/LCKeywordHelper.h"

std::vector<KeywordRow> rowsOfKeywords(LoopRows& rows, LCKeywordCounts counts) {
  std::vector<KeywordRow> found;
  for (auto& keyword : rows.keywords({})) {
    const auto counted = counts.find(keyword.name);
    if (counted == counts.end()) continue;
    keyword.loopCount = counted->second;
    counts.erase(counted);  // of several rows with this name the first one stands
    found.push_back(std::move(keyword));
  }
  // What the taxonomy knows and an incomplete database does not.
  for (const auto& [name, count] : counts) {
    found.push_back({.id = LCKeywordHelper::keywordIdForKeyword(name),
                     .name = name,
                     .category = LCKeywordHelper::keywordCategoryForKeyword(name),
                     .loopCount = count});
  }
  return found;
}
