#include "VeskLoopManagement/search/LCSearchEngineFile.h"

#include "platform/Path.h"

#include <functional>
#include <limits>
#include <utility>

LCSearchEngineFile::LCSearchEngineFile(std::optional<std::string> plainFileURLStr, std::optional<int64_t> loopID)
    : m_plainFileURLStr(std::move(plainFileURLStr)), m_loopID(loopID.value_or(std::numeric_limits<int64_t>::max())) {}

std::optional<vesk::URL> LCSearchEngineFile::unresolvedFileURL() const {
  return m_plainFileURLStr ? vesk::URL::fromString(*m_plainFileURLStr) : std::nullopt;
}

std::optional<std::string> LCSearchEngineFile::resolvedFilePath() const {
  if (m_resolvedFilePath) return m_resolvedFilePath;
  const std::optional<vesk::URL> url = unresolvedFileURL();
  if (!url) return std::nullopt;
  const std::string path = url->path();
  m_resolvedFilePath = vesk::path::exists(path) ? path : vesk::path::resolvingSymlinks(path);
  return m_resolvedFilePath;
}

std::optional<vesk::URL> LCSearchEngineFile::resolvedFileURL() const {
  const std::optional<std::string> path = resolvedFilePath();
  return path ? std::optional(vesk::URL::fileURLWithPath(*path)) : std::nullopt;
}

size_t LCSearchEngineFile::hash() const {
  return std::hash<std::string>()(m_plainFileURLStr.value_or(""));
}
