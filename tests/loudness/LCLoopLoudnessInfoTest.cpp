#include "loudness/LCLoopLoudnessInfo.h"

#include "platform/KeyedArchive.h"
#include "support/AudioFixture.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <span>
#include <string>
#include <utility>

using Info = LCLoopLoudnessInfo;

TEST(LoopLoudnessInfo, TravelsInArchivesAs32BitFloats) {
  const auto read = Info::unarchived(Info{-23.456789, -std::numeric_limits<double>::infinity(), 1e300}.archived());
  EXPECT_EQ(read, (Info{static_cast<double>(-23.456789f), -Info::kNone, Info::kNone}));
  EXPECT_EQ(Info::unarchived(Info{}.archived()), Info{});
}

TEST(LoopLoudnessInfo, IsReadFromArchivesThatNameItOtherwise) {
  const auto archived = [](vesk::Dictionary fields) {
    const vesk::ArchivedObject object{{"OtherLoudness", "NSObject"}, std::move(fields)};
    return vesk::archivedRoot(std::make_shared<const vesk::ArchivedObject>(object), "root");
  };
  EXPECT_EQ(Info::unarchived(archived({{"integratedLoudnessV1", -20}})), (Info{-20.0, 0.0, 0.0}))
      << "an integer is a number too, and what is missing is 0";
  EXPECT_EQ(Info::unarchived(archived({{"loudness", -20.0}})), std::nullopt);
  EXPECT_EQ(Info::unarchived({}), std::nullopt);
}

TEST(LoopLoudnessInfo, TargetOfACategoryChunkComesFromItsTexts) {
  const auto target = Info::targetIntegratedLoudnessForCategoryChunk;
  EXPECT_EQ(target(fixture::catePayload("Percussion", "Kick", ""), false), -18.0);
  EXPECT_EQ(target(fixture::catePayload("Bass", "", ""), false), -20.0);
  EXPECT_EQ(target(fixture::catePayload(std::string(50, 'x'), "Kick", ""), false), -18.0) << "a field without its NUL";
  const fixture::Bytes whole = fixture::catePayload("Bass", "Kick", "");
  EXPECT_EQ(target(whole, true), -26.0);
  for (const size_t size : {0, 4, 60, 103}) EXPECT_EQ(target(std::span(whole).first(size), false), -22.0) << size;
}
