#include "search/LocalizedCollation.h"

#include "VeskLoopManagement/platform/Text.h"

#include <sqlite3.h>

#include <cstring>
#include <string>

namespace {

int sign(int order) {
  return (order > 0) - (order < 0);
}

// SQLite promises neither the alignment nor a terminator of what it passes.
std::u16string textFromBytes(int byteCount, const void* bytes) {
  std::u16string text(static_cast<size_t>(byteCount) / sizeof(char16_t), u'\0');
  if (!text.empty()) std::memcpy(text.data(), bytes, text.size() * sizeof(char16_t));
  return text;
}

int collate(void*, int leftByteCount, const void* left, int rightByteCount, const void* right) {
  return lc::compareByFirstUnitThenWhole(textFromBytes(leftByteCount, left), textFromBytes(rightByteCount, right));
}

}  // namespace

int lc::compareByFirstUnitThenWhole(std::u16string_view left, std::u16string_view right) {
  const int byFirstUnit = vesk::text::localizedCompare(left.substr(0, 1), right.substr(0, 1));
  return sign(byFirstUnit != 0 ? byFirstUnit : vesk::text::localizedCompare(left, right));
}

bool lc::registerLocalizedCollation(sqlite3* connection) {
  return sqlite3_create_collation(connection, "LC_LocalizedSortingCollate", SQLITE_UTF16, nullptr, collate) ==
         SQLITE_OK;
}
