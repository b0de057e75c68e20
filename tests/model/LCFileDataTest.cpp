// What a loop record derives from its fields.
#include "model/LCLoudnessTarget.h"
#include "VeskLoopManagement/model/LCFileData.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"

#include <gtest/gtest.h>

#include <limits>
#include <tuple>

namespace {

const auto url = [](std::string_view text) { return *vesk::URL::fromString(text); };

TEST(LCFileData, AFactoryLoopShowsACafWhereverItsURLSaysLoopdata) {
  LCFileData record;
  EXPECT_EQ(record.fileName(), std::nullopt);
  record.storedFileURL = url("file:///P.loopdata/Q%20r.loopdata");
  EXPECT_EQ(record.fileName(), "Q r.loopdata");
  record.isFactoryBundleLoop = true;
  EXPECT_EQ(record.fileURL(), url("file:///P.caf/Q%20r.caf"));
  EXPECT_EQ(record.fileName(), "Q r.caf");
}

// A tag that is missing and one that is empty are different.
TEST(LCFileData, EmptyTagsCountAsTagsButNotAsKeywords) {
  LCFileData record;
  EXPECT_EQ(record.descriptorsString(), std::nullopt);
  record.descriptors.emplace();
  EXPECT_FALSE(record.anySearchTags());
  EXPECT_EQ(record.descriptorsString(), "");
  record.genreTag = "";
  EXPECT_TRUE(record.anySearchTags());
  record.instrumentSubTypeTag = "Choir";
  record.descriptors = {"", "Dry", "Dark"};
  EXPECT_EQ(record.descriptorsString(), ",Dark,Dry");
  EXPECT_EQ(record.allKeywords(), (vesk::StringSet{"", "Choir", "Dark", "Dry"}));
}

TEST(LCFileData, TheFirstWordOfADescriptorPairWins) {
  const LCFileData record = {.descriptors = vesk::StringSet{"Clean", "Distorted", "Ensemble", "Single", "Intense"}};
  EXPECT_EQ(record.cleanDistortedKeywordId(), LCKeywordHelper::keywordIdForKeyword("Clean"));  // listed second
  EXPECT_EQ(record.singleEnsembleKeywordId(), LCKeywordHelper::keywordIdForKeyword("Single"));
  EXPECT_EQ(record.relaxedIntenseKeywordId(), LCKeywordHelper::keywordIdForKeyword("Intense"));
  EXPECT_EQ(record.partFillKeywordId(), 0);
}

TEST(LCFileData, TheLoopTypeForHostsLooksAtThePatchFirst) {
  for (const auto& [patchInfo, type, shown] : {std::tuple(2, 6, 0), std::tuple(2, 3, 0), std::tuple(0, 6, 1),
                                               std::tuple(1, 6, 1), std::tuple(0, 5, 5), std::tuple(0, -1, -1)}) {
    const LCFileData record = {.vireoLoopType = type, .patchInfo = patchInfo};
    EXPECT_EQ(record.ksLoopType(), shown) << patchInfo << " " << type;
    EXPECT_EQ(record.hasPatchWithTrackStack(), patchInfo == 2);
  }
  for (const int64_t type : {-1, 0, 1, 2, 5, 6}) EXPECT_EQ(LCVireoLoopTypeIsGenInst(type), type >= 2 && type <= 5);
  EXPECT_TRUE(LCFileData{.storedFileURL = url("file:///a1/Heavy%20Blows%20Beat.caf")}.hasPatchWithTrackStack());
}

TEST(LCFileData, DescribesItselfInOneText) {
  const LCFileData record = {
      .bpm = 101.7f, .beatCount = 8, .midiRootNote = 57, .keyType = 1, .commentTag = "late", .authorTag = ""};
  EXPECT_EQ(record.description(),
            "\nfileURL: (null) \ntempo: 101.699997\n beatCount: 8\n midiRootNote: 57\n keyType: 1\n descriptors: "
            "(null)\n author:  copyright: (null) comment: late");
}

TEST(LoudnessTarget, IsThatOfTheFirstRuleThatFits) {
  using Case = std::tuple<std::optional<std::string>, std::optional<std::string>, double>;
  for (const auto& [type, subType, target] :
       {Case{"Percussion", "Drum Kit", -18}, Case{"Bass", "Electronic Beats", -18}, Case{"Percussion", "Kick", -18},
        Case{"Bass", "Hi-hat", -20}, Case{"Percussion", std::nullopt, -26},
        Case{"Texture/Atmosphere", std::nullopt, -26}, Case{"Drums", "Hi-hat", -26}, Case{"bass", "kick", -22},
        Case{std::nullopt, std::nullopt, -22}}) {
    EXPECT_EQ(LCLoudnessTarget::forInstrument(type, subType, false), target) << type.value_or("") << target;
    EXPECT_EQ(LCLoudnessTarget::forInstrument(type, subType, true), -26);  // a topper, whatever its instrument
  }
}

TEST(LoudnessTarget, ARecordIsATopperByItsNameOrItsMetaInfos) {
  LCFileData record = {.instrumentSubTypeTag = "Drum Kit"};
  EXPECT_EQ(record.calculatedTargetIntegratedLoudness(), std::numeric_limits<float>::max());
  record.storedFileURL = url("file:///a1/angelic%20Hi%20Hat%20Topper%2001.caf");
  record.metaInfos = {LCMetaInfo{.stringValue = "Topper", .type = 2},
                      LCWeightedInstrumentKeyword{"topper", 1}.metaInfo()};
  EXPECT_EQ(record.calculatedTargetIntegratedLoudness(), -18);
  record.metaInfos->push_back(LCWeightedInstrumentKeyword{"Topper", 1}.metaInfo());
  EXPECT_EQ(record.calculatedTargetIntegratedLoudness(), -26);
  record.metaInfos.reset();
  record.storedFileURL = url("file:///a1/Angelic%20Hi%20Hat%20Topper%2001.caf");
  EXPECT_EQ(record.calculatedTargetIntegratedLoudness(), -26);
}

}  // namespace
