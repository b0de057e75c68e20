#include "database/LCCrateManager.h"

#include "database/TestDatabase.h"

namespace {

LCDatabaseConfiguration configurationOf(const TestDatabase& database) {
  return LCDatabaseConfiguration(database.file(), false, kDefaultDatabaseSchemaVersion);
}

}  // namespace

TEST(CrateManager, KeepsTheFirstPackageOfAnIdentifier) {
  const TestDatabase database = TestDatabase::withoutTables();
  const auto manager = LCCrateManager::initWithDatabaseConfiguration(configurationOf(database));
  ASSERT_NE(manager, nullptr);
  EXPECT_TRUE(manager->createCrateWithIdentifier("c", "Joe's \"Best\"", "it''s", true));
  EXPECT_TRUE(manager->createCrateWithIdentifier("c", "Other", "Other", false));
  const auto crates = manager->availableCrates();
  ASSERT_TRUE(crates.has_value());
  EXPECT_EQ(crates->at("crateName"), std::vector<LCCell>{"Joe's \"Best\""});
  EXPECT_EQ(crates->at("manufacturer"), std::vector<LCCell>{"it''s"}) << "apostrophes are no one's to escape here";
  EXPECT_EQ(crates->at("isVirtualCrate"), std::vector<LCCell>{true});
}

TEST(CrateManager, RemovingAPackageKeepsItsRelations) {
  const TestDatabase database;
  const auto manager = LCCrateManager::initWithDatabaseConfiguration(configurationOf(database));
  ASSERT_TRUE(manager->createCrateWithIdentifier("a\"b", "A", "M", false));
  ASSERT_TRUE(manager->createCrateWithIdentifier("c", "C", "M", false));
  ASSERT_TRUE(database.run("INSERT INTO CrateLoopRelation VALUES ('a\"b', 1)"));
  EXPECT_TRUE(manager->removeCrateWithIdentifier("a\"b"));
  EXPECT_EQ(database.texts("SELECT identifier FROM Crates"), std::vector<std::string>{"c"});
  EXPECT_EQ(database.text("SELECT count(*) FROM CrateLoopRelation"), "1");
}

TEST(CrateManager, AFolderIsIdentifiedByItsURLWithDoubledApostrophes) {
  const TestDatabase database;
  const auto manager = LCCrateManager::initWithDatabaseConfiguration(configurationOf(database));
  const auto url = vesk::URL::fileURLWithPath("/q/Joe's Loops", true);
  std::string identifier;
  EXPECT_FALSE(manager->createCrateForDirectoryURL(std::nullopt, "N", &identifier));
  EXPECT_TRUE(manager->createCrateForDirectoryURL(url, "N", nullptr));
  EXPECT_TRUE(manager->createCrateForDirectoryURL(url, "N", &identifier));
  EXPECT_EQ(identifier, "file:///q/Joe''s%20Loops/");
  EXPECT_EQ(database.texts("SELECT identifier || manufacturer FROM Crates"),
            std::vector<std::string>{identifier + "USER"});
}

TEST(CrateManager, IdentifiersJoinManufacturerAndNameWithoutSeparator) {
  const TestDatabase database;
  EXPECT_EQ(LCCrateManager::crateIdentifierForManufacturer("X", "Y", false),
            kContentIdentifierPrefix + ".LocalDomain.XY");
  const std::string singleFiles = LCCrateManager::crateIdentifierForManufacturer("User Loops", "SingleFiles", true);
  EXPECT_EQ(LCCrateManager::initWithDatabaseConfiguration(configurationOf(database))->createCrateForSingleFiles(),
            singleFiles);
  EXPECT_EQ(singleFiles, LCFileIndexingUserDomainSingleFilesCrateIdentifier);
  EXPECT_FALSE(LCCrateManager::isLocalDomainCrateIdentifier(singleFiles));
  EXPECT_TRUE(LCCrateManager::isLocalDomainCrateIdentifier(LCFileIndexingLocalDomainSingleFilesCrateIdentifier));
}

TEST(CrateManager, LegacyPackagesAreKnownWithTheirPrefixOnly) {
  const std::string legacy = ".LocalDomain.Vesk AudioLegacy Drum Loops";
  EXPECT_TRUE(LCCrateManager::isLegacyCrateIdentifier(kContentIdentifierPrefix + legacy));
  EXPECT_FALSE(LCCrateManager::isLegacyCrateIdentifier("org.other" + legacy));
  EXPECT_FALSE(LCCrateManager::isLegacyCrateIdentifier(legacy));
  EXPECT_FALSE(LCCrateManager::isLegacyCrateIdentifier(std::nullopt));
}
