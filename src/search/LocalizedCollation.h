// LC_LocalizedSortingCollate, the order of names in a person's language in which the first letter decides before
// anything else.
#pragma once

#include <string_view>

struct sqlite3;

namespace lc {

// -1, 0 or 1. The first UTF-16 units alone are compared in the order of the environment's locale; where they tie, the
// whole texts are. So "by" stands before "Ba".
int compareByFirstUnitThenWhole(std::u16string_view left, std::u16string_view right);

bool registerLocalizedCollation(sqlite3* connection);

}  // namespace lc
