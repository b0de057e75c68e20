// Keywords with the number of loops that carry them, as search --facets and keywords show them.
#pragma once

#include "Output.h"
#include "VeskLoopManagement/catalog/LCCatalogLoop.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// "genre", "mood", "instrument", "other".
std::string keywordKindWord(LCKeywordKind kind);
std::optional<LCKeywordKind> keywordKindForWord(std::string_view word);
std::vector<std::string> keywordKindWords();  // in the order in which keywords are listed

JSON jsonOfKeyword(const LCFacet& facet);
// Keywords, of one kind after the other, as text: in groups on a terminal, else a line for each with name, id,
// category, parent and count between tabs.
void printKeywords(Output& output, std::span<const LCFacet> facets);
