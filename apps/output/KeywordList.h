// Keywords with the number of loops that carry them, as search --facets and keywords show them.
#pragma once

#include "LoopRow.h"
#include "Output.h"

#include <span>
#include <vector>

// Genres, moods, instruments, others; in each the most frequent first, then by name.
void sortForReading(std::vector<KeywordRow>& keywords);

JSON jsonOfKeyword(const KeywordRow& keyword);
// Sorted keywords as text: in groups on a terminal, else a line for each with name, id, category, parent and count
// between tabs.
void printKeywords(Output& output, std::span<const KeywordRow> keywords);
