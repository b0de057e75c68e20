#include "search/RestrictionClauses.h"

#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCStatement.h"

#include <fmt/format.h>

#include <algorithm>

namespace lc {

namespace {

// Loops without a tempo are stored with 0 or -1.
RestrictionClause tempoClause(const std::vector<LCTempoRange>& tempos, std::string_view loopsTable) {
  RestrictionClause clause;
  for (const LCTempoRange& range : tempos) {
    clause.text +=
        lc::sqlFormat(clause.text.empty() ? "%@.tempo BETWEEN ? AND ?" : " OR %@.tempo BETWEEN ? AND ?", {loopsTable});
    clause.values.insert(clause.values.end(), {range.lowest, range.highest});
  }
  clause.text = lc::sqlFormat("(%@.tempo > 0 AND (%@))", {loopsTable, clause.text});
  return clause;
}

bool run(LCStatement statement) {
  return statement.run();
}

}  // namespace

std::vector<RestrictionClause> restrictionClauses(const LCSearchRestrictions& restrictions,
                                                  std::string_view loopsTable) {
  std::vector<RestrictionClause> clauses;
  if (!restrictions.tempos.empty()) clauses.push_back(tempoClause(restrictions.tempos, loopsTable));
  if (restrictions.minimumRating) clauses.push_back({"(UserData.rating >= ?)", {*restrictions.minimumRating}});
  if (restrictions.candidateIds) {
    clauses.push_back({lc::sqlFormat("(%@.id IN (SELECT loopId FROM temp.searchCandidates))", {loopsTable}), {}});
  }
  return clauses;
}

std::string conditionOf(const std::vector<RestrictionClause>& clauses) {
  std::string condition;
  for (const RestrictionClause& clause : clauses) condition += (condition.empty() ? "" : " AND ") + clause.text;
  return condition;
}

void bindRestrictions(const std::vector<RestrictionClause>& clauses, LCStatement& statement) {
  int parameter = 0;
  for (const RestrictionClause& clause : clauses) {
    for (const auto& value : clause.values) {
      std::visit([&](const auto& bound) { statement.bind(++parameter, bound); }, value);
    }
  }
}

// One statement takes all ids, so that the table is whole or empty without a transaction, which may be the host's.
// In ascending order each one goes to the end of the table.
bool prepareCandidates(const LCSearchRestrictions& restrictions, sqlite3* connection) {
  if (!run(LCStatement(connection, "DROP TABLE IF EXISTS temp.searchCandidates"))) return false;
  if (!restrictions.candidateIds) return true;
  if (!run(LCStatement(connection, "CREATE TEMPORARY TABLE searchCandidates (loopId INTEGER PRIMARY KEY)"))) {
    return false;
  }
  std::vector<int64_t> ids = *restrictions.candidateIds;
  std::sort(ids.begin(), ids.end());
  LCStatement fill(connection, "INSERT OR IGNORE INTO temp.searchCandidates SELECT value FROM json_each(?1)");
  fill.bind(1, fmt::format("[{}]", fmt::join(ids, ",")));
  return run(std::move(fill));
}

}  // namespace lc
