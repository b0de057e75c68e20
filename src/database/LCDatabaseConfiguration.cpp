#include "VeskLoopManagement/database/LCDatabaseConfiguration.h"

#include "platform/Path.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"
#include "VeskLoopManagement/platform/Environment.h"

#include <fmt/format.h>

#include <filesystem>
#include <system_error>
#include <utility>

namespace {

constexpr const char* kCurrentDatabaseName = "LoopsDatabaseV10.db";
constexpr const char* kPreviousDatabaseName = "LoopsDatabaseV09.db";
constexpr const char* kOldestDatabase = "Library/Application Support/Orrin/LoopsDatabaseV09.db";

void logError(const std::string& reason) {
  vesk::log(fmt::format("Error: {}", reason));
}

// Where the system gives no music folder; it may not exist.
std::string usualMusicFolder() {
  return vesk::path::appending(vesk::Environment::shared().homeFolder(), "Music");
}

std::string musicFolder() {
  std::string error;
  if (const auto folder = vesk::Environment::shared().musicFolder(&error)) return *folder;
  logError(error);
  return usualMusicFolder();
}

// Where the default database lies, and where those of earlier versions may.
struct DefaultFiles {
  explicit DefaultFiles(const std::string& musicFolder)
      : folder(vesk::path::appending(vesk::path::appending(musicFolder, "Audio Vesk"), "Databases")) {}

  std::string current() const { return resolved(kCurrentDatabaseName); }
  std::string previous() const { return resolved(kPreviousDatabaseName); }
  static std::string oldest() {
    return vesk::path::appending(vesk::Environment::shared().homeFolder(), kOldestDatabase);
  }

  std::string folder;

 private:
  std::string resolved(const char* name) const {
    return vesk::path::resolvingSymlinks(vesk::path::appending(folder, name));
  }
};

DefaultFiles defaultFilesWithoutMakingAny() {
  const vesk::Environment& environment = vesk::Environment::shared();
  return DefaultFiles(environment.musicFolderPlace().value_or(usualMusicFolder()));
}

// Leaves an existing target alone and no half of a copy behind. Failures are ignored: an empty database is created
// later.
void copyForward(const std::string& source, const std::string& target) {
  if (!vesk::path::exists(source) || vesk::path::exists(target)) return;
  std::error_code error;
  std::filesystem::copy_file(source, target, error);
  if (!error || error == std::errc::file_exists) return;
  std::filesystem::remove(target, error);
}

}  // namespace

LCDatabaseConfiguration::LCDatabaseConfiguration(std::string databaseFile, bool readOnly, int64_t schemaVersion)
    : m_databaseFile(std::move(databaseFile)), m_readonly(readOnly), m_schemaVersion(schemaVersion) {}

std::string LCDatabaseConfiguration::description() const {
  return fmt::format("<LCDatabaseConfiguration: {}> {{databaseFile {} readonly: {} schemaVersion: {}}}", fmt::ptr(this),
                     m_databaseFile, m_readonly ? "YES" : "NO", m_schemaVersion);
}

LCDatabaseConfiguration LCDatabaseConfiguration::defaultDatabaseConfiguration() {
  return LCDatabaseConfiguration(LCSQLiteUtilities::databaseFile(), false, kDefaultDatabaseSchemaVersion);
}

std::string LCDatabaseConfiguration::defaultDatabaseFile() {
  const DefaultFiles files(musicFolder());
  const std::string previous = files.previous();
  std::string error;
  if (!vesk::path::isDirectory(vesk::path::resolvingSymlinks(files.folder)) &&
      !vesk::path::createDirectories(files.folder, &error)) {
    logError(error);
  }
  copyForward(DefaultFiles::oldest(), previous);
  std::string current = files.current();
  copyForward(previous, current);
  return current;
}

std::string LCDatabaseConfiguration::defaultDatabasePlace() {
  return defaultFilesWithoutMakingAny().current();
}

bool LCDatabaseConfiguration::hasOlderDefaultDatabase() {
  return vesk::path::exists(DefaultFiles::oldest()) || vesk::path::exists(defaultFilesWithoutMakingAny().previous());
}

std::vector<std::string> LCDatabaseConfiguration::loopsTableColumnNamesForDatabaseSchemaVersion(int64_t schemaVersion) {
  std::vector<std::string> names = {
      "id",
      "fileURL",
      "fileName",
      "key",
      "numberOfBeats",
      "timeSignatureTop",
      "timeSignatureBottom",
      "tempo",
      "keyType",
      "fileType",
      "hasMidi",
      "theme",
      "collection",
      "comment",
      "copyright",
      "author",
      "title",
      "isWebLoop",
      "lengthInSeconds",
      "instrumentTypeId",
      "instrumentSubTypeId",
      "genreId",
      "singleEnsembleKeywordId",
      "partFillKeywordId",
      "acousticElectricKeywordId",
      "dryProcessedKeywordId",
      "cleanDistortedKeywordId",
      "cheerfulDarkKeywordId",
      "relaxedIntenseKeywordId",
      "groovingArrhythmicKeywordId",
      "melodicDissonantKeywordId",
      std::string(kLoopsContentIdentifierColumn),
      std::string(kLoopsChineseTranscriptColumn)};  // listed whether or not it was created
  if (schemaVersion >= kPatchInfoListedSchemaVersion) {
    names.emplace_back(kLoopsPatchInfoColumn);
    names.emplace_back(kLoopsKSLoopTypeColumn);
  }
  return names;
}
