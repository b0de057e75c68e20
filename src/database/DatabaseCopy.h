// A whole database into a new file, as it stands at one moment, what its writers have not yet put into its main file
// included, while others use it. On the thread that uses the connection; logs nothing.
#pragma once

#include <string>

struct sqlite3;

namespace lc {

// Into a sibling of `path` first, which is synced and then renamed: nobody sees half of a database. A file that is
// there is replaced. SQLite's result code; 0 when it is done.
[[nodiscard]] int copyDatabase(sqlite3* connection, const std::string& path);

}  // namespace lc
