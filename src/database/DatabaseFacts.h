// What is noted of a database in its table DatabaseMigrationInfos, a row each: its schema version, the last keyword
// that is not built in, the program that filled it, steps that are taken once, the runs of a library's scans.
// Connections are borrowed; on the thread that uses them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

struct sqlite3;

namespace lc::facts {

int64_t schemaVersion(sqlite3* connection);  // -1 when there is none
bool setSchemaVersion(int64_t schemaVersion, sqlite3* connection);
// Of an attached database, or the main one. -1 without a connection, the largest number when there is none.
int64_t lastExtraKeywordId(const std::optional<std::string>& database, sqlite3* connection);
bool setLastExtraKeywordId(int64_t keywordId, sqlite3* connection);
std::optional<std::string> indexingAppIdentifier(sqlite3* connection);
// False for an empty one and when no row can be prepared, whatever its writing gives.
bool setIndexingAppIdentifier(const std::optional<std::string>& identifier, sqlite3* connection);
// A step that a database goes through once, such as a repair or the import of another database, with the time when it
// was recorded.
bool isStepRecorded(std::string_view key, sqlite3* connection);
bool recordStep(std::string_view key, sqlite3* connection);  // true also where the table is missing
// The scan that wrote last, and the run whose end-of-run work is still to be done: texts that no other run has.
std::optional<std::string> lastScan(sqlite3* connection);
bool setLastScan(const std::string& scan, sqlite3* connection);
std::optional<std::string> unfinishedRun(sqlite3* connection);
bool setUnfinishedRun(const std::optional<std::string>& run, sqlite3* connection);

}  // namespace lc::facts
