// Running a search and reading its rows. The result is the temporary table "tempTable", whose rowid counts from 1 in
// sort order.
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include "database/DatabaseDamage.h"
#include "search/RestrictionClauses.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCStatement.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"
#include "VeskLoopManagement/platform/Environment.h"

#include <fmt/format.h>
#include <sqlite3.h>

namespace {

constexpr std::string_view kResultTable = "tempTable";

constexpr std::string_view kSelectKeywordIdsRarestFirst =
    "select keywords.id from keywords join keyword_distribution on keyword_distribution.keywordId=id "
    "where keywords.name IN (%@) order by count ASC";

constexpr std::string_view kSelectKeywordIdsOfResult =
    "SELECT instrumentTypeId, instrumentSubTypeId, genreId, singleEnsembleKeywordId, partFillKeywordId, "
    "acousticElectricKeywordId, dryProcessedKeywordId, cleanDistortedKeywordId, cheerfulDarkKeywordId, "
    "relaxedIntenseKeywordId, groovingArrhythmicKeywordId, melodicDissonantKeywordId FROM tempTable";

// The names of the columns of a CREATE TABLE statement, in lower case: SQL does not tell cases apart.
std::set<std::string> columnNames(std::string_view createStatement) {
  const size_t first = createStatement.find('(') + 1;
  std::set<std::string> names;
  for (const std::string& column : vesk::text::split(createStatement.substr(first), ',')) {
    names.insert(vesk::text::asciiLowercase(column.substr(0, column.find(' '))));
  }
  return names;
}

// The desktop variant's result has every column but one of the mobile variant's.
bool isSortKey(const std::string& key) {
  static const std::set<std::string> columns = columnNames(kCreateLoopsResultTableFormatString);
  const bool isColumn = columns.contains(vesk::text::asciiLowercase(key)) || key == kLoopsChineseTranscriptColumn;
  if (!isColumn) vesk::log(fmt::format("Not sorted by \"{}\", which is no column of the result", key));
  return isColumn;
}

bool canSortBy(const LCSortDescriptor& descriptor) {
  if (descriptor.by == LCSortDescriptor::By::rating) return true;
  if (!descriptor.isRandom) return isSortKey(descriptor.key);
  vesk::log("Not sorted at random, which only stands alone");
  return false;
}

const char* directionName(bool ascending) {
  return ascending ? "ASC" : "DESC";
}

// The name of the keyword, and of one from outside the taxonomy the text of the row, which is its own only where a tag
// says so, too. The columns of texts are called as those of ids without the "Id".
constexpr const char* kKeywordName =
    "coalesce((SELECT name FROM Keywords WHERE Keywords.id = %@.%@), "
    "(SELECT Keywords.name FROM LoopsKeywords JOIN Tagging ON Tagging.loopId = LoopsKeywords.loopId "
    "JOIN Keywords ON Keywords.id = Tagging.keywordId "
    "WHERE LoopsKeywords.loopId = %@.id AND Keywords.name = LoopsKeywords.%@)) COLLATE NOCASE %@ NULLS LAST ";

std::string sortedByMeaning(const LCSortDescriptor& descriptor, const std::string& loopsTable) {
  const char* direction = directionName(descriptor.ascending);
  if (descriptor.by == LCSortDescriptor::By::rating)
    return lc::sqlFormat("ifnull(UserData.rating, 0) %@ ", {direction});
  const std::string textColumn = descriptor.key.substr(0, descriptor.key.rfind("Id"));
  return lc::sqlFormat(kKeywordName, {loopsTable, descriptor.key, loopsTable, textColumn, direction});
}

// Loops of equally many beats are ordered by their length.
std::string tieBreak(const std::string& column, const char* direction) {
  return column == "numberOfBeats" ? lc::sqlFormat(" , lengthInSeconds %@ ", {direction}) : "";
}

std::set<int64_t> idsInAllColumns(LCStatement& statement) {
  const int columnCount = statement.columnCount();
  std::set<int64_t> ids;
  while (statement.step()) {
    for (int column = 0; column < columnCount; ++column) {
      const int64_t id = statement.int64At(column);
      if (id >= 1) ids.insert(id);
    }
  }
  return statement.succeeded() ? ids : std::set<int64_t>();
}

int64_t rowIndexFromRowId(std::optional<int64_t> rowId) {
  return rowId ? *rowId - 1 : LCSearchEngine::kNotFound;
}

}  // namespace

std::optional<LCCell> lc::ResultPage::cell(const std::string& column, int64_t row) const {
  const auto cells = columns.find(column);
  if (cells == columns.end() || row < firstRow) return std::nullopt;
  const auto offset = static_cast<uint64_t>(row - firstRow);
  return offset < cells->second.size() ? std::optional(cells->second[offset]) : std::nullopt;
}

// A step that fails does not keep the later ones from running, so that the result is the old one no longer.
void LCSearchEngine::doSearch() {
  m_lastSearchFailure.reset();
  const auto clauses = lc::restrictionClauses(m_settings.restrictions, m_tables.loops, textSearchLikeFunction());
  const std::string statement = searchStatement(lc::conditionOf(clauses));
  sqlite3* connection = m_sqlite.get();
  runForSearch(LCStatement(connection, "DROP TABLE IF EXISTS tempTable"));
  runForSearch(
      LCStatement(connection, lc::sqlFormat(createLoopsResultTableFormatString(), {"TEMPORARY", kResultTable})));
  if (!lc::prepareCandidates(m_settings.restrictions, connection)) noteSearchFailure();
  LCStatement insert(connection, lc::sqlFormat("INSERT INTO tempTable %@ ", {statement}));
  lc::bindRestrictions(clauses, insert);
  runForSearch(std::move(insert));
  doSearch_Keywords();
  resetCache();
}

void LCSearchEngine::runForSearch(LCStatement statement) {
  if (!statement.run()) noteSearchFailure();
}

// Of the connection's last statement. Of several failures the first one says why; damage is recorded as everywhere.
void LCSearchEngine::noteSearchFailure() {
  const LCSearchFailure failure = m_sqlite
                                      ? LCSearchFailure{sqlite3_errcode(m_sqlite.get()), sqlite3_errmsg(m_sqlite.get())}
                                      : LCSearchFailure{SQLITE_MISUSE, "the database is closed"};
  vesk::log(fmt::format("Search failed: {} ({})", failure.message, failure.status));
  if (!m_lastSearchFailure) m_lastSearchFailure = failure;
  lc::damage::recordIfMet(m_sqlite.get(), failure.status);
}

std::string LCSearchEngine::searchStatement(std::string_view restrictions) {
  std::string statement = selectBaseString();
  if (const std::string subSelect = keywordSubSelect(); !subSelect.empty()) {
    statement += lc::sqlFormat("JOIN (%@) AS dummy ON %@.id=dummy.loopId", {subSelect, m_tables.loops});
  }
  std::string joins = lc::sqlFormat(" JOIN %@ ON %@.loopId = id", {m_tables.loopsKeywords, m_tables.loopsKeywords});
  if (m_settings.isLimitedToCrates()) {
    joins += lc::sqlFormat(" JOIN %@ ON %@.loopId = id ", {m_tables.crateLoopRelation, m_tables.crateLoopRelation});
  }
  std::string condition = searchCondition();
  if (!restrictions.empty()) condition.append(condition.empty() ? " " : " AND ").append(restrictions);
  statement += condition.empty() ? lc::sqlFormat(" %@ ", {joins}) : lc::sqlFormat(" %@ WHERE %@ ", {joins, condition});
  return statement + orderClause();
}

std::string LCSearchEngine::searchCondition() {
  const std::string filter = generateFilterString();
  if (!m_settings.searchForFavorites) return filter;
  return filter.empty() ? " isFavorite = 1 " : lc::sqlFormat(" isFavorite = 1  AND %@ ", {filter});
}

// Of the keywords that the database knows and that some loop carries. The others do not restrict the search.
std::vector<std::string> LCSearchEngine::keywordCachingTablesRarestFirst() {
  std::string names;
  for (const std::string& keyword : m_settings.searchKeywords) {
    names += lc::sqlFormat(names.empty() ? "'%@'" : ", '%@'", {lc::sqlEscaped(keyword)});
  }
  if (names.empty()) return {};
  std::vector<std::string> tables;
  LCStatement ids(m_sqlite.get(), lc::sqlFormat(kSelectKeywordIdsRarestFirst, {names}));
  while (ids.step()) tables.push_back(m_tables.keywordCaching + std::to_string(ids.int64At(0)));
  if (!ids.succeeded()) noteSearchFailure();
  return tables;
}

// The ids of the loops that carry every keyword, joined from the smallest table outwards; "" without keywords.
std::string LCSearchEngine::keywordSubSelect() {
  const std::vector<std::string> tables = keywordCachingTablesRarestFirst();
  if (tables.empty()) return "";
  std::string text = lc::sqlFormat("select %@.loopId as loopId from %@", {tables.front(), tables.front()});
  for (size_t index = 1; index < tables.size(); ++index) {
    text = lc::sqlFormat("%@ join %@ on %@.loopId=%@.loopId", {text, tables[index], tables.front(), tables[index]});
  }
  return text;
}

std::string LCSearchEngine::orderClause() const {
  if (std::string clause = sortingString(); !clause.empty()) return clause;
  if (m_sorting.columnName.empty() || !isSortKey(m_sorting.columnName)) return "";
  const char* direction = directionName(m_sorting.isAscending);
  return lc::sqlFormat(" ORDER BY %@ COLLATE %@ %@", {m_sorting.columnName, textSearchCollate(), direction}) +
         tieBreak(m_sorting.columnName, direction);
}

std::string LCSearchEngine::sortingString() const {
  std::string clause;
  if (!m_sorting.descriptors) return clause;
  if (m_sorting.descriptors->size() == 1 && m_sorting.descriptors->front().isRandom) return "ORDER BY random() ";
  for (const LCSortDescriptor& descriptor : *m_sorting.descriptors) {
    if (!canSortBy(descriptor)) continue;
    if (descriptor.by != LCSortDescriptor::By::column) {
      clause += (clause.empty() ? "ORDER BY " : ", ") + sortedByMeaning(descriptor, m_tables.loops);
      continue;
    }
    const std::string collation = descriptor.key == "fileName" ? textSearchCollate() : "";
    const std::string collationPart = collation.empty() ? "" : lc::sqlFormat(" COLLATE %@", {collation});
    const char* direction = directionName(descriptor.ascending);
    clause += clause.empty() ? "ORDER BY " : ", ";
    clause += lc::sqlFormat("%@ %@ %@ ", {descriptor.key, collationPart, direction});
    clause += tieBreak(descriptor.key, direction);
  }
  return clause;
}

void LCSearchEngine::doSearch_Keywords() {
  LCStatement statement(m_sqlite.get(), kSelectKeywordIdsOfResult);
  vesk::StringSet names;
  for (const int64_t id : idsInAllColumns(statement)) {
    if (const std::optional<std::string> name = LCKeywordHelper::keywordForKeywordId(id)) names.insert(*name);
  }
  if (!statement.succeeded()) noteSearchFailure();
  setAvailableKeywords(names);
}

// Half of the rows read lie before `location`, so that scrolling either way stays in the cache.
void LCSearchEngine::prepareResultsForRange(int64_t location, uint64_t length) {
  if (m_page.covers(location)) return;
  const int64_t half = static_cast<int64_t>(length / 2);
  m_page.rowCount = length;
  m_page.firstRow = location <= half ? 0 : location - half;

  std::string columns;
  for (const std::string& key : columnKeysToQuery()) columns += (columns.empty() ? "" : ", ") + key;
  LCResultDictionary rows;
  utilities().executeStatementWithLoopsReturnValue(
      lc::sqlFormat("SELECT %@ FROM tempTable LIMIT %@,%@",
                    {columns, std::to_string(m_page.firstRow), std::to_string(static_cast<int64_t>(length))}),
      &rows);
  setSearchResults(std::move(rows));
}

std::optional<LCCell> LCSearchEngine::resultObjectForKey(const std::string& key, int64_t atIndex) {
  if (atIndex < 0) return std::nullopt;
  prepareResultsForRange(atIndex, m_lengthOfRangeToBePrepared);
  return m_page.cell(key, atIndex);
}

std::unique_ptr<LCSearchEngineFile> LCSearchEngine::fileAtIndex(int64_t index) {
  const std::optional<LCCell> fileURL = resultObjectForKey("fileURL", index);
  const std::optional<LCCell> id = resultObjectForKey("id", index);
  if (!fileURL || !id) return nullptr;
  return std::make_unique<LCSearchEngineFile>(lc::cellText(*fileURL), lc::cellInteger(*id));
}

int64_t LCSearchEngine::numberOfLoops() const {
  return utilities()
      .firstIntegerOfStatement("SELECT count() as numberOfLoops FROM tempTable", "numberOfLoops")
      .value_or(0);
}

std::vector<std::string> LCSearchEngine::availableColumnKeys() const {
  LCResultDictionary result;
  utilities().executeStatementWithLoopsReturnValue("SELECT * FROM tempTable LIMIT 0,1", &result);
  std::vector<std::string> keys;
  for (const auto& [key, cells] : result) keys.push_back(key);
  return keys;
}

// The row of the last name at or before `fileName` in a result sorted by the plain order of names: -1 for a name before
// all rows, kNotFound for the last row's name and beyond.
int64_t LCSearchEngine::rowNumberInCurrentSearchResultForLoopWithName(const std::string& fileName) const {
  const int64_t count = numberOfLoops();
  if (count < 1 || fileName.empty()) return kNotFound;
  const std::string statement =
      lc::sqlFormat("SELECT count() AS rowNumber FROM tempTable WHERE fileName <= '%@'", {lc::sqlEscaped(fileName)});
  const std::optional<int64_t> rowNumber = utilities().firstIntegerOfStatement(statement, "rowNumber");
  return rowNumber && *rowNumber < count ? *rowNumber - 1 : kNotFound;
}

int64_t LCSearchEngine::rowIndexInCurrentSearchResultForLoopWithFileURLString(const std::string& fileURL) const {
  return rowIndexFromRowId(utilities().firstIntegerOfStatement(
      lc::sqlFormat(R"(SELECT rowid FROM tempTable WHERE fileURL = "%@")", {lc::sqlDoubleQuoteEscaped(fileURL)}),
      "rowid"));
}

int64_t LCSearchEngine::rowIndexInCurrentSearchResultForLoopId(int64_t loopId) const {
  return rowIndexFromRowId(utilities().firstIntegerOfStatement(
      lc::sqlFormat(R"(SELECT rowid FROM tempTable WHERE id = "%@")", {std::to_string(loopId)}), "rowid"));
}
