// The taxonomy: ids, categories, parents, groups, columns.
#include "model/LCKeywordHelper.h"

#include <gtest/gtest.h>

namespace {

using Keywords = std::vector<std::string>;

TEST(KeywordTaxonomy, KnowsEveryKeywordByIdCategoryParentAndColumn) {
  struct Case {
    const char* keyword;
    int64_t id;
    int32_t category;
    const char* parent;
    const char* column;
  };
  const Case cases[] = {
      {"Piano", 1, 5, "Keyboards", "instrumentSubTypeId"},
      {"Tuba", 3, 5, "Horn/Wind", "instrumentSubTypeId"},
      {"Acoustic Bass", 4, 5, "Bass", "instrumentSubTypeId"},
      {"Kick", 8, 5, "Drums", "instrumentSubTypeId"},
      {"Electric Bass", 30, 5, "Bass", "instrumentSubTypeId"},
      {"Oboe", 34, 5, "Horn/Wind", "instrumentSubTypeId"},  // a member of "Woodwind", yet no child of it
      {"Harmonica", 35, 5, "Horn/Wind", "instrumentSubTypeId"},
      {"Impacts & Crashes", 91, 5, "Sound Effect", "instrumentSubTypeId"},
      {"Drum Kit", 112, 5, "Drums", "instrumentSubTypeId"},
      {"Choir", 119, 5, "Vocals", "instrumentSubTypeId"},
      {"Bongo", 120, 5, "Percussion", "instrumentSubTypeId"},
      {"Bass", 36, 3, nullptr, "instrumentTypeId"},
      {"Mixed", 93, 4, nullptr, "instrumentTypeId"},
      {"Texture/Atmosphere", 13, 4, nullptr, "instrumentTypeId"},
      {"Techno", 1017, 1, nullptr, "genreId"},
      {"Country/Folk", 121, 1, nullptr, "genreId"},
      {"Dark", 68, 2, nullptr, "cheerfulDarkKeywordId"},
      {"Dissonant", 98, 2, nullptr, "melodicDissonantKeywordId"},
      {"Acoustic", 58, 2, nullptr, nullptr},  // this pair has no column name, although the table has the column
      {"Electric", 99, 2, nullptr, nullptr},
      {"Woodwind", 0, 3, nullptr, "instrumentTypeId"},  // groups have no id here
      {"Boom", 0, 3, nullptr, "instrumentTypeId"},
      {"House", 0, 1, nullptr, "genreId"},
      {"Hip Hop/RnB", 0, 1, nullptr, "genreId"},
      {"techno", 0, 0, nullptr, nullptr},
  };
  for (const Case& expected : cases) {
    SCOPED_TRACE(expected.keyword);
    const auto text = [](const char* value) { return value ? std::optional<std::string>(value) : std::nullopt; };
    EXPECT_EQ(LCKeywordHelper::keywordIdForKeyword(expected.keyword), expected.id);
    EXPECT_EQ(LCKeywordHelper::keywordCategoryForKeyword(expected.keyword), expected.category);
    EXPECT_EQ(LCKeywordHelper::parentKeywordForKeyword(expected.keyword), text(expected.parent));
    EXPECT_EQ(LCKeywordHelper::columnNameForKeyword(expected.keyword), text(expected.column));
    if (expected.id != 0) {
      EXPECT_EQ(LCKeywordHelper::keywordForKeywordId(expected.id), expected.keyword);
    }
  }
  EXPECT_EQ(LCKeywordHelper::keywordIdForKeyword(std::nullopt), 0);
  EXPECT_EQ(LCKeywordHelper::keywordForKeywordId(0), std::nullopt);
  EXPECT_EQ(LCKeywordHelper::keywordForKeywordId(122), std::nullopt);
}

TEST(KeywordTaxonomy, NumbersEveryKeywordButTheGroupsWithoutAGap) {
  std::map<int32_t, size_t> withId;
  for (const std::string& keyword : LCKeywordHelper::allKeywords()) {
    if (LCKeywordHelper::keywordIdForKeyword(keyword) != 0) {
      ++withId[LCKeywordHelper::keywordCategoryForKeyword(keyword)];
    }
  }
  EXPECT_EQ(withId, (std::map<int32_t, size_t>{{1, 27}, {2, 18}, {3, 10}, {4, 3}, {5, 80}}));
  EXPECT_EQ(LCKeywordHelper::allKeywords().size(), 138u + 7u);
  for (int64_t keywordId = 1; keywordId <= 121; ++keywordId) {
    EXPECT_TRUE(LCKeywordHelper::keywordForKeywordId(keywordId)) << keywordId;
  }
  EXPECT_EQ(LCKeywordHelper::keywordForKeywordId(kExtraKeywordsEndIndex), "Techno");
  EXPECT_EQ(LCKeywordHelper::keywordForKeywordId(kExtraKeywordsEndIndex + 1), std::nullopt);
}

TEST(KeywordTaxonomy, GroupsHoldTheirMembers) {
  const auto sizeOf = [](const char* keyword) {
    return LCKeywordHelper::subKeywordsForKeyword(keyword).value_or(Keywords{}).size();
  };
  EXPECT_EQ(sizeOf("All Effects"), 17u);
  EXPECT_EQ(sizeOf("Effects"), 15u);
  EXPECT_EQ(sizeOf("Woodwind"), 8u);
  EXPECT_EQ(sizeOf("Horn/Wind"), 15u);
  EXPECT_EQ(LCKeywordHelper::subKeywordsForKeyword("Boom"), (Keywords{"Explosions", "Impacts & Crashes"}));
  EXPECT_EQ(LCKeywordHelper::subKeywordsForKeyword("Brass"),
            (Keywords{"French Horn", "Harmonica", "Trombone", "Trumpet", "Tuba"}));
  EXPECT_EQ(LCKeywordHelper::subKeywordsForKeyword("Mixed"), std::nullopt);
  EXPECT_EQ(LCKeywordHelper::descriptorPairs().size(), 9u);
  EXPECT_EQ(LCKeywordHelper::descriptorPairs()[4], std::pair(std::string("Distorted"), std::string("Clean")));
}

TEST(KeywordTaxonomy, ALearnedKeywordHasIdAndCategoryButIsNoneOfTheTaxonomy) {
  LCKeywordHelper::setKeywordId(0, 1, "Zapp");
  LCKeywordHelper::setKeywordId(5000, 1, std::nullopt);
  EXPECT_EQ(LCKeywordHelper::keywordCategoryForKeyword("Zapp"), 0);
  EXPECT_EQ(LCKeywordHelper::keywordForKeywordId(5000), std::nullopt);

  LCKeywordHelper::setKeywordId(5001, 1, "Zorp");
  EXPECT_EQ(LCKeywordHelper::keywordIdForKeyword("Zorp"), 5001);
  EXPECT_EQ(LCKeywordHelper::keywordForKeywordId(5001), "Zorp");
  EXPECT_TRUE(LCKeywordHelper::keywordsForCategory(1).contains("Zorp"));
  EXPECT_FALSE(LCKeywordHelper::allKeywords().contains("Zorp"));

  const Keywords asked = {"Jazz", "", "Zorp", "NoSuchWord"};
  Keywords shown;
  for (const LCLocalizedKeyword& keyword : LCKeywordHelper::localizedKeywordsForKeywords(asked)) {
    shown.push_back(keyword.keyword());
  }
  EXPECT_EQ(shown, (Keywords{"Jazz", "", "", ""}));
}

}  // namespace
