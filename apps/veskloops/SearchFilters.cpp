#include "SearchFilters.h"

#include "Arguments.h"
#include "Failure.h"
#include "KeyNames.h"
#include "LoopArguments.h"
#include "Similarity.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"
#include "VeskLoopManagement/platform/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace {

// Keywords that are not in the taxonomy have this category.
constexpr int64_t kCategoryUnknown = 0;

std::string choices(const std::vector<std::string>& words) {
  return fmt::format("{}", fmt::join(words, ", "));
}

// --- Tempo ---

// Beats per minute, not rounded yet; both ends are included.
struct TempoSpan {
  double lowest = 0;
  double highest = 0;
};

// Digits with at most one point among them: no sign, no exponent, nothing around them.
std::optional<double> tempoNumber(std::string_view text) {
  const bool isPlain = !text.empty() && text.find_first_not_of("0123456789.") == std::string_view::npos;
  double number = 0;
  const char* end = text.data() + text.size();
  if (!isPlain) return std::nullopt;
  const auto [rest, error] = std::from_chars(text.data(), end, number, std::chars_format::fixed);
  if (error != std::errc{} || rest != end) return std::nullopt;
  return number;
}

// "118-124", "120~5%" or "120".
std::optional<TempoSpan> tempoSpan(std::string_view text) {
  const size_t separator = text.find_first_of("-~");
  const auto first = tempoNumber(text.substr(0, separator));
  if (!first) return std::nullopt;
  if (separator == std::string_view::npos) return TempoSpan{*first, *first};
  const bool isPercentage = text[separator] == '~';
  std::string_view second = text.substr(separator + 1);
  if (isPercentage) {
    if (!second.ends_with('%')) return std::nullopt;
    second.remove_suffix(1);
  }
  const auto number = tempoNumber(second);
  if (!number) return std::nullopt;
  if (!isPercentage) return TempoSpan{*first, *number};
  const double distance = *first * *number / 100;
  return TempoSpan{*first - distance, *first + distance};
}

// As the database stores tempos: whole beats per minute, halves rounded up.
int64_t storedTempo(double beatsPerMinute) {
  constexpr double kHighest = std::numeric_limits<int32_t>::max();
  return std::llround(std::clamp(beatsPerMinute, 0.0, kHighest));
}

std::vector<TempoRange> tempoRanges(const SearchFilters& filters) {
  if (!filters.tempo) return {};
  const auto span = tempoSpan(*filters.tempo);
  if (!span || span->highest <= 0 || span->lowest > span->highest) {
    throw usageFailure(fmt::format("\"{}\" is no tempo", *filters.tempo),
                       "Tempos look like 120, 118-124 or 120~5%, the lower one first.");
  }
  std::vector<double> factors = {1};
  if (filters.halfAndDoubleTempo) factors = {1, 0.5, 2};
  std::vector<TempoRange> ranges;
  ranges.reserve(factors.size());
  for (const double factor : factors) {
    ranges.push_back({storedTempo(span->lowest * factor), storedTempo(span->highest * factor)});
  }
  return ranges;
}

// --- Settings ---

class SearchSettings {
 public:
  SearchSettings(LCSearchEngine& engine, LoopRows& rows, const SearchFilters& filters)
      : m_engine(engine), m_rows(rows), m_filters(filters) {}

  // Puts the filters that the engine knows into it. False when no loop can match, whatever the engine would answer.
  bool apply();

 private:
  void applyTexts();
  void applyKey();
  void applySignature();
  void applyTypes();
  bool applyKeywords();
  KeywordRow requiredKeyword(const std::string& word, std::vector<int64_t> categories, std::string_view what);

  LCSearchEngine& m_engine;
  LoopRows& m_rows;
  const SearchFilters& m_filters;
};

bool SearchSettings::apply() {
  applyTexts();
  applyKey();
  applySignature();
  applyTypes();
  m_engine.setSearchForFavorites(m_filters.onlyFavorites);
  if (m_filters.crate)
    m_engine.setEnabledCrateIdentifier(vesk::StringSet{requiredCrate(m_rows, *m_filters.crate).identifier});
  return applyKeywords();
}

void SearchSettings::applyTexts() {
  if (!m_filters.words.empty()) m_engine.setSearchString(fmt::format("{}", fmt::join(m_filters.words, " ")));
  if (m_filters.name) m_engine.setSpecialNameSearchString(m_filters.name);
  if (m_filters.folder) m_engine.setPathPrefix(absolutePath(*m_filters.folder));
}

void SearchSettings::applyKey() {
  std::optional<int64_t> scale;
  if (m_filters.key) {
    const auto choice = keyForWord(*m_filters.key);
    if (!choice) throw usageFailure(fmt::format("\"{}\" is no key", *m_filters.key), "Keys look like C, F#, Bb or Am.");
    m_engine.setRootKey(engineRootKey(choice->note));
    m_engine.setFilterForMoreRelevantResults(m_filters.keyMatch == "near");
    scale = choice->scale;
  }
  if (m_filters.scale) {
    const auto named = scaleForWord(*m_filters.scale);
    if (!named)
      throw usageFailure(fmt::format("\"{}\" is no scale", *m_filters.scale),
                         fmt::format("One of {}.", choices(scaleWords())));
    if (scale && *scale != *named) throw usageFailure("--key and --scale name different scales");
    scale = named;
  }
  if (scale) m_engine.setKeyType(*scale);
}

void SearchSettings::applySignature() {
  if (!m_filters.signature) return;
  const std::string& text = *m_filters.signature;
  int64_t top = 0;
  int64_t bottom = 0;
  const char* end = text.data() + text.size();
  const auto [slash, topError] = std::from_chars(text.data(), end, top);
  const bool hasTop = topError == std::errc{} && slash != end && *slash == '/' && top > 0;
  const auto [rest, bottomError] = std::from_chars(hasTop ? slash + 1 : end, end, bottom);
  if (!hasTop || bottomError != std::errc{} || rest != end || bottom < 1) {
    throw usageFailure(fmt::format("\"{}\" is no time signature", text), "Signatures look like 4/4.");
  }
  m_engine.setTimeSignatureTop(top, bottom);
}

void SearchSettings::applyTypes() {
  std::set<int64_t> types;
  for (const auto& word : m_filters.types) {
    const auto type = loopTypeForWord(word);
    if (!type)
      throw usageFailure(fmt::format("\"{}\" is no loop type", word),
                         fmt::format("One of {}.", choices(loopTypeWords())));
    types.insert(*type);
  }
  if (!types.empty()) m_engine.setEnabledLoopTypes(types);
}

// The engine takes keywords that no loop has for no keywords at all and finds everything; people mean the opposite.
bool SearchSettings::applyKeywords() {
  std::vector<KeywordRow> found;
  for (const auto& word : m_filters.keywords) found.push_back(requiredKeyword(word, {}, "keyword"));
  if (m_filters.genre) {
    found.push_back(requiredKeyword(*m_filters.genre, {kCategoryGenre, kCategoryUnknown}, "genre"));
  }
  if (m_filters.instrument) {
    found.push_back(requiredKeyword(
        *m_filters.instrument,
        {kCategoryInstrumentTypeWithSubTypes, kCategoryInstrumentType, kCategoryInstrumentSubType, kCategoryUnknown},
        "instrument"));
  }
  vesk::StringSet names;
  bool canMatch = true;
  for (const auto& keyword : found) {
    names.insert(keyword.name);
    canMatch = canMatch && keyword.loopCount > 0;
  }
  m_engine.setSearchKeywords(names);
  return canMatch;
}

KeywordRow SearchSettings::requiredKeyword(const std::string& word, std::vector<int64_t> categories,
                                           std::string_view what) {
  const auto known = m_rows.keywords(categories);
  const KeywordRow* found = nullptr;
  for (const auto& keyword : known) {
    if (keyword.name == word) return keyword;
    if (found == nullptr && vesk::text::equalIgnoringCase(keyword.name, word)) found = &keyword;
  }
  if (found != nullptr) return *found;
  SimilarNames similar(word);
  for (const auto& keyword : known) similar.consider(keyword.name);
  throw Failure{.code = kExitNotFound,
                .kind = "notFound",
                .message = fmt::format("no such {}", what),
                .subject = word,
                .suggestions = similar.best()};
}

}  // namespace

std::vector<CLI::Option*> addSearchFilters(CLI::App& app, SearchFilters& filters) {
  std::vector<CLI::Option*> options;
  const auto add = [&options](CLI::Option* option) {
    options.push_back(option);
    return option;
  };
  add(addTexts(app, "-k,--keyword", filters.keywords, "Tagged with this keyword; repeated: with all of them", "KW"));
  add(addText(app, "--genre", filters.genre, "Of this genre"));
  add(addText(app, "--instrument", filters.instrument, "Of this instrument or kind of instrument"));
  auto* tempo = add(addText(app, "--tempo", filters.tempo,
                            "Of this tempo: 120, 118-124 or 120~5%, compared in whole beats per minute", "TEMPO"));
  add(app.add_flag("--half-double", filters.halfAndDoubleTempo, "Also of half and of double the tempo"))->needs(tempo);
  add(addText(app, "--key", filters.key, "In this key (Am, F#, C) or without one", "KEY"));
  add(app.add_option("--key-match", filters.keyMatch, "Only this key, or also two semitones up and down"))
      ->type_name("WORD")
      ->check(CLI::IsMember({"exact", "near"}))
      ->capture_default_str();
  add(addText(app, "--scale", filters.scale, "Scale: " + choices(scaleWords()), "SCALE"));
  add(addText(app, "--signature", filters.signature, "In this time signature (4/4) or without one", "N/N"));
  add(addTexts(app, "--type", filters.types, "Kind of loop: " + choices(loopTypeWords()) + "; repeated: any of them",
               "TYPE"));
  add(app.add_flag("--favorites", filters.onlyFavorites, "Marked as favourite"));
  add(app.add_option("--min-rating", filters.minimumRating, "Rated with N or better"))
      ->type_name("N")
      ->check(CLI::Range(int64_t{1}, int64_t{5}));
  add(addText(app, "--crate", filters.crate, "Of this content package", "ID|NAME"));
  add(addText(app, "--folder", filters.folder, "Below this folder", "DIR"));
  add(addText(app, "--name", filters.name, "With this text in the file name"));
  return options;
}

int64_t searchWithFilters(LCSearchEngine& engine, LoopRows& rows, const SearchFilters& filters) {
  const ResultCondition condition{.tempos = tempoRanges(filters), .minimumRating = filters.minimumRating};
  if (!SearchSettings(engine, rows, filters).apply()) return 0;
  engine.refreshKeywordsCache();
  engine.doSearch();
  if (condition.isRestricting()) {
    rows.narrowResult(condition);
    engine.doSearch_Keywords();
    engine.resetCache();
  }
  return engine.numberOfLoops();
}
