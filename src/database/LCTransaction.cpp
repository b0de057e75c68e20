#include "database/LCTransaction.h"

#include "database/StatementRunner.h"

#include <sqlite3.h>

LCTransaction::LCTransaction(sqlite3* connection, Begin begin) : m_connection(connection) {
  if (connection && sqlite3_get_autocommit(connection) == 0) {
    m_isOpen = m_savepoint.emplace(connection).isOpen();
  } else {
    m_isOpen = lc::runner::succeeds(connection, begin == Begin::deferred ? "BEGIN;" : "BEGIN IMMEDIATE;");
  }
}

LCTransaction::~LCTransaction() {
  if (m_isOpen && !m_savepoint) lc::runner::succeeds(m_connection, "ROLLBACK;");
}

bool LCTransaction::commit() {
  const bool committed = m_savepoint ? m_savepoint->keep() : m_isOpen && lc::runner::succeeds(m_connection, "COMMIT;");
  if (committed) m_isOpen = false;
  return committed;
}
