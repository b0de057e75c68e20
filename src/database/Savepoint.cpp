#include "database/Savepoint.h"

#include "database/StatementRunner.h"

namespace lc {

Savepoint::Savepoint(sqlite3* connection)
    : m_connection(connection), m_isOpen(runner::succeeds(connection, "SAVEPOINT step;")) {}

Savepoint::~Savepoint() {
  if (m_isOpen) runner::succeeds(m_connection, "ROLLBACK TO step; RELEASE step;");
}

bool Savepoint::keep() {
  if (!m_isOpen || !runner::succeeds(m_connection, "RELEASE step;")) return false;
  m_isOpen = false;
  return true;
}

}  // namespace lc
