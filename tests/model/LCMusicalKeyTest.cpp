#include "VeskLoopManagement/model/LCMusicalKey.h"

#include <gtest/gtest.h>

TEST(LCMusicalKey, IsReadInTheWaysInWhichMusiciansWriteIt) {
  const auto minor = LCScale::minor, major = LCScale::major;
  using Case = std::pair<LCMusicalKey, std::vector<const char*>>;
  for (const auto& [key, texts] :
       {Case{{57}, {"A", "a"}}, Case{{58}, {"Bb", "A#"}}, Case{{59}, {"Cb"}}, Case{{48}, {"B#"}},
        Case{{57, minor}, {"Am", "a min", " A  Minor ", "8A"}}, Case{{58, minor}, {"bbm"}}, Case{{51, minor}, {"2a"}},
        Case{{56, minor}, {"1A"}}, Case{{49, major}, {"Db major"}}, Case{{48, major}, {"C MAJ", "8b"}},
        Case{{52, major}, {"12B"}}}) {
    for (const char* text : texts) EXPECT_EQ(LCMusicalKey::fromText(text), key) << text;
  }
  for (const char* text : {"0A", "13A", "8C", "8", "8AA", "", "H", "AM", "A#b", "A lydian"}) {
    EXPECT_EQ(LCMusicalKey::fromText(text), std::nullopt) << text;
  }
}

TEST(LCMusicalKey, NotesAreComparedWhateverTheirOctaves) {
  for (const auto& [left, right, semitones] :
       {std::tuple{57, 69, 0}, {48, 59, 1}, {71, 48, 1}, {60, 54, 6}, {0, 127, 5}})
    EXPECT_EQ(lc::semitonesBetween(left, right), semitones);
}
