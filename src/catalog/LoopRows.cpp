#include "catalog/LoopRows.h"

#include "catalog/CatalogError.h"
#include "VeskLoopManagement/catalog/LCNearNames.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"
#include "VeskLoopManagement/platform/Text.h"

#include <algorithm>
#include <limits>
#include <set>
#include <utility>

namespace {

constexpr char kListSeparator = '\x1f';  // between the members of a group_concat()

constexpr const char* kRowColumns =
    "Loops.id, Loops.fileURL, Loops.isWebLoop, Loops.fileName, Loops.tempo, Loops.numberOfBeats, "
    "Loops.timeSignatureTop, Loops.timeSignatureBottom, Loops.key, Loops.keyType, Loops.fileType, Loops.hasMidi, "
    "Loops.lengthInSeconds, Loops.title, Loops.author, Loops.copyright, Loops.comment, Loops.collection, Loops.theme, "
    "Loops.contentIdentifier, Loops.genreId, Loops.instrumentTypeId, Loops.instrumentSubTypeId, "
    "LoopsKeywords.genre, LoopsKeywords.instrumentType, LoopsKeywords.instrumentSubType, LoopsKeywords.descriptors, "
    "(SELECT group_concat(Keywords.name, char(31)) FROM Tagging JOIN Keywords ON Keywords.id = Tagging.keywordId "
    "WHERE Tagging.loopId = Loops.id), "
    "UserData.loopId, UserData.isFavorite, UserData.rating, UserData.userComment, Packages.identifiers";

// Columns of kRowColumns and of the loudness behind them.
enum RowColumn : int {
  kId,
  kURL,
  kPlaceholder,
  kFileName,
  kTempo,
  kBeats,
  kSignatureTop,
  kSignatureBottom,
  kKey,
  kKeyType,
  kFileType,
  kLoopType,
  kLength,
  kTitle,
  kAuthor,
  kCopyright,
  kFileComment,
  kCollection,
  kTheme,
  kContentIdentifier,
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

constexpr const char* kSelectPlaces = "SELECT id, fileURL, isWebLoop FROM Loops WHERE ";

std::vector<std::string> listAt(const LCStatement& statement, int column, char separator) {
  if (statement.isNull(column)) return {};
  return vesk::text::split(statement.textAt(column), separator);
}

std::optional<std::string> optionalTextAt(const LCStatement& statement, int column) {
  if (statement.isNull(column)) return std::nullopt;
  return statement.textAt(column);
}

int64_t idAt(const LCStatement& statement) {
  return statement.int64At(0);
}

LCLoopPlace placeAt(const LCStatement& statement) {
  return LCLoopPlace{
      .id = statement.int64At(0), .urlText = statement.textAt(1), .isPlaceholder = statement.int64At(2) != 0};
}

// Steps through the rows that are left, until `handle` answers false.
template <typename Handle>
void forEachRow(LCStatement& statement, Handle handle) {
  while (statement.step()) {
    if (!handle(statement)) return;
  }
  lc::requireSuccess(statement);
}

// What `read` makes of every row; the statement can be run again afterwards.
template <typename Read>
auto allRows(LCStatement& statement, Read read) {
  std::vector<decltype(read(statement))> rows;
  forEachRow(statement, [&](const LCStatement& row) { return rows.push_back(read(row)), true; });
  statement.reset();
  return rows;
}

// Last row number of a window of the result.
int64_t endOfWindow(int64_t offset, int64_t limit) {
  constexpr int64_t kLast = std::numeric_limits<int64_t>::max();
  return limit == 0 || limit > kLast - offset ? kLast : offset + limit;
}

// Steps through the rows of a window, until `handle` answers false.
template <typename Handle>
void forEachRowOfWindow(LCStatement statement, int64_t offset, int64_t limit, const std::function<void()>& begun,
                        Handle handle) {
  statement.bind(1, offset);
  statement.bind(2, endOfWindow(offset, limit));
  bool isFirst = true;
  forEachRow(statement, [&](const LCStatement& row) {
    if (std::exchange(isFirst, false)) begun();
    return handle(row);
  });
}

// The keyword of `id`, else `text` when the loop is really tagged with it: the keyword texts of a loop are also filled
// where the file said nothing.
std::optional<LCLoopKeyword> keywordFrom(int64_t id, const std::string& text, const std::set<std::string>& tags) {
  if (id > 0) {
    if (auto keyword = LCKeywordHelper::keywordForKeywordId(id)) return LCLoopKeyword{.id = id, .name = *keyword};
  }
  if (text.empty() || !tags.contains(text)) return std::nullopt;
  return LCLoopKeyword{.name = text};
}

std::optional<LCLoopMarks> marksAt(const LCStatement& statement) {
  if (statement.isNull(kMarkedLoop)) return std::nullopt;
  return LCLoopMarks{.isFavorite = statement.int64At(kFavorite) > 0,
                     .rating = statement.int64At(kRating),
                     .comment = statement.textAt(kComment)};
}

LCLoopLoudnessInfo loudnessAt(const LCStatement& statement) {
  if (statement.isNull(kIntegratedLoudness)) return {};
  return {.integratedLoudness = statement.doubleAt(kIntegratedLoudness),
          .globalMaxTruePeak = statement.doubleAt(kTruePeak),
          .targetIntegratedLoudness = statement.doubleAt(kTargetLoudness)};
}

}  // namespace

lc::LoopRows::LoopRows(sqlite3* connection)
    : m_connection(connection),
      m_hasLoudness(LCSQLiteUtilities::isTableWithName("LoopsLoudnessV4", std::nullopt, connection)),
      m_placeWithId(connection, std::string(kSelectPlaces) + "id = ?1"),
      m_otherIdsWithURL(connection, "SELECT id FROM Loops WHERE fileName = ?1 AND fileURL = ?2 AND id != ?3"),
      m_marksWithId(connection,
                    "SELECT coalesce(isFavorite, 0) > 0, rating, userComment FROM Loops "
                    "LEFT JOIN UserData ON UserData.loopId = Loops.id WHERE Loops.id = ?1"),
      m_hasMarks(connection, "SELECT loopId FROM UserData WHERE loopId = ?1"),
      m_isInPackage(connection, "SELECT loopId FROM CrateLoopRelation WHERE crateId = ?1 AND loopId = ?2") {}

std::string lc::LoopRows::rowColumns() const {
  return std::string(kRowColumns).append(m_hasLoudness ? kLoudnessColumns : ", NULL, NULL, NULL");
}

// The tables around a loop; `ofLoops` limits the package relations that are looked at.
std::string lc::LoopRows::rowJoins(std::string_view ofLoops) const {
  std::string joins =
      " LEFT JOIN LoopsKeywords ON LoopsKeywords.loopId = Loops.id LEFT JOIN UserData ON UserData.loopId = Loops.id"
      " LEFT JOIN (SELECT loopId, group_concat(crateId, char(31)) AS identifiers FROM CrateLoopRelation WHERE loopId ";
  joins.append(ofLoops).append(" GROUP BY loopId) AS Packages ON Packages.loopId = Loops.id");
  if (m_hasLoudness) joins += kLoudnessJoin;
  return joins;
}

LCCatalogLoop lc::LoopRows::loopAt(const LCStatement& statement) const {
  const auto tagList = listAt(statement, kTags, kListSeparator);
  const std::set<std::string> tags(tagList.begin(), tagList.end());
  LCCatalogLoop loop;
  loop.place = {.id = statement.int64At(kId),
                .urlText = statement.textAt(kURL),
                .isPlaceholder = statement.int64At(kPlaceholder) != 0};
  loop.fileName = statement.textAt(kFileName);
  loop.tempo = statement.int64At(kTempo);
  loop.beatCount = statement.int64At(kBeats);
  loop.signature = {.top = statement.int64At(kSignatureTop), .bottom = statement.int64At(kSignatureBottom)};
  loop.rootNote = statement.int64At(kKey);
  loop.keyType = statement.int64At(kKeyType);
  loop.fileType = statement.int64At(kFileType);
  loop.loopType = statement.int64At(kLoopType);
  loop.lengthInSeconds = statement.doubleAt(kLength);
  loop.title = optionalTextAt(statement, kTitle);
  loop.author = optionalTextAt(statement, kAuthor);
  loop.copyright = optionalTextAt(statement, kCopyright);
  loop.fileComment = optionalTextAt(statement, kFileComment);
  loop.collection = optionalTextAt(statement, kCollection);
  loop.theme = optionalTextAt(statement, kTheme);
  loop.contentIdentifier = optionalTextAt(statement, kContentIdentifier);
  loop.genre = keywordFrom(statement.int64At(kGenreId), statement.textAt(kGenreText), tags);
  loop.instrument = keywordFrom(statement.int64At(kInstrumentId), statement.textAt(kInstrumentText), tags);
  loop.subInstrument = keywordFrom(statement.int64At(kSubInstrumentId), statement.textAt(kSubInstrumentText), tags);
  for (auto& descriptor : listAt(statement, kDescriptorsText, ',')) {
    if (tags.contains(descriptor)) loop.descriptors.push_back(std::move(descriptor));
  }
  loop.packages = listAt(statement, kPackages, kListSeparator);
  std::sort(loop.packages.begin(), loop.packages.end());
  loop.marks = marksAt(statement);
  loop.loudness = loudnessAt(statement);
  return loop;
}

// --- The current search result ---

void lc::LoopRows::forEachResult(int64_t offset, int64_t limit, const std::function<void()>& begun,
                                 const LoopHandler& handler) {
  LCStatement statement(m_connection,
                        "SELECT " + rowColumns() + " FROM tempTable CROSS JOIN Loops ON Loops.id = tempTable.id" +
                            rowJoins("IN (SELECT id FROM tempTable WHERE rowid > ?1 AND rowid <= ?2)") +
                            " WHERE tempTable.rowid > ?1 AND tempTable.rowid <= ?2 ORDER BY tempTable.rowid");
  forEachRowOfWindow(std::move(statement), offset, limit, begun,
                     [&](const LCStatement& row) { return handler(loopAt(row)); });
}

void lc::LoopRows::forEachResult(int64_t offset, int64_t limit, const std::function<void()>& begun,
                                 const PlaceHandler& handler) {
  // Not every variant's result has the column that tells placeholders.
  LCStatement statement(m_connection,
                        "SELECT tempTable.id, tempTable.fileURL, Loops.isWebLoop FROM tempTable "
                        "LEFT JOIN Loops ON Loops.id = tempTable.id "
                        "WHERE tempTable.rowid > ?1 AND tempTable.rowid <= ?2 ORDER BY tempTable.rowid");
  forEachRowOfWindow(std::move(statement), offset, limit, begun,
                     [&](const LCStatement& row) { return handler(placeAt(row)); });
}

// --- Single loops ---

template <typename Read>
auto lc::LoopRows::firstRow(LCStatement& statement, Read read) const -> std::optional<decltype(read(statement))> {
  std::optional<decltype(read(statement))> row;
  if (statement.step()) {
    row = read(statement);
  } else {
    requireSuccess(statement);
  }
  statement.reset();
  return row;
}

std::optional<LCCatalogLoop> lc::LoopRows::loopWithId(int64_t loopId) {
  LCStatement statement(m_connection,
                        "SELECT " + rowColumns() + " FROM Loops" + rowJoins("= ?1") + " WHERE Loops.id = ?1");
  statement.bind(1, loopId);
  return firstRow(statement, [this](const LCStatement& row) { return loopAt(row); });
}

std::optional<LCLoopPlace> lc::LoopRows::placeWithId(int64_t loopId) {
  m_placeWithId.bind(1, loopId);
  return firstRow(m_placeWithId, placeAt);
}

// The file name has an index and nearly always stands as it is in the URL; only localized names differ.
std::optional<LCLoopPlace> lc::LoopRows::placeWithURL(const vesk::URL& url) {
  LCStatement byName(m_connection, std::string(kSelectPlaces) + "fileName = ?1 AND fileURL = ?2");
  byName.bind(1, vesk::text::precomposed(url.lastPathComponent()));
  byName.bind(2, url.absoluteString());
  if (auto place = firstRow(byName, placeAt)) return place;
  LCStatement byURL(m_connection, std::string(kSelectPlaces) + "fileURL = ?1");
  byURL.bind(1, url.absoluteString());
  return firstRow(byURL, placeAt);
}

// "…" stands for what a table left out, unless it is a part of the name.
std::vector<LCLoopPlace> lc::LoopRows::placesWithName(std::string_view name) {
  const std::string exact = vesk::text::precomposed(name);
  std::string pattern = exact;
  for (const char* special : {"\\", "%", "_"}) {
    pattern = vesk::text::replacingAll(pattern, special, std::string("\\") + special);
  }
  const std::string shortened = vesk::text::replacingAll(pattern, "…", "%");
  for (const auto& [condition, value] : {std::pair("fileName = ?1 COLLATE NOCASE", exact),
                                         {R"(fileName LIKE ?1 ESCAPE '\')", pattern + "%"},
                                         {R"(fileName LIKE ?1 ESCAPE '\')", shortened}}) {
    LCStatement statement(m_connection, std::string(kSelectPlaces) + condition + " ORDER BY fileName, fileURL, id");
    statement.bind(1, value);
    if (auto places = allRows(statement, placeAt); !places.empty()) return places;
  }
  return {};
}

std::vector<int64_t> lc::LoopRows::otherIdsWithURL(const vesk::URL& url, int64_t loopId) {
  m_otherIdsWithURL.bind(1, vesk::text::precomposed(url.lastPathComponent()));
  m_otherIdsWithURL.bind(2, url.absoluteString());
  m_otherIdsWithURL.bind(3, loopId);
  return allRows(m_otherIdsWithURL, idAt);
}

std::optional<LCLoopMarks> lc::LoopRows::marksWithId(int64_t loopId) {
  m_marksWithId.bind(1, loopId);
  return firstRow(m_marksWithId, [](const LCStatement& row) {
    return LCLoopMarks{.isFavorite = row.int64At(0) != 0, .rating = row.int64At(1), .comment = row.textAt(2)};
  });
}

bool lc::LoopRows::hasMarks(int64_t loopId) {
  m_hasMarks.bind(1, loopId);
  return firstRow(m_hasMarks, idAt).has_value();
}

std::vector<int64_t> lc::LoopRows::markedIds() {
  LCStatement statement(m_connection, "SELECT loopId FROM UserData ORDER BY loopId");
  return allRows(statement, idAt);
}

bool lc::LoopRows::isInPackage(int64_t loopId, const std::string& identifier) {
  m_isInPackage.bind(1, identifier);
  m_isInPackage.bind(2, loopId);
  return firstRow(m_isInPackage, idAt).has_value();
}

bool lc::LoopRows::isUnused() {
  LCStatement statement(m_connection, "SELECT id FROM Loops UNION ALL SELECT loopId FROM UserData LIMIT 1");
  return !firstRow(statement, idAt);
}

void lc::LoopRows::forEachPlaceBelow(std::string_view folderURLText, const std::optional<std::string>& package,
                                     const PlaceHandler& handler) {
  std::string sql = std::string(kSelectPlaces) + "substr(fileURL, 1, length(?1)) = ?1";
  if (package) sql += " AND id IN (SELECT loopId FROM CrateLoopRelation WHERE crateId = ?2)";
  LCStatement statement(m_connection, sql);
  statement.bind(1, folderURLText);
  if (package) statement.bind(2, *package);
  forEachRow(statement, [&](const LCStatement& row) { return handler(placeAt(row)); });
}

std::vector<std::string> lc::LoopRows::namesLike(std::string_view name) {
  LCNearNames near(name);
  LCStatement statement(m_connection, "SELECT DISTINCT fileName FROM Loops");
  forEachRow(statement, [&](const LCStatement& row) { return near.consider(row.textAt(0)), true; });
  return near.best();
}

// --- Packages and keywords ---

std::vector<LCPackage> lc::LoopRows::packages() {
  LCStatement statement(m_connection,
                        "SELECT identifier, crateName, manufacturer, isVirtualCrate, "
                        "(SELECT count(*) FROM CrateLoopRelation WHERE crateId = identifier) "
                        "FROM Crates ORDER BY crateName COLLATE NOCASE, identifier");
  return allRows(statement, [](const LCStatement& row) {
    return LCPackage{.identifier = row.textAt(0),
                     .name = row.textAt(1),
                     .manufacturer = row.textAt(2),
                     .isVirtual = row.int64At(3) > 0,
                     .loopCount = row.int64At(4)};
  });
}

std::vector<LCFacet> lc::LoopRows::keywords() {
  LCStatement statement(m_connection,
                        "SELECT id, name, categoryId, "
                        "coalesce((SELECT count FROM keyword_distribution WHERE keywordId = Keywords.id), 0) "
                        "FROM Keywords WHERE name != '' ORDER BY name, id");
  return allRows(statement, [](const LCStatement& row) {
    const std::string name = row.textAt(1);
    return LCFacet{.keyword = {.id = row.int64At(0), .name = name},
                   .category = row.int64At(2),
                   .loopCount = row.int64At(3),
                   .parent = LCKeywordHelper::parentKeywordForKeyword(name)};
  });
}
