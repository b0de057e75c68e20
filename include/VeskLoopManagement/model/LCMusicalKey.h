// Notes and scales in the words of musicians. Plain values.
#pragma once

#include "VeskLoopManagement/LCExport.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What databases and files store as key type.
enum class LCScale : int64_t { minor = 1, major = 2, neither = 3, both = 4 };

// A root note, and the scale where it is named.
struct LC_EXPORT LCMusicalKey {
  int64_t note = 48;  // as databases store it: 48 (C) to 59 (B)
  std::optional<LCScale> scale = std::nullopt;

  // "A", "F#", "Bb", with "m", "min", "minor", "maj" or "major" behind it, or a place on the Camelot wheel ("8A" is
  // A minor, "8B" its relative, C major). Upper and lower case are the same, but a lone "M" is no scale; blanks may
  // stand around note and scale. nullopt for anything else.
  static std::optional<LCMusicalKey> fromText(std::string_view text);
  bool operator==(const LCMusicalKey&) const = default;
};

namespace lc {

// The shortest way from one note to the other, whatever their octaves: 0 to 6 semitones.
LC_EXPORT int64_t semitonesBetween(int64_t midiNote, int64_t otherMIDINote);
// "F#" for 54 and every other MIDI note number of that name; nullopt below 1 and above 127.
LC_EXPORT std::optional<std::string> noteName(int64_t midiNote);
// "minor", "major", "neither", "both"; nullopt for other numbers.
LC_EXPORT std::optional<std::string> scaleName(int64_t keyType);
LC_EXPORT std::optional<LCScale> scaleFromText(std::string_view text);  // upper and lower case are the same
LC_EXPORT std::vector<std::string> scaleNames();

}  // namespace lc
