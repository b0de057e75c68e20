// The keyword taxonomy, process-wide, and the keywords in a loop file's path.
// Every class operation builds the tables on first use, once and thread-safely. Class operations may run on any threads
// at once, learning and looking up among them; lookups never wait. What a reference leads to never changes.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/model/LCLocalizedKeyword.h"
#include "VeskLoopManagement/platform/Text.h"
#include "VeskLoopManagement/platform/URL.h"

// What the keywords table stores in "categoryId". 0 means unknown.
enum LCKeywordCategory : int32_t {
  kCategoryGenre = 1,
  kCategoryDescriptor = 2,
  kCategoryInstrumentTypeWithSubTypes = 3,
  kCategoryInstrumentType = 4,
  kCategoryInstrumentSubType = 5,
};

// A group keyword stands for several keywords in the browser. It has no id in the taxonomy; databases give it one.
struct LCKeywordGroup {
  std::string name;
  LCKeywordCategory category;
  vesk::StringSet members;
};

namespace lc {

// A keyword met outside the dictionary.
struct LearnedKeyword {
  int64_t keywordId = 0;
  int64_t categoryId = 0;
  std::string name;
};

}  // namespace lc

inline constexpr int64_t kExtraKeywordsEndIndex = 1017;  // the last built-in keyword id

class LC_EXPORT LCKeywordHelper {
 public:
  static std::optional<std::string> keywordForKeywordId(int64_t keywordId);
  static int64_t keywordIdForKeyword(const std::optional<std::string>& keyword);  // exact; 0 when unknown or nullopt
  static int32_t keywordCategoryForKeyword(std::string_view keyword);             // 0 when unknown
  // Registers a keyword met outside the dictionary. Ignored when the id is below 1 or the keyword is nullopt.
  static void setKeywordId(int64_t keywordId, int64_t categoryId, const std::optional<std::string>& keyword);
  // The same for many, in one step that costs as much as one by itself; those with an id below 1 are passed over.
  static void learnKeywords(std::span<const lc::LearnedKeyword> keywords);
  // The loops-table column that holds the keyword's id; nullopt for "Acoustic", "Electric" and unknown keywords.
  static std::optional<std::string> columnNameForKeyword(std::string_view keyword);
  static const vesk::StringSet& allKeywords();
  static std::optional<std::string> parentKeywordForKeyword(std::string_view keyword);
  static std::optional<std::vector<std::string>> subKeywordsForKeyword(std::string_view keyword);
  static const std::vector<LCKeywordGroup>& keywordGroups();
  static vesk::StringSet keywordsForCategory(int32_t category);
  static const std::vector<std::pair<std::string, std::string>>& descriptorPairs();
  // One for each given text, in order; texts that are no keyword of the taxonomy give the empty one.
  static std::vector<LCLocalizedKeyword> localizedKeywordsForKeywords(std::span<const std::string> keywords);
  static vesk::StringSet extractTagsFromFileURL(const vesk::URL& url);
  // Development aid: numbers all keywords from 1 and writes them as a property list to `path`. False when it cannot.
  static bool createKeywordFile(const std::string& path);
  static void loadSearchKeyTranslation();
  // Replaces the search-key translation by `xml`, a property list of strings to strings or arrays of strings; ""
  // empties it. For hosts with words of their own and for tests.
  static void setSearchKeyTranslation(std::string_view xml);

  // An instance holds the tags found in one path.
  explicit LCKeywordHelper(const vesk::URL& url);  // initWithFileURL:
  vesk::StringSet extractKeywordsFromFileURL(const vesk::URL& url);
  static vesk::StringSet parsePathComponent(std::string_view component, char separator);
  static vesk::StringSet examineWord(std::string_view word);
  static vesk::StringSet normalizeWord(std::string_view word);
  static std::string stripTrailingDigits(std::string_view word);

  std::optional<vesk::StringSet> descriptors;
  std::optional<std::string> instrumentTypeTag;
  std::optional<std::string> instrumentSubTypeTag;
  std::optional<std::string> genreTag;
};
