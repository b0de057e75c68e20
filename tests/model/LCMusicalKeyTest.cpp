#include "VeskLoopManagement/model/LCMusicalKey.h"

#include <gtest/gtest.h>

TEST(LCMusicalKey, IsReadInTheWaysInWhichMusiciansWriteIt) {
  const auto minor = LCScale::minor, major = LCScale::major;
  const std::pair<const char*, std::optional<LCMusicalKey>> cases[] = {{"A", {{57}}},
                                                                       {"a", {{57}}},
                                                                       {"Bb", {{58}}},
                                                                       {"A#", {{58}}},
                                                                       {"Cb", {{59}}},
                                                                       {"B#", {{48}}},
                                                                       {"Am", {{57, minor}}},
                                                                       {"a min", {{57, minor}}},
                                                                       {" A  Minor ", {{57, minor}}},
                                                                       {"Db major", {{49, major}}},
                                                                       {"C MAJ", {{48, major}}},
                                                                       {"bbm", {{58, minor}}},
                                                                       {"8A", {{57, minor}}},
                                                                       {"8b", {{48, major}}},
                                                                       {"1A", {{56, minor}}},
                                                                       {"12B", {{52, major}}},
                                                                       {"2a", {{51, minor}}},
                                                                       {"0A", {}},
                                                                       {"13A", {}},
                                                                       {"8C", {}},
                                                                       {"8", {}},
                                                                       {"8AA", {}},
                                                                       {"", {}},
                                                                       {"H", {}},
                                                                       {"AM", {}},
                                                                       {"A#b", {}},
                                                                       {"A lydian", {}}};
  for (const auto& [text, key] : cases) EXPECT_EQ(LCMusicalKey::fromText(text), key) << text;
}

TEST(LCMusicalKey, NotesAreComparedWhateverTheirOctaves) {
  for (const auto& [left, right, semitones] :
       {std::tuple{57, 69, 0}, {48, 59, 1}, {71, 48, 1}, {60, 54, 6}, {0, 127, 5}})
    EXPECT_EQ(lc::semitonesBetween(left, right), semitones);
}
