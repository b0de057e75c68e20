// The compiled-in resources: their fixed sizes, and that the word list holds together with the taxonomy.
#include "model/LCKeywordHelper.h"
#include "resources/LCCompiledResources.h"
#include "resources/ResourceTables.h"

#include <gtest/gtest.h>

TEST(CompiledResources, HaveTheLengthsThatAreExported) {
  EXPECT_EQ(Keyword_Dictionary_plist_len, 4412u);
  EXPECT_EQ(KeywordIds_plist_len, 17302u);
  EXPECT_EQ(additionalData_dat_len, 56098u);
  EXPECT_EQ(LCCompiledResources::KeywordDictionaryPlist().dictionary()->size(), 3u);
  EXPECT_EQ(LCCompiledResources::KeywordIDsPlist().dictionary()->size(), 138u);
}

TEST(SearchKeyTranslation, NeverLeadsAwayFromAKeywordNorToAnythingElse) {
  const std::vector<std::byte> bytes = scrambledResource(LCCompiledResources::additionalDataDat());
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

TEST(NameLists, KeepBlanksAndCase) {
  EXPECT_TRUE(resources::topperFilenames().contains("Chill Hip-Hop Hi-Hat 01 .caf"));
  EXPECT_FALSE(resources::isTrackStackLoopWithMissingInfo("steady swing beat.caf"));
}
