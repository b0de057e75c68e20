#include "VeskLoopManagement/database/LCConnection.h"

#include <sqlite3.h>

namespace {

constexpr int kBusyTimeoutInMilliseconds = 5000;

int openFlags(LCOpenMode mode) {
  const int access = mode == LCOpenMode::readOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
  return access | SQLITE_OPEN_FULLMUTEX;
}

// Nothing here reads the file, so that a damaged one opens as well and can be looked at.
void configure(sqlite3* connection) {
  sqlite3_busy_timeout(connection, kBusyTimeoutInMilliseconds);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_DQS_DML, 1, nullptr);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_DQS_DDL, 1, nullptr);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_ENABLE_FKEY, 0, nullptr);
  sqlite3_exec(connection, "PRAGMA recursive_triggers = OFF;", nullptr, nullptr, nullptr);
}

}  // namespace

void LCConnectionCloser::operator()(sqlite3* connection) const {
  sqlite3_close_v2(connection);
}

LCConnection lc::openConnection(const std::string& databaseFile, LCOpenMode mode, int* status) {
  sqlite3* opened = nullptr;
  const int result = sqlite3_open_v2(databaseFile.c_str(), &opened, openFlags(mode), nullptr);
  LCConnection connection{opened};  // SQLite hands out a connection for most failures, too
  if (status) *status = result;
  if (result != SQLITE_OK) return nullptr;
  configure(connection.get());
  return connection;
}
