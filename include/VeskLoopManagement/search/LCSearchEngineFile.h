// One result row as a file: its URL text and loop id. The resolved path is looked up once, on first question.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/platform/URL.h"

class LC_EXPORT LCSearchEngineFile {
 public:
  // Without an id, loopID is the not-found mark (the largest signed 64-bit value).
  LCSearchEngineFile(std::optional<std::string> plainFileURLStr, std::optional<int64_t> loopID);

  const std::optional<std::string>& plainFileURLStr() const { return m_plainFileURLStr; }
  int64_t loopID() const { return m_loopID; }
  std::optional<vesk::URL> unresolvedFileURL() const;
  std::optional<std::string> resolvedFilePath() const;  // links resolved only when no file exists at the path itself
  std::optional<vesk::URL> resolvedFileURL() const;
  size_t hash() const;
  bool operator==(const LCSearchEngineFile& other) const { return m_plainFileURLStr == other.m_plainFileURLStr; }

 private:
  std::optional<std::string> m_plainFileURLStr;
  int64_t m_loopID;
  mutable std::optional<std::string> m_resolvedFilePath;
};
