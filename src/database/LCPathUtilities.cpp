#include "VeskLoopManagement/database/LCPathUtilities.h"

#include "platform/Path.h"
#include "VeskLoopManagement/platform/Environment.h"

#include <string_view>
#include <vector>

namespace {

constexpr std::string_view kLoopFolder = "/Audio/Vireo Loops";

// The loop folder below the domain's most important library folder.
std::string loopFolder(vesk::Domain domain, std::string_view fallbackLibrary) {
  const std::vector<std::string> libraries = vesk::Environment::shared().libraryFolders(domain);
  const std::string library = libraries.empty() ? vesk::path::expandingTilde(fallbackLibrary) : libraries.front();
  return library + std::string(kLoopFolder);
}

// A folder that cannot be created is answered all the same.
std::string prepared(const std::string& folder, bool create) {
  if (create) vesk::path::createDirectories(folder);
  return vesk::path::resolvingSymlinks(folder);
}

}  // namespace

std::string LCPathUtilities::factoryLoopFolder() {
  return vesk::path::resolvingSymlinks(loopFolder(vesk::Domain::local, "/Library"));
}

std::string LCPathUtilities::userFactoryLoopFolder(bool create) {
  return prepared(loopFolder(vesk::Domain::user, "~/Library"), create);
}

std::string LCPathUtilities::userLoopsFolder(bool create) {
  return prepared(vesk::path::appending(userFactoryLoopFolder(create), "User Loops"), create);
}

std::string LCPathUtilities::userLoopsFolderSingleFiles(bool create) {
  return prepared(vesk::path::appending(userLoopsFolder(create), "SingleFiles"), create);
}
