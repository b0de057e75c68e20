#include "KeyNames.h"

#include "VeskLoopManagement/model/LCKeywordHelper.h"
#include "VeskLoopManagement/model/LCVireoLoopType.h"
#include "VeskLoopManagement/platform/Text.h"

#include <algorithm>
#include <array>
#include <span>

namespace {

constexpr int64_t kMinor = 1;
constexpr int64_t kMajor = 2;
constexpr int64_t kLowestRootNote = 48;  // C
constexpr int64_t kNotesPerOctave = 12;
constexpr int64_t kHighestMIDINote = 127;

struct NumberWord {
  std::string_view word;
  int64_t number;
};

constexpr NumberWord kScales[] = {{"minor", kMinor}, {"major", kMajor}, {"neither", 3}, {"both", 4}};

constexpr NumberWord kLoopTypes[] = {{"audio", kLoopTypeAudio},
                                     {"midi", kLoopTypeMIDI},
                                     {"drummer", kLoopTypeDrummer},
                                     {"rangemember", kLoopTypeRangeMember},
                                     {"percussion", kLoopTypePercussionDrummer},
                                     {"bass", kLoopTypeBassPlayer},
                                     {"stepsequencer", kLoopTypeStepSequencer}};

constexpr NumberWord kKeywordCategories[] = {{"genre", kCategoryGenre},
                                             {"mood", kCategoryDescriptor},
                                             {"instrument", kCategoryInstrumentTypeWithSubTypes},
                                             {"instrument", kCategoryInstrumentType},
                                             {"instrument", kCategoryInstrumentSubType}};
constexpr std::string_view kOtherCategory = "other";

struct SortWord {
  std::string_view word;
  std::string_view column;
};

constexpr SortWord kSortWords[] = {
    {"name", "fileName"}, {"path", "fileURL"},           {"tempo", "tempo"},  {"beats", "numberOfBeats"},
    {"key", "key"},       {"length", "lengthInSeconds"}, {"type", "hasMidi"}, {"favorite", "isFavorite"}};

constexpr std::array<std::string_view, kNotesPerOctave> kNoteNames = {"C",  "C#", "D",  "D#", "E",  "F",
                                                                      "F#", "G",  "G#", "A",  "A#", "B"};

std::optional<int64_t> numberForWord(std::span<const NumberWord> table, std::string_view word) {
  const std::string lower = vesk::text::asciiLowercase(word);
  const auto found = std::find_if(table.begin(), table.end(), [&](const auto& entry) { return entry.word == lower; });
  if (found == table.end()) return std::nullopt;
  return found->number;
}

std::optional<std::string> wordForNumber(std::span<const NumberWord> table, int64_t number) {
  const auto found =
      std::find_if(table.begin(), table.end(), [&](const auto& entry) { return entry.number == number; });
  if (found == table.end()) return std::nullopt;
  return std::string(found->word);
}

template <typename Table>
std::vector<std::string> wordsOf(const Table& table) {
  std::vector<std::string> words;
  for (const auto& entry : table) words.emplace_back(entry.word);
  return words;
}

// Semitones above C of a letter; nullopt for other letters.
std::optional<int64_t> semitonesOfLetter(char letter) {
  switch (letter) {
    case 'c':
      return 0;
    case 'd':
      return 2;
    case 'e':
      return 4;
    case 'f':
      return 5;
    case 'g':
      return 7;
    case 'a':
      return 9;
    case 'b':
      return 11;
    default:
      return std::nullopt;
  }
}

}  // namespace

std::optional<KeyChoice> keyForWord(std::string_view word) {
  if (word.empty()) return std::nullopt;
  auto semitones = semitonesOfLetter(vesk::text::asciiLowercase(word.substr(0, 1))[0]);
  if (!semitones) return std::nullopt;
  word.remove_prefix(1);
  if (word.starts_with('#')) {
    ++*semitones;
    word.remove_prefix(1);
  } else if (word.starts_with('b')) {
    --*semitones;
    word.remove_prefix(1);
  }
  KeyChoice choice;
  choice.note = kLowestRootNote + (*semitones + kNotesPerOctave) % kNotesPerOctave;
  if (word.empty()) return choice;
  const std::string scale = vesk::text::trimmed(word);
  if (scale == "m" || scale == "min" || scale == "minor") choice.scale = kMinor;
  if (scale == "maj" || scale == "major") choice.scale = kMajor;
  if (!choice.scale) return std::nullopt;
  return choice;
}

std::optional<std::string> keyNameForNote(int64_t note) {
  if (note < 1 || note > kHighestMIDINote) return std::nullopt;
  return std::string(kNoteNames[static_cast<size_t>(note % kNotesPerOctave)]);
}

int64_t engineRootKey(int64_t note) {
  const bool isKey = note >= kLowestRootNote && note < kLowestRootNote + kNotesPerOctave;
  return isKey ? note + kNotesPerOctave : 0;
}

std::optional<int64_t> scaleForWord(std::string_view word) {
  return numberForWord(kScales, word);
}
std::optional<std::string> scaleName(int64_t keyType) {
  return wordForNumber(kScales, keyType);
}
std::optional<int64_t> loopTypeForWord(std::string_view word) {
  return numberForWord(kLoopTypes, word);
}
std::optional<std::string> loopTypeName(int64_t loopType) {
  return wordForNumber(kLoopTypes, loopType);
}

std::string keywordCategoryWord(int64_t category) {
  return wordForNumber(kKeywordCategories, category).value_or(std::string(kOtherCategory));
}

std::optional<std::string> columnForSortWord(std::string_view word) {
  for (const auto& entry : kSortWords) {
    if (entry.word == word) return std::string(entry.column);
  }
  return std::nullopt;
}

std::vector<std::string> scaleWords() {
  return wordsOf(kScales);
}
std::vector<std::string> loopTypeWords() {
  return wordsOf(kLoopTypes);
}
std::vector<std::string> sortWords() {
  return wordsOf(kSortWords);
}
std::vector<std::string> keywordCategoryWords() {
  std::vector<std::string> words = wordsOf(kKeywordCategories);
  words.erase(std::unique(words.begin(), words.end()), words.end());
  words.emplace_back(kOtherCategory);
  return words;
}
