#include "migration/LegacyPackages.h"

#include "platform/Path.h"
#include "VeskLoopManagement/migration/LCLegacyIndexFile.h"
#include "VeskLoopManagement/platform/Environment.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace {

constexpr std::string_view kFactoryFolder = "/Library/Audio/Vireo Loops";

std::string usersFactoryFolder() {
  return vesk::path::resolvingSymlinks(vesk::Environment::shared().homeFolder() + std::string(kFactoryFolder));
}

}  // namespace

std::vector<std::string> lc::legacy::indexFilesIn(const std::string& folder) {
  std::vector<std::string> paths;
  const std::string expanded = vesk::path::expandingTilde(folder);
  std::error_code error;
  for (std::filesystem::directory_iterator entry(expanded, error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    if (LCLegacyIndexFile::isNameOfIndexFile(name)) paths.push_back(vesk::path::appending(expanded, name));
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

bool lc::legacy::isLeftOut(const std::string& audioPath) {
  return audioPath.empty() || audioPath.starts_with(kFactoryFolder) || audioPath.starts_with(usersFactoryFolder());
}
