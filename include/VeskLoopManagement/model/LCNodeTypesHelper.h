// What a path stands for when browsing, judged by its extension alone.
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
  static int32_t nodeTypeFromPath(const std::string& path);
};
