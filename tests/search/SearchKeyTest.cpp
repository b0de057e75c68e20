#include "VeskLoopManagement/search/LCSearchKey.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

using loop::SearchKey;

TEST(SearchKey, IsCutAndOrderedBySignedBytesWithoutASCIICase) {
  EXPECT_STREQ(SearchKey(std::string(40, 'x').c_str()).name(), std::string(29, 'x').c_str());
  const std::tuple<const char*, const char*, int> cases[] = {{"bass", "BASS", 0}, {"a", "B", -1}, {"a", "aa", -1},
                                                             {"_", "a", 1},       {"é", "a", -1}, {"é", "É", 1}};
  for (const auto& [left, right, order] : cases) {
    EXPECT_EQ(SearchKey(left) == SearchKey(right), order == 0) << left;
    EXPECT_EQ(SearchKey(left) > SearchKey(right), order > 0) << left;
    EXPECT_EQ(SearchKey(left) < SearchKey(right), order < 0) << left;
  }
  const loop::SearchKeyInfo drums("Drums", 3, nullptr), lower("drums", 3, nullptr);
  EXPECT_TRUE(drums != lower && !(drums < lower) && !(lower < drums))
      << "infos differ by case, but are not ordered by it";
}
