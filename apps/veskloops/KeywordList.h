// Keywords with the number of loops that carry them, as search --facets and keywords show them.
#pragma once

#include "LoopRows.h"
#include "Output.h"
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include <span>
#include <vector>

// The database's rows of these keywords, with these counts.
std::vector<KeywordRow> rowsOfKeywords(LoopRows& rows, LCKeywordCounts counts);
// Genres, moods, instruments, others; in each the most frequent first, then by name.
void sortForReading(std::vector<KeywordRow>& keywords);

JSON jsonOfKeyword(const KeywordRow& keyword);
// Sorted keywords as text: in groups on a terminal, else a line for each with name, id, category, parent and count
// between tabs.
void printKeywords(Output& output, std::span<const KeywordRow> keywords);
