// What a loop record derives from its fields.
#include "model/LCFileData.h"
#include "model/LCKeywordHelper.h"
#include "model/LCLoudnessTarget.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

vesk::URL url(std::string_view text) {
  return *vesk::URL::fromString(text);
}

TEST(LCFileData, AFactoryLoopShowsACafWhereverItsURLSaysLoopdata) {
  LCFileData record;
  EXPECT_EQ(record.fileURL(), std::nullopt);
  EXPECT_EQ(record.fileName(), std::nullopt);
  record.storedFileURL = url("file:///P.loopdata/Q%20r.loopdata");
  EXPECT_EQ(record.fileName(), "Q r.loopdata");
  record.isFactoryBundleLoop = true;
  EXPECT_EQ(record.fileURL(), url("file:///P.caf/Q%20r.caf"));
  EXPECT_EQ(record.fileName(), "Q r.caf");
  EXPECT_EQ(record.storedFileURL, url("file:///P.loopdata/Q%20r.loopdata"));
}

// A tag that is missing and one that is empty are different.
TEST(LCFileData, EmptyTagsCountAsTagsButNotAsKeywords) {
  LCFileData record;
  EXPECT_FALSE(record.anySearchTags());
  EXPECT_EQ(record.descriptorsString(), std::nullopt);
  record.descriptors.emplace();
  EXPECT_FALSE(record.anySearchTags());
  EXPECT_EQ(record.descriptorsString(), "");
  record.genreTag = "";
  record.instrumentSubTypeTag = "Choir";
  EXPECT_TRUE(record.anySearchTags());
  EXPECT_EQ(record.allKeywords(), vesk::StringSet{"Choir"});
  record.descriptors = {"", "Dry", "Dark"};
  EXPECT_EQ(record.descriptorsString(), ",Dark,Dry");
  EXPECT_EQ(record.allKeywords(), (vesk::StringSet{"", "Choir", "Dark", "Dry"}));

  LCFileData authored;
  authored.hasAuthoredChunks = true;
  EXPECT_TRUE(authored.isAuthoredLoop());
}

TEST(LCFileData, TheFirstWordOfADescriptorPairWins) {
  struct Case {
    int64_t (LCFileData::*id)() const;
    const char* first;
    const char* second;
  };
  const Case cases[] = {
      {&LCFileData::singleEnsembleKeywordId, "Single", "Ensemble"},
      {&LCFileData::partFillKeywordId, "Part", "Fill"},
      {&LCFileData::acousticElectricKeywordId, "Acoustic", "Electric"},
      {&LCFileData::dryProcessedKeywordId, "Dry", "Processed"},
      {&LCFileData::cleanDistortedKeywordId, "Clean", "Distorted"},
      {&LCFileData::cheerfulDarkKeywordId, "Cheerful", "Dark"},
      {&LCFileData::relaxedIntenseKeywordId, "Relaxed", "Intense"},
      {&LCFileData::groovingArrhythmicKeywordId, "Grooving", "Arrhythmic"},
      {&LCFileData::melodicDissonantKeywordId, "Melodic", "Dissonant"},
  };
  for (const auto& [id, first, second] : cases) {
    LCFileData record;
    EXPECT_EQ((record.*id)(), 0) << first;
    record.descriptors = {second};
    EXPECT_EQ((record.*id)(), LCKeywordHelper::keywordIdForKeyword(second));
    record.descriptors->insert(first);
    EXPECT_EQ((record.*id)(), LCKeywordHelper::keywordIdForKeyword(first));
    EXPECT_NE((record.*id)(), 0) << first;
  }
}

TEST(LCFileData, TheLoopTypeForHostsLooksAtThePatchFirst) {
  struct Case {
    int64_t patchInfo;
    LCVireoLoopType type;
    LCVireoLoopType shown;
  };
  for (const auto& [patchInfo, type, shown] :
       {Case{2, 6, 0}, Case{2, 3, 0}, Case{0, 6, 1}, Case{1, 6, 1}, Case{0, 5, 5}, Case{0, 0, 0}, Case{0, -1, -1}}) {
    LCFileData record;
    record.patchInfo = patchInfo;
    record.vireoLoopType = type;
    EXPECT_EQ(record.ksLoopType(), shown) << patchInfo << " " << type;
    EXPECT_EQ(record.hasPatchWithTrackStack(), patchInfo == 2);
  }
  for (const int64_t type : {-1, 0, 1, 2, 5, 6}) EXPECT_EQ(LCVireoLoopTypeIsGenInst(type), type >= 2 && type <= 5);

  LCFileData listedLoop;
  listedLoop.storedFileURL = url("file:///a1/Heavy%20Blows%20Beat.caf");
  EXPECT_TRUE(listedLoop.hasPatchWithTrackStack());
}

TEST(LCFileData, DescribesItselfInOneText) {
  LCFileData record;
  record.bpm = 101.7f;
  record.beatCount = 8;
  record.midiRootNote = 57;
  record.keyType = 1;
  record.authorTag = "";
  record.commentTag = "late";
  EXPECT_EQ(record.description(),
            "\nfileURL: (null) \ntempo: 101.699997\n beatCount: 8\n midiRootNote: 57\n keyType: 1\n descriptors: "
            "(null)\n author:  copyright: (null) comment: late");
}

TEST(LoudnessTarget, IsThatOfTheFirstRuleThatFits) {
  struct Case {
    const char* instrument;
    const char* subInstrument;
    bool isTopper;
    double target;
  };
  const Case cases[] = {
      {"Drums", "Drum Kit", true, -26},
      {"Percussion", "Drum Kit", false, -18},
      {"Bass", "Electronic Beats", false, -18},
      {"Percussion", "Kick", false, -18},
      {"Bass", "Hi-hat", false, -20},
      {"Percussion", nullptr, false, -26},
      {"Texture/Atmosphere", nullptr, false, -26},
      {"Drums", "Hi-hat", false, -26},
      {"Guitars", nullptr, false, -22},
      {"bass", "kick", false, -22},
      {nullptr, nullptr, false, -22},
  };
  for (const auto& [instrument, subInstrument, isTopper, target] : cases) {
    const auto text = [](const char* value) { return value ? std::optional<std::string>(value) : std::nullopt; };
    EXPECT_EQ(LCLoudnessTarget::forInstrument(text(instrument), text(subInstrument), isTopper), target)
        << (instrument ? instrument : "none") << "/" << (subInstrument ? subInstrument : "none");
  }
}

TEST(LoudnessTarget, ARecordIsATopperByItsNameOrItsMetaInfos) {
  LCFileData record;
  record.instrumentSubTypeTag = "Drum Kit";
  EXPECT_EQ(record.calculatedTargetIntegratedLoudness(), std::numeric_limits<float>::max());
  record.storedFileURL = url("file:///a1/angelic%20Hi%20Hat%20Topper%2001.caf");
  EXPECT_EQ(record.calculatedTargetIntegratedLoudness(), -18);
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
