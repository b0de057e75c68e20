#include "VeskLoopManagement/model/LCNodeTypesHelper.h"

#include "platform/Path.h"
#include "VeskLoopManagement/platform/Environment.h"

#include <sys/stat.h>

#include <string_view>

namespace {

struct NodeTypeOfExtension {
  std::string_view extension;
  LCNodeType type;
};

constexpr NodeTypeOfExtension kFileNodeTypes[] = {
    {"mov", kNodeMovie}, {"m2v", kNodeMovie}, {"wav", kNodeWAV}, {"wave", kNodeWAV},
    {"aif", kNodeAIFF},  {"aiff", kNodeAIFF}, {"caf", kNodeCAF}, {"loopdata", kNodeLoopData},
    {"rx2", kNodeREX},   {"rex", kNodeREX},   {"rcy", kNodeREX},
};

}  // namespace

int32_t LCNodeTypesHelper::nodeTypeFromPath(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return kNodeUnknown;
  const bool isFolder = S_ISDIR(status.st_mode);
  const std::string extension = vesk::path::lowercaseExtension(path);
  if (extension.empty()) return isFolder ? kNodeFolder : kNodeUnknown;
  if (isFolder) return vesk::Environment::shared().isFilePackage(path) ? kNodeFilePackage : kNodeFolder;
  return nodeTypeFromFileName(path);
}

int32_t LCNodeTypesHelper::nodeTypeFromFileName(const std::string& name) {
  const std::string extension = vesk::path::lowercaseExtension(name);
  for (const NodeTypeOfExtension& known : kFileNodeTypes) {
    if (extension == known.extension) return known.type;
  }
  return kNodeUnknown;
}
