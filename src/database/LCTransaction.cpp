#include "database/LCTransaction.h"

#include <sqlite3.h>

namespace {

bool execute(sqlite3* connection, const char* sql) {
  return connection && sqlite3_exec(connection, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

}  // namespace

LCTransaction::LCTransaction(sqlite3* connection) : m_connection(connection), m_isOurs(execute(connection, "BEGIN;")) {}

LCTransaction::~LCTransaction() {
  if (m_isOurs) execute(m_connection, "ROLLBACK;");
}

bool LCTransaction::commit() {
  const bool committed = execute(m_connection, "COMMIT;");
  if (committed) m_isOurs = false;
  return committed;
}
