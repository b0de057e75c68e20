// Runs SQL texts on a borrowed connection, and says what becomes of their rows. Damage that a text meets is recorded.
// On the thread that uses the connection; nothing throws.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "VeskLoopManagement/database/LCSQLiteUtilities.h"
#include "VeskLoopManagement/platform/Text.h"

namespace lc::runner {

using RowCallback = LCSQLiteUtilities::RowCallback;

struct Outcome {
  int32_t status = 0;  // SQLite's result code
  std::optional<std::string> message;
  bool succeeded() const { return status == 0; }
};

// Every statement of `sql`, up to the first that fails. `connection` is not null. Rows go to `callback` where there is
// one; an exception in it ends the statement.
Outcome run(sqlite3* connection, const std::string& sql, const RowCallback& callback = nullptr);
bool succeeds(sqlite3* connection, const std::string& sql);  // false for a null connection

// Callbacks that append rows to `result`, which is borrowed; null makes none. LCSQLiteUtilities says what the cells
// become.
RowCallback genericRows(LCResultDictionary* result);
RowCallback loopRows(LCResultDictionary* result);
RowCallback keywordRows(LCResultDictionary* result);
RowCallback crateRows(LCResultDictionary* result);
RowCallback combinedKeywords(vesk::StringSet* result);

}  // namespace lc::runner
