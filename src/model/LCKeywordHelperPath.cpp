// The half of LCKeywordHelper that reads keywords out of paths.
#include "model/LCKeywordTables.h"
#include "platform/Path.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"

namespace {

constexpr std::string_view kDigits = "0123456789";
constexpr char kSeparators[] = {' ', '-', '_'};
constexpr size_t kMinimumComponentLength = 3;  // in UTF-16 units, as is the next
constexpr size_t kMinimumPartLength = 2;

std::string_view withoutOuterDigits(std::string_view word) {
  const size_t first = word.find_first_not_of(kDigits);
  if (first == std::string_view::npos) return {};
  return word.substr(first, word.find_last_not_of(kDigits) - first + 1);
}

// The keyword as the taxonomy writes it; null when `word` is none in any letter case.
const std::string* keywordFor(const LCKeywordTables& tables, const std::string& word) {
  const auto exact = tables.allKeywords.find(word);
  if (exact != tables.allKeywords.end()) return &*exact;
  const auto folded = tables.keywordOfLowercase.find(vesk::text::lowercase(word));
  return folded == tables.keywordOfLowercase.end() ? nullptr : &folded->second;
}

// Finds keywords with one translation from the first word of a path to the last.
struct Reader {
  const LCSearchKeyTranslation& translation;

  void addTranslated(const std::string& candidate, vesk::StringSet& words) const;
  vesk::StringSet normalized(std::string_view word) const;
  vesk::StringSet examined(std::string_view word) const;
  vesk::StringSet parsed(std::string_view component, char separator) const;
  vesk::StringSet keywordsInPath(const std::string& path) const;
};

void Reader::addTranslated(const std::string& candidate, vesk::StringSet& words) const {
  if (candidate.empty()) return;
  const std::vector<std::string> translations = translation.translationsOf(candidate);
  if (translations.empty()) words.insert(candidate);
  words.insert(translations.begin(), translations.end());
}

vesk::StringSet Reader::normalized(std::string_view word) const {
  vesk::StringSet words;
  addTranslated(LCKeywordHelper::stripTrailingDigits(word), words);
  if (word.find_first_of(kDigits) != std::string_view::npos) {
    addTranslated(vesk::text::trimmed(withoutOuterDigits(word)), words);
  }
  return words;
}

vesk::StringSet Reader::examined(std::string_view word) const {
  const LCKeywordTables& tables = LCKeywordTables::shared();
  vesk::StringSet keywords;
  for (const std::string& candidate : normalized(word)) {
    const std::string* keyword = keywordFor(tables, candidate);
    if (!keyword) continue;
    keywords.insert(*keyword);
    const auto parent = tables.parentOfSubKeyword.find(*keyword);
    if (parent != tables.parentOfSubKeyword.end()) keywords.insert(parent->second);
  }
  return keywords;
}

vesk::StringSet Reader::parsed(std::string_view component, char separator) const {
  const std::vector<std::string> parts = vesk::text::split(component, separator);
  vesk::StringSet keywords;
  if (parts.size() < 2) return keywords;
  for (const std::string& part : parts) {
    if (vesk::text::utf16Length(part) >= kMinimumPartLength) keywords.merge(examined(part));
  }
  for (size_t second = 1; second < parts.size(); ++second) {
    keywords.merge(examined(parts[second - 1] + " " + parts[second]));
  }
  return keywords;
}

vesk::StringSet Reader::keywordsInPath(const std::string& path) const {
  vesk::StringSet keywords;
  for (const std::string& component : vesk::path::components(vesk::path::deletingExtension(path))) {
    if (vesk::text::utf16Length(component) < kMinimumComponentLength) continue;
    keywords.merge(examined(component));
    for (const char separator : kSeparators) keywords.merge(parsed(component, separator));
  }
  return keywords;
}

template <typename Find>
vesk::StringSet withTranslation(Find find) {
  return LCSearchKeyTranslation::shared().read(
      [&find](const LCSearchKeyTranslation& translation) { return find(Reader{translation}); });
}

}  // namespace

// Whatever follows the last digit goes with the number, so "Snare 12 x" is "Snare".
std::string LCKeywordHelper::stripTrailingDigits(std::string_view word) {
  const std::string unchanged(word);
  const size_t lastDigit = word.find_last_of(kDigits);
  if (lastDigit == std::string_view::npos) return unchanged;
  const size_t beforeNumber = word.find_last_not_of(kDigits, lastDigit);
  if (beforeNumber == std::string_view::npos || word[beforeNumber] != ' ') return unchanged;
  const size_t end = word.find_last_not_of(' ', beforeNumber);
  return end == std::string_view::npos ? unchanged : std::string(word.substr(0, end + 1));
}

vesk::StringSet LCKeywordHelper::normalizeWord(std::string_view word) {
  return withTranslation([word](const Reader& reader) { return reader.normalized(word); });
}

vesk::StringSet LCKeywordHelper::examineWord(std::string_view word) {
  return withTranslation([word](const Reader& reader) { return reader.examined(word); });
}

vesk::StringSet LCKeywordHelper::parsePathComponent(std::string_view component, char separator) {
  return withTranslation([component, separator](const Reader& reader) { return reader.parsed(component, separator); });
}

vesk::StringSet LCKeywordHelper::extractTagsFromFileURL(const vesk::URL& url) {
  return withTranslation([&url](const Reader& reader) { return reader.keywordsInPath(url.path()); });
}

LCKeywordHelper::LCKeywordHelper(const vesk::URL& url) {
  extractKeywordsFromFileURL(url);
}

// Of several keywords of one kind, the last in the set's order stays; a sub-type brings its own instrument type with
// it, so that "Synth Bass" is a synthetic bass and not a keyboard.
vesk::StringSet LCKeywordHelper::extractKeywordsFromFileURL(const vesk::URL& url) {
  vesk::StringSet keywords = extractTagsFromFileURL(url);
  std::optional<std::string> typeOfSubType;
  for (const std::string& keyword : keywords) {
    switch (keywordCategoryForKeyword(keyword)) {
      case kCategoryGenre:
        genreTag = keyword;
        break;
      case kCategoryDescriptor:
        if (!descriptors) descriptors.emplace();
        descriptors->insert(keyword);
        break;
      case kCategoryInstrumentTypeWithSubTypes:
      case kCategoryInstrumentType:
        instrumentTypeTag = keyword;
        break;
      case kCategoryInstrumentSubType:
        instrumentSubTypeTag = keyword;
        typeOfSubType = parentKeywordForKeyword(keyword);
        break;
      default:
        break;
    }
  }
  if (typeOfSubType) instrumentTypeTag = typeOfSubType;
  return keywords;
}
