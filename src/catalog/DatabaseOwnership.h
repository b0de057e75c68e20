// Which files the catalog may take for loop databases of its own. A file that was never ours is neither written nor put
// aside, whatever it holds; ours, though nothing of it can be read any more, is damage. Never throws; any thread.
#pragma once

#include <string>

namespace lc {

// The user's default file, a file that was remembered, or one in whose pages the text stands that makes a table of
// ours; its header may be overwritten. Reads the file itself, without SQLite, which may write when it opens a database.
bool isOurDatabase(const std::string& databaseFile);

// In the state folder, by its place with links resolved. What cannot be written goes to the log: then only the file's
// own pages can say what it is.
void rememberDatabase(const std::string& databaseFile);

}  // namespace lc
