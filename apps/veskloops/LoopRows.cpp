#include "LoopRows.h"

#include "Database.h"
#include "Similarity.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"
#include "VeskLoopManagement/platform/Text.h"

#include <algorithm>
#include <limits>
#include <set>

namespace {

constexpr char kListSeparator = '\x1f';  // between the members of a group_concat()

constexpr const char* kRowColumns =
    "Loops.id, Loops.fileURL, Loops.fileName, Loops.tempo, Loops.numberOfBeats, Loops.timeSignatureTop, "
    "Loops.timeSignatureBottom, Loops.key, Loops.keyType, Loops.hasMidi, Loops.lengthInSeconds, "
    "Loops.genreId, Loops.instrumentTypeId, Loops.instrumentSubTypeId, "
    "LoopsKeywords.genre, LoopsKeywords.instrumentType, LoopsKeywords.instrumentSubType, LoopsKeywords.descriptors, "
    "(SELECT group_concat(Keywords.name, char(31)) FROM Tagging JOIN Keywords ON Keywords.id = Tagging.keywordId "
    "WHERE Tagging.loopId = Loops.id), "
    "UserData.loopId, UserData.isFavorite, UserData.rating, UserData.userComment, Packages.identifiers";

// Columns of kRowColumns and of the loudness behind them.
enum RowColumn : int {
  kId,
  kURL,
  kFileName,
  kTempo,
  kBeats,
  kSignatureTop,
  kSignatureBottom,
  kKey,
  kKeyType,
  kLoopType,
  kLength,
  kGenreId,
  kInstrumentId,
  kSubInstrumentId,
  kGenreText,
  kInstrumentText,
  kSubInstrumentText,
  kDescriptorsText,
  kTags,
  kMarkedLoop,
  kFavorite,
  kRating,
  kComment,
  kPackages,
  kIntegratedLoudness,
  kTruePeak,
  kTargetLoudness,
};

constexpr const char* kLoudnessColumns =
    ", LoopsLoudnessV4.integratedLoudness, LoopsLoudnessV4.globalMaxTruePeak, "
    "LoopsLoudnessV4.targetIntegratedLoudness";
constexpr const char* kLoudnessJoin = " LEFT JOIN LoopsLoudnessV4 ON LoopsLoudnessV4.id = Loops.id";

std::vector<std::string> listAt(const LCStatement& statement, int column, char separator) {
  if (statement.isNull(column)) return {};
  return vesk::text::split(statement.textAt(column), separator);
}

int64_t idAt(const LCStatement& statement) {
  return statement.int64At(0);
}

LoopPlace placeAt(const LCStatement& statement) {
  return LoopPlace{
      .id = statement.int64At(0), .urlText = statement.textAt(1), .isPlaceholder = statement.int64At(2) != 0};
}

// Last row number of a window of the result.
int64_t endOfWindow(int64_t offset, int64_t limit) {
  constexpr int64_t kLast = std::numeric_limits<int64_t>::max();
  return limit == 0 || limit > kLast - offset ? kLast : offset + limit;
}

// The keyword of `id`, else `text` when the loop is really tagged with it: the keyword texts of a loop are also filled
// where the file said nothing.
std::optional<std::string> keywordFrom(int64_t id, const std::string& text, const std::set<std::string>& tags) {
  if (id > 0) {
    if (auto keyword = LCKeywordHelper::keywordForKeywordId(id)) return keyword;
  }
  if (text.empty() || !tags.contains(text)) return std::nullopt;
  return text;
}

// Its parameters are those that bindCondition() fills. Loops without a tempo have 0.
std::string conditionText(const ResultCondition& condition) {
  std::string text = condition.minimumRating ? "id IN (SELECT loopId FROM UserData WHERE rating >= ?)" : "1";
  if (condition.tempos.empty()) return text;
  std::string inAnyRange = "0";
  for (size_t count = condition.tempos.size(); count > 0; --count) inAnyRange += " OR tempo BETWEEN ? AND ?";
  return text.append(" AND tempo > 0 AND (").append(inAnyRange).append(")");
}

void bindCondition(LCStatement& statement, const ResultCondition& condition) {
  int parameter = 0;
  if (condition.minimumRating) statement.bind(++parameter, *condition.minimumRating);
  for (const auto& range : condition.tempos) {
    statement.bind(++parameter, range.lowest);
    statement.bind(++parameter, range.highest);
  }
}

}  // namespace

LoopRows::LoopRows(sqlite3* connection)
    : m_connection(connection),
      m_hasLoudness(LCSQLiteUtilities::isTableWithName("LoopsLoudnessV4", std::nullopt, connection)),
      m_placeWithId(connection, "SELECT id, fileURL, isWebLoop FROM Loops WHERE id = ?1"),
      m_otherIdsWithURL(connection, "SELECT id FROM Loops WHERE fileName = ?1 AND fileURL = ?2 AND id != ?3"),
      m_marksWithId(connection,
                    "SELECT coalesce(isFavorite, 0) > 0, rating, userComment FROM Loops "
                    "LEFT JOIN UserData ON UserData.loopId = Loops.id WHERE Loops.id = ?1"),
      m_hasMarks(connection, "SELECT loopId FROM UserData WHERE loopId = ?1") {}

void LoopRows::requireSuccess(const LCStatement& statement) const {
  if (!statement.succeeded()) throw databaseFailure(statement.lastStatus());
}

void LoopRows::execute(LCStatement statement) const {
  if (!statement.run()) throw databaseFailure(statement.lastStatus());
}

std::string LoopRows::rowColumns() const {
  return std::string(kRowColumns).append(m_hasLoudness ? kLoudnessColumns : ", NULL, NULL, NULL");
}

// The tables around a loop; `ofLoops` limits the package relations that are looked at.
std::string LoopRows::rowJoins(std::string_view ofLoops) const {
  std::string joins =
      " LEFT JOIN LoopsKeywords ON LoopsKeywords.loopId = Loops.id LEFT JOIN UserData ON UserData.loopId = Loops.id"
      " LEFT JOIN (SELECT loopId, group_concat(crateId, char(31)) AS identifiers FROM CrateLoopRelation WHERE loopId ";
  joins.append(ofLoops).append(" GROUP BY loopId) AS Packages ON Packages.loopId = Loops.id");
  if (m_hasLoudness) joins += kLoudnessJoin;
  return joins;
}

LoopRow LoopRows::rowAt(const LCStatement& statement) const {
  const auto tagList = listAt(statement, kTags, kListSeparator);
  const std::set<std::string> tags(tagList.begin(), tagList.end());
  LoopRow row;
  row.id = statement.int64At(kId);
  row.urlText = statement.textAt(kURL);
  row.fileName = statement.textAt(kFileName);
  row.tempo = statement.int64At(kTempo);
  row.beatCount = statement.int64At(kBeats);
  row.signatureTop = statement.int64At(kSignatureTop);
  row.signatureBottom = statement.int64At(kSignatureBottom);
  row.rootNote = statement.int64At(kKey);
  row.keyType = statement.int64At(kKeyType);
  row.loopType = statement.int64At(kLoopType);
  row.lengthInSeconds = statement.doubleAt(kLength);
  row.genre = keywordFrom(statement.int64At(kGenreId), statement.textAt(kGenreText), tags);
  row.instrument = keywordFrom(statement.int64At(kInstrumentId), statement.textAt(kInstrumentText), tags);
  row.subInstrument = keywordFrom(statement.int64At(kSubInstrumentId), statement.textAt(kSubInstrumentText), tags);
  for (auto& descriptor : listAt(statement, kDescriptorsText, ',')) {
    if (tags.contains(descriptor)) row.descriptors.push_back(std::move(descriptor));
  }
  row.crates = listAt(statement, kPackages, kListSeparator);
  std::sort(row.crates.begin(), row.crates.end());
  if (!statement.isNull(kMarkedLoop)) {
    row.marks = LoopMarks{.isFavorite = statement.int64At(kFavorite) > 0,
                          .rating = statement.int64At(kRating),
                          .comment = statement.textAt(kComment)};
  }
  if (!statement.isNull(kIntegratedLoudness)) {
    row.loudness = LCLoopLoudnessInfo{.integratedLoudness = statement.doubleAt(kIntegratedLoudness),
                                      .globalMaxTruePeak = statement.doubleAt(kTruePeak),
                                      .targetIntegratedLoudness = statement.doubleAt(kTargetLoudness)};
  }
  return row;
}

// --- The current search result ---

void LoopRows::forEachResult(int64_t offset, int64_t limit, const RowHandler& handler) {
  const std::string sql = "SELECT " + rowColumns() + " FROM tempTable CROSS JOIN Loops ON Loops.id = tempTable.id" +
                          rowJoins("IN (SELECT id FROM tempTable WHERE rowid > ?1 AND rowid <= ?2)") +
                          " WHERE tempTable.rowid > ?1 AND tempTable.rowid <= ?2 ORDER BY tempTable.rowid";
  LCStatement statement(m_connection, sql);
  statement.bind(1, offset);
  statement.bind(2, endOfWindow(offset, limit));
  while (statement.step()) {
    if (!handler(rowAt(statement))) return;
  }
  requireSuccess(statement);
}

void LoopRows::forEachResultPlace(int64_t offset, int64_t limit, const PlaceHandler& handler) {
  LCStatement statement(m_connection,
                        "SELECT id, fileURL, 0 FROM tempTable WHERE rowid > ?1 AND rowid <= ?2 ORDER BY rowid");
  statement.bind(1, offset);
  statement.bind(2, endOfWindow(offset, limit));
  while (statement.step()) {
    if (!handler(placeAt(statement))) return;
  }
  requireSuccess(statement);
}

// Copied aside and back, so that the row numbers, which are the order of the result, begin at 1 again.
void LoopRows::narrowResult(const ResultCondition& condition) {
  LCStatement copy(m_connection, "CREATE TEMPORARY TABLE keptResult AS SELECT * FROM tempTable WHERE " +
                                     conditionText(condition) + " ORDER BY rowid");
  bindCondition(copy, condition);
  execute(std::move(copy));
  for (const char* sql : {"DELETE FROM tempTable", "INSERT INTO tempTable SELECT * FROM keptResult ORDER BY rowid",
                          "DROP TABLE keptResult"}) {
    execute(LCStatement(m_connection, sql));
  }
}

// --- Single loops ---

template <typename Read>
auto LoopRows::firstRow(LCStatement& statement, Read read) const -> std::optional<decltype(read(statement))> {
  std::optional<decltype(read(statement))> row;
  if (statement.step()) {
    row = read(statement);
  } else {
    requireSuccess(statement);
  }
  statement.reset();
  return row;
}

std::optional<LoopRow> LoopRows::rowWithId(int64_t loopId) {
  LCStatement statement(m_connection,
                        "SELECT " + rowColumns() + " FROM Loops" + rowJoins("= ?1") + " WHERE Loops.id = ?1");
  statement.bind(1, loopId);
  return firstRow(statement, [this](const LCStatement& row) { return rowAt(row); });
}

std::optional<LoopPlace> LoopRows::placeWithId(int64_t loopId) {
  m_placeWithId.bind(1, loopId);
  return firstRow(m_placeWithId, placeAt);
}

// The file name has an index and nearly always stands as it is in the URL; only localized names differ.
std::optional<LoopPlace> LoopRows::placeWithURL(const vesk::URL& url) {
  LCStatement byName(m_connection, "SELECT id, fileURL, isWebLoop FROM Loops WHERE fileName = ?1 AND fileURL = ?2");
  byName.bind(1, std::string_view(vesk::text::precomposed(url.lastPathComponent())));
  byName.bind(2, std::string_view(url.absoluteString()));
  if (auto place = firstRow(byName, placeAt)) return place;
  LCStatement byURL(m_connection, "SELECT id, fileURL, isWebLoop FROM Loops WHERE fileURL = ?1");
  byURL.bind(1, std::string_view(url.absoluteString()));
  return firstRow(byURL, placeAt);
}

std::vector<int64_t> LoopRows::otherIdsWithURL(const vesk::URL& url, int64_t loopId) {
  m_otherIdsWithURL.bind(1, vesk::text::precomposed(url.lastPathComponent()));
  m_otherIdsWithURL.bind(2, url.absoluteString());
  m_otherIdsWithURL.bind(3, loopId);
  std::vector<int64_t> ids;
  while (m_otherIdsWithURL.step()) ids.push_back(idAt(m_otherIdsWithURL));
  requireSuccess(m_otherIdsWithURL);
  m_otherIdsWithURL.reset();
  return ids;
}

std::optional<LoopMarks> LoopRows::marksWithId(int64_t loopId) {
  m_marksWithId.bind(1, loopId);
  return firstRow(m_marksWithId, [](const LCStatement& row) {
    return LoopMarks{.isFavorite = row.int64At(0) != 0, .rating = row.int64At(1), .comment = row.textAt(2)};
  });
}

bool LoopRows::hasMarks(int64_t loopId) {
  m_hasMarks.bind(1, loopId);
  return firstRow(m_hasMarks, idAt).has_value();
}

bool LoopRows::isUnused() {
  LCStatement statement(m_connection, "SELECT id FROM Loops UNION ALL SELECT loopId FROM UserData LIMIT 1");
  return !firstRow(statement, idAt);
}

void LoopRows::forEachPlaceBelow(std::string_view folderURLText, const std::optional<std::string>& crate,
                                 const PlaceHandler& handler) {
  std::string sql = "SELECT id, fileURL, isWebLoop FROM Loops WHERE substr(fileURL, 1, length(?1)) = ?1";
  if (crate) sql += " AND id IN (SELECT loopId FROM CrateLoopRelation WHERE crateId = ?2)";
  LCStatement statement(m_connection, sql);
  statement.bind(1, folderURLText);
  if (crate) statement.bind(2, std::string_view(*crate));
  while (statement.step()) {
    if (!handler(placeAt(statement))) return;
  }
  requireSuccess(statement);
}

std::vector<std::string> LoopRows::namesLike(std::string_view name) {
  SimilarNames similar(name);
  LCStatement statement(m_connection, "SELECT DISTINCT fileName FROM Loops");
  while (statement.step()) similar.consider(statement.textAt(0));
  requireSuccess(statement);
  return similar.best();
}

// --- Packages and keywords ---

std::vector<CrateRow> LoopRows::crates() {
  LCStatement statement(m_connection,
                        "SELECT identifier, crateName, manufacturer, isVirtualCrate, "
                        "(SELECT count(*) FROM CrateLoopRelation WHERE crateId = identifier) "
                        "FROM Crates ORDER BY crateName COLLATE NOCASE, identifier");
  std::vector<CrateRow> rows;
  while (statement.step()) {
    rows.push_back(CrateRow{.identifier = statement.textAt(0),
                            .name = statement.textAt(1),
                            .manufacturer = statement.textAt(2),
                            .isVirtual = statement.int64At(3) > 0,
                            .loopCount = statement.int64At(4)});
  }
  requireSuccess(statement);
  return rows;
}

std::vector<KeywordRow> LoopRows::keywords(std::span<const int64_t> categories) {
  LCStatement statement(m_connection,
                        "SELECT id, name, categoryId, "
                        "coalesce((SELECT count FROM keyword_distribution WHERE keywordId = Keywords.id), 0) "
                        "FROM Keywords WHERE name != '' ORDER BY name, id");
  std::vector<KeywordRow> rows;
  while (statement.step()) {
    const int64_t category = statement.int64At(2);
    if (!categories.empty() && std::find(categories.begin(), categories.end(), category) == categories.end()) continue;
    rows.push_back(KeywordRow{.id = statement.int64At(0),
                              .name = statement.textAt(1),
                              .category = category,
                              .loopCount = statement.int64At(3)});
  }
  requireSuccess(statement);
  return rows;
}
