// Counts loops that come one by one and may come again. What it has to remember of them it leaves to a nameless
// database that SQLite keeps on the disk when it grows, and that ends with the counter. One thread.
#pragma once

#include "VeskLoopManagement/database/LCConnection.h"
#include "VeskLoopManagement/database/LCStatement.h"

#include <cstdint>

namespace lc {

class LoopCounter {
 public:
  LoopCounter();
  void add(int64_t loopId);
  int64_t count() const { return m_count; }  // of different ones; each counts where nothing can be remembered

 private:
  LCConnection m_connection;
  LCStatement m_insert;
  int64_t m_count = 0;
};

}  // namespace lc
