// The words that people use for numbers of the database: keys, scales, loop types, categories, sort columns. Plain
// tables, both ways.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// A root note as the database stores it, 48 (C) to 59 (B), and the scale when the word names one.
struct KeyChoice {
  int64_t note = 48;
  std::optional<int64_t> scale;
};
// "A", "F#", "Bb", with "m", "min", "minor", "maj" or "major" behind it; nullopt for anything else.
std::optional<KeyChoice> keyForWord(std::string_view word);
// "F#" for 54 and every other MIDI note number of that name; nullopt for what is no note.
std::optional<std::string> keyNameForNote(int64_t note);
// What the search engine, which counts an octave above the database, takes for the stored note; 0, any key, for notes
// that it does not look for.
int64_t engineRootKey(int64_t note);

std::optional<int64_t> scaleForWord(std::string_view word);  // "minor", "major", "neither", "both"
std::optional<std::string> scaleName(int64_t keyType);
std::optional<int64_t> loopTypeForWord(std::string_view word);
std::optional<std::string> loopTypeName(int64_t loopType);
std::optional<std::string> columnForSortWord(std::string_view word);
// "genre", "mood" or "instrument"; "other" for keywords from outside the taxonomy.
std::string keywordCategoryWord(int64_t category);

// For messages and help.
std::vector<std::string> scaleWords();
std::vector<std::string> loopTypeWords();
std::vector<std::string> sortWords();
std::vector<std::string> keywordCategoryWords();  // in the order in which keywords are listed
