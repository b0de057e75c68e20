// What a path stands for when browsing: whether it is there and is a folder says the file system, whether a folder is a
// package the host (vesk::Environment), what a file holds its extension alone. No file is opened. Safe on any thread.
#pragma once

#include "VeskLoopManagement/LCExport.h"

#include <cstdint>
#include <string>

enum LCNodeType : int32_t {
  kNodeUnknown = -1,
  kNodeFolder = 1,
  kNodeFilePackage = 3,
  kNodeAIFF = 4,
  kNodeWAV = 5,
  kNodeMovie = 6,
  kNodeCAF = 7,
  kNodeLoopData = 8,
  kNodeSoundDesigner2 = 9,  // never answered for a path
  kNodeREX = 10,
};

struct LC_EXPORT LCNodeTypesHelper {
  // kNodeUnknown when there is nothing at `path`, or a file of another extension. Links are followed.
  static int32_t nodeTypeFromPath(const std::string& path);
  // What a file of this name holds, whether it is there or not.
  static int32_t nodeTypeFromFileName(const std::string& name);
};
