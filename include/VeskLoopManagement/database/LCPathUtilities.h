// The folders in which loops live. Every path comes back with links resolved.
#pragma once

#include "VeskLoopManagement/LCExport.h"

#include <string>

struct LC_EXPORT LCPathUtilities {
  static std::string factoryLoopFolder();
  static std::string userFactoryLoopFolder(bool create);
  static std::string userLoopsFolder(bool create);
  static std::string userLoopsFolderSingleFiles(bool create);
};
