#include "VeskLoopManagement/catalog/LCNearNames.h"

#include "platform/Path.h"
#include "VeskLoopManagement/platform/Text.h"

#include <algorithm>
#include <numeric>

namespace {

constexpr size_t kMostNames = 3;
constexpr size_t kLongestName = 256;  // longer ones are no typing errors
constexpr size_t kContainedDistance = 1;

// Insertions, deletions and replacements of bytes that make `left` to `right`; `limit` + 1 when there are more than
// `limit`.
size_t editDistance(std::string_view left, std::string_view right, size_t limit) {
  const size_t difference = std::max(left.size(), right.size()) - std::min(left.size(), right.size());
  if (difference > limit) return limit + 1;
  std::vector<size_t> row(right.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 1; i <= left.size(); ++i) {
    size_t diagonal = row[0];
    row[0] = i;
    size_t smallest = i;
    for (size_t j = 1; j <= right.size(); ++j) {
      const size_t replaced = diagonal + (left[i - 1] == right[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({replaced, row[j] + 1, row[j - 1] + 1});
      smallest = std::min(smallest, row[j]);
    }
    if (smallest > limit) return limit + 1;
  }
  return row[right.size()];
}

}  // namespace

LCNearNames::LCNearNames(std::string_view wanted)
    : m_wanted(vesk::text::lowercase(wanted)), m_limit(std::max<size_t>(1, wanted.size() / 3)) {}

void LCNearNames::consider(std::string_view name) {
  if (m_wanted.empty() || m_wanted.size() > kLongestName || name.size() > kLongestName) return;
  const std::string lower = vesk::text::lowercase(name);
  size_t distance = std::min(editDistance(m_wanted, lower, m_limit),
                             editDistance(m_wanted, vesk::path::deletingExtension(lower), m_limit));
  if (distance > kContainedDistance && lower.find(m_wanted) != std::string::npos) distance = kContainedDistance;
  if (distance > m_limit) return;
  std::pair<size_t, std::string> entry{distance, name};
  const auto place = std::lower_bound(m_found.begin(), m_found.end(), entry);
  if (place != m_found.end() && *place == entry) return;
  m_found.insert(place, std::move(entry));
  if (m_found.size() > kMostNames) m_found.pop_back();
}

std::vector<std::string> LCNearNames::best() const {
  std::vector<std::string> names;
  for (const auto& [distance, name] : m_found) names.push_back(name);
  return names;
}

std::vector<std::string> lc::nearNames(std::string_view wanted, const std::vector<std::string>& names) {
  LCNearNames similar(wanted);
  for (const auto& name : names) similar.consider(name);
  return similar.best();
}
