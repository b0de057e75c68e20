// The archive of a loop record and of its meta infos: what comes back, archives made elsewhere, and broken ones.
#include "platform/KeyedArchive.h"
#include "VeskLoopManagement/model/LCFileData.h"

#include <gtest/gtest.h>

#include <limits>

using vesk::Array;
using vesk::Dictionary;

namespace {

vesk::Value objectOf(const char* className, Dictionary fields) {
  return std::make_shared<const vesk::ArchivedObject>(vesk::ArchivedObject{{className, "NSObject"}, std::move(fields)});
}

// The record that is read from an archive of another program, of these fields.
std::optional<LCFileData> recordOf(Dictionary fields, const char* className = "Elsewhere") {
  return LCFileData::unarchived(vesk::archivedRoot(objectOf(className, std::move(fields)), "root"));
}

// Every key that is archived, under the names that hosts have stored.
Dictionary allFields() {
  const auto descriptors = std::make_shared<const Array>(Array{"", "Dry"});
  const vesk::Value info =
      objectOf("LCMetaInfo", {{"typeV1", 9}, {"integerValueV1", -7}, {"doubleValueV1", 0.5}, {"stringValueV1", "x"}});
  Dictionary fields = {{"hash", std::numeric_limits<int64_t>::min()},
                       {"frameCount", 1},
                       {"genreTag", ""},
                       {"descriptors", vesk::Value::Set{descriptors}},
                       {"fileURL", vesk::Value::URLText{"file:///a1/q.loopdata"}},
                       {"metaInfos", Array{info}},
                       {"taggingDictionary", Dictionary{{"a", "text"}, {"b", Array{1, 2.5, Dictionary{{"c", true}}}}}}};
  int64_t number = int64_t{1} << 40;
  for (const char* key : {"beatCount", "midiRootNote", "keyType", "fileType", "signatureTop", "signatureBottom",
                          "vireoLoopType", "patchInfo", "iconId"}) {
    fields[key] = ++number;
  }
  double real = 0.25;
  for (const char* key :
       {"bpm", "lengthInSeconds", "integratedLoudness", "targetIntegratedLoudness", "globalMaxTruePeak"}) {
    fields[key] = ++real;
  }
  for (const char* key : {"vireoPlusLoop", "isWebLoop", "isFactoryBundleLoop", "preferFileName"}) fields[key] = true;
  for (const char* key : {"themeTag", "collectionTag", "commentTag", "copyrightTag", "authorTag", "title",
                          "instrumentTypeTag", "instrumentSubTypeTag", "contentIdentifier"}) {
    fields[key] = key;
  }
  return fields;
}

TEST(LCFileDataArchive, HoldsEveryFieldUnderItsOwnKey) {
  const auto record = recordOf(allFields());
  ASSERT_TRUE(record);
  EXPECT_EQ(record->authorTag, "authorTag");
  EXPECT_EQ(record->descriptors, (vesk::StringSet{"", "Dry"}));
  const vesk::Value written = vesk::unarchivedRoot(record->archived(), "root", [](const auto&) { return true; });
  EXPECT_EQ(written, objectOf("LCFileData", allFields()));
  EXPECT_EQ(LCFileData::unarchived(record->archived()), record);
  EXPECT_EQ(LCFileData::unarchived(LCFileData{}.archived()), LCFileData{});
}

TEST(LCFileDataArchive, ReadsFrameCountsAsTruthValuesAndLeavesBulkOut) {
  const LCFileData record = {.frameCount = 512,
                             .hasAuthoredChunks = true,
                             .enhancedFileDataAvailable = true,
                             .genInstDictionary = Dictionary{{"a", 1}},
                             .midiData = vesk::Bytes(4)};
  EXPECT_EQ(LCFileData::unarchived(record.archived()), LCFileData{.frameCount = 1});
}

TEST(LCFileDataArchive, OfAnyClassNameIsARecordWhenItHasATempoAndAHash) {
  EXPECT_EQ(recordOf({{"bpm", 96.5}, {"hash", -5}}), (LCFileData{.bpm = 96.5f, .hash = -5}));
  EXPECT_FALSE(recordOf({{"bpm", 96.5}}));
  EXPECT_TRUE(recordOf({}, "LCFileData"));
  // The old flag counts only without a loop type.
  EXPECT_EQ(recordOf({{"bpm", 1}, {"hash", 0}, {"vireoPlusLoop", true}})->vireoLoopType, 1);
  EXPECT_EQ(recordOf({{"bpm", 1}, {"hash", 0}, {"vireoPlusLoop", true}, {"vireoLoopType", 0}})->vireoLoopType, 0);
}

TEST(LCFileDataArchive, WithAValueOfAWrongKindIsNoRecord) {
  const Array data = {vesk::Bytes(3)};
  ASSERT_TRUE(recordOf({{"bpm", 1}, {"hash", 0}, {"title", "text"}}));
  using Field = std::pair<const char*, vesk::Value>;
  for (const auto& [key, value] :
       {Field{"title", 0}, Field{"beatCount", "text"}, Field{"descriptors", data}, Field{"fileURL", "text"},
        Field{"iconId", "text"}, Field{"metaInfos", data}, Field{"taggingDictionary", "text"},
        Field{"taggingDictionary", Dictionary{{"text", data}}}}) {
    EXPECT_FALSE(recordOf({{"bpm", 1}, {"hash", 0}, {key, value}})) << key;
  }
}

TEST(LCMetaInfo, KeepsItsNumberAsAShortFloatInAnArchive) {
  LCMetaInfo weighted = LCWeightedInstrumentKeyword{"Topper", 0.3}.metaInfo();
  const vesk::Value archived = weighted.archivedObject();
  weighted.doubleValue = 0.30000001192092896;
  EXPECT_EQ(LCMetaInfo::fromArchivedObject(archived), weighted);
  EXPECT_EQ(LCMetaInfo::metaInfoInstanceOfType(2).type, 0);
  const vesk::Array many(3, LCMetaInfo{.stringValue = std::string(100, 'x')}.archivedObject());
  EXPECT_EQ(LCMetaInfo::fromArchivedObjects(many, 10), std::nullopt) << "far more than the archive itself";

  const auto read = [](const char* name, Dictionary fields) {
    return LCMetaInfo::fromArchivedObject(objectOf(name, fields));
  };
  const auto foreign = [&](const Dictionary& fields) { return read("Elsewhere", fields); };
  EXPECT_EQ(read("LCWeightedInstrumentKeyword", {{"typeV1", 3}, {"doubleValueV1", 1}})->type, 1) << "whatever it says";
  EXPECT_EQ(foreign({{"typeV1", 3}, {"doubleValueV1", 1}}), (LCMetaInfo{.doubleValue = 1, .type = 3}));
  EXPECT_EQ(foreign({{"typeV1", 3}}), std::nullopt);
  EXPECT_EQ(foreign({{"typeV1", 3}, {"doubleValueV1", 1}, {"stringValueV1", 5}}), std::nullopt);
}

}  // namespace
