// LC_LOCALIZED_LIKE, a LIKE for all scripts: "%" is any run of characters, "_" any one character, and characters are
// compared after simple case folding, so that "Σ" matches "ς" but "ss" does not match "ß". Works on UTF-8 code points;
// a text ends at its first NUL, and a byte that is no UTF-8 counts as U+FFFD. A pattern is a plain value; matching
// cannot fail.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

struct sqlite3;

namespace lc {

class LocalizedLikePattern {
 public:
  // The character after `escape` stands for itself.
  explicit LocalizedLikePattern(std::string_view pattern, std::optional<int32_t> escape = std::nullopt);

  // Takes at most (length of the pattern) × (length of `value`) steps: once a later "%" is reached, what an earlier one
  // took never needs to change, because the later one can take whatever that would free.
  bool matches(std::string_view value) const;

  const std::optional<int32_t>& escape() const { return m_escape; }

 private:
  std::vector<int32_t> m_elements;  // folded code points, or one of the two marks below
  std::optional<int32_t> m_escape;

  static constexpr int32_t kAnyRun = -1;
  static constexpr int32_t kAnyOne = -2;
};

// Registers the function with 2 arguments (pattern, text) and with 3 (pattern, text, escape character) on `connection`.
bool registerLocalizedLike(sqlite3* connection);

}  // namespace lc
