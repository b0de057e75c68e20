// Meta infos, display texts and node types.
#include "model/LCKeywordHelper.h"
#include "model/LCMetaInfo.h"
#include "model/LCNodeTypesHelper.h"

#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

namespace {

TEST(LCMetaInfo, KeepsItsNumberAsAShortFloatInAnArchive) {
  const LCMetaInfo weighted = LCWeightedInstrumentKeyword{"Topper", 0.3}.metaInfo();
  LCMetaInfo expected = weighted;
  expected.doubleValue = 0.30000001192092896;
  EXPECT_EQ(LCMetaInfo::fromArchivedObject(weighted.archivedObject()), expected);
  const auto foreign = [](vesk::Dictionary fields) {
    return LCMetaInfo::fromArchivedObject(
        std::make_shared<const vesk::ArchivedObject>(vesk::ArchivedObject{{"Elsewhere"}, std::move(fields)}));
  };
  EXPECT_EQ(foreign({{"typeV1", 3}, {"doubleValueV1", 1}}), (LCMetaInfo{.doubleValue = 1, .type = 3}));
  EXPECT_EQ(foreign({{"typeV1", 3}}), std::nullopt);
  EXPECT_EQ(foreign({{"typeV1", 3}, {"doubleValueV1", 1}, {"stringValueV1", 5}}), std::nullopt);
  EXPECT_EQ(LCMetaInfo::metaInfoInstanceOfType(2).type, 0);
  const vesk::Array many(3, LCMetaInfo{.stringValue = std::string(100, 'x')}.archivedObject());
  EXPECT_EQ(LCMetaInfo::fromArchivedObjects(many, 10), std::nullopt) << "far more than the archive itself";
}

TEST(LCLocalizedKeyword, ShowsTheHostsTextAndComparesIt) {
  const auto environment = TestEnvironment::install();
  environment->setLocalizedString("Kick", "a drum");
  const LCLocalizedKeyword kick("Kick");
  const LCLocalizedKeyword bass("Bass");
  EXPECT_EQ(kick.description(), "a drum");
  EXPECT_EQ(LCLocalizedKeyword("").description(), "<none>");
  EXPECT_GT(kick.localizedCompare(bass), 0);  // "a" stands behind "B" by code
  EXPECT_LT(kick.caseInsensitiveCompare(bass), 0);
}

TEST(NodeTypes, FollowTheExtensionAndAskTheHostAboutPackages) {
  const auto environment = TestEnvironment::install();
  const TemporaryFolder folder;
  const std::pair<const char*, int> files[] = {{"a.AIFF", 4}, {"a.wave", 5}, {"a.mov", 6},      {"a.caf", 7},
                                               {"a.rcy", 10}, {"a.sd2", -1}, {"a.loopdata", 8}, {".wav", -1}};
  for (const auto& [name, type] : files) {
    EXPECT_EQ(LCNodeTypesHelper::nodeTypeFromPath(folder.addFile(name, "x")), type) << name;
  }
  EXPECT_EQ(LCNodeTypesHelper::nodeTypeFromPath(folder.addFolder("plain")), 1);
  EXPECT_EQ(LCNodeTypesHelper::nodeTypeFromPath(folder.addFolder("song.band")), 1);
  environment->setFilePackage(folder.path("song.band"));
  EXPECT_EQ(LCNodeTypesHelper::nodeTypeFromPath(folder.path("song.band")), 3);
  EXPECT_EQ(LCNodeTypesHelper::nodeTypeFromPath(folder.path("missing.caf")), -1);
}

}  // namespace
