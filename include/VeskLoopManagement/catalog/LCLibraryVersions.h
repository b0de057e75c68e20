// Which versions are at work, for messages and reports.
#pragma once

#include "VeskLoopManagement/LCExport.h"

#include <cstdint>
#include <string>

struct LC_EXPORT LCLibraryVersions {
  std::string library;         // "0.1.0"
  int64_t databaseSchema = 0;  // that new databases are made with
  std::string sqlite;
  std::string icu;

  static LCLibraryVersions current();
};
