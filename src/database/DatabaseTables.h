// Creates, fills, extends and drops the tables of the loop database. Connections are borrowed; on the thread that uses
// them. What is complete already is only read, so that opening a database never waits for another one's writing; what
// is not takes the database's writing first, and waits for it as long as the connection waits.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

struct sqlite3;

namespace lc::tables {

// All tables with triggers, index and built-in keywords, in one transaction. What could be created is kept when the
// rest fails.
bool generate(sqlite3* connection, int64_t schemaVersion);
bool drop(sqlite3* connection);  // what the user made stays
void fillKeywords(sqlite3* connection);
void addTriggers(sqlite3* connection);
bool createIndex(sqlite3* connection);
// What cannot be looked up counts as present. `database` is "main" when missing.
bool hasTable(std::string_view table, const std::optional<std::string>& database, sqlite3* connection);
bool hasColumn(std::string_view column, std::string_view table, const std::optional<std::string>& database,
               sqlite3* connection);
// True unless the column is missing and could not be added.
bool extend(std::string_view table, const std::optional<std::string>& database, std::string_view column,
            std::string_view type, sqlite3* connection);

// Whether generated tables get a column for transcripts. Process-wide, off at first.
void setChineseTranscriptEnabled(bool enabled);
bool isChineseTranscriptEnabled();

}  // namespace lc::tables
