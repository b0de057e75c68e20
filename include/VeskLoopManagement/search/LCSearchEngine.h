// LCSearchEngine answers searches over the loop database. One engine owns one connection (serialized mode) and is used
// by one thread at a time; it takes no lock. Set the search settings, call doSearch(), read rows by index. Results are
// a temporary table on the connection, so that counts, paging and the available keywords read that table and not the
// whole database. Failures are results: empty answers, 0, nullopt or kNotFound; opening and searching also log why.
// Use a variant: LCSearchEngineDesktop or LCSearchEngineMobile.
#pragma once

#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "VeskLoopManagement/database/LCConnection.h"
#include "VeskLoopManagement/database/LCDatabaseConfiguration.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"
#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/loudness/LCLoopLoudnessInfo.h"
#include "VeskLoopManagement/model/LCMetaInfo.h"
#include "VeskLoopManagement/platform/Text.h"
#include "VeskLoopManagement/platform/URL.h"
#include "VeskLoopManagement/search/LCSearchEngineFile.h"
#include "VeskLoopManagement/search/LCSearchRestrictions.h"
#include "VeskLoopManagement/search/SearchState.h"

class LCStatement;

namespace lc {
class AttachedDatabase;
}

// A loop of a family, with the values of its row.
struct LCLoopFamilyMember {
  std::optional<vesk::URL> url;  // nullopt when the row's text is no URL
  int64_t loopId = 0;
  bool isWebLoop = false;
  std::string fileName;
  int64_t vireoLoopType = 0;  // of the column that vireoLoopTypeColumnName() names
  bool operator==(const LCLoopFamilyMember&) const = default;
};

// A family of the current result, folded to its first row.
struct LCFoldedFamily {
  int64_t firstRow = 0;     // row index, from 0
  int64_t memberCount = 0;  // loops of the family in the result; 1 for a loop that stands alone
  bool operator==(const LCFoldedFamily&) const = default;
};

// Why a search failed: SQLite's result code and its words. The result is then empty or not to be trusted.
struct LCSearchFailure {
  int status = 0;
  std::string message;
  bool operator==(const LCSearchFailure&) const = default;
};

// Keyword → number of loops.
using LCKeywordCounts = std::map<std::string, int64_t, vesk::CodeUnitLess>;

class LC_EXPORT LCSearchEngine {
 public:
  static constexpr int64_t kNotFound = std::numeric_limits<int64_t>::max();  // no such row index

  virtual ~LCSearchEngine();
  LCSearchEngine(const LCSearchEngine&) = delete;
  LCSearchEngine& operator=(const LCSearchEngine&) = delete;

  // --- Opening and closing (LCSearchEngine.cpp) ---
  // Opening a damaged database deletes it, with every file beside it whose name begins with its name ("loops.db.backup"
  // too; folders stay), logs each name, and starts afresh. This tells whether it would, and changes nothing: for hosts
  // that want to put the file aside first. A file that is missing or cannot be opened at all is not damaged in this
  // sense.
  static bool databaseLooksDamaged(const LCDatabaseConfiguration& configuration);
  void closeDatabase();
  sqlite3* sqlite3Connection() const { return m_sqlite.get(); }  // borrowed
  static void setIndexFile(const std::optional<std::string>& path);
  const LCDatabaseConfiguration& databaseConfiguration() const { return m_databaseConfiguration; }
  bool databaseWasCorruptAndNeedsReindexing() const { return m_databaseWasCorruptAndNeedsReindexing; }
  void setDatabaseWasCorruptAndNeedsReindexing(bool value) { m_databaseWasCorruptAndNeedsReindexing = value; }
  int64_t indexFileSchemaVersion() const;                   // -1 without a connection
  std::optional<std::string> indexingAppIdentifer() const;  // spelled so
  bool isIndexFileVersionValid() const;

  // --- Settings (LCSearchEngineSettings.cpp). Setters of what is searched for raise the edited flag when the value
  // changed; sorting, cache size, table names, useMacOSSorting and useKestrelLoopTypes leave it alone. ---
  bool searchParameterEdited() const { return m_searchParameterEdited; }
  void setSearchParameterEdited(bool edited);  // only ever raises
  void resetSearchParameterEditFlag();
  const std::optional<std::string>& searchString() const { return m_settings.searchString; }
  void setSearchString(const std::optional<std::string>& value);
  const std::optional<std::string>& specialNameSearchString() const { return m_settings.specialNameSearchString; }
  void setSpecialNameSearchString(const std::optional<std::string>& value);
  const std::optional<std::string>& pathPrefix() const { return m_settings.pathPrefix; }
  void setPathPrefix(const std::optional<std::string>& value);
  const vesk::StringSet& searchKeywords() const { return m_settings.searchKeywords; }
  // "Favorites" and "FavoritesFX" turn on searchForFavorites; category names are dropped.
  void setSearchKeywords(const std::optional<vesk::StringSet>& keywords);
  void timeSignatureTop(int64_t* top, int64_t* andBottom) const;  // either may be null
  void setTimeSignatureTop(int64_t top, int64_t andBottom);
  int64_t keyType() const { return m_settings.keyType; }
  void setKeyType(int64_t value);  // 0 = any
  int64_t rootKey() const { return m_settings.rootKey; }
  void setRootKey(int64_t value);  // 60 (C) to 71 (B); below 60 = any
  bool filterForMoreRelevantResults() const { return m_settings.filterForMoreRelevantResults; }
  void setFilterForMoreRelevantResults(bool value);  // neighbouring keys pass too
  bool searchForFavorites() const { return m_settings.searchForFavorites; }
  void setSearchForFavorites(bool value);
  bool filterOutWebLoops() const { return m_settings.filterOutWebLoops; }
  void setFilterOutWebLoops(bool value);
  const std::optional<vesk::StringSet>& enabledCrateIdentifier() const { return m_settings.enabledCrateIdentifier; }
  void setEnabledCrateIdentifier(const std::optional<vesk::StringSet>& identifiers);
  const std::optional<std::set<int64_t>>& enabledLoopTypes() const { return m_settings.enabledLoopTypes; }
  void setEnabledLoopTypes(const std::optional<std::set<int64_t>>& types);
  const LCSearchRestrictions& restrictions() const { return m_settings.restrictions; }
  void setRestrictions(const LCSearchRestrictions& value);  // narrow doSearch() and what follows from its result
  bool useLocalizedSorting() const { return m_useLocalizedSorting; }
  void setUseLocalizedSorting(bool value);
  bool useMacOSSorting() const { return m_useMacOSSorting; }
  void setUseMacOSSorting(bool value) { m_useMacOSSorting = value; }
  bool useKestrelLoopTypes() const { return m_useKestrelLoopTypes; }
  void setUseKestrelLoopTypes(bool value) { m_useKestrelLoopTypes = value; }
  const std::optional<std::vector<LCSortDescriptor>>& sortDescriptors() const { return m_sorting.descriptors; }
  void setSortDescriptors(const std::optional<std::vector<LCSortDescriptor>>& value) { m_sorting.descriptors = value; }
  const std::string& sortingColumnName() const { return m_sorting.columnName; }
  // Of use when no sort descriptor is; a column of the result as in a descriptor, or "" for no order.
  void setSortingColumnName(const std::string& value) { m_sorting.columnName = value; }
  void setSortingColumnName(const std::string& value, bool ascending);
  bool sortingDirectionAscending() const { return m_sorting.isAscending; }
  void setSortingDirectionAscending(bool value) { m_sorting.isAscending = value; }
  // Each fill of the row cache walks over the rows before it: whoever reads a whole large result sets this to
  // thousands.
  uint64_t numberOfRowsInCache() const { return m_lengthOfRangeToBePrepared; }
  void setNumberOfRowsInCache(uint64_t value) { m_lengthOfRangeToBePrepared = value; }
  void setLoopsTablename(const std::string& value) { m_tables.loops = value; }
  void setTaggingTablename(const std::string& value) { m_tables.tagging = value; }
  void setCratesTablename(const std::string& value) { m_tables.crates = value; }
  void setCrateLoopRelationTablename(const std::string& value) { m_tables.crateLoopRelation = value; }
  void setMetaInfoRelationTablename(const std::string& value) { m_tables.metaInfoRelation = value; }
  void setKeywordCachingTablename(const std::string& value) { m_tables.keywordCaching = value; }
  void setLoopsKeywordsTablename(const std::string& value) { m_tables.loopsKeywords = value; }
  void reset();
  void resetCache();
  LCResultDictionary enabledCrates() const;
  LCResultDictionary allCrates() const;
  std::string vireoLoopTypeColumnName() const;

  // --- Filter (LCSearchEngineFilter.cpp) ---
  std::string generateFilterString();  // begins with one blank unless empty
  static std::string keyFilterStringForKey(int64_t key);
  // The pattern of a name inside file URLs, not yet quoted; `escapeString` (may be null) gets its ESCAPE clause.
  static std::optional<std::string> _convertToFileURLSearchString(const std::optional<std::string>& value,
                                                                  std::string* escapeString);

  // --- Searching and paging (LCSearchEngineSearch.cpp). Row indexes count from 0 in sort order. ---
  void doSearch();
  // Of the last search; nullopt when it succeeded, and before the first.
  const std::optional<LCSearchFailure>& lastSearchFailure() const { return m_lastSearchFailure; }
  void doSearch_Keywords();
  std::string sortingString() const;
  void prepareResultsForRange(int64_t location, uint64_t length);
  std::optional<LCCell> resultObjectForKey(const std::string& key, int64_t atIndex);
  std::unique_ptr<LCSearchEngineFile> fileAtIndex(int64_t index);
  const LCResultDictionary& searchResults() const { return m_page.columns; }
  void setSearchResults(LCResultDictionary results) { m_page.columns = std::move(results); }
  int64_t numberOfLoops() const;  // rows of the result
  std::vector<std::string> availableColumnKeys() const;
  int64_t rowNumberInCurrentSearchResultForLoopWithName(const std::string& fileName) const;
  int64_t rowIndexInCurrentSearchResultForLoopWithFileURLString(const std::string& fileURL) const;
  int64_t rowIndexInCurrentSearchResultForLoopId(int64_t loopId) const;

  // --- Available keywords (LCSearchEngineKeywords.cpp): what would still find something ---
  const vesk::StringSet& availableKeywords() const { return m_availableKeywords; }
  void setAvailableKeywords(const vesk::StringSet& keywords);       // adds the group keywords that have a member
  vesk::StringSet availableKeywordsOfType(int64_t category) const;  // of an LCKeywordCategory
  // The lists of a browser's columns: "Base" or "BaseFX" alone, then a sub-category such as "Genres", then, with a
  // keyword too, a drill-down: it adds the keyword to the search, sets the favourites flag and searches.
  // Sub-categories list what the loops carry that pass the filter, whatever keywords, favourites and restrictions are
  // set. nullopt for an unknown sub-category.
  std::optional<std::vector<std::string>> availableKeywordsForCategory(const std::string& category,
                                                                       const std::optional<std::string>& subCategory,
                                                                       const std::optional<std::string>& andKeyword);
  static constexpr int64_t kSearchTypeInstruments = 0;
  static constexpr int64_t kSearchTypeGenres = 1;
  static constexpr int64_t kSearchTypeDescriptors = 2;
  // What would find something if the choice within this type were dropped. Leaves the current search as it was, with
  // its result made anew and the edited flag cleared.
  vesk::StringSet availableKeywordsOfSearchType(int64_t searchType);
  // Each available keyword with the number of loops of the current result that carry it; a group keyword counts loops
  // that carry any member. Keywords from outside the taxonomy are counted too, once a loop of the result has them.
  LCKeywordCounts availableKeywordsWithCounts() const;
  // Of every keyword id in the range, both ends included; the tables' names are these prefixes with the id behind.
  void copyCachingTablesFromKeywordId(int64_t first, int64_t toKeywordId, const std::string& fromTable,
                                      const std::string& intoTable);
  void refreshKeywordsCache();  // makes the database's extra keywords known to the taxonomy of this process

  // --- Loop families (LCSearchEngineFamilies.cpp): variants of one name with numbers behind it ---
  static std::optional<std::string> familyNameForLoopName(const std::string& loopName);  // nullopt without numbers
  static bool shouldShowFamilyForLoopName(const std::string& loopName);
  // In the order of the database. `key` is a root key as for setRootKey().
  std::vector<LCLoopFamilyMember> findLoopFamilyForNameFilter(const std::string& nameFilter, int64_t andKey) const;
  // By file name; the name is taken as it is. Without numbers at its end it is the beginning of its family's names.
  // Names are compared with URLs, in which only blanks are expected to be encoded: a loop whose name has other letters
  // than those of ASCII finds its family by its id.
  std::vector<LCLoopFamilyMember> loopFamilyForName(const std::string& loopName, int64_t andKey) const;
  // nullopt when the loop is unknown (or 0) and there is no file name to go by.
  std::optional<std::vector<LCLoopFamilyMember>> loopFamilyForLoopId(int64_t loopId,
                                                                     const std::optional<std::string>& fileName,
                                                                     int64_t key) const;

  // The whole current result, each family folded to one entry, in the order of their first rows. Of one family are the
  // loops whose file names, as their URLs have them, are equal without extension and variant number, ignoring case; a
  // name that is nothing but a number, and a row whose text is no URL, stands alone. A loop that is in the result
  // twice counts once. Empty without a result, and when it cannot be read.
  std::vector<LCFoldedFamily> foldedFamilies() const;

  // --- Lookups (LCSearchEngineLookups.cpp). The search settings have no say here. ---
  std::map<std::string, std::string> resultDictForLoopId(int64_t loopId) const;  // column → text; empty when unknown
  std::map<std::string, std::string> resultDictForFilename(const std::string& name) const;
  std::unique_ptr<LCSearchEngineFile> fileForLoopId(int64_t loopId) const;  // null when unknown
  std::optional<vesk::URL> fileURLForLoopId(int64_t loopId) const;
  int64_t loopIdForFileURL(const vesk::URL& url) const;  // 0 when not found
  int64_t loopIdForFilepath(const std::string& path) const;
  bool isFileIndexed(const vesk::URL& url) const;
  std::set<int64_t> loopIdsForName(const std::string& name) const;  // whose URL holds the name
  // The loop of exactly this name, tempo and key as stored; else one whose name holds it. nullopt when there is none.
  std::optional<std::string> findPathForLoopname(const std::optional<std::string>& loopName, int32_t tempo,
                                                 int32_t rootNote) const;
  vesk::StringSet keywordsForLoopId(int64_t loopId) const;
  vesk::StringSet keywordsForURL(const vesk::URL& url) const;

  // --- The user's marks, and counts (LCSearchEngineUserData.cpp). URLs are texts as stored. ---
  // A mark that is not given is written as no favourite, 0 or "": whoever changes one mark reads the others first and
  // gives all three. False when the loop is unknown or the database refuses.
  [[nodiscard]] bool setUserDataForURL(const std::string& fileURL, std::optional<bool> isFavorite,
                                       std::optional<int64_t> rating, const std::optional<std::string>& userComment);
  // `row` is a lookup's result: its "id", and its marks for those that are not given.
  [[nodiscard]] bool setUserDataDict(const LCResultDictionary& row, std::optional<bool> isFavorite,
                                     std::optional<int64_t> rating, const std::optional<std::string>& userComment);
  [[nodiscard]] bool setIsFavorite(bool isFavorite, int64_t forLoopId);  // raises the edited flag
  [[nodiscard]] bool setIsFavorite(bool isFavorite, const std::string& forURL);
  [[nodiscard]] bool setRating(int64_t rating, const std::string& forURL);
  [[nodiscard]] bool setComment(const std::string& comment, const std::string& forURL);
  int64_t totalNumberOfLoops() const;
  int64_t numberOfFavoritesForTable(const std::string& tableName) const;
  int64_t numberOfFavoritesInResults() const;

  // --- Loudness and meta infos (LCSearchEngineLoudness.cpp) ---
  // The factory database's answer, else the loop database's, else the file's own; nullopt when none has one.
  std::optional<LCLoopLoudnessInfo> findLoudnessInfoForLoopId(int64_t loopId, const vesk::URL& andFileURL) const;
  std::optional<LCLoopLoudnessInfo> findLoudnessInfoForURL(const vesk::URL& url) const;
  [[nodiscard]] bool saveLoadnessInfo(const LCLoopLoudnessInfo& info, const std::string& forFileName,  // spelled so
                                      int64_t andLoopId);
  std::vector<LCMetaInfo> findMetaInfosForLoopId(int64_t loopId) const;
  std::vector<LCMetaInfo> instrumentKeywordsForLoopId(int64_t loopId) const;
  [[nodiscard]] bool saveMetaInfos(std::span<const LCMetaInfo> metaInfos, int64_t forLoopId);

  // --- How a loop is shown (LCSearchEngineDisplay.cpp) ---
  static std::string localizedNameForFile(const LCSearchEngineFile& file);
  // "drums-kick", or "drums" for a loop without sub-type; nullopt for one without instrument.
  std::optional<std::string> iconNameForFile(const LCSearchEngineFile& file) const;
  static std::optional<std::string> iconNameForInstrumentSubType(const std::string& subType);  // types have icons, too
  // The number by which older hosts know an icon: the keyword id of what it shows. False, leaving `iconID` (may be
  // null) alone, for an unknown icon.
  static bool kestrelLegacyIconIdForIconName(const std::string& iconName, int64_t* iconID);

  // --- Repairs of loops whose files lack something (LCSearchEngineRepairs.cpp); hosts call them ---
  void fixTopperKeyword();
  void fixTrackStackInfo();
  static const vesk::StringSet& fileNamesWithMissingTrackInfo();
  static bool isTrackStackLoopWithMissingInfo(const std::optional<std::string>& fileName);

  // --- Import of a second database, and all tables anew (LCSearchEngineImport.cpp) ---
  // Copies the rows of the database at `path` into this one, once for each identifier: true at once when that was
  // imported before. Rows that are here already stay as they are. With a placeholder, the URL of every loop that the
  // database holds becomes the placeholder with the last component of the URL behind it. Whether the copying was
  // committed, not whether every table was copied: loops go by the position of their columns, and not at all while one
  // of the tables lacks the column for transcripts. A file without write permission is copied to the temporary folder
  // first and left as it is; any other gets the columns that it lacks. Two imports must not run at once.
  [[nodiscard]] bool importDatabaseFile(const std::optional<std::string>& path,
                                        const std::string& forDatabaseIdentifier,
                                        const std::optional<std::string>& changeFileLocationWithPlaceholder);
  void dropAndCreateAllTables();  // those of loops; marks and what is noted of the database stay

 protected:
  explicit LCSearchEngine(const LCDatabaseConfiguration& configuration);
  bool setupWithDatabaseFile();  // opens, recovers, makes missing tables; false when the file cannot be opened
  void setupWithConnection(LCConnection connection);
  LCSQLiteUtilities utilities() const { return LCSQLiteUtilities(m_sqlite.get()); }
  const std::string& loopsTablename() const { return m_tables.loops; }
  std::string formattedWithLoopsTable(std::string_view format) const;  // the loops table's name in every "%@"

  // What a variant supplies.
  virtual std::string createLoopsResultTableFormatString() const = 0;  // "%@" twice: "TEMPORARY" and the table's name
  virtual std::string selectBaseString() const = 0;                    // ends in a blank
  virtual std::vector<std::string> columnKeysToQuery() const = 0;      // read into the row cache
  virtual std::string textSearchCollate() const = 0;
  virtual std::string textSearchLikeFunction() const = 0;
  virtual std::optional<vesk::StringSet> instrumentsKeywordsToPresent() const = 0;

 private:
  template <typename T>
  void assignSetting(T& stored, const T& value) {
    setSearchParameterEdited(!(stored == value));
    stored = value;
  }
  bool openDatabase();
  void completeSetup();
  void deleteDamagedDatabase();

  bool importAttached(const lc::AttachedDatabase& source, const std::string& identifier,
                      const std::optional<std::string>& placeholder);

  std::vector<std::string> keywordCachingTablesRarestFirst();
  std::string keywordSubSelect();
  std::string searchCondition();
  std::string searchStatement(std::string_view restrictions);  // a condition, or ""
  void runForSearch(LCStatement statement);                    // what fails is noted
  void noteSearchFailure();
  std::string orderClause() const;

  std::vector<std::string> keywordsOfDrillDown(const std::string& category, const std::string& subCategory,
                                               const std::string& keyword);
  std::optional<std::vector<std::string>> keywordsOfSubCategory(const std::string& category,
                                                                const std::string& subCategory);
  void searchUnnoticed(const vesk::StringSet& keywords);  // leaves the edited flag cleared
  std::string selectKeywords() const;

  LCDatabaseConfiguration m_databaseConfiguration;
  LCConnection m_sqlite;
  bool m_databaseWasCorruptAndNeedsReindexing = false;
  lc::SearchSettings m_settings;
  lc::SortSettings m_sorting;
  lc::TableNames m_tables;
  bool m_searchParameterEdited = true;
  bool m_useLocalizedSorting = false;
  bool m_useMacOSSorting = false;
  bool m_useKestrelLoopTypes = false;
  std::optional<LCSearchFailure> m_lastSearchFailure;
  vesk::StringSet m_availableKeywords;
  lc::ResultPage m_page;
  uint64_t m_lengthOfRangeToBePrepared = 10;
};
