// The archive of a loop record: what comes back, archives made elsewhere (written here as XML), and broken ones.
#include "model/LCFileData.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace {

LCFileData fullRecord() {
  LCFileData record;
  record.bpm = 101.7f;
  record.lengthInSeconds = 4.25f;
  record.beatCount = (int64_t{1} << 40) + 3;
  record.midiRootNote = 57;
  record.keyType = 1;
  record.fileType = 2;
  record.signatureTop = 7;
  record.signatureBottom = 8;
  record.vireoLoopType = kLoopTypeBassPlayer;
  record.frameCount = 1;
  record.hash = std::numeric_limits<int64_t>::min();
  record.patchInfo = 2;
  record.isWebLoop = true;
  record.isFactoryBundleLoop = true;
  record.themeTag = "theme";
  record.collectionTag = "";
  record.commentTag = "caf\xC3\xA9";
  record.copyrightTag = "copyright";
  record.authorTag = "author";
  record.title = "title";
  record.descriptors = {"", "Dry"};
  record.instrumentTypeTag = "Bass";
  record.instrumentSubTypeTag = "Electric Bass";
  record.genreTag = "";
  record.storedFileURL = vesk::URL::fromString("file:///a1/q.loopdata");
  record.contentIdentifier = "com.example.a";
  record.iconId = vesk::Number{int64_t{12}};
  record.preferFileName = vesk::Number{true};
  record.integratedLoudness = -14.25;
  record.targetIntegratedLoudness = -18.0;
  record.globalMaxTruePeak = -0.1;
  record.metaInfos = {LCWeightedInstrumentKeyword{"Topper", 0.5}.metaInfo(), LCMetaInfo{.integerValue = -7, .type = 9}};
  record.taggingDictionary = vesk::Dictionary{{"a", "text"}, {"b", vesk::Array{1, 2.5, vesk::Dictionary{{"c", true}}}}};
  return record;
}

// An archive as another program writes it. `fields` is the record's dictionary with its references, `objects` what they
// refer to, from 3 on; 2 is the record's class.
vesk::Bytes foreignArchive(std::string_view fields, std::string_view objects,
                           std::string_view className = "Elsewhere") {
  const std::string xml = fmt::format(
      "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>$version</key><integer>100000</integer>"
      "<key>$archiver</key><string>NSKeyedArchiver</string>"
      "<key>$top</key><dict><key>root</key><dict><key>CF$UID</key><integer>1</integer></dict></dict>"
      "<key>$objects</key><array><string>$null</string>"
      "<dict><key>$class</key><dict><key>CF$UID</key><integer>2</integer></dict>{}</dict>"
      "<dict><key>$classname</key><string>{}</string><key>$classes</key><array><string>{}</string>"
      "<string>NSObject</string></array></dict>{}</array></dict></plist>",
      fields, className, className, objects);
  const auto* first = reinterpret_cast<const std::byte*>(xml.data());
  return {first, first + xml.size()};
}

std::string reference(std::string_view key, int index) {
  return fmt::format("<key>{}</key><dict><key>CF$UID</key><integer>{}</integer></dict>", key, index);
}

TEST(LCFileDataArchive, BringsEveryArchivedFieldBack) {
  const LCFileData record = fullRecord();
  EXPECT_EQ(LCFileData::unarchived(record.archived()), record);
  EXPECT_EQ(LCFileData::unarchived(LCFileData{}.archived()), LCFileData{});
}

TEST(LCFileDataArchive, ReadsFrameCountsAsTruthValuesAndLeavesBulkOut) {
  LCFileData record;
  record.frameCount = 512;
  record.hasAuthoredChunks = record.hasLoopTypeChunks = record.enhancedFileDataAvailable = true;
  record.midiData = vesk::Bytes(4);
  record.genInstDictionary = vesk::Dictionary{{"a", 1}};
  LCFileData expected;
  expected.frameCount = 1;
  EXPECT_EQ(LCFileData::unarchived(record.archived()), expected);
}

TEST(LCFileDataArchive, OfAnyClassNameIsARecordWhenItHasATempoAndAHash) {
  const std::string bpmAndHash = reference("bpm", 3) + reference("hash", 4);
  const std::string values = "<real>96.5</real><integer>-5</integer>";
  const auto record = LCFileData::unarchived(foreignArchive(bpmAndHash, values));
  ASSERT_TRUE(record);
  EXPECT_EQ(record->bpm, 96.5f);
  EXPECT_EQ(record->hash, -5);
  EXPECT_FALSE(LCFileData::unarchived(foreignArchive(reference("bpm", 3), values)));
  EXPECT_TRUE(LCFileData::unarchived(foreignArchive("", values, "LCFileData")));
}

TEST(LCFileDataArchive, TakesTheOldFlagOnlyWithoutALoopType) {
  const auto typeOf = [](std::string_view fields) {
    const auto record = LCFileData::unarchived(foreignArchive(
        reference("bpm", 3) + reference("hash", 3) + std::string(fields), "<integer>0</integer><true/>"));
    return record ? record->vireoLoopType : -99;
  };
  EXPECT_EQ(typeOf(reference("vireoPlusLoop", 4)), 1);
  EXPECT_EQ(typeOf(reference("vireoLoopType", 3) + reference("vireoPlusLoop", 4)), 0);
  EXPECT_EQ(typeOf(""), 0);
}

TEST(LCFileDataArchive, WithAValueOfAWrongKindIsNoRecord) {
  const std::string bpmAndHash = reference("bpm", 3) + reference("hash", 3);
  const char* const objects =
      "<integer>0</integer><string>text</string><data>AAAA</data>"
      // 6: an array of data; 7: its class; 8: a dictionary that holds it; 9: its class; 10: the array again
      "<dict><key>$class</key><dict><key>CF$UID</key><integer>7</integer></dict><key>NS.objects</key><array><dict>"
      "<key>CF$UID</key><integer>5</integer></dict></array></dict>"
      "<dict><key>$classname</key><string>NSArray</string><key>$classes</key><array><string>NSArray</string></array></"
      "dict>"
      "<dict><key>$class</key><dict><key>CF$UID</key><integer>9</integer></dict>"
      "<key>NS.keys</key><array><dict><key>CF$UID</key><integer>4</integer></dict></array>"
      "<key>NS.objects</key><array><dict><key>CF$UID</key><integer>6</integer></dict></array></dict>"
      "<dict><key>$classname</key><string>NSDictionary</string><key>$classes</key><array><string>NSDictionary</string>"
      "</array></dict>";
  ASSERT_TRUE(LCFileData::unarchived(foreignArchive(bpmAndHash + reference("title", 4), objects)));
  for (const auto& [key, index] :
       {std::pair("title", 3), std::pair("beatCount", 4), std::pair("descriptors", 6), std::pair("fileURL", 4),
        std::pair("iconId", 4), std::pair("metaInfos", 6), std::pair("taggingDictionary", 4),
        std::pair("taggingDictionary", 8), std::pair("title", 99)}) {
    EXPECT_FALSE(LCFileData::unarchived(foreignArchive(bpmAndHash + reference(key, index), objects))) << key << index;
  }
}

RC_GTEST_PROP(LCFileDataArchiveWithFlippedBytes, NeverCrashes, ()) {
  static const vesk::Bytes archive = fullRecord().archived();
  vesk::Bytes broken = archive;
  for (int i = *rc::gen::inRange(1, 4); i > 0; --i) {
    broken[*rc::gen::inRange<size_t>(0, broken.size())] = static_cast<std::byte>(*rc::gen::arbitrary<uint8_t>());
  }
  broken.resize(*rc::gen::inRange<size_t>(broken.size() / 2, broken.size() + 1));
  const auto record = LCFileData::unarchived(broken);
  if (record) RC_ASSERT(record->frameCount == 0 || record->frameCount == 1);
}

}  // namespace
