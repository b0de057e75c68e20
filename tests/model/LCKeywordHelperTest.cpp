// The taxonomy (ids, categories, parents, groups, columns) and the resources that hold it and the word list.
#include "resources/ResourceTables.h"
#include "support/TestEnvironment.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"
#include "VeskLoopManagement/resources/LCCompiledResources.h"

#include <gtest/gtest.h>

namespace {

using Keywords = std::vector<std::string>;

TEST(KeywordTaxonomy, KnowsEveryKeywordByIdCategoryParentAndColumn) {
  const std::tuple<const char*, int64_t, int32_t, const char*, const char*> cases[] = {
      {"Piano", 1, 5, "Keyboards", "instrumentSubTypeId"},
      {"Oboe", 34, 5, "Horn/Wind", "instrumentSubTypeId"},  // a member of "Woodwind", yet no child of it
      {"Bongo", 120, 5, "Percussion", "instrumentSubTypeId"},
      {"Bass", 36, 3, "", "instrumentTypeId"},
      {"Techno", 1017, 1, "", "genreId"},
      {"Dark", 68, 2, "", "cheerfulDarkKeywordId"},
      {"Acoustic", 58, 2, "", ""},                 // this pair has no column name, although the table has the column
      {"Woodwind", 0, 3, "", "instrumentTypeId"},  // groups have no id here
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
  EXPECT_EQ(LCKeywordHelper::allKeywords().size(), 138u + 7u);
  for (int64_t keywordId = 1; keywordId <= 121; ++keywordId) {
    EXPECT_TRUE(LCKeywordHelper::keywordForKeywordId(keywordId)) << keywordId;
  }
}

TEST(KeywordTaxonomy, ALearnedKeywordHasIdAndCategoryButIsNoneOfTheTaxonomy) {
  using Learned = lc::LearnedKeyword;
  for (const auto& [keywordId, categoryId, name] :
       {Learned{5001, 2, "Zorp"}, Learned{5002, 2, "Zorp"}, Learned{5002, 1, "Zorp"}, Learned{0, 3, "Zorp"}}) {
    LCKeywordHelper::setKeywordId(keywordId, categoryId, name);
  }
  LCKeywordHelper::setKeywordId(5003, 1, std::nullopt);
  EXPECT_EQ(LCKeywordHelper::keywordIdForKeyword("Zorp"), 5002);
  EXPECT_EQ(LCKeywordHelper::keywordForKeywordId(5001), "Zorp") << "an id once given out is known for good";
  EXPECT_TRUE(LCKeywordHelper::keywordsForCategory(1).contains("Zorp"));
  EXPECT_FALSE(LCKeywordHelper::keywordsForCategory(2).contains("Zorp"));
  EXPECT_FALSE(LCKeywordHelper::allKeywords().contains("Zorp"));
  std::string shown;
  const Keywords asked = {"Jazz", "", "Zorp", "NoSuchWord"};
  for (const LCLocalizedKeyword& keyword : LCKeywordHelper::localizedKeywordsForKeywords(asked)) {
    shown += keyword.keyword() + ",";
  }
  EXPECT_EQ(shown, "Jazz,,,,");
}

TEST(LCLocalizedKeyword, ShowsTheHostsTextAndComparesIt) {
  const auto environment = TestEnvironment::install();
  environment->setLocalizedString("Kick", "a drum");
  const LCLocalizedKeyword kick("Kick"), bass("Bass");
  EXPECT_EQ(kick.description(), "a drum");
  EXPECT_EQ(LCLocalizedKeyword("").description(), "<none>");
  EXPECT_EQ(std::hash<LCLocalizedKeyword>()(kick), LCLocalizedKeyword("Kick").hash());
  EXPECT_GT(kick.localizedCompare(bass), 0);  // "a" stands behind "B" by code
  EXPECT_LT(kick.caseInsensitiveCompare(bass), 0);
}

TEST(CompiledResources, HaveTheLengthsThatAreExportedAndKeepBlanksAndCase) {
  EXPECT_EQ(Keyword_Dictionary_plist_len, 4412u);
  EXPECT_EQ(KeywordIds_plist_len, 17302u);
  EXPECT_EQ(additionalData_dat_len, 56098u);
  EXPECT_EQ(LCCompiledResources::KeywordDictionaryPlist().dictionary()->size(), 3u);
  EXPECT_EQ(LCCompiledResources::KeywordIDsPlist().dictionary()->size(), 138u);
  EXPECT_TRUE(lc::resources::topperFilenames().contains("Chill Hip-Hop Hi-Hat 01 .caf"));
  EXPECT_FALSE(lc::resources::isTrackStackLoopWithMissingInfo("steady swing beat.caf"));
}

TEST(SearchKeyTranslation, NeverLeadsAwayFromAKeywordNorToAnythingElse) {
  const std::vector<std::byte> bytes = lc::scrambledResource(LCCompiledResources::additionalDataDat());
  const vesk::Value list = vesk::valueFromXMLPropertyList({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  ASSERT_NE(list.dictionary(), nullptr);
  EXPECT_GT(list.dictionary()->size(), 400u);
  const vesk::StringSet& keywords = LCKeywordHelper::allKeywords();
  vesk::StringSet lowercaseKeywords;
  for (const std::string& keyword : keywords) lowercaseKeywords.insert(vesk::text::lowercase(keyword));
  for (const auto& [key, translations] : *list.dictionary()) {
    EXPECT_TRUE(vesk::text::isASCII(key) && key.size() <= 29) << key;
    EXPECT_FALSE(lowercaseKeywords.contains(vesk::text::asciiLowercase(key))) << key;
    ASSERT_NE(translations.array(), nullptr) << key;
    for (const vesk::Value& translation : *translations.array()) {
      EXPECT_TRUE(keywords.contains(*translation.string())) << key;
    }
  }
}

}  // namespace
