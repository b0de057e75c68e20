// The loudness that playback should bring a loop to. Pure functions; levels in LUFS (EBU R 128 / ITU-R BS.1770).
#pragma once

#include <optional>
#include <string>

struct LCFileData;

struct LCLoudnessTarget {
  // The rule itself: first match wins, topper before everything. nullopt matches nothing.
  static double forInstrument(const std::optional<std::string>& instrument,
                              const std::optional<std::string>& subInstrument, bool isTopper);
  // The rule applied to a record; the largest finite 32-bit float when it has no file URL.
  static double forFileData(const LCFileData& fileData);
};
