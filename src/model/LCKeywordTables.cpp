#include "model/LCKeywordTables.h"

#include "VeskLoopManagement/resources/LCCompiledResources.h"

namespace {

constexpr size_t kMaximumTranslationLength = 29;

// The strings of a list; what is no list has none.
std::vector<std::string> stringsIn(const vesk::Value& value) {
  std::vector<std::string> strings;
  const vesk::Array* members = value.array();
  if (!members) return strings;
  for (const vesk::Value& member : *members) {
    if (const std::string* text = member.string()) strings.push_back(*text);
  }
  return strings;
}

std::string foldedTranslationKey(std::string_view key) {
  return vesk::text::asciiLowercase(key.substr(0, kMaximumTranslationLength));
}

}  // namespace

// "Harmonica" is brass here, and "Vocals" and "Texture/Atmosphere" are effects; both are meant so.
const std::vector<LCKeywordGroup>& builtInKeywordGroups() {
  static const vesk::StringSet effects = {
      "Ambience",          "People",    "Transportation", "Weapons", "Explosions", "Animals", "Impacts & Crashes",
      "Sports & Leisure",  "Mech/Tech", "Work/Home",      "Misc.",   "Foley",      "Sci-Fi",  "Vocals",
      "Texture/Atmosphere"};
  static const vesk::StringSet allEffects = [] {
    vesk::StringSet members = effects;
    members.insert({"Mixed", "Motions & Transitions"});
    return members;
  }();
  static const std::vector<LCKeywordGroup> groups = {
      {"Brass", kCategoryInstrumentTypeWithSubTypes, {"Trumpet", "Trombone", "French Horn", "Tuba", "Harmonica"}},
      {"Woodwind",
       kCategoryInstrumentTypeWithSubTypes,
       {"Saxophone", "Flute", "Oboe", "Recorder", "Clarinet", "Pan Flute", "Bassoon", "Bagpipe"}},
      {"All Effects", kCategoryInstrumentTypeWithSubTypes, allEffects},
      {"Effects", kCategoryInstrumentTypeWithSubTypes, effects},
      {"Boom", kCategoryInstrumentTypeWithSubTypes, {"Impacts & Crashes", "Explosions"}},
      {"House", kCategoryGenre, {"Deep House", "Tech House", "Electro House"}},
      {"Hip Hop/RnB", kCategoryGenre, {"Hip Hop", "Modern RnB", "Urban"}},
  };
  return groups;
}

const LCKeywordTables& LCKeywordTables::shared() {
  static const LCKeywordTables tables;
  return tables;
}

LCKeywordTables::LCKeywordTables() {
  addIds(LCCompiledResources::KeywordIDsPlist());
  const vesk::Value dictionary = LCCompiledResources::KeywordDictionaryPlist();
  addDescriptors(vesk::valueForKey(dictionary.dictionary(), "Descriptors"));
  addGenres(vesk::valueForKey(dictionary.dictionary(), "Genres"));
  addInstrumentTypes(vesk::valueForKey(dictionary.dictionary(), "Instrument Types"));
  addGroupKeywords();
  for (const std::string& keyword : allKeywords) keywordOfLowercase.emplace(vesk::text::lowercase(keyword), keyword);
}

void LCKeywordTables::addKeyword(const std::string& keyword, int64_t category) {
  categoryOfKeyword[keyword] = category;
  allKeywords.insert(keyword);
}

// The "category" of an entry is for readers of the list; categories come from the dictionary.
void LCKeywordTables::addIds(const vesk::Value& entries) {
  if (!entries.dictionary()) return;
  for (const auto& [key, entry] : *entries.dictionary()) {
    const vesk::Value nameValue = vesk::valueForKey(entry.dictionary(), "name");
    const std::string* name = nameValue.string();
    if (!name) continue;
    const int64_t keywordId = vesk::text::integerValue(key);
    idOfKeyword[*name] = keywordId;
    keywordOfId[keywordId] = *name;
  }
}

void LCKeywordTables::addDescriptors(const vesk::Value& pairs) {
  for (const std::string& pair : stringsIn(pairs)) {
    const std::vector<std::string> words = vesk::text::split(pair, '/');
    if (words.size() != 2) continue;
    descriptorPairs.emplace_back(words[0], words[1]);
    for (const std::string& word : words) addKeyword(word, kCategoryDescriptor);
  }
}

void LCKeywordTables::addGenres(const vesk::Value& genres) {
  for (const std::string& genre : stringsIn(genres)) addKeyword(genre, kCategoryGenre);
}

void LCKeywordTables::addInstrumentTypes(const vesk::Value& types) {
  if (!types.dictionary()) return;
  for (const auto& [type, subTypes] : *types.dictionary()) {
    addKeyword(type, subTypes.string() ? kCategoryInstrumentType : kCategoryInstrumentTypeWithSubTypes);
    for (const std::string& subType : stringsIn(subTypes)) {
      addKeyword(subType, kCategoryInstrumentSubType);
      parentOfSubKeyword[subType] = type;
      subKeywordsOfParent[type].insert(subType);
    }
  }
}

// Their members keep the parents they have.
void LCKeywordTables::addGroupKeywords() {
  for (const LCKeywordGroup& group : builtInKeywordGroups()) {
    addKeyword(group.name, group.category);
    subKeywordsOfParent[group.name] = group.members;
  }
}

// --- Learned keywords

lc::Snapshot<LCLearnedKeywords>& LCLearnedKeywords::shared() {
  static lc::Snapshot<LCLearnedKeywords> keywords{{}};
  return keywords;
}

bool LCLearnedKeywords::knows(const lc::LearnedKeyword& keyword) const {
  const LCKeywordTables& tables = LCKeywordTables::shared();
  const auto says = [](const auto& learned, const auto& builtIn, const auto& key, const auto& value) {
    const auto found = learned.find(key);
    if (found != learned.end()) return found->second == value;
    const auto entry = builtIn.find(key);
    return entry != builtIn.end() && entry->second == value;
  };
  return says(idOfKeyword, tables.idOfKeyword, keyword.name, keyword.keywordId) &&
         says(keywordOfId, tables.keywordOfId, keyword.keywordId, keyword.name) &&
         says(categoryOfKeyword, tables.categoryOfKeyword, keyword.name, keyword.categoryId);
}

void LCLearnedKeywords::learn(const lc::LearnedKeyword& keyword) {
  idOfKeyword[keyword.name] = keyword.keywordId;
  keywordOfId[keyword.keywordId] = keyword.name;
  categoryOfKeyword[keyword.name] = keyword.categoryId;
}

// --- Search-key translation

lc::Snapshot<LCSearchKeyTranslation>& LCSearchKeyTranslation::shared() {
  static lc::Snapshot<LCSearchKeyTranslation> translation{LCSearchKeyTranslation(builtIn())};
  return translation;
}

std::string LCSearchKeyTranslation::builtIn() {
  const std::vector<std::byte> bytes = lc::scrambledResource(LCCompiledResources::additionalDataDat());
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

LCSearchKeyTranslation::LCSearchKeyTranslation(std::string_view xml) {
  const vesk::Value list = vesk::valueFromXMLPropertyList(xml);
  if (!list.dictionary()) return;
  for (const auto& [key, value] : *list.dictionary()) {
    if (const std::string* translation = value.string()) add(key, *translation);
    for (const std::string& translation : stringsIn(value)) add(key, translation);
  }
}

void LCSearchKeyTranslation::add(std::string_view key, std::string_view translation) {
  if (!vesk::text::isASCII(key) || !vesk::text::isASCII(translation)) return;
  m_translations.emplace(foldedTranslationKey(key), translation.substr(0, kMaximumTranslationLength));
}

std::vector<std::string> LCSearchKeyTranslation::translationsOf(std::string_view word) const {
  std::vector<std::string> translations;
  const auto [first, last] = m_translations.equal_range(foldedTranslationKey(word));
  for (auto entry = first; entry != last; ++entry) translations.push_back(entry->second);
  return translations;
}
