#include "VeskLoopManagement/model/LCMusicalKey.h"

#include "VeskLoopManagement/platform/Text.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace {

constexpr int64_t kLowestRootNote = 48;  // C
constexpr int64_t kNotesPerOctave = 12;
constexpr int64_t kHighestMIDINote = 127;

constexpr std::array<std::string_view, kNotesPerOctave> kNoteNames = {"C",  "C#", "D",  "D#", "E",  "F",
                                                                      "F#", "G",  "G#", "A",  "A#", "B"};

struct ScaleName {
  LCScale scale;
  std::string_view name;
};
constexpr ScaleName kScales[] = {
    {LCScale::minor, "minor"}, {LCScale::major, "major"}, {LCScale::neither, "neither"}, {LCScale::both, "both"}};

// Semitones above C of a letter; nullopt for other letters.
std::optional<int64_t> semitonesOfLetter(char letter) {
  const auto found = std::find(kNoteNames.begin(), kNoteNames.end(), std::string_view(&letter, 1));
  if (found == kNoteNames.end()) return std::nullopt;
  return found - kNoteNames.begin();
}

// Of what stands behind the note: "m", "min" and "maj" are only said there.
std::optional<LCScale> scaleBehindNote(std::string_view text) {
  const std::string word = text == "M" ? "M" : vesk::text::asciiLowercase(text);
  if (word == "m" || word == "min" || word == "minor") return LCScale::minor;
  if (word == "maj" || word == "major") return LCScale::major;
  return std::nullopt;
}

int64_t octaveFolded(int64_t semitones) {
  return (semitones % kNotesPerOctave + kNotesPerOctave) % kNotesPerOctave;
}

// Each hour of the Camelot wheel is a fifth above the one before; A minor stands at 8A, its relative major at 8B.
std::optional<LCMusicalKey> keyOnCamelotWheel(std::string_view text) {
  constexpr int64_t kAMinorHour = 8, kA = 9, kFifth = 7, kRelativeMajor = 3;
  int64_t hour = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, hour);
  if (error != std::errc{} || hour < 1 || hour > 12 || rest + 1 != end) return std::nullopt;
  const bool isMinor = *rest == 'A' || *rest == 'a';
  if (!isMinor && *rest != 'B' && *rest != 'b') return std::nullopt;
  const int64_t semitones = kA + (hour - kAMinorHour) * kFifth + (isMinor ? 0 : kRelativeMajor);
  return LCMusicalKey{kLowestRootNote + octaveFolded(semitones), isMinor ? LCScale::minor : LCScale::major};
}

}  // namespace

std::optional<LCMusicalKey> LCMusicalKey::fromText(std::string_view text) {
  const std::string trimmed = vesk::text::trimmed(text);
  text = trimmed;
  if (text.empty()) return std::nullopt;
  if (auto key = keyOnCamelotWheel(text)) return key;
  const char letter = text[0] >= 'a' && text[0] <= 'g' ? static_cast<char>(text[0] - 'a' + 'A') : text[0];
  auto semitones = semitonesOfLetter(letter);
  if (!semitones) return std::nullopt;
  text.remove_prefix(1);
  if (text.starts_with('#') || text.starts_with('b')) {
    *semitones += text[0] == '#' ? 1 : -1;
    text.remove_prefix(1);
  }
  LCMusicalKey key{.note = kLowestRootNote + octaveFolded(*semitones)};
  if (text.empty()) return key;
  key.scale = scaleBehindNote(vesk::text::trimmed(text));
  if (!key.scale) return std::nullopt;
  return key;
}

int64_t lc::semitonesBetween(int64_t midiNote, int64_t otherMIDINote) {
  const int64_t up = octaveFolded(octaveFolded(midiNote) - octaveFolded(otherMIDINote));
  return std::min(up, kNotesPerOctave - up);
}

std::optional<std::string> lc::noteName(int64_t midiNote) {
  if (midiNote < 1 || midiNote > kHighestMIDINote) return std::nullopt;
  return std::string(kNoteNames[static_cast<size_t>(midiNote % kNotesPerOctave)]);
}

std::optional<std::string> lc::scaleName(int64_t keyType) {
  for (const auto& entry : kScales) {
    if (static_cast<int64_t>(entry.scale) == keyType) return std::string(entry.name);
  }
  return std::nullopt;
}

std::optional<LCScale> lc::scaleFromText(std::string_view text) {
  const std::string lower = vesk::text::asciiLowercase(text);
  for (const auto& entry : kScales) {
    if (entry.name == lower) return entry.scale;
  }
  return std::nullopt;
}

std::vector<std::string> lc::scaleNames() {
  std::vector<std::string> names;
  for (const auto& entry : kScales) names.emplace_back(entry.name);
  return names;
}
