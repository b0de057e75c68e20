// Which known names a mistyped one may have meant. Pure functions.
#pragma once

#include "VeskLoopManagement/LCExport.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Collects the names most like one that was asked for; upper and lower case are the same.
class LC_EXPORT LCNearNames {
 public:
  explicit LCNearNames(std::string_view wanted);

  void consider(std::string_view name);
  // At most three, the most similar one first.
  std::vector<std::string> best() const;

 private:
  std::string m_wanted;
  size_t m_limit;                                       // the largest distance that is still similar
  std::vector<std::pair<size_t, std::string>> m_found;  // by distance, then name
};

namespace lc {

LC_EXPORT std::vector<std::string> nearNames(std::string_view wanted, const std::vector<std::string>& names);

}  // namespace lc
