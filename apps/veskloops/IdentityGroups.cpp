#include "IdentityGroups.h"

#include "English.h"
#include "VeskLoopManagement/platform/Text.h"

#include <fmt/format.h>

namespace {

constexpr size_t kMostPaths = 10000;
constexpr size_t kMostGroupsInWords = 5;

}  // namespace

void IdentityGroups::add(int64_t loopId, const std::string& path, const std::string& otherPath) {
  if (m_pathCount >= kMostPaths) {
    m_isComplete = false;
    return;
  }
  auto& group = m_groups[loopId];
  m_pathCount += group.insert(path).second;
  m_pathCount += group.insert(otherPath).second;
}

JSON IdentityGroups::json() const {
  JSON groups = JSON::array();
  for (const auto& [loopId, paths] : m_groups) {
    JSON& group = groups.emplace_back(JSON::array());
    for (const auto& path : paths) group.push_back(vesk::text::lossyUTF8(path));
  }
  return groups;
}

void IdentityGroups::warn(Output& output) const {
  if (m_groups.empty()) return;
  std::string text = fmt::format("{} found in several files; the database keeps the last one of each",
                                 counted(m_groups.size(), "loop"));
  size_t shown = 0;
  for (const auto& [loopId, paths] : m_groups) {
    if (++shown > kMostGroupsInWords) break;
    text += "\n  " + fmt::format("{}", fmt::join(paths, "\n  = "));
  }
  if (m_groups.size() > kMostGroupsInWords) text += "\n  … and more, which --json lists";
  output.warning(text);
}
