#include "VeskLoopManagement/database/LCCrateManager.h"

#include "database/TestDatabase.h"

TEST(CrateManager, KeepsTheFirstPackageOfAnIdentifierAndItsRelationsWhenItIsRemoved) {
  const TestDatabase database;
  const auto manager = LCCrateManager::initWithDatabaseConfiguration(database.configuration());
  std::string folder;
  EXPECT_TRUE(manager->createCrateWithIdentifier("a\"b", "Joe's \"Best\"", "it''s", true));
  EXPECT_TRUE(manager->createCrateWithIdentifier("a\"b", "Other", "Other", false));
  EXPECT_TRUE(manager->createCrateForDirectoryURL(vesk::URL::fileURLWithPath("/q/Joe's Loops", true), "N", &folder));
  EXPECT_EQ(folder, "file:///q/Joe''s%20Loops/") << "apostrophes are doubled here alone";
  EXPECT_EQ(database.rows("SELECT * FROM Crates ORDER BY 1"),
            (Rows{"a\"b|Joe's \"Best\"|it''s|1", folder + "|N|USER|0"}));

  database.run("INSERT INTO CrateLoopRelation VALUES ('a\"b', 1)");
  EXPECT_TRUE(manager->removeCrateWithIdentifier("a\"b"));
  EXPECT_EQ(database.rows("SELECT identifier, loopId FROM Crates, CrateLoopRelation"), Rows{folder + "|1"});
  EXPECT_EQ(manager->createCrateForSingleFiles(), LCFileIndexingUserDomainSingleFilesCrateIdentifier);
}

TEST(CrateManager, IdentifiersJoinManufacturerAndNameWithoutSeparator) {
  EXPECT_EQ(LCCrateManager::crateIdentifierForManufacturer("X", "Y", false),
            kContentIdentifierPrefix + ".LocalDomain.XY");
  EXPECT_EQ(LCCrateManager::crateIdentifierForManufacturer("User Loops", "SingleFiles", true),
            LCFileIndexingUserDomainSingleFilesCrateIdentifier);
  const std::string legacy = ".LocalDomain.Vesk AudioLegacy Drum Loops";
  EXPECT_TRUE(LCCrateManager::isLegacyCrateIdentifier(kContentIdentifierPrefix + legacy));
  EXPECT_FALSE(LCCrateManager::isLegacyCrateIdentifier("org.other" + legacy));
}
