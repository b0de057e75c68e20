// The search settings and what is derived from them.
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include "VeskLoopManagement/database/LCDatabaseSchema.h"

void LCSearchEngine::setSearchParameterEdited(bool edited) {
  if (edited) m_searchParameterEdited = true;
}

void LCSearchEngine::resetSearchParameterEditFlag() {
  m_searchParameterEdited = false;
}

void LCSearchEngine::setSearchString(const std::optional<std::string>& value) {
  assignSetting(m_settings.searchString, value);
}

void LCSearchEngine::setSpecialNameSearchString(const std::optional<std::string>& value) {
  assignSetting(m_settings.specialNameSearchString, value);
}

void LCSearchEngine::setPathPrefix(const std::optional<std::string>& value) {
  assignSetting(m_settings.pathPrefix, value);
}

void LCSearchEngine::setSearchKeywords(const std::optional<vesk::StringSet>& keywords) {
  // Compared with what is stored, which is the reduced set: asking for "Favorites" again counts as a change.
  setSearchParameterEdited(!keywords || *keywords != m_settings.searchKeywords);
  vesk::StringSet reduced = keywords.value_or(vesk::StringSet());
  if (reduced.erase("FavoritesFX") > 0) {
    reduced.insert("All Effects");
    setSearchForFavorites(true);
  }
  if (reduced.erase("Favorites") > 0) setSearchForFavorites(true);
  for (const char* category : {"Moods", "Genres", "Instruments", "Instrument Types", "All"}) reduced.erase(category);
  m_settings.searchKeywords = std::move(reduced);
}

void LCSearchEngine::timeSignatureTop(int64_t* top, int64_t* andBottom) const {
  if (top) *top = m_settings.timeSignatureTop;
  if (andBottom) *andBottom = m_settings.timeSignatureBottom;
}

void LCSearchEngine::setTimeSignatureTop(int64_t top, int64_t andBottom) {
  assignSetting(m_settings.timeSignatureTop, top);
  assignSetting(m_settings.timeSignatureBottom, andBottom);
}

void LCSearchEngine::setKeyType(int64_t value) {
  assignSetting(m_settings.keyType, value);
}

void LCSearchEngine::setRootKey(int64_t value) {
  assignSetting(m_settings.rootKey, value);
}

void LCSearchEngine::setFilterForMoreRelevantResults(bool value) {
  assignSetting(m_settings.filterForMoreRelevantResults, value);
}

void LCSearchEngine::setSearchForFavorites(bool value) {
  assignSetting(m_settings.searchForFavorites, value);
}

void LCSearchEngine::setFilterOutWebLoops(bool value) {
  assignSetting(m_settings.filterOutWebLoops, value);
}

void LCSearchEngine::setEnabledCrateIdentifier(const std::optional<vesk::StringSet>& identifiers) {
  assignSetting(m_settings.enabledCrateIdentifier, identifiers);
}

void LCSearchEngine::setEnabledLoopTypes(const std::optional<std::set<int64_t>>& types) {
  assignSetting(m_settings.enabledLoopTypes, types);
}

void LCSearchEngine::setRestrictions(const LCSearchRestrictions& value) {
  assignSetting(m_settings.restrictions, value);
}

void LCSearchEngine::setUseLocalizedSorting(bool value) {
  assignSetting(m_useLocalizedSorting, value);
}

void LCSearchEngine::setSortingColumnName(const std::string& value, bool ascending) {
  setSortingColumnName(value);
  setSortingDirectionAscending(ascending);
}

void LCSearchEngine::reset() {
  setPathPrefix(std::nullopt);
  setSearchString(std::nullopt);
  setSearchKeywords(std::nullopt);
  setSearchForFavorites(false);
  setRestrictions({});
  resetCache();
}

void LCSearchEngine::resetCache() {
  m_page = {};
}

LCResultDictionary LCSearchEngine::enabledCrates() const {
  LCResultDictionary result;
  if (!m_settings.isLimitedToCrates()) return result;
  std::string statement = "SELECT * FROM Crates WHERE  ";
  bool isFirst = true;
  for (const std::string& identifier : *m_settings.enabledCrateIdentifier) {
    statement += lc::sqlFormat(isFirst ? R"(identifier = "%@")" : R"(OR identifier = "%@")",
                               {lc::sqlDoubleQuoteEscaped(identifier)});
    isFirst = false;
  }
  utilities().executeStatementWithCrateReturnValue(statement, &result);
  return result;
}

LCResultDictionary LCSearchEngine::allCrates() const {
  LCResultDictionary result;
  utilities().executeStatementWithCrateReturnValue("SELECT * FROM Crates ORDER BY crateName ASC", &result);
  return result;
}

std::string LCSearchEngine::vireoLoopTypeColumnName() const {
  return std::string(m_useKestrelLoopTypes ? kLoopsKSLoopTypeColumn : kLoopsDefaultLoopTypeColumn);
}
