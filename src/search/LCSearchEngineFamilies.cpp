// Loop families: "Funky Beat 01", "Funky Beat 02" … are variants of "Funky Beat".
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include "platform/Path.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCStatement.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

namespace {

// "1.2_3": digits, then any number of "." with digits, then any number of "_" with digits.
bool isVariantNumber(std::string_view text) {
  const auto length = static_cast<int32_t>(text.size());
  bool needsDigit = true;
  bool isBehindUnderscore = false;
  for (int32_t offset = 0; offset < length;) {
    UChar32 character = 0;
    U8_NEXT(text.data(), offset, length, character);
    if (u_isdigit(character)) {
      needsDigit = false;
      continue;
    }
    const bool isSeparator = character == '_' || (character == '.' && !isBehindUnderscore);
    if (!isSeparator || needsDigit) return false;
    isBehindUnderscore = character == '_';
    needsDigit = true;
  }
  return !needsDigit;
}

// What stands before the blank and the variant number at the end; nullopt when `baseName` does not end so.
std::optional<std::string> nameBeforeVariantNumber(const std::string& baseName) {
  const size_t blank = baseName.rfind(' ');
  if (blank == std::string::npos || !isVariantNumber(std::string_view(baseName).substr(blank + 1))) return std::nullopt;
  return baseName.substr(0, blank);
}

std::string lastComponentOf(const LCLoopFamilyMember& member) {
  return member.url ? member.url->lastPathComponent() : std::string();
}

bool comesBefore(const LCLoopFamilyMember& left, const LCLoopFamilyMember& right) {
  return vesk::text::caseInsensitiveCompare(lastComponentOf(left), lastComponentOf(right)) < 0;
}

void appendFolded(std::string& text, UChar32 character) {
  if (character < 0x80) {
    text += static_cast<char>(character >= 'A' && character <= 'Z' ? character + ('a' - 'A') : character);
    return;
  }
  uint8_t bytes[U8_MAX_LENGTH];
  int32_t length = 0;
  U8_APPEND_UNSAFE(bytes, length, u_foldCase(character, U_FOLD_CASE_DEFAULT));
  text.append(reinterpret_cast<const char*>(bytes), static_cast<size_t>(length));
}

// The same text for all that vesk::text::equalIgnoringCase() holds equal: simple case folding, and a byte that is no
// UTF-8 stays as it is.
std::string folded(std::string_view name) {
  std::string text;
  text.reserve(name.size());
  const auto length = static_cast<int32_t>(name.size());
  for (int32_t offset = 0; offset < length;) {
    const int32_t start = offset;
    const char byte = name[static_cast<size_t>(start)];
    UChar32 character = 0;
    U8_NEXT(name.data(), offset, length, character);
    if (character >= 0) {
      appendFolded(text, character);
    } else {
      text += byte;
      offset = start + 1;
    }
  }
  return text;
}

// "" when the loop stands alone.
std::string foldedFamilyName(const std::string& fileURL) {
  const std::optional<vesk::URL> url = vesk::URL::fromString(fileURL);
  if (!url) return "";
  const std::string baseName = vesk::path::deletingExtension(url->lastPathComponent());
  return folded(nameBeforeVariantNumber(baseName).value_or(baseName));
}

}  // namespace

std::optional<std::string> LCSearchEngine::familyNameForLoopName(const std::string& loopName) {
  return nameBeforeVariantNumber(vesk::path::deletingExtension(vesk::path::lastComponent(loopName)));
}

bool LCSearchEngine::shouldShowFamilyForLoopName(const std::string& loopName) {
  return familyNameForLoopName(loopName).has_value();
}

std::vector<LCLoopFamilyMember> LCSearchEngine::findLoopFamilyForNameFilter(const std::string& nameFilter,
                                                                            int64_t andKey) const {
  std::string escape;
  const std::string pattern = *_convertToFileURLSearchString(nameFilter, &escape);
  const std::string statement = lc::sqlFormat(
      R"(SELECT fileURL, id, key, isWebLoop, fileName, %@ FROM %@ WHERE %@.fileURL like "%%/%@%%" %@  %@ )",
      {vireoLoopTypeColumnName(), m_tables.loops, m_tables.loops, lc::sqlDoubleQuoteEscaped(pattern), escape,
       keyFilterStringForKey(andKey)});
  LCResultDictionary rows;
  if (!utilities().executeStatementWithLoopsReturnValue(statement, &rows)) return {};
  std::vector<LCLoopFamilyMember> members;
  for (size_t row = 0; row < rows["fileURL"].size(); ++row) {
    members.push_back({.url = vesk::URL::fromString(lc::cellText(rows["fileURL"][row])),
                       .loopId = lc::cellInteger(rows["id"][row]),
                       .isWebLoop = lc::cellInteger(rows["isWebLoop"][row]) != 0,
                       .fileName = lc::cellText(rows["fileName"][row]),
                       .vireoLoopType = lc::cellInteger(rows[vireoLoopTypeColumnName()][row])});
  }
  return members;
}

std::vector<LCLoopFamilyMember> LCSearchEngine::loopFamilyForName(const std::string& loopName, int64_t andKey) const {
  const std::string baseName = vesk::path::deletingExtension(loopName);
  const std::string filter = nameBeforeVariantNumber(baseName).value_or(baseName);
  if (filter.empty()) return {};
  std::vector<LCLoopFamilyMember> members = findLoopFamilyForNameFilter(filter, andKey);
  std::stable_sort(members.begin(), members.end(), comesBefore);
  return members;
}

// The name comes from the URL as it is encoded there, but for its blanks, and is compared with URLs: so it is found
// whatever letters it has.
std::optional<std::vector<LCLoopFamilyMember>> LCSearchEngine::loopFamilyForLoopId(
    int64_t loopId, const std::optional<std::string>& fileName, int64_t key) const {
  if (loopId != 0) {
    LCResultDictionary result;
    utilities().executeStatementWithLoopsReturnValue(
        lc::sqlFormat("SELECT id, fileURL FROM %@ WHERE %@.id = %@ %@",
                      {m_tables.loops, m_tables.loops, std::to_string(loopId), keyFilterStringForKey(key)}),
        &result);
    if (const LCCell* url = lc::firstCell(result, "fileURL")) {
      const std::string name = vesk::path::lastComponent(lc::cellText(*url));
      return loopFamilyForName(vesk::text::replacingAll(name, "%20", " "), key);
    }
  }
  if (!fileName) return std::nullopt;
  return loopFamilyForName(vesk::path::lastComponent(*fileName), key);
}

std::vector<LCFoldedFamily> LCSearchEngine::foldedFamilies() const {
  std::vector<LCFoldedFamily> families;
  std::unordered_map<std::string, size_t> indexOfName;  // in `families`
  std::unordered_set<int64_t> counted;                  // a loop of several packages has several rows
  indexOfName.reserve(static_cast<size_t>(numberOfLoops()));
  counted.reserve(static_cast<size_t>(numberOfLoops()));
  LCStatement rows(m_sqlite.get(), "SELECT rowid, id, fileURL FROM tempTable ORDER BY rowid");
  while (rows.step()) {
    if (!counted.insert(rows.int64At(1)).second) continue;
    const std::string name = foldedFamilyName(rows.textAt(2));
    const auto [found, isFirst] = indexOfName.try_emplace(name, families.size());
    if (isFirst || name.empty()) {
      families.push_back({.firstRow = rows.int64At(0) - 1, .memberCount = 1});
    } else {
      ++families[found->second].memberCount;
    }
  }
  return rows.succeeded() ? families : std::vector<LCFoldedFamily>();
}
