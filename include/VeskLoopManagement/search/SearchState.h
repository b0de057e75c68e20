// What an LCSearchEngine keeps between two calls, as plain values: what is searched for, in which order, in which
// tables, and the rows of the result that are held in memory. Each begins as a new engine has it.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"
#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/platform/Text.h"
#include "VeskLoopManagement/search/LCSearchRestrictions.h"

// A column of the result and its direction; or random order, which stands alone.
struct LCSortDescriptor {
  enum class By {
    column,
    keywordName,  // the name of the keyword whose id, or else text, the row has; loops without one come last
    rating,       // of the user; the column has no say, and loops that were never rated have 0
  };
  std::string key;  // a column of the result in either variant; other keys are dropped
  bool ascending = true;
  bool isRandom = false;  // then the others have no say
  By by = By::column;
  static LCSortDescriptor random() { return {.key = "", .ascending = true, .isRandom = true}; }
  bool operator==(const LCSortDescriptor&) const = default;
};

namespace lc {

struct SearchSettings {
  std::optional<std::string> searchString;
  std::optional<std::string> specialNameSearchString;
  std::optional<std::string> pathPrefix;
  vesk::StringSet searchKeywords;
  int64_t timeSignatureTop = -1;
  int64_t timeSignatureBottom = -1;
  int64_t keyType = 0;
  int64_t rootKey = 0;
  bool filterForMoreRelevantResults = true;
  bool searchForFavorites = false;
  bool filterOutWebLoops = false;
  std::optional<vesk::StringSet> enabledCrateIdentifier;
  std::optional<std::set<int64_t>> enabledLoopTypes = std::set<int64_t>();
  LCSearchRestrictions restrictions;

  bool isLimitedToCrates() const { return enabledCrateIdentifier && !enabledCrateIdentifier->empty(); }
};

struct SortSettings {
  std::optional<std::vector<LCSortDescriptor>> descriptors;
  std::string columnName = "fileName";  // where no descriptor is of use; "" for no order
  bool isAscending = true;
};

struct TableNames {
  std::string loops{kDefaultLoopsTablename};
  std::string tagging{kDefaultTaggingTablename};
  std::string crates{kDefaultCratesTableName};
  std::string crateLoopRelation{kDefaultCrateLoopRelationTablename};
  std::string metaInfoRelation{kDefaultMetaInfoRelationTablename};
  std::string keywordCaching = "tagging_cache_";  // one for each keyword, its id behind
  std::string loopsKeywords{kDefaultLoopsKeywordsTablename};
};

// Neighbouring rows of the result, an array for each column. Row indexes count from 0.
struct LC_EXPORT ResultPage {
  int64_t firstRow = std::numeric_limits<int64_t>::max();  // none
  uint64_t rowCount = 0;                                   // asked for; the result may end before
  LCResultDictionary columns;

  bool covers(int64_t row) const { return row >= firstRow && static_cast<uint64_t>(row - firstRow) < rowCount; }
  // nullopt for a column that was not read and for a row that is not held.
  std::optional<LCCell> cell(const std::string& column, int64_t row) const;
};

}  // namespace lc
