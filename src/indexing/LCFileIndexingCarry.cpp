// A loop that lives on under a new id: what is not read from its file goes over to the new row, statement by statement.
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"
#include "VeskLoopManagement/indexing/LCFileIndexing.h"

namespace {

// In all of these ?1 is the old id and ?2 the new one.

// A row when there is one of the new id; the old row may be gone already.
constexpr std::string_view kSelectPlaces =
    "SELECT former.fileURL, latter.fileURL, former.lengthInSeconds = latter.lengthInSeconds "
    "FROM Loops AS latter LEFT JOIN Loops AS former ON former.id = ?1 "
    "WHERE latter.id = ?2";

constexpr std::string_view kCarryMarks =
    "INSERT OR REPLACE INTO UserData (loopId, isFavorite, rating, userComment) "
    "SELECT ?2, max(coalesce(former.isFavorite, 0) > 0, coalesce(latter.isFavorite, 0) > 0), "
    "coalesce(nullif(latter.rating, 0), former.rating, 0), "
    "coalesce(nullif(latter.userComment, ''), former.userComment, '') "
    "FROM UserData AS former LEFT JOIN UserData AS latter ON latter.loopId = ?2 "
    "WHERE former.loopId = ?1";
constexpr std::string_view kRemoveMarks = "DELETE FROM UserData WHERE loopId = ?1";

constexpr std::string_view kCarryPackages =
    "INSERT OR IGNORE INTO CrateLoopRelation (crateId, loopId) "
    "SELECT crateId, ?2 FROM CrateLoopRelation WHERE loopId = ?1";

// Loudness is kept under a path or a file name: ?3 becomes ?4, or ?5 becomes ?6.
constexpr std::string_view kCarryLoudness =
    "INSERT OR IGNORE INTO LoopsLoudnessV4 "
    "(id, filename, integratedLoudness, globalMaxTruePeak, targetIntegratedLoudness) "
    "SELECT ?2, CASE filename WHEN ?3 THEN ?4 WHEN ?5 THEN ?6 ELSE filename END, "
    "integratedLoudness, globalMaxTruePeak, targetIntegratedLoudness "
    "FROM LoopsLoudnessV4 WHERE id = ?1";
constexpr std::string_view kRemoveLoudness = "DELETE FROM LoopsLoudnessV4 WHERE id = ?1";

constexpr std::string_view kCarryMetaInfos =
    "INSERT INTO LoopsMetaInfos (loopId, stringValue, doubleValue, integerValue, type) "
    "SELECT ?2, stringValue, doubleValue, integerValue, type "
    "FROM LoopsMetaInfos WHERE loopId = ?1 AND NOT EXISTS (SELECT 1 FROM LoopsMetaInfos WHERE loopId = ?2)";
constexpr std::string_view kRemoveMetaInfos = "DELETE FROM LoopsMetaInfos WHERE loopId = ?1";

// What has to be known of the two rows.
struct Places {
  std::optional<vesk::URL> from;  // none without an old row
  std::optional<vesk::URL> to;
  bool areOfOneLength = false;
};

LCStatement& bound(LCStatement& statement, sqlite3* connection, std::string_view sql, const LCLoopCarry& carry) {
  statement.preparedOnce(connection, sql);
  statement.bind(1, carry.loopId);
  statement.bind(2, carry.toLoopId);  // some have no such parameter
  return statement;
}

std::optional<Places> placesFrom(LCStatement& statement) {
  std::optional<Places> places;
  if (statement.step()) {
    places = Places{.from = vesk::URL::fromString(statement.textAt(0)),
                    .to = vesk::URL::fromString(statement.textAt(1)),
                    .areOfOneLength = statement.int64At(2) != 0};
  }
  statement.reset();
  return places;
}

void bindNames(LCStatement& carryLoudness, const Places& places) {
  carryLoudness.clearBindings();
  if (!places.from || !places.to) return;
  carryLoudness.bind(3, places.from->path());
  carryLoudness.bind(4, places.to->path());
  carryLoudness.bind(5, places.from->lastPathComponent());
  carryLoudness.bind(6, places.to->lastPathComponent());
}

}  // namespace

bool LCFileIndexing::carryLoopWithId(int64_t loopId, int64_t toLoopId) {
  if (loopId == toLoopId) return true;
  const LCLoopCarry carry{.loopId = loopId, .toLoopId = toLoopId};
  const auto runs = [&](LCStatement& statement, std::string_view sql) {
    return bound(statement, m_sqlite.get(), sql, carry).run();
  };
  const auto hasTable = [&](const char* table) {
    return LCSQLiteUtilities::isTableWithName(table, std::nullopt, m_sqlite.get());
  };

  const auto places = placesFrom(bound(m_carry.places, m_sqlite.get(), kSelectPlaces, carry));
  if (!places) return false;
  if (!runs(m_carry.marks, kCarryMarks) || !runs(m_carry.removeMarks, kRemoveMarks)) return false;
  if (!runs(m_carry.packages, kCarryPackages)) return false;
  if (hasTable("LoopsLoudnessV4")) {
    bindNames(m_carry.loudness.preparedOnce(m_sqlite.get(), kCarryLoudness), *places);
    if (places->areOfOneLength && !runs(m_carry.loudness, kCarryLoudness)) return false;
    if (!runs(m_carry.removeLoudness, kRemoveLoudness)) return false;
  }
  if (hasTable("LoopsMetaInfos")) {
    if (!runs(m_carry.metaInfos, kCarryMetaInfos) || !runs(m_carry.removeMetaInfos, kRemoveMetaInfos)) return false;
  }
  return removeLoopWithId(loopId);
}
