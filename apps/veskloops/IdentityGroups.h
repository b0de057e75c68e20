// Files that share one identity, and so one row: collected during a run, for its summary. Holds only as much as a
// person would look at.
#pragma once

#include "Output.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>

class IdentityGroups {
 public:
  void add(int64_t loopId, const std::string& path, const std::string& otherPath);

  size_t groupCount() const { return m_groups.size(); }
  bool isComplete() const { return m_isComplete; }
  JSON json() const;                // a list of lists of paths
  void warn(Output& output) const;  // the first groups, in words

 private:
  std::map<int64_t, std::set<std::string>> m_groups;
  size_t m_pathCount = 0;
  bool m_isComplete = true;
};
