// LCTransaction: a transaction that is undone when it is left without having been committed. Inside another one it is a
// savepoint of that one: committing it leaves the outer one open, leaving it undoes its own part only. One thread at a
// time. Refused (a null connection, a database that is locked or cannot be written) it is not open, and what follows
// stands for itself.
#pragma once

#include "database/Savepoint.h"

#include <optional>

struct sqlite3;

class LCTransaction {
 public:
  enum class Begin {
    deferred,    // "BEGIN;": the first statement decides about locks; one that reads first cannot wait to write
    immediately  // owns the database's writing from the start, after waiting for it
  };

  // `connection` is borrowed and outlives the transaction; it may be null.
  explicit LCTransaction(sqlite3* connection, Begin begin = Begin::deferred);
  ~LCTransaction();
  LCTransaction(const LCTransaction&) = delete;
  LCTransaction& operator=(const LCTransaction&) = delete;

  bool isOpen() const { return m_isOpen; }
  [[nodiscard]] bool commit();  // false: it is undone when it is left

 private:
  sqlite3* m_connection;
  std::optional<lc::Savepoint> m_savepoint;  // inside another transaction
  bool m_isOpen = false;
};
