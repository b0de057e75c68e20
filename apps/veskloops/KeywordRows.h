// Counted keywords with what the database says of them.
#pragma once

#include "LoopRows.h"
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include <vector>

// The database's rows of these keywords, with these counts.
std::vector<KeywordRow> rowsOfKeywords(LoopRows& rows, LCKeywordCounts counts);
