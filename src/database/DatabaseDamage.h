// Looks for damage in a database and records it, in the database or else in a file beside it. Connections are borrowed;
// on the thread that uses them. Logs nothing.
#pragma once

#include <string>

struct sqlite3;

namespace lc::damage {

enum class Check {
  quick,    // whether the schema and a loop can be read
  thorough  // every page
};

// False for a null connection and for a database in which damage is recorded. A missing table is no damage.
bool isFree(sqlite3* connection, Check check);
// Whether the database must not be used as it is: it is marked as damaged, or open and not free by the quick check.
bool isSuspected(const std::string& databaseFile, sqlite3* connection);
// The file that marks it: of one name in each folder, whatever the database is called.
std::string markerBeside(const std::string& databaseFile);
bool isStatusOfDamage(int status);  // SQLite's result codes of files that cannot be read
// Records the damage that a statement with this result has met, when every page was looked at and it is really there.
void recordIfMet(sqlite3* connection, int status);
bool isRecorded(sqlite3* connection);
void record(sqlite3* connection);

}  // namespace lc::damage
