#include "VeskLoopManagement/loudness/LCMetaInfoDatabase.h"

#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"

namespace {

constexpr const char* kInsertWithStringSQL =
    "INSERT OR REPLACE INTO LoopsMetaInfos (loopId, doubleValue, integerValue, type, stringValue) "
    "VALUES (?1,?2,?3,?4,?5);";
constexpr const char* kInsertWithoutStringSQL =
    "INSERT OR REPLACE INTO LoopsMetaInfos (loopId, doubleValue, integerValue, type) VALUES (?1,?2,?3,?4);";
constexpr const char* kSelectByLoopIdSQL =
    "SELECT stringValue, doubleValue, integerValue, type FROM LoopsMetaInfos WHERE loopId = ?1;";
constexpr const char* kSelectByLoopIdAndTypeSQL =
    "SELECT stringValue, doubleValue, integerValue, type FROM LoopsMetaInfos WHERE loopId = ?1 AND type = ?2;";

// The trigger needs the loops table; a file of its own does without.
bool generateTables(sqlite3* connection) {
  const bool isCreated =
      LCSQLiteUtilities(connection).executeStatementWithNoReturnValue(std::string(kCreateLoopsMetaInfoTableString));
  LCStatement(connection, kCreateLoopsMetaInfoTriggerString).run();
  return isCreated;
}

LCMetaInfo metaInfoOfRow(const LCStatement& row) {
  const int64_t type = row.int64At(3);
  LCMetaInfo info = LCMetaInfo::metaInfoInstanceOfType(type);
  if (!row.isNull(0)) info.stringValue = row.textAt(0);
  info.doubleValue = row.doubleAt(1);
  info.integerValue = row.int64At(2);
  info.type = type;
  return info;
}

}  // namespace

std::unique_ptr<LCMetaInfoDatabase> LCMetaInfoDatabase::initWithDatabaseFile(const std::optional<std::string>& path,
                                                                             bool forWriting) {
  if (!path) return nullptr;
  std::unique_ptr<LCMetaInfoDatabase> database(new LCMetaInfoDatabase);
  database->m_owned = lc::openConnection(*path, forWriting ? LCOpenMode::readWriteCreate : LCOpenMode::readOnly);
  if (forWriting && !generateTables(database->m_owned.get())) database->m_owned.reset();
  database->m_database = database->m_owned.get();
  return database;
}

std::unique_ptr<LCMetaInfoDatabase> LCMetaInfoDatabase::databaseForSqlite(sqlite3* connection) {
  std::unique_ptr<LCMetaInfoDatabase> database(new LCMetaInfoDatabase);
  database->m_database = connection;
  generateTables(connection);
  return database;
}

std::vector<LCMetaInfo> LCMetaInfoDatabase::metaInfosForLoopID(int64_t loopId, int64_t type) {
  LCStatement& statement = type == kAnyType
                               ? m_selectByLoopId.preparedOnce(m_database, kSelectByLoopIdSQL)
                               : m_selectByLoopIdAndType.preparedOnce(m_database, kSelectByLoopIdAndTypeSQL);
  statement.bind(1, loopId);
  if (type != kAnyType) statement.bind(2, type);
  std::vector<LCMetaInfo> infos;
  while (statement.step()) infos.push_back(metaInfoOfRow(statement));
  if (!statement.succeeded()) infos.clear();
  statement.clearBindings();
  statement.reset();
  return infos;
}

std::vector<LCMetaInfo> LCMetaInfoDatabase::instrumentKeywordsForLoopId(int64_t loopId) {
  return metaInfosForLoopID(loopId, LCMetaInfo::kWeightedInstrumentKeyword);
}

bool LCMetaInfoDatabase::saveMetaInfos(std::span<const LCMetaInfo> metaInfos, int64_t loopId) {
  bool isComplete = true;
  for (const LCMetaInfo& info : metaInfos) {
    LCStatement& insert = info.stringValue ? m_insertWithString.preparedOnce(m_database, kInsertWithStringSQL)
                                           : m_insertWithoutString.preparedOnce(m_database, kInsertWithoutStringSQL);
    insert.bind(1, loopId);
    insert.bind(2, info.doubleValue);
    insert.bind32(3, info.integerValue);
    insert.bind32(4, info.type);
    if (info.stringValue) insert.bind(5, *info.stringValue);
    if (!insert.run()) isComplete = false;
  }
  return isComplete;
}
