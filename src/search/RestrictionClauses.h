// LCSearchRestrictions as SQL over the loops table joined with UserData: a clause for each field that is set. A new
// kind of restriction is a field there and a clause here.
#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "VeskLoopManagement/search/LCSearchRestrictions.h"

class LCStatement;
struct sqlite3;

namespace lc {

// A condition, and what is bound to its "?" in their order. No value ever stands in the text.
struct RestrictionClause {
  std::string text;
  std::vector<std::variant<int64_t, double, std::string>> values;
};

// `likeFunction` is the SQL function that compares patterns that are not ASCII.
std::vector<RestrictionClause> restrictionClauses(const LCSearchRestrictions& restrictions, std::string_view loopsTable,
                                                  std::string_view likeFunction);
std::string conditionOf(const std::vector<RestrictionClause>& clauses);  // all of them; "" when there are none
// Binds the values of all clauses from the first parameter on.
void bindRestrictions(const std::vector<RestrictionClause>& clauses, LCStatement& statement);
// Makes the temporary table that the clause of the candidates reads; drops it when there are none. False when SQLite
// refuses.
bool prepareCandidates(const LCSearchRestrictions& restrictions, sqlite3* connection);

}  // namespace lc
