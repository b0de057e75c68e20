#include "catalog/LoopCounter.h"

#include <sqlite3.h>

lc::LoopCounter::LoopCounter() : m_connection(openConnection("", LCOpenMode::readWriteCreate)) {
  // One transaction without a journal: nothing of it is ever to be kept or undone.
  for (const char* sql : {"PRAGMA journal_mode = OFF", "CREATE TABLE Loops (id INTEGER PRIMARY KEY)", "BEGIN"}) {
    LCStatement(m_connection.get(), sql).run();
  }
  m_insert = LCStatement(m_connection.get(), "INSERT OR IGNORE INTO Loops (id) VALUES (?1)");
}

void lc::LoopCounter::add(int64_t loopId) {
  m_insert.bind(1, loopId);
  const bool isKnown = m_insert.run() && sqlite3_changes(m_connection.get()) == 0;
  if (!isKnown) ++m_count;
}
