#include "search/RestrictionClauses.h"

#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCStatement.h"
#include "VeskLoopManagement/platform/Text.h"
#include "VeskLoopManagement/platform/URL.h"

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

// Loops without a key are stored with 0 or -1.
RestrictionClause keyClause(const LCSearchRestrictions& restrictions, std::string_view loopsTable) {
  RestrictionClause clause;
  for (const LCKeyPattern& pattern : restrictions.keys) {
    clause.text += fmt::format("{}({}.key % 12 = ?", clause.text.empty() ? "" : " OR ", loopsTable);
    clause.values.emplace_back(pattern.note);
    if (pattern.withoutType != 0) {
      clause.text += fmt::format(" AND {}.keyType IS NOT ?", loopsTable);
      clause.values.emplace_back(pattern.withoutType);
    }
    clause.text += ')';
  }
  if (clause.text.empty()) return {fmt::format("({}.key > 0)", loopsTable), {}};
  clause.text = restrictions.onlyWithKey ? fmt::format("({}.key > 0 AND ({}))", loopsTable, clause.text)
                                         : fmt::format("(ifnull({0}.key, 0) <= 0 OR {1})", loopsTable, clause.text);
  return clause;
}

// --- Words ---

std::string containing(std::string_view text) {
  std::string pattern = "%";
  for (const char character : text) {
    if (character == '%' || character == '_' || character == '\\') pattern += '\\';
    pattern += character;
  }
  return pattern + '%';
}

std::string folderList(const std::vector<std::string>& folders) {
  std::vector<std::string> quoted;
  for (const std::string& folder : folders) {
    const std::string text = vesk::text::replacingAll(folder, "\\", "\\\\");
    quoted.push_back('"' + vesk::text::replacingAll(text, "\"", "\\\"") + '"');
  }
  return fmt::format("[{}]", fmt::join(quoted, ","));
}

// What of the URL is looked at. rtrim() with every character but "/" takes off what stands behind the last "/".
constexpr std::string_view kSearchedPartOfURL =
    "coalesce((SELECT substr({0}.fileURL, length(value) + 1) FROM json_each(?) "
    "WHERE substr({0}.fileURL, 1, length(value)) = value LIMIT 1), "
    "substr({0}.fileURL, 1 + length(rtrim(rtrim(rtrim({0}.fileURL, replace({0}.fileURL, '/', '')), '/'), "
    "replace({0}.fileURL, '/', '')))))";

// The whole URL is compared first, which rules out nearly every loop before the part is cut out of it.
RestrictionClause textClause(const LCWordRestriction& text, std::string_view loopsTable,
                             std::string_view localizedLike) {
  const std::string whole = fmt::format("{}", fmt::join(text.words, " "));
  const std::string_view like = vesk::text::isASCII(whole) ? "LIKE" : localizedLike;
  const std::string pattern = containing(whole), patternInURL = containing(vesk::percentEncodedPath(whole));
  const std::string part = fmt::format(fmt::runtime(kSearchedPartOfURL), loopsTable);
  RestrictionClause clause{
      fmt::format(R"((({0}.fileURL LIKE ? ESCAPE '\' AND {1} LIKE ? ESCAPE '\'))", loopsTable, part),
      {patternInURL, folderList(text.folders), patternInURL}};
  for (const char* column : {"comment", "title", "author", "collection", "theme"}) {
    clause.text += fmt::format(R"( OR {}(?, {}.{}, '\'))", like, loopsTable, column);
    clause.values.emplace_back(pattern);
  }
  std::string names;
  for (const std::string& word : vesk::text::split(whole, ' ')) {
    if (word.empty()) continue;  // occurs in every name
    names += fmt::format(R"({}{}(?, {}.fileName, '\'))", names.empty() ? "" : " AND ", like, loopsTable);
    clause.values.emplace_back(containing(word));
  }
  clause.text += fmt::format(" OR ({}))", names.empty() ? "1" : names);
  return clause;
}

bool run(LCStatement statement) {
  return statement.run();
}

}  // namespace

std::vector<RestrictionClause> restrictionClauses(const LCSearchRestrictions& restrictions, std::string_view loopsTable,
                                                  std::string_view likeFunction) {
  std::vector<RestrictionClause> clauses;
  if (!restrictions.keys.empty() || restrictions.onlyWithKey) clauses.push_back(keyClause(restrictions, loopsTable));
  if (!restrictions.folder.empty()) {
    clauses.push_back({fmt::format("(substr({}.fileURL, 1, length(?)) = ?)", loopsTable),
                       {restrictions.folder, restrictions.folder}});
  }
  if (!restrictions.textInName.empty()) {
    clauses.push_back(
        {fmt::format(R"(({}.fileName LIKE ? ESCAPE '\'))", loopsTable), {containing(restrictions.textInName)}});
  }
  if (!restrictions.text.words.empty()) clauses.push_back(textClause(restrictions.text, loopsTable, likeFunction));
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
