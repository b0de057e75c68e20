// Keyword names in fixed buffers, for hosts that keep large sorted sets of keywords: plain values without heap memory,
// copyable by bytes. Names longer than 29 bytes are cut. Nothing here can fail.
//
// Ordering and the equality of keys ignore the case of A to Z; the inequality of infos does not. So two infos whose
// names differ in case alone are neither less nor greater than each other, and yet unequal by !=.
#pragma once

#include "VeskLoopManagement/LCExport.h"

#include <array>
#include <cstdint>

namespace loop {

// The difference of the first two bytes that differ after ASCII upper-casing, as signed 8-bit values; 0 when none does.
LC_EXPORT int stricmp(const char* left, const char* right);

class LC_EXPORT SearchKey {
 public:
  SearchKey() = default;
  SearchKey(const char* name);  // NOLINT(google-explicit-constructor): names are keys

  const char* name() const { return m_name.data(); }
  bool isValid() const;  // not empty, and the first byte is ASCII

  bool operator==(const SearchKey& other) const;
  bool operator>(const SearchKey& other) const;

 private:
  std::array<char, 30> m_name{};  // terminated and padded with zero bytes
};

LC_EXPORT bool operator<(const SearchKey& left, const SearchKey& right);

class LC_EXPORT SearchKeyInfo {
 public:
  SearchKeyInfo() = default;
  SearchKeyInfo(const char* name, int64_t category, const SearchKeyInfo* parent);  // `parent` may be null

  const SearchKey& key() const { return m_key; }
  void setCategory(int64_t category) { m_category = category; }
  int64_t getCategory() const { return m_category; }
  SearchKey getParent() const { return m_parent; }  // empty when there is none

  bool operator!=(const SearchKeyInfo& other) const;  // by the exact name

 private:
  SearchKey m_key;
  int64_t m_category = 0;
  SearchKey m_parent;
};

LC_EXPORT bool operator<(const SearchKeyInfo& left, const SearchKeyInfo& right);

}  // namespace loop
