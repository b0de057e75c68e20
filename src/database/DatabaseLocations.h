// Where the databases lie: what the host has set, else the standard places. Process-wide; any thread.
#pragma once

#include <optional>
#include <string>

namespace lc::locations {

std::string databaseFile();                             // computed at the first question and kept
std::string databasePlace();                            // the same place; makes, copies and keeps nothing
void setDatabaseFile(std::optional<std::string> path);  // nullopt: computed again at the next question
std::optional<std::string> userDatabaseFolder();        // made when missing; nullopt when that fails
std::optional<std::string> loudnessUserDatabaseFile();
std::optional<std::string> loudnessFactoryDatabaseFile();
// Anything but an existing folder changes nothing.
void setLoudnessUserDatabaseFolder(const std::optional<std::string>& folder);
void setLoudnessFactoryDatabaseFolder(const std::optional<std::string>& folder);

}  // namespace lc::locations
