// A keyword with the text that is shown for it, and the lookup of such texts. Plain values.
#pragma once

#include "VeskLoopManagement/LCExport.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

struct LC_EXPORT LCLocalizedString {
  // The text of `key` in the table "Localizable" of the environment; the key itself when there is none.
  static std::string forKey(std::string_view key);
};

class LC_EXPORT LCLocalizedKeyword {
 public:
  explicit LCLocalizedKeyword(std::string keyword);  // initWithKeyword:

  const std::string& keyword() const { return m_keyword; }
  const std::string& localizedKeyword() const { return m_localizedKeyword; }
  static LCLocalizedKeyword localizedKeyword(std::string keyword) { return LCLocalizedKeyword(std::move(keyword)); }

  bool operator==(const LCLocalizedKeyword& other) const { return m_keyword == other.m_keyword; }
  size_t hash() const { return std::hash<std::string>()(m_keyword); }
  int caseInsensitiveCompare(const LCLocalizedKeyword& other) const;
  int localizedCompare(const LCLocalizedKeyword& other) const;  // plain and literal, in spite of its name
  std::string description() const;                              // "<none>" when the text is empty

 private:
  std::string m_keyword;
  std::string m_localizedKeyword;
};

template <>
struct std::hash<LCLocalizedKeyword> {
  size_t operator()(const LCLocalizedKeyword& keyword) const noexcept { return keyword.hash(); }
};
