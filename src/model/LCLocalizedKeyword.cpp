#include "VeskLoopManagement/model/LCLocalizedKeyword.h"

#include "VeskLoopManagement/platform/Environment.h"
#include "VeskLoopManagement/platform/Text.h"

std::string LCLocalizedString::forKey(std::string_view key) {
  return vesk::Environment::shared().localizedString(key, "Localizable").value_or(std::string(key));
}

LCLocalizedKeyword::LCLocalizedKeyword(std::string keyword)
    : m_keyword(std::move(keyword)), m_localizedKeyword(LCLocalizedString::forKey(m_keyword)) {}

int LCLocalizedKeyword::caseInsensitiveCompare(const LCLocalizedKeyword& other) const {
  return vesk::text::caseInsensitiveCompare(m_localizedKeyword, other.m_localizedKeyword);
}

int LCLocalizedKeyword::localizedCompare(const LCLocalizedKeyword& other) const {
  return vesk::compareCodeUnits(m_localizedKeyword, other.m_localizedKeyword);
}

std::string LCLocalizedKeyword::description() const {
  return m_localizedKeyword.empty() ? "<none>" : m_localizedKeyword;
}
