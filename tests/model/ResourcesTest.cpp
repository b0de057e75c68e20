// The compiled-in resources: their fixed sizes, and that the word list holds together with the taxonomy.
#include "model/LCKeywordHelper.h"
#include "resources/LCCompiledResources.h"
#include "resources/ResourceTables.h"

#include <gtest/gtest.h>

namespace {

std::string unscrambled(std::vector<std::byte> bytes) {
  const std::vector<std::byte> plain = scrambledResource(std::move(bytes));
  return {reinterpret_cast<const char*>(plain.data()), plain.size()};
}

}  // namespace

TEST(CompiledResources, HaveTheLengthsThatAreExported) {
  EXPECT_EQ(Keyword_Dictionary_plist_len, 4412u);
  EXPECT_EQ(KeywordIds_plist_len, 17302u);
  EXPECT_EQ(additionalData_dat_len, 56098u);
  EXPECT_EQ(LCCompiledResources::KeywordDictionaryPlist().dictionary()->size(), 3u);
  EXPECT_EQ(LCCompiledResources::KeywordIDsPlist().dictionary()->size(), 138u);
}

TEST(CompiledResources, ScramblingHidesTheWordListAndUndoesItself) {
  const std::vector<std::byte> bytes = LCCompiledResources::additionalDataDat();
  const std::string stored(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  EXPECT_EQ(stored.find("plist"), std::string::npos);
  EXPECT_TRUE(unscrambled(bytes).starts_with("<?xml"));
  EXPECT_EQ(scrambledResource(scrambledResource(bytes)), bytes);
}

TEST(SearchKeyTranslation, NeverLeadsAwayFromAKeywordNorToAnythingElse) {
  const vesk::Value list = vesk::valueFromXMLPropertyList(unscrambled(LCCompiledResources::additionalDataDat()));
  ASSERT_NE(list.dictionary(), nullptr);
  EXPECT_GT(list.dictionary()->size(), 400u);
  vesk::StringSet lowercaseKeywords;
  for (const std::string& keyword : LCKeywordHelper::allKeywords()) {
    lowercaseKeywords.insert(vesk::text::lowercase(keyword));
  }
  for (const auto& [key, translations] : *list.dictionary()) {
    EXPECT_TRUE(vesk::text::isASCII(key) && key.size() <= 29) << key;
    EXPECT_FALSE(lowercaseKeywords.contains(vesk::text::asciiLowercase(key))) << key;
    ASSERT_NE(translations.array(), nullptr) << key;
    for (const vesk::Value& translation : *translations.array()) {
      EXPECT_TRUE(LCKeywordHelper::allKeywords().contains(*translation.string())) << key;
    }
  }
}

TEST(NameLists, KeepBlanksAndCaseAndHoldNoComment) {
  EXPECT_TRUE(resources::topperFilenames().contains("Chill Hip-Hop Hi-Hat 01 .caf"));
  EXPECT_TRUE(resources::isTrackStackLoopWithMissingInfo("Steady Swing Beat.caf"));
  EXPECT_FALSE(resources::isTrackStackLoopWithMissingInfo("steady swing beat.caf"));
  EXPECT_EQ(resources::legacyCrateIdentifierSuffixes().size(), 9u);
  for (const auto* names : {&resources::topperFilenames(), &resources::trackStackFilenames()}) {
    for (const std::string& name : *names) EXPECT_TRUE(name.ends_with(".caf")) << name;
  }
}
