#include "VeskLoopManagement/search/LCSearchKey.h"

#include <algorithm>
#include <cstring>

namespace loop {

namespace {

signed char upperCased(char character) {
  return static_cast<signed char>(character >= 'a' && character <= 'z' ? character - 'a' + 'A' : character);
}

}  // namespace

int stricmp(const char* left, const char* right) {
  for (;; ++left, ++right) {
    const int difference = upperCased(*left) - upperCased(*right);
    if (difference != 0 || *left == '\0') return difference;
  }
}

SearchKey::SearchKey(const char* name) {
  if (name) std::copy_n(name, strnlen(name, m_name.size() - 1), m_name.begin());
}

bool SearchKey::isValid() const {
  return static_cast<signed char>(m_name[0]) > 0;
}

bool SearchKey::operator==(const SearchKey& other) const {
  return stricmp(name(), other.name()) == 0;
}

bool SearchKey::operator>(const SearchKey& other) const {
  return stricmp(name(), other.name()) > 0;
}

bool operator<(const SearchKey& left, const SearchKey& right) {
  return stricmp(left.name(), right.name()) < 0;
}

SearchKeyInfo::SearchKeyInfo(const char* name, int64_t category, const SearchKeyInfo* parent)
    : m_key(name), m_category(category) {
  if (parent) m_parent = parent->m_key;
}

bool SearchKeyInfo::operator!=(const SearchKeyInfo& other) const {
  return std::strcmp(m_key.name(), other.m_key.name()) != 0;
}

bool operator<(const SearchKeyInfo& left, const SearchKeyInfo& right) {
  return left.key() < right.key();
}

}  // namespace loop
