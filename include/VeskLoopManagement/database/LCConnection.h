// Opening and closing SQLite connections, one way for the whole library: serialized mode, a busy time-out of 5 s, texts
// in double quotes admitted (they are part of our statements), recursive triggers and foreign keys off.
#pragma once

#include "VeskLoopManagement/LCExport.h"

#include <memory>
#include <string>

struct sqlite3;

enum class LCOpenMode { readOnly, readWriteCreate };

struct LC_EXPORT LCConnectionCloser {
  void operator()(sqlite3* connection) const;  // sqlite3_close_v2
};
using LCConnection = std::unique_ptr<sqlite3, LCConnectionCloser>;

namespace lc {

// The opened connection. On failure `status` (may be null) gets SQLite's code and the result is null.
LC_EXPORT LCConnection openConnection(const std::string& databaseFile, LCOpenMode mode, int* status = nullptr);

}  // namespace lc
