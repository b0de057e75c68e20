#include "database/LCCrateManager.h"

#include "database/TestDatabase.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

struct CrateManager : testing::Test {
  const TestDatabase database;
  const std::unique_ptr<LCCrateManager> manager = LCCrateManager::initWithDatabaseConfiguration(
      LCDatabaseConfiguration(database.file(), false, kDefaultDatabaseSchemaVersion));
};

}  // namespace

TEST_F(CrateManager, KeepsTheFirstPackageOfAnIdentifier) {
  EXPECT_TRUE(manager->createCrateWithIdentifier("c", "Joe's \"Best\"", "it''s", true));
  EXPECT_TRUE(manager->createCrateWithIdentifier("c", "Other", "Other", false));
  EXPECT_EQ(database.texts("SELECT crateName || manufacturer || isVirtualCrate FROM Crates"),
            Texts{"Joe's \"Best\"it''s1"})
      << "apostrophes are no one's to escape here";
}

TEST_F(CrateManager, RemovingAPackageKeepsItsRelations) {
  ASSERT_TRUE(manager->createCrateWithIdentifier("a\"b", "A", "M", false));
  ASSERT_TRUE(database.run("INSERT INTO CrateLoopRelation VALUES ('a\"b', 1)"));
  EXPECT_TRUE(manager->removeCrateWithIdentifier("a\"b"));
  EXPECT_EQ(database.texts("SELECT identifier FROM Crates"), Texts{});
  EXPECT_EQ(database.text("SELECT count(*) FROM CrateLoopRelation"), "1");
}

TEST_F(CrateManager, AFolderIsIdentifiedByItsURLWithDoubledApostrophes) {
  std::string identifier;
  EXPECT_TRUE(
      manager->createCrateForDirectoryURL(vesk::URL::fileURLWithPath("/q/Joe's Loops", true), "N", &identifier));
  EXPECT_EQ(identifier, "file:///q/Joe''s%20Loops/");
  EXPECT_EQ(database.texts("SELECT identifier || manufacturer FROM Crates"), Texts{identifier + "USER"});
}

TEST_F(CrateManager, IdentifiersJoinManufacturerAndNameWithoutSeparator) {
  EXPECT_EQ(LCCrateManager::crateIdentifierForManufacturer("X", "Y", false),
            kContentIdentifierPrefix + ".LocalDomain.XY");
  EXPECT_EQ(manager->createCrateForSingleFiles(), LCFileIndexingUserDomainSingleFilesCrateIdentifier);
  EXPECT_EQ(LCCrateManager::crateIdentifierForManufacturer("User Loops", "SingleFiles", true),
            LCFileIndexingUserDomainSingleFilesCrateIdentifier);
  const std::string legacy = ".LocalDomain.Vesk AudioLegacy Drum Loops";
  EXPECT_TRUE(LCCrateManager::isLegacyCrateIdentifier(kContentIdentifierPrefix + legacy));
  EXPECT_FALSE(LCCrateManager::isLegacyCrateIdentifier("org.other" + legacy));
}
