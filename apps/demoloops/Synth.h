// A few simple instruments for the demo's loops. Pure functions, the same samples on every run.
#pragma once

#include <string_view>
#include <vector>

namespace demo {

inline constexpr int kSampleRate = 44100;  // hertz, mono

enum class Instrument { drums, percussion, bass, keys, strings };

struct Recipe {
  Instrument instrument = Instrument::drums;
  double beatsPerMinute = 120;
  int beats = 8;
  int rootNote = 0;  // MIDI note number of the key; 0: none
  bool isMinor = false;
  int variant = 1;  // another pattern of the same material
};

// Mono samples from -1 to 1; as long as the beats at that tempo, to the nearest frame.
std::vector<float> rendered(const Recipe& recipe);

}  // namespace demo
