// Repairs what older databases hold: paths, misspelt names, names that are not composed, names in another language.
// Connections are borrowed; on the thread that uses them. Paths and names change for all loops or for none.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "VeskLoopManagement/database/LCSQLiteUtilities.h"

namespace lc::repairs {

bool replacePaths(const std::string& oldPrefix, const std::string& newPrefix, sqlite3* connection);
// Only what lies below `oldFolder` and only that part of a path. Answers the new paths, or nullopt when a statement
// failed, within the caller's transaction, which must then be taken back.
std::optional<std::vector<std::string>> moveFolder(const std::string& oldFolder, const std::string& newFolder,
                                                   sqlite3* connection);
void fixTypos(sqlite3* connection);
// Once for a database, which remembers it. True when there is nothing left to do or the database cannot be written.
bool precomposeNames(sqlite3* connection);
// Into Chinese and out of it only; the locale is remembered.
void localizeNames(sqlite3* connection, const std::string& localeIdentifier,
                   const LCSQLiteUtilities::LocalizationBlock& block);
std::optional<std::string> localization(sqlite3* connection);  // nullopt when names were never localized
// Whether names would be rewritten, for which the loops table needs its column for transcripts.
bool rewritesNames(const std::string& localeIdentifier, sqlite3* connection);
void forgetLocalization(sqlite3* connection);
bool isChina();

}  // namespace lc::repairs
