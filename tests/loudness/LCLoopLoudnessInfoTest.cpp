#include "loudness/LCLoopLoudnessInfo.h"

#include "platform/KeyedArchive.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// The first bytes of a category chunk: 4 of version, then two texts in fields of 50.
vesk::Bytes categoryChunk(std::string_view instrument, std::string_view subInstrument) {
  vesk::Bytes chunk(222, std::byte{0});
  const auto put = [&chunk](size_t offset, std::string_view text) {
    std::transform(text.begin(), text.end(), chunk.begin() + static_cast<std::ptrdiff_t>(offset),
                   [](char c) { return static_cast<std::byte>(c); });
  };
  put(4, instrument);
  put(54, subInstrument);
  return chunk;
}

}  // namespace

TEST(LoopLoudnessInfo, TravelsInArchivesAs32BitFloats) {
  const LCLoopLoudnessInfo info{-23.456789, -kInfinity, 1e300};
  const auto read = LCLoopLoudnessInfo::unarchived(info.archived());
  ASSERT_TRUE(read.has_value());
  EXPECT_EQ(read->integratedLoudness, static_cast<double>(-23.456789f));
  EXPECT_EQ(read->globalMaxTruePeak, -LCLoopLoudnessInfo::kNone);
  EXPECT_EQ(read->targetIntegratedLoudness, LCLoopLoudnessInfo::kNone);
  const LCLoopLoudnessInfo unmeasured;
  EXPECT_EQ(LCLoopLoudnessInfo::unarchived(unmeasured.archived()), unmeasured);
}

TEST(LoopLoudnessInfo, IsReadFromArchivesThatNameItOtherwise) {
  const auto archived = [](vesk::Dictionary fields) {
    const vesk::ArchivedObject object{{"OtherLoudness", "NSObject"}, std::move(fields)};
    return vesk::archivedRoot(std::make_shared<const vesk::ArchivedObject>(object), "root");
  };
  EXPECT_EQ(LCLoopLoudnessInfo::unarchived(archived({{"integratedLoudnessV1", -20}})),
            (LCLoopLoudnessInfo{-20.0, 0.0, 0.0}))
      << "an integer is a number too, and what is missing is 0";
  EXPECT_EQ(LCLoopLoudnessInfo::unarchived(archived({{"loudness", -20.0}})), std::nullopt);
  EXPECT_EQ(LCLoopLoudnessInfo::unarchived(vesk::archivedRoot("text", "root")), std::nullopt);
  EXPECT_EQ(LCLoopLoudnessInfo::unarchived({}), std::nullopt);
}

TEST(LoopLoudnessInfo, TargetOfACategoryChunkComesFromItsTexts) {
  using Info = LCLoopLoudnessInfo;
  EXPECT_EQ(Info::targetIntegratedLoudnessForCategoryChunk(categoryChunk("Percussion", "Kick"), false), -18.0);
  EXPECT_EQ(Info::targetIntegratedLoudnessForCategoryChunk(categoryChunk("Bass", ""), false), -20.0);
  EXPECT_EQ(Info::targetIntegratedLoudnessForCategoryChunk(categoryChunk("Bass", "Kick"), true), -26.0);
  // A field without its NUL ends where the next begins.
  EXPECT_EQ(Info::targetIntegratedLoudnessForCategoryChunk(categoryChunk(std::string(50, 'x'), "Kick"), false), -18.0);
  const vesk::Bytes whole = categoryChunk("Bass", "Kick");
  for (const size_t size : {0, 4, 60, 103}) {
    const auto cut = std::span(whole).first(size);
    EXPECT_EQ(Info::targetIntegratedLoudnessForCategoryChunk(cut, false), -22.0) << size;
    EXPECT_EQ(Info::targetIntegratedLoudnessForCategoryChunk(cut, true), -26.0) << size;
  }
}
