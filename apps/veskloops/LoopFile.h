// Reads one loop file's record, or says why there is none.
#pragma once

#include "Output.h"
#include "VeskLoopManagement/model/LCFileData.h"

#include <optional>
#include <string>

struct LoopFileReading {
  std::optional<LCFileData> record;
  std::string reason;  // without a record: "unsupported", "notFound", "unreadable" or "malformed"
  std::string detail;  // for people; may be empty

  bool isUnsupported() const { return reason == "unsupported"; }
};

// Opens the file at `resolvedPath` once. The record carries `url`, which may name the file through links.
LoopFileReading readLoopFile(const std::string& resolvedPath, const vesk::URL& url, bool enhanced = false);

// A file that failed, for the result; `detail` may be empty.
JSON jsonOfFailure(const std::string& path, const std::string& reason, const std::string& detail);
// The same in words: "PATH: unreadable (permission denied)".
std::string failureText(const std::string& path, const std::string& reason, const std::string& detail);
