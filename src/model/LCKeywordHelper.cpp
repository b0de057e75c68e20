#include "VeskLoopManagement/model/LCKeywordHelper.h"

#include "model/LCKeywordTables.h"
#include "platform/Path.h"
#include "VeskLoopManagement/platform/PropertyList.h"

namespace {

template <typename Map, typename Key>
const typename Map::mapped_type* find(const Map& map, const Key& key) {
  const auto found = map.find(key);
  return found == map.end() ? nullptr : &found->second;
}

template <typename Map, typename Key>
std::optional<typename Map::mapped_type> copyOf(const Map& map, const Key& key) {
  const auto* found = find(map, key);
  return found ? std::optional(*found) : std::nullopt;
}

// What was learned for `key` in the map `learned`, else what the tables say in `builtIn`.
template <typename Map, typename Key>
std::optional<typename Map::mapped_type> known(Map LCLearnedKeywords::*learned, Map LCKeywordTables::*builtIn,
                                               const Key& key) {
  auto found = LCLearnedKeywords::shared().read(
      [&](const LCLearnedKeywords& keywords) { return copyOf(keywords.*learned, key); });
  return found ? std::move(found) : copyOf(LCKeywordTables::shared().*builtIn, key);
}

struct DescriptorColumn {
  std::string_view first;
  std::string_view second;
  const char* name;
};

// "Acoustic" and "Electric" have a column, too, but are not found by it; the pair is missing here on purpose.
constexpr DescriptorColumn kDescriptorColumns[] = {
    {"Single", "Ensemble", "singleEnsembleKeywordId"},
    {"Part", "Fill", "partFillKeywordId"},
    {"Dry", "Processed", "dryProcessedKeywordId"},
    {"Clean", "Distorted", "cleanDistortedKeywordId"},
    {"Cheerful", "Dark", "cheerfulDarkKeywordId"},
    {"Relaxed", "Intense", "relaxedIntenseKeywordId"},
    {"Grooving", "Arrhythmic", "groovingArrhythmicKeywordId"},
    {"Melodic", "Dissonant", "melodicDissonantKeywordId"},
};

std::optional<std::string> descriptorColumnName(std::string_view keyword) {
  for (const DescriptorColumn& column : kDescriptorColumns) {
    if (keyword == column.first || keyword == column.second) return column.name;
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> LCKeywordHelper::keywordForKeywordId(int64_t keywordId) {
  return known(&LCLearnedKeywords::keywordOfId, &LCKeywordTables::keywordOfId, keywordId);
}

int64_t LCKeywordHelper::keywordIdForKeyword(const std::optional<std::string>& keyword) {
  if (!keyword) return 0;
  return known(&LCLearnedKeywords::idOfKeyword, &LCKeywordTables::idOfKeyword, *keyword).value_or(0);
}

int32_t LCKeywordHelper::keywordCategoryForKeyword(std::string_view keyword) {
  const auto category = known(&LCLearnedKeywords::categoryOfKeyword, &LCKeywordTables::categoryOfKeyword, keyword);
  return static_cast<int32_t>(category.value_or(0));
}

void LCKeywordHelper::setKeywordId(int64_t keywordId, int64_t categoryId, const std::optional<std::string>& keyword) {
  if (!keyword) return;
  const lc::LearnedKeyword learned{.keywordId = keywordId, .categoryId = categoryId, .name = *keyword};
  learnKeywords(std::span(&learned, 1));
}

// Most keywords of a database are known already: then nothing is replaced.
void LCKeywordHelper::learnKeywords(std::span<const lc::LearnedKeyword> keywords) {
  LCLearnedKeywords::shared().replace([&](const LCLearnedKeywords& known) {
    std::optional<LCLearnedKeywords> changed;
    for (const lc::LearnedKeyword& keyword : keywords) {
      if (keyword.keywordId < 1 || (changed ? *changed : known).knows(keyword)) continue;
      if (!changed) changed = known;
      changed->learn(keyword);
    }
    return changed;
  });
}

std::optional<std::string> LCKeywordHelper::columnNameForKeyword(std::string_view keyword) {
  switch (keywordCategoryForKeyword(keyword)) {
    case kCategoryGenre:
      return "genreId";
    case kCategoryDescriptor:
      return descriptorColumnName(keyword);
    case kCategoryInstrumentTypeWithSubTypes:
    case kCategoryInstrumentType:
      return "instrumentTypeId";
    case kCategoryInstrumentSubType:
      return "instrumentSubTypeId";
    default:
      return std::nullopt;
  }
}

const vesk::StringSet& LCKeywordHelper::allKeywords() {
  return LCKeywordTables::shared().allKeywords;
}

std::optional<std::string> LCKeywordHelper::parentKeywordForKeyword(std::string_view keyword) {
  return copyOf(LCKeywordTables::shared().parentOfSubKeyword, keyword);
}

std::optional<std::vector<std::string>> LCKeywordHelper::subKeywordsForKeyword(std::string_view keyword) {
  const vesk::StringSet* subKeywords = find(LCKeywordTables::shared().subKeywordsOfParent, keyword);
  if (!subKeywords) return std::nullopt;
  return std::vector<std::string>(subKeywords->begin(), subKeywords->end());
}

const std::vector<LCKeywordGroup>& LCKeywordHelper::keywordGroups() {
  return builtInKeywordGroups();
}

vesk::StringSet LCKeywordHelper::keywordsForCategory(int32_t category) {
  const auto& builtIn = LCKeywordTables::shared().categoryOfKeyword;
  return LCLearnedKeywords::shared().read([&](const LCLearnedKeywords& learned) {
    vesk::StringSet keywords;
    for (const auto& [keyword, categoryId] : learned.categoryOfKeyword) {
      if (static_cast<int32_t>(categoryId) == category) keywords.insert(keyword);
    }
    for (const auto& [keyword, categoryId] : builtIn) {
      if (categoryId == category && !learned.categoryOfKeyword.contains(keyword)) keywords.insert(keyword);
    }
    return keywords;
  });
}

const std::vector<std::pair<std::string, std::string>>& LCKeywordHelper::descriptorPairs() {
  return LCKeywordTables::shared().descriptorPairs;
}

std::vector<LCLocalizedKeyword> LCKeywordHelper::localizedKeywordsForKeywords(std::span<const std::string> keywords) {
  std::vector<LCLocalizedKeyword> localized;
  localized.reserve(keywords.size());
  for (const std::string& keyword : keywords) {
    localized.emplace_back(allKeywords().contains(keyword) ? keyword : std::string());
  }
  return localized;
}

bool LCKeywordHelper::createKeywordFile(const std::string& path) {
  vesk::Dictionary entries;
  int64_t number = 0;
  for (const std::string& keyword : allKeywords()) {
    const int64_t category = keywordCategoryForKeyword(keyword);
    entries[std::to_string(++number)] = vesk::Dictionary{{"name", keyword}, {"category", category}};
  }
  return vesk::path::writeFileAtomically(path, vesk::xmlPropertyList(std::move(entries)));
}

void LCKeywordHelper::loadSearchKeyTranslation() {
  setSearchKeyTranslation(LCSearchKeyTranslation::builtIn());
}

void LCKeywordHelper::setSearchKeyTranslation(std::string_view xml) {
  LCSearchKeyTranslation::shared().replace(
      [xml](const LCSearchKeyTranslation&) { return std::optional(LCSearchKeyTranslation(xml)); });
}
