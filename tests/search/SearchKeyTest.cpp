#include "search/LCSearchKey.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

using loop::SearchKey;
using loop::SearchKeyInfo;

TEST(SearchKey, IsCutToTwentyNineBytesAndCopiedByBytes) {
  EXPECT_STREQ(SearchKey(std::string(40, 'x').c_str()).name(), std::string(29, 'x').c_str());
  EXPECT_EQ(sizeof(SearchKey), 30u);
  EXPECT_TRUE(std::is_trivially_copyable_v<SearchKeyInfo>);
}

TEST(SearchKey, IsOrderedBySignedBytesWithoutASCIICase) {
  struct Case {
    const char *left, *right;
    int order;
  };
  for (const auto& [left, right, order] : {Case{"bass", "BASS", 0}, Case{"a", "B", -1}, Case{"a", "aa", -1},
                                           Case{"", "", 0}, Case{"_", "a", 1}, Case{"é", "a", -1}, Case{"é", "É", 1}}) {
    EXPECT_EQ(SearchKey(left) == SearchKey(right), order == 0) << left;
    EXPECT_EQ(SearchKey(left) > SearchKey(right), order > 0) << left;
    EXPECT_EQ(SearchKey(left) < SearchKey(right), order < 0) << left;
  }
  EXPECT_EQ(loop::stricmp("a", "B"), 'A' - 'B');
}

TEST(SearchKey, IsValidWhenItBeginsWithASCII) {
  EXPECT_FALSE(SearchKey().isValid());
  EXPECT_FALSE(SearchKey("é").isValid());
  EXPECT_TRUE(SearchKey("e").isValid());
}

TEST(SearchKeyInfo, DiffersByCaseAloneAndYetIsNotOrderedByIt) {
  const SearchKeyInfo drums("Drums", 3, nullptr), lower("drums", 3, nullptr), kit("Drum Kit", 5, &drums);
  EXPECT_TRUE(drums != lower);
  EXPECT_FALSE(drums < lower || lower < drums);
  EXPECT_TRUE(kit.getParent() == SearchKey("Drums"));
  EXPECT_FALSE(drums.getParent().isValid());
  EXPECT_EQ(kit.getCategory(), 5);
}
