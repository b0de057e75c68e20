#include "database/DatabaseDamage.h"

#include "platform/Path.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCStatement.h"

#include <sqlite3.h>

namespace {

bool insertFlag(sqlite3* connection) {
  LCStatement insert(connection,
                     "INSERT OR REPLACE INTO DatabaseMigrationInfos (key, integerValue) "
                     "VALUES ('DATABASE_IS_CORRUPT', ?);");
  insert.bind(1, 1);
  return insert.run();
}

void writeMarkerFile(sqlite3* connection) {
  const char* file = sqlite3_db_filename(connection, "main");
  if (file == nullptr || *file == '\0') return;  // no file: a database in memory
  if (!vesk::path::isDirectory(vesk::path::deletingLastComponent(file))) return;
  vesk::path::writeFileAtomically(lc::damage::markerBeside(file), "1");
}

// Whether preparing and first stepping of `sql` show no sign of damage.
bool isReadable(sqlite3* connection, const char* sql) {
  LCStatement statement(connection, sql);
  if (statement.isPrepared()) statement.step();
  return !lc::damage::isStatusOfDamage(statement.lastStatus());
}

// A check that breaks off has not said so.
bool passesQuickCheck(sqlite3* connection) {
  LCStatement statement(connection, "PRAGMA quick_check;");
  while (statement.step()) {
    if (statement.textAt(0) == "ok") return true;
  }
  return false;
}

}  // namespace

namespace lc::damage {

bool isFree(sqlite3* connection, Check check) {
  if (connection == nullptr || isRecorded(connection)) return false;
  if (check == Check::thorough) return passesQuickCheck(connection);
  return isReadable(connection, "SELECT * FROM sqlite_master LIMIT 1;") &&
         isReadable(connection, "SELECT * FROM Loops LIMIT 1;");
}

bool isSuspected(const std::string& databaseFile, sqlite3* connection) {
  return vesk::path::exists(markerBeside(databaseFile)) || (connection && !isFree(connection, Check::quick));
}

std::string markerBeside(const std::string& databaseFile) {
  return vesk::path::appending(vesk::path::deletingLastComponent(databaseFile), kCorruptDatabaseFileIndicatorName);
}

bool isStatusOfDamage(int status) {
  return status == SQLITE_IOERR || status == SQLITE_CORRUPT || status == SQLITE_CANTOPEN || status == SQLITE_NOTADB;
}

bool isRecorded(sqlite3* connection) {
  LCStatement statement(connection,
                        "SELECT integerValue from DatabaseMigrationInfos WHERE key == 'DATABASE_IS_CORRUPT'");
  return statement.step() && statement.int64At(0) != 0;
}

void record(sqlite3* connection) {
  if (connection == nullptr) return;
  if (!insertFlag(connection)) writeMarkerFile(connection);
}

void recordIfMet(sqlite3* connection, int status) {
  const bool isSuspicious = status == SQLITE_CORRUPT || status == SQLITE_NOTADB;
  if (isSuspicious && !isFree(connection, Check::thorough)) record(connection);
}

}  // namespace lc::damage
