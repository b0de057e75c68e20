#include "VeskLoopManagement/loudness/LCLoudnessDatabase.h"

#include "platform/Path.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"

namespace {

constexpr const char* kInsertSQL =
    "INSERT OR REPLACE INTO LoopsLoudnessV4 "
    "(id, filename , integratedLoudness, globalMaxTruePeak, targetIntegratedLoudness) VALUES (?1,?2,?3,?4,?5);";
constexpr const char* kSelectByLoopIdSQL =
    "SELECT integratedLoudness, globalMaxTruePeak, targetIntegratedLoudness FROM LoopsLoudnessV4 WHERE id = ?1;";
constexpr const char* kSelectByFileNameSQL =
    "SELECT integratedLoudness, globalMaxTruePeak, targetIntegratedLoudness FROM LoopsLoudnessV4 "
    "WHERE fileName = ?1;";

// The row that `statement`, bound to its key, finds. A figure that is NULL there reads as 0.
std::optional<LCLoopLoudnessInfo> foundInfo(LCStatement& statement) {
  std::optional<LCLoopLoudnessInfo> info;
  if (statement.step()) info = LCLoopLoudnessInfo{statement.doubleAt(0), statement.doubleAt(1), statement.doubleAt(2)};
  statement.clearBindings();
  statement.reset();
  return info;
}

}  // namespace

std::unique_ptr<LCLoudnessDatabase> LCLoudnessDatabase::initWithDatabaseFile(const std::optional<std::string>& path,
                                                                             bool forWriting) {
  if (!path) return nullptr;
  std::unique_ptr<LCLoudnessDatabase> database(new LCLoudnessDatabase);
  database->m_owned = lc::openConnection(*path, forWriting ? LCOpenMode::readWriteCreate : LCOpenMode::readOnly);
  if (forWriting && !generateDatabaseTablesForSQLite(database->m_owned.get())) database->m_owned.reset();
  database->m_database = database->m_owned.get();
  return database;
}

std::unique_ptr<LCLoudnessDatabase> LCLoudnessDatabase::factoryDatabase() {
  const std::optional<std::string> file = LCSQLiteUtilities::loudnessFactoryDatabaseFile();
  if (!file || !vesk::path::exists(*file)) return nullptr;
  return initWithDatabaseFile(file, false);
}

std::unique_ptr<LCLoudnessDatabase> LCLoudnessDatabase::loudnessDatabaseForSqlite(sqlite3* connection) {
  std::unique_ptr<LCLoudnessDatabase> database(new LCLoudnessDatabase);
  database->m_database = connection;
  return database;
}

bool LCLoudnessDatabase::generateDatabaseTablesForSQLite(sqlite3* connection) {
  LCSQLiteUtilities utilities(connection);
  if (!utilities.executeStatementWithNoReturnValue(std::string(kCreateLoopsLoudnessTableString))) return false;
  utilities.executeStatementWithNoReturnValue(std::string(kCreateLoudnessDatabaseMigrationInfosTableString));
  return true;
}

std::optional<LCLoopLoudnessInfo> LCLoudnessDatabase::loudnessInfoForLoopID(int64_t loopId) {
  LCStatement& statement = m_selectByLoopId.preparedOnce(m_database, kSelectByLoopIdSQL);
  statement.bind(1, loopId);
  return foundInfo(statement);
}

std::optional<LCLoopLoudnessInfo> LCLoudnessDatabase::loudnessInfoForFileName(const std::string& fileName) {
  LCStatement& statement = m_selectByFileName.preparedOnce(m_database, kSelectByFileNameSQL);
  statement.bind(1, fileName);
  return foundInfo(statement);
}

bool LCLoudnessDatabase::saveLoadnessInfo(const LCLoopLoudnessInfo& info, const std::string& fileName, int64_t loopId) {
  LCStatement& statement = m_insert.preparedOnce(m_database, kInsertSQL);
  statement.bind(1, loopId);
  statement.bind(2, fileName);
  statement.bind(3, info.integratedLoudness);
  statement.bind(4, info.globalMaxTruePeak);
  statement.bind(5, info.targetIntegratedLoudness);
  return statement.run();
}
