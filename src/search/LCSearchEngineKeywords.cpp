// The keywords that would still find something: of the current result, of the whole database by category, with counts.
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCStatement.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"

#include <algorithm>
#include <unordered_map>

namespace {

// --- Lists of the browser ---

const std::vector<std::string> kBaseList = {"All", "Genres", "Moods", "Instruments", "Favorites"};
const std::vector<std::string> kBaseFXList = {"All Effects", "Mixed", "Motions & Transitions", "Effects",
                                              "FavoritesFX"};

// What a drill-down among the effects may show, by sub-category.
const std::map<std::string, vesk::StringSet>& effectsDrillDowns() {
  static const vesk::StringSet genres = {"Cinematic/New Age", "Country/Folk", "Electronic/Dance", "Jazz", "Orchestral",
                                         "Rock/Blues",        "Urban",        "World/Ethnic"};
  static const vesk::StringSet effects = {
      "Boom",    "Vocals",           "Texture/Atmosphere", "Ambience",  "People", "Transportation", "Impacts & Crashes",
      "Animals", "Sports & Leisure", "Mech/Tech",          "Work/Home", "Foley",  "Sci-Fi"};
  static const std::map<std::string, vesk::StringSet> lists = [] {
    vesk::StringSet all = {"All Effects", "Motions & Transitions"};
    all.insert(genres.begin(), genres.end());
    all.insert(effects.begin(), effects.end());
    vesk::StringSet mixed = genres;
    mixed.insert("All Effects");
    vesk::StringSet onlyEffects = effects;
    onlyEffects.insert("All Effects");
    return std::map<std::string, vesk::StringSet>{
        {"All Effects", all}, {"FavoritesFX", all}, {"Mixed", mixed}, {"Effects", onlyEffects}};
  }();
  return lists;
}

vesk::StringSet intersection(const vesk::StringSet& keywords, const vesk::StringSet& with) {
  vesk::StringSet common;
  for (const std::string& keyword : keywords) {
    if (with.contains(keyword)) common.insert(keyword);
  }
  return common;
}

// --- Keywords by category ---

// Formatted twice: first with the tagging table, three times, and the package join; then with the loops table and the
// categories.
constexpr std::string_view kSelectKeywordsOfCategory =
    "SELECT DISTINCT Keywords.name AS name FROM %%@ JOIN %@ ON %%@.id = %@.loopId JOIN Keywords ON Keywords.id = "
    R"(%@.keywordId %@ WHERE  Keywords.name != "" AND Keywords.categoryId = %%@ )";
constexpr std::string_view kSelectInstruments =
    "SELECT DISTINCT Keywords.name AS name FROM %%@ JOIN %@ ON %%@.id = %@.loopId JOIN Keywords ON Keywords.id = "
    R"(%@.keywordId %@ WHERE  Keywords.name != "" AND (Keywords.categoryId = %%@ OR Keywords.categoryId = %%@ OR )"
    "Keywords.categoryId = %%@)";
constexpr std::string_view kSelectAllKeywords =
    "SELECT DISTINCT Keywords.name AS name FROM %%@ JOIN %@ ON %%@.id = %@.loopId JOIN Keywords ON Keywords.id = "
    R"(%@.keywordId %@ WHERE  Keywords.name != "")";
constexpr std::string_view kSelectKeywordsOfFavorites =
    "SELECT DISTINCT Keywords.name AS name FROM %%@ JOIN %@ ON %%@.id = %@.loopId JOIN Keywords ON Keywords.id = "
    R"(%@.keywordId JOIN UserData ON UserData.loopId = %%@.id %@ WHERE  Keywords.name != "" AND )"
    "UserData.isFavorite=1";

struct CategoryQuery {
  std::string_view statement;
  std::vector<int32_t> categories;
  size_t loopsTables = 2;  // how often the statement names it
};

std::optional<CategoryQuery> queryForSubCategory(const std::string& subCategory) {
  if (subCategory == "Moods") return CategoryQuery{kSelectKeywordsOfCategory, {kCategoryDescriptor}};
  if (subCategory == "Genres") return CategoryQuery{kSelectKeywordsOfCategory, {kCategoryGenre}};
  if (subCategory == "Instrument Types") {
    return CategoryQuery{kSelectKeywordsOfCategory, {kCategoryInstrumentTypeWithSubTypes}};
  }
  if (subCategory == "Instruments") {
    return CategoryQuery{kSelectInstruments,
                         {kCategoryInstrumentTypeWithSubTypes, kCategoryInstrumentType, kCategoryInstrumentSubType}};
  }
  if (subCategory == "All") return CategoryQuery{kSelectAllKeywords, {}};
  if (subCategory == "Favorites") return CategoryQuery{kSelectKeywordsOfFavorites, {}, 3};
  return std::nullopt;
}

// --- Search types ---

bool isOfSearchType(const std::string& keyword, int64_t searchType) {
  const int32_t category = LCKeywordHelper::keywordCategoryForKeyword(keyword);
  switch (searchType) {
    case LCSearchEngine::kSearchTypeGenres:
      return category == kCategoryGenre;
    case LCSearchEngine::kSearchTypeDescriptors:
      return category == kCategoryDescriptor;
    case LCSearchEngine::kSearchTypeInstruments:
      return category >= kCategoryInstrumentTypeWithSubTypes;
    default:
      return false;
  }
}

// --- Counts ---

// Both give the tags of one loop in a row.
constexpr std::string_view kSelectTagsOfResult =
    "SELECT loopId, keywordId FROM %@ WHERE loopId IN (SELECT id FROM tempTable)";
constexpr std::string_view kSelectAllTags = "SELECT loopId, keywordId FROM %@ ORDER BY loopId";

// Finding one loop's tags takes as long as reading this many tags in the order of the index.
constexpr int64_t kTagsReadInTheTimeOfASearch = 15;

// Counts loops by keyword from their tags, fed loop by loop.
class KeywordCounter {
 public:
  explicit KeywordCounter(sqlite3* connection) {
    LCStatement keywords(connection, "SELECT id, name FROM Keywords WHERE name != ''");
    while (keywords.step()) addKeyword(keywords.int64At(0), keywords.textAt(1));
    m_knowsKeywords = keywords.succeeded();
  }

  bool knowsKeywords() const { return m_knowsKeywords; }  // else their reading failed

  void addTag(int64_t loopId, int64_t keywordId) {
    const auto found = m_talliesOfKeyword.find(keywordId);
    if (found == m_talliesOfKeyword.end()) return;
    for (Tally* tally : found->second) {
      if (tally->count > 0 && tally->lastLoop == loopId) continue;  // by another member of the group
      tally->lastLoop = loopId;
      ++tally->count;
    }
  }

  // Those that some loop has, and those of `available`.
  LCKeywordCounts counts(const vesk::StringSet& available) const {
    LCKeywordCounts counts;
    for (const std::string& keyword : available) counts[keyword] = 0;
    for (const auto& [keyword, tally] : m_tallies) {
      if (tally.count > 0) counts[keyword] = tally.count;
    }
    return counts;
  }

 private:
  struct Tally {
    int64_t count = 0;
    int64_t lastLoop = 0;  // counted last
  };

  // A tag counts for its keyword and for the groups in which that is a member.
  void addKeyword(int64_t keywordId, const std::string& name) {
    std::vector<Tally*>& tallies = m_talliesOfKeyword[keywordId];
    tallies.push_back(&m_tallies[name]);
    for (const LCKeywordGroup& group : LCKeywordHelper::keywordGroups()) {
      if (group.members.contains(name)) tallies.push_back(&m_tallies[group.name]);
    }
  }

  bool m_knowsKeywords = false;
  std::map<std::string, Tally> m_tallies;  // by keyword
  std::unordered_map<int64_t, std::vector<Tally*>> m_talliesOfKeyword;
};

// Both answer whether every tag could be read.
bool countTagsOfResult(sqlite3* connection, const std::string& taggingTable, KeywordCounter& counter) {
  LCStatement tags(connection, lc::sqlFormat(kSelectTagsOfResult, {taggingTable}));
  while (tags.step()) counter.addTag(tags.int64At(0), tags.int64At(1));
  return tags.succeeded();
}

// For results that are a good part of the whole database: reads every tag there is, and passes over those of other
// loops.
bool countAmongAllTags(sqlite3* connection, const std::string& taggingTable, KeywordCounter& counter) {
  std::vector<int64_t> result;
  LCStatement ids(connection, "SELECT id FROM tempTable");
  while (ids.step()) result.push_back(ids.int64At(0));
  if (!ids.succeeded()) return false;
  std::sort(result.begin(), result.end());

  LCStatement tags(connection, lc::sqlFormat(kSelectAllTags, {taggingTable}));
  auto next = result.begin();
  while (tags.step()) {
    const int64_t loopId = tags.int64At(0);
    while (next != result.end() && *next < loopId) ++next;
    if (next == result.end()) return true;
    if (*next == loopId) counter.addTag(loopId, tags.int64At(1));
  }
  return tags.succeeded();
}

}  // namespace

void LCSearchEngine::setAvailableKeywords(const vesk::StringSet& keywords) {
  vesk::StringSet available = keywords;
  for (const LCKeywordGroup& group : LCKeywordHelper::keywordGroups()) {
    const bool hasMember = std::any_of(group.members.begin(), group.members.end(),
                                       [&](const std::string& member) { return keywords.contains(member); });
    if (hasMember) available.insert(group.name);
  }
  available.erase("");
  m_availableKeywords = std::move(available);
}

vesk::StringSet LCSearchEngine::availableKeywordsOfType(int64_t category) const {
  vesk::StringSet keywords;
  for (const std::string& keyword : m_availableKeywords) {
    // The low 16 bits are the category; hosts may keep flags above them.
    const auto ofKeyword = static_cast<uint16_t>(LCKeywordHelper::keywordCategoryForKeyword(keyword));
    if (ofKeyword == category) keywords.insert(keyword);
  }
  return keywords;
}

std::optional<std::vector<std::string>> LCSearchEngine::availableKeywordsForCategory(
    const std::string& category, const std::optional<std::string>& subCategory,
    const std::optional<std::string>& andKeyword) {
  if (andKeyword) return keywordsOfDrillDown(category, subCategory.value_or(""), *andKeyword);
  if (subCategory) return keywordsOfSubCategory(category, *subCategory);
  if (category == "Base") return kBaseList;
  if (category == "BaseFX") return kBaseFXList;
  return std::nullopt;
}

// Follows the whole current search, which it narrows.
std::vector<std::string> LCSearchEngine::keywordsOfDrillDown(const std::string& category,
                                                             const std::string& subCategory,
                                                             const std::string& keyword) {
  vesk::StringSet keywords = m_settings.searchKeywords;
  keywords.insert(keyword);
  setSearchKeywords(keywords);
  setSearchForFavorites(subCategory == "Favorites" || subCategory == "FavoritesFX");
  doSearch();

  vesk::StringSet available = m_availableKeywords;
  if (category == "BaseFX") {
    const auto list = effectsDrillDowns().find(subCategory);
    if (list != effectsDrillDowns().end()) available = intersection(available, list->second);
    if (!available.empty()) available.insert("All Effects");
  }
  return {available.begin(), available.end()};
}

// Follows the filter alone, over all loops.
std::optional<std::vector<std::string>> LCSearchEngine::keywordsOfSubCategory(const std::string& category,
                                                                              const std::string& subCategory) {
  const std::optional<CategoryQuery> query = queryForSubCategory(subCategory);
  if (!query) return std::nullopt;
  std::string packageJoin;
  if (m_settings.isLimitedToCrates()) {
    packageJoin = lc::sqlFormat(" JOIN %@ ON %@.loopId = %@.id ",
                                {m_tables.crateLoopRelation, m_tables.crateLoopRelation, m_tables.loops});
  }
  std::vector<std::string> arguments(query->loopsTables, m_tables.loops);
  for (const int32_t id : query->categories) arguments.push_back(std::to_string(id));
  std::string statement = lc::sqlFormat(
      lc::sqlFormat(query->statement, {m_tables.tagging, m_tables.tagging, m_tables.tagging, packageJoin}),
      std::span<const std::string>(arguments));
  if (const std::string filter = generateFilterString(); !filter.empty()) {
    statement += lc::sqlFormat(" AND %@", {filter});
  }

  LCResultDictionary result;
  utilities().executeStatementWithKeywordsReturnValue(statement, &result);
  std::vector<std::string> keywords;
  for (const LCCell& name : result["name"]) keywords.push_back(lc::cellText(name));
  if (category == "Base") {
    std::erase(keywords, "All Effects");
    std::erase(keywords, "Effects");
  }
  const std::optional<vesk::StringSet> presented = instrumentsKeywordsToPresent();
  if (subCategory == "Instruments" && presented && !presented->empty()) {
    std::erase_if(keywords, [&](const std::string& keyword) { return !presented->contains(keyword); });
  }
  return keywords;
}

vesk::StringSet LCSearchEngine::availableKeywordsOfSearchType(int64_t searchType) {
  const vesk::StringSet saved = m_settings.searchKeywords;
  vesk::StringSet ofOtherTypes;
  for (const std::string& keyword : saved) {
    if (!isOfSearchType(keyword, searchType)) ofOtherTypes.insert(keyword);
  }
  searchUnnoticed(ofOtherTypes);

  vesk::StringSet found;
  for (const std::string& keyword : m_availableKeywords) {
    if (isOfSearchType(keyword, searchType)) found.insert(keyword);
  }
  const std::optional<vesk::StringSet> presented = instrumentsKeywordsToPresent();
  if (searchType == kSearchTypeInstruments && presented && !presented->empty()) {
    found = intersection(found, *presented);
  }
  searchUnnoticed(saved);
  return found;
}

void LCSearchEngine::searchUnnoticed(const vesk::StringSet& keywords) {
  setSearchKeywords(keywords);
  resetSearchParameterEditFlag();
  doSearch();
}

LCKeywordCounts LCSearchEngine::availableKeywordsWithCounts() const {
  KeywordCounter counter(m_sqlite.get());
  const int64_t tagCount =
      utilities()
          .firstIntegerOfStatement(lc::sqlFormat("SELECT max(rowid) AS last FROM %@", {m_tables.tagging}), "last")
          .value_or(0);
  const auto countTags =
      tagCount / kTagsReadInTheTimeOfASearch < numberOfLoops() ? countAmongAllTags : countTagsOfResult;
  const bool isComplete = counter.knowsKeywords() && countTags(m_sqlite.get(), m_tables.tagging, counter);
  return isComplete ? counter.counts(m_availableKeywords) : LCKeywordCounts();
}

void LCSearchEngine::copyCachingTablesFromKeywordId(int64_t first, int64_t toKeywordId, const std::string& fromTable,
                                                    const std::string& intoTable) {
  LCSQLiteUtilities sqlite = utilities();
  for (int64_t id = first; id <= toKeywordId; ++id) {
    const std::string idText = std::to_string(id);
    sqlite.executeStatementWithNoReturnValue(
        lc::sqlFormat("CREATE TABLE IF NOT EXISTS %@%@ (loopId INTEGER PRIMARY KEY);", {intoTable, idText}));
    sqlite.executeStatementWithNoReturnValue(lc::sqlFormat(
        "INSERT OR IGNORE INTO %@%@ (loopId) SELECT loopId FROM %@%@", {intoTable, idText, fromTable, idText}));
    if (id == toKeywordId) return;  // the last id there is has none behind it
  }
}

void LCSearchEngine::refreshKeywordsCache() {
  LCStatement keywords(m_sqlite.get(), "SELECT id, name, categoryId FROM Keywords WHERE id >= 1000 AND id < 10000;");
  std::vector<lc::LearnedKeyword> learned;
  while (keywords.step()) {
    const std::string name = keywords.textAt(1);
    if (!name.empty()) learned.push_back({keywords.int64At(0), keywords.int64At(2), name});
  }
  if (keywords.succeeded()) LCKeywordHelper::learnKeywords(learned);
}
