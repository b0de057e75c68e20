// The settings as one SQL condition over the loops table. Keyword membership, favourites and restrictions are added by
// the search itself.
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include "VeskLoopManagement/database/LCDatabaseSchema.h"

namespace {

constexpr int64_t kLowestRootKey = 60;

// The open interval of stored keys that pass. When low is not below high it wraps around the octave 48…59.
struct KeyBounds {
  int64_t low;
  int64_t high;
  bool wraps() const { return low >= high; }
};

// Root key R is stored as R - 12. Its two neighbours on either side pass too.
KeyBounds neighbouringKeys(int64_t rootKey) {
  return {.low = rootKey < 62 ? rootKey - 3 : rootKey - 15, .high = rootKey < 70 ? rootKey - 9 : rootKey - 21};
}

KeyBounds exactKey(int64_t rootKey) {
  return {.low = rootKey - 13, .high = rootKey - 11};
}

std::string keyCondition(const KeyBounds& bounds, std::string_view ifWithin, std::string_view ifWrapping) {
  return lc::sqlFormat(bounds.wraps() ? ifWrapping : ifWithin,
                       {std::to_string(bounds.high), std::to_string(bounds.low)});
}

bool isSet(const std::optional<std::string>& setting) {
  return setting && !setting->empty();
}

// Every word must occur in the file name; two blanks in a row give an empty word, which occurs in every name.
std::string fileNameCondition(std::string_view likeFunction, const std::string& searchString) {
  const std::vector<std::string> words = vesk::text::split(searchString, ' ');
  const auto condition = [&](std::string_view format, const std::string& word) {
    return lc::sqlFormat(format, {likeFunction, lc::sqlDoubleQuoteEscaped(word)});
  };
  if (words.size() == 1) return condition(R"((%@("%%%@%%", fileName)))", searchString);
  std::string text = condition(R"(((%@("%%%@%%", fileName)))", words.front());
  for (size_t index = 1; index < words.size(); ++index) {
    text += condition(R"( AND (%@("%%%@%%", fileName)))", words[index]);
  }
  return text + ")";
}

std::string loopTypesClause(const std::string& column, const std::set<int64_t>& types) {
  std::string list;
  for (const int64_t type : types) list += (list.empty() ? "" : ",") + std::to_string(type);
  return lc::sqlFormat("(%@ IN (%@))", {column, list});
}

std::string keyClause(const KeyBounds& bounds) {
  return keyCondition(bounds, "((key < %@ AND key > %@) OR key = 0 OR key = -1)",
                      "((key < %@ OR key > %@) OR key = 0  OR key = -1)");
}

// Names the relation table by its default name, whatever table name is set.
std::string cratesClause(const vesk::StringSet& identifiers) {
  std::string text;
  for (const std::string& identifier : identifiers) {
    if (!text.empty()) text += " OR ";
    text += lc::sqlFormat(R"((%@.crateId = "%@"))",
                          {kDefaultCrateLoopRelationTablename, lc::sqlDoubleQuoteEscaped(identifier)});
  }
  return "(" + text + ")";
}

// A blank becomes "%%20" in the search of the URL: any run of characters, then "20".
std::string textClause(const std::string& like, const std::string& searchString) {
  static const std::string kBlanks(20, ' ');
  static const std::string kFormat = R"(((fileURL like "%%%@%%"))" + kBlanks +        //
                                     R"(OR ( %@("%%%@%%", comment)))" + kBlanks +     //
                                     R"(OR ( %@("%%%@%%", title)))" + kBlanks +       //
                                     R"(OR ( %@("%%%@%%", author)))" + kBlanks +      //
                                     R"(OR ( %@("%%%@%%", collection)))" + kBlanks +  //
                                     R"(OR ( %@("%%%@%%", theme)))" + kBlanks +       //
                                     "OR %@" + kBlanks + ")";
  const std::string text = lc::sqlDoubleQuoteEscaped(searchString);
  const std::string textInURL = vesk::text::replacingAll(text, " ", "%%20");
  return lc::sqlFormat(kFormat, {textInURL, like, text, like, text, like, text, like, text, like, text,
                                 fileNameCondition(like, searchString)});
}

}  // namespace

std::string LCSearchEngine::generateFilterString() {
  const lc::SearchSettings& settings = m_settings;
  std::vector<std::string> clauses;
  if (settings.timeSignatureTop >= 1 && settings.timeSignatureBottom >= 1) {
    clauses.push_back(
        lc::sqlFormat("((timeSignatureTop=%@ AND timeSignatureBottom=%@) OR timeSignatureTop=0)",
                      {std::to_string(settings.timeSignatureTop), std::to_string(settings.timeSignatureBottom)}));
  }
  if (settings.enabledLoopTypes && !settings.enabledLoopTypes->empty()) {
    clauses.push_back(loopTypesClause(vireoLoopTypeColumnName(), *settings.enabledLoopTypes));
  }
  if (settings.rootKey >= kLowestRootKey) {
    clauses.push_back(keyClause(settings.filterForMoreRelevantResults ? neighbouringKeys(settings.rootKey)
                                                                      : exactKey(settings.rootKey)));
  }
  if (settings.keyType >= 1) clauses.push_back(lc::sqlFormat("(keyType = %@)", {std::to_string(settings.keyType)}));
  if (settings.filterOutWebLoops) clauses.push_back("(isWebLoop = 0)");
  if (settings.isLimitedToCrates()) clauses.push_back(cratesClause(*settings.enabledCrateIdentifier));
  if (isSet(settings.searchString)) {
    const bool isASCII = vesk::text::isASCII(*settings.searchString);
    clauses.push_back(textClause(isASCII ? "LIKE" : textSearchLikeFunction(), *settings.searchString));
  }
  if (isSet(settings.pathPrefix)) {
    const std::string url = vesk::URL::fileURLWithPath(*settings.pathPrefix).absoluteString();
    clauses.push_back(lc::sqlFormat(R"((fileURL like "%@%%"))", {lc::sqlDoubleQuoteEscaped(url)}));
  }
  if (isSet(settings.specialNameSearchString)) {
    clauses.push_back(
        lc::sqlFormat(R"((fileName LIKE "%%%@%%"))", {lc::sqlDoubleQuoteEscaped(*settings.specialNameSearchString)}));
  }

  std::string filter;
  for (const std::string& clause : clauses) filter += (filter.empty() ? " " : " AND ") + clause;
  return filter;
}

std::string LCSearchEngine::keyFilterStringForKey(int64_t key) {
  if (key < kLowestRootKey) return "";
  return keyCondition(neighbouringKeys(key), " AND ((key < %@ AND key > %@) OR key = 0 OR key = -1)",
                      " AND ((key < %@ OR key > %@) OR key = 0 OR key = -1)");
}

std::optional<std::string> LCSearchEngine::_convertToFileURLSearchString(const std::optional<std::string>& value,
                                                                         std::string* escapeString) {
  if (!value) return std::nullopt;
  const std::string escape = value->find(':') == std::string::npos ? ":" : "|";
  if (escapeString) *escapeString = lc::sqlFormat(R"(ESCAPE "%@")", {escape});
  return vesk::text::replacingAll(*value, " ", escape + "%20");
}
