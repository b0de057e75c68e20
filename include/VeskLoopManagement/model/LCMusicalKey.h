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

  // "A", "F#", "Bb", with "m", "min", "minor", "maj" or "major" behind it; nullopt for anything else.
  static std::optional<LCMusicalKey> fromText(std::string_view text);
  // The note as the search engine asks for it, which counts an octave above databases: 60 (C) to 71 (B); 0, any key,
  // for notes that it does not look for.
  int64_t engineRootKey() const { return engineRootKeyForNote(note); }
  static int64_t engineRootKeyForNote(int64_t note) { return note >= 48 && note < 60 ? note + 12 : 0; }
  bool operator==(const LCMusicalKey&) const = default;
};

namespace lc {

// "F#" for 54 and every other MIDI note number of that name; nullopt below 1 and above 127.
LC_EXPORT std::optional<std::string> noteName(int64_t midiNote);
// "minor", "major", "neither", "both"; nullopt for other numbers.
LC_EXPORT std::optional<std::string> scaleName(int64_t keyType);
LC_EXPORT std::optional<LCScale> scaleFromText(std::string_view text);  // upper and lower case are the same
LC_EXPORT std::vector<std::string> scaleNames();

}  // namespace lc
