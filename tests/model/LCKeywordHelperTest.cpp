// The taxonomy: ids, categories, parents, groups, columns.
#include "model/LCKeywordHelper.h"

#include <gtest/gtest.h>

#include <map>

namespace {

using Keywords = std::vector<std::string>;

TEST(KeywordTaxonomy, KnowsEveryKeywordByIdCategoryParentAndColumn) {
  struct Case {
    const char* keyword;
    int64_t id;
    int32_t category;
    const char* parent;  // "" for none
    const char* column;  // "" for none
  };
  const Case cases[] = {
      {"Piano", 1, 5, "Keyboards", "instrumentSubTypeId"},
      {"Tuba", 3, 5, "Horn/Wind", "instrumentSubTypeId"},
      {"Electric Bass", 30, 5, "Bass", "instrumentSubTypeId"},
      {"Oboe", 34, 5, "Horn/Wind", "instrumentSubTypeId"},  // a member of "Woodwind", yet no child of it
      {"Drum Kit", 112, 5, "Drums", "instrumentSubTypeId"},
      {"Bongo", 120, 5, "Percussion", "instrumentSubTypeId"},
      {"Bass", 36, 3, "", "instrumentTypeId"},
      {"Techno", 1017, 1, "", "genreId"},
      {"Country/Folk", 121, 1, "", "genreId"},
      {"Dark", 68, 2, "", "cheerfulDarkKeywordId"},
      {"Acoustic", 58, 2, "", ""},  // this pair has no column name, although the table has the column
      {"Electric", 99, 2, "", ""},
      {"Woodwind", 0, 3, "", "instrumentTypeId"},  // groups have no id here
      {"Boom", 0, 3, "", "instrumentTypeId"},
      {"House", 0, 1, "", "genreId"},
      {"techno", 0, 0, "", ""},
  };
  for (const auto& [keyword, id, category, parent, column] : cases) {
    SCOPED_TRACE(keyword);
    EXPECT_EQ(LCKeywordHelper::keywordIdForKeyword(keyword), id);
    EXPECT_EQ(LCKeywordHelper::keywordCategoryForKeyword(keyword), category);
    EXPECT_EQ(LCKeywordHelper::parentKeywordForKeyword(keyword).value_or(""), parent);
    EXPECT_EQ(LCKeywordHelper::columnNameForKeyword(keyword).value_or(""), column);
    EXPECT_EQ(LCKeywordHelper::keywordForKeywordId(id).value_or(""), id == 0 ? "" : keyword);
  }
  EXPECT_EQ(LCKeywordHelper::keywordIdForKeyword(std::nullopt), 0);
}

TEST(KeywordTaxonomy, NumbersEveryKeywordButTheGroupsWithoutAGap) {
  std::map<int32_t, size_t> withId;
  for (const std::string& keyword : LCKeywordHelper::allKeywords()) {
    if (LCKeywordHelper::keywordIdForKeyword(keyword) == 0) continue;
    ++withId[LCKeywordHelper::keywordCategoryForKeyword(keyword)];
  }
  EXPECT_EQ(withId, (std::map<int32_t, size_t>{{1, 27}, {2, 18}, {3, 10}, {4, 3}, {5, 80}}));
  EXPECT_EQ(LCKeywordHelper::allKeywords().size(), 138u + 7u);
  for (int64_t keywordId = 1; keywordId <= 121; ++keywordId) {
    EXPECT_TRUE(LCKeywordHelper::keywordForKeywordId(keywordId)) << keywordId;
  }
}

TEST(KeywordTaxonomy, GroupsHoldTheirMembers) {
  for (const auto& [group, size] : {std::pair("All Effects", 17u), std::pair("Effects", 15u), std::pair("Woodwind", 8u),
                                    std::pair("Horn/Wind", 15u), std::pair("Brass", 5u), std::pair("Mixed", 0u)}) {
    EXPECT_EQ(LCKeywordHelper::subKeywordsForKeyword(group).value_or(Keywords{}).size(), size) << group;
  }
  EXPECT_EQ(LCKeywordHelper::subKeywordsForKeyword("Boom"), (Keywords{"Explosions", "Impacts & Crashes"}));
}

TEST(KeywordTaxonomy, ALearnedKeywordHasIdAndCategoryButIsNoneOfTheTaxonomy) {
  LCKeywordHelper::setKeywordId(5001, 1, "Zorp");
  EXPECT_EQ(LCKeywordHelper::keywordIdForKeyword("Zorp"), 5001);
  EXPECT_TRUE(LCKeywordHelper::keywordsForCategory(1).contains("Zorp"));
  EXPECT_FALSE(LCKeywordHelper::allKeywords().contains("Zorp"));
  std::string shown;
  const Keywords asked = {"Jazz", "", "Zorp", "NoSuchWord"};
  for (const LCLocalizedKeyword& keyword : LCKeywordHelper::localizedKeywordsForKeywords(asked)) {
    shown += keyword.keyword() + ",";
  }
  EXPECT_EQ(shown, "Jazz,,,,");
}

}  // namespace
