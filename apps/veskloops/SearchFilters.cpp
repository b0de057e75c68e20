#include "SearchFilters.h"

#include "Arguments.h"
#include "English.h"
#include "Failure.h"

#include <fmt/format.h>

namespace {

LCTempoSpan tempoFor(const std::string& text) {
  if (const auto span = LCTempoSpan::fromText(text)) return *span;
  throw usageFailure(fmt::format("\"{}\" is not a tempo", text),
                     "Tempos look like 120, 118-124 or 120~5%, the lower one first.");
}

LCMusicalKey keyFor(const std::string& text) {
  if (const auto key = LCMusicalKey::fromText(text)) return *key;
  throw usageFailure(fmt::format("\"{}\" is not a key", text), "Keys look like C, F#, Bb, Am, \"Db major\" or 8A.");
}

LCScale scaleFor(const std::string& text) {
  if (const auto scale = lc::scaleFromText(text)) return *scale;
  throw usageFailure(fmt::format("\"{}\" is not a scale", text),
                     fmt::format("Choose from {}.", listed(lc::scaleNames(), "or")));
}

LCTimeSignature signatureFor(const std::string& text) {
  if (const auto signature = LCTimeSignature::parse(text)) return *signature;
  throw usageFailure(fmt::format("\"{}\" is not a time signature", text), "Signatures look like 4/4.");
}

std::set<LCVireoLoopType> loopTypesFor(const std::vector<std::string>& words) {
  std::set<LCVireoLoopType> types;
  for (const auto& word : words) {
    const auto type = lc::loopTypeFromText(word);
    if (!type) {
      throw usageFailure(fmt::format("\"{}\" is not a kind of loop", word),
                         fmt::format("Choose from {}.", listed(lc::loopTypeNames(), "or")));
    }
    types.insert(*type);
  }
  return types;
}

LCKeyMatch keyMatchFor(const std::string& word) {
  if (word == "compatible") return LCKeyMatch::compatible;
  return word == "exact" ? LCKeyMatch::exact : LCKeyMatch::near;
}

template <typename Read>
auto read(const std::optional<std::string>& text, Read reader) -> std::optional<decltype(reader(*text))> {
  if (!text) return std::nullopt;
  return reader(*text);
}

}  // namespace

LCLoopQuery queryFor(const SearchFilters& filters) {
  return LCLoopQuery{.words = filters.words,
                     .inWholePath = filters.inPath,
                     .keywords = filters.keywords,
                     .genre = filters.genre,
                     .instrument = filters.instrument,
                     .tempo = read(filters.tempo, tempoFor),
                     .withHalfAndDoubleTempo = filters.halfAndDoubleTempo,
                     .key = read(filters.key, keyFor),
                     .keyMatch = keyMatchFor(filters.keyMatch),
                     .withKey = filters.withKey,
                     .scale = read(filters.scale, scaleFor),
                     .signature = read(filters.signature, signatureFor),
                     .loopTypes = loopTypesFor(filters.types),
                     .onlyFavorites = filters.onlyFavorites,
                     .minimumRating = filters.minimumRating,
                     .package = filters.crate,
                     .folder = read(filters.folder, absolutePath),
                     .name = filters.name};
}

std::vector<CLI::Option*> addSearchFilters(CLI::App& app, SearchFilters& filters) {
  std::vector<CLI::Option*> options;
  const auto add = [&options](CLI::Option* option) {
    options.push_back(option);
    return option;
  };
  add(addTexts(app, "-k,--keyword", filters.keywords, "Tagged with this keyword; repeatable, with all of them", "KW"));
  add(addText(app, "--genre", filters.genre, "Of this genre"));
  add(addText(app, "--instrument", filters.instrument, "Of this instrument or kind of instrument"));
  auto* tempo = add(addText(app, "--tempo", filters.tempo,
                            "Of this tempo in whole beats per minute: 120, 118-124 or 120~5%", "TEMPO"));
  add(app.add_flag("--half-double", filters.halfAndDoubleTempo, "Also at half and at double the tempo"))->needs(tempo);
  add(addText(app, "--key", filters.key, "In this key, in any octave, or without a key: Am, \"F# major\", Bb, C or 8A",
              "KEY"));
  add(addChoice(app, "--key-match", {"exact", "near", "compatible"},
                "exact: only this key; near: also two semitones up and down; compatible: also its fifths and its "
                "relative major or minor",
                [&filters](const std::string& word) { filters.keyMatch = word; }))
      ->default_str(filters.keyMatch);
  add(app.add_flag("--with-key", filters.withKey, "Leave out loops without a key"));
  add(addText(app, "--scale", filters.scale, "Of this scale: " + listed(lc::scaleNames(), "or"), "SCALE"));
  add(addText(app, "--signature", filters.signature, "In this time signature, such as 4/4, or without one", "N/N"));
  add(addTexts(app, "--type", filters.types,
               "Of this kind: " + listed(lc::loopTypeNames(), "or") + "; repeatable, any of them", "TYPE"));
  add(app.add_flag("--favorites", filters.onlyFavorites, "Marked as a favourite"));
  add(addNumber(app, "--min-rating", {1, 5}, "Rated N or better, from 1 to 5",
                [&filters](int64_t number) { filters.minimumRating = number; }));
  add(addText(app, "--crate", filters.crate, "Of this content package", "ID|NAME"));
  add(addText(app, "--folder", filters.folder, "Below this folder", "DIR"));
  add(addText(app, "--name", filters.name, "With this text in the file name"));
  add(app.add_flag("--in-path", filters.inPath,
                   "Words match the whole path, not only what lies below the folders that were indexed"));
  return options;
}
