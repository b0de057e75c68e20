#include "database/Savepoint.h"

#include "database/StatementRunner.h"

#include <sqlite3.h>

namespace lc {

Savepoint::Savepoint(sqlite3* connection)
    : m_connection(connection),
      m_isOutermost(connection && sqlite3_get_autocommit(connection) != 0),
      m_isOpen(runner::succeeds(connection, "SAVEPOINT step;")) {}

// Releasing the outermost one would commit, which may be refused again.
Savepoint::~Savepoint() {
  if (m_isOpen) runner::succeeds(m_connection, m_isOutermost ? "ROLLBACK;" : "ROLLBACK TO step; RELEASE step;");
}

bool Savepoint::keep() {
  if (!m_isOpen || !runner::succeeds(m_connection, "RELEASE step;")) return false;
  m_isOpen = false;
  return true;
}

}  // namespace lc
