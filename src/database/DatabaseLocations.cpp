#include "database/DatabaseLocations.h"

#include "platform/Path.h"
#include "VeskLoopManagement/database/LCDatabaseConfiguration.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/platform/Environment.h"

#include <fmt/format.h>

#include <mutex>
#include <utility>

namespace {

// What the host has set, or what was computed.
struct Places {
  std::mutex mutex;
  std::optional<std::string> databaseFile;
  std::optional<std::string> loudnessUserFile;
  std::optional<std::string> loudnessFactoryFile;
};

Places& places() {
  static Places shared;
  return shared;
}

std::optional<std::string> kept(std::optional<std::string> Places::*place) {
  const std::lock_guard lock(places().mutex);
  return places().*place;
}

void keep(std::optional<std::string> Places::*place, std::optional<std::string> path) {
  const std::lock_guard lock(places().mutex);
  places().*place = std::move(path);
}

std::string loudnessFileIn(const std::string& folder) {
  return vesk::path::appending(folder, fmt::format("{}.{}", kLoudnessDatabaseFileName, kLoudnessDatabaseExtension));
}

void keepLoudnessFolder(std::optional<std::string> Places::*place, const std::optional<std::string>& folder) {
  if (folder && vesk::path::isDirectory(*folder)) keep(place, loudnessFileIn(*folder));
}

}  // namespace

namespace lc::locations {

std::string databaseFile() {
  const std::lock_guard lock(places().mutex);
  std::optional<std::string>& path = places().databaseFile;
  if (!path) path = LCDatabaseConfiguration::defaultDatabaseFile();
  return *path;
}

std::string databasePlace() {
  if (auto path = kept(&Places::databaseFile)) return *path;
  return LCDatabaseConfiguration::defaultDatabasePlace();
}

void setDatabaseFile(std::optional<std::string> path) {
  keep(&Places::databaseFile, std::move(path));
}

std::optional<std::string> userDatabaseFolder() {
  const std::optional<std::string> music = vesk::Environment::shared().musicFolder(nullptr);
  if (!music) return std::nullopt;
  std::string folder = vesk::path::appending(vesk::path::appending(*music, "Audio Vesk"), "Databases");
  if (!vesk::path::createDirectories(folder)) return std::nullopt;
  return folder;
}

std::optional<std::string> loudnessUserDatabaseFile() {
  if (auto path = kept(&Places::loudnessUserFile)) return path;
  const std::optional<std::string> folder = userDatabaseFolder();
  if (!folder) return std::nullopt;
  return loudnessFileIn(*folder);
}

std::optional<std::string> loudnessFactoryDatabaseFile() {
  if (auto path = kept(&Places::loudnessFactoryFile)) return path;
  return vesk::Environment::shared().hostResource(kLoudnessDatabaseFileName, kLoudnessDatabaseExtension);
}

void setLoudnessUserDatabaseFolder(const std::optional<std::string>& folder) {
  keepLoudnessFolder(&Places::loudnessUserFile, folder);
}

void setLoudnessFactoryDatabaseFolder(const std::optional<std::string>& folder) {
  keepLoudnessFolder(&Places::loudnessFactoryFile, folder);
}

}  // namespace lc::locations
