// Questions about single loops.
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include "platform/Path.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"

namespace {

using Row = std::map<std::string, std::string>;

std::string selectLoopIdForFileURL(const std::string& loopsTable, const vesk::URL& url) {
  return lc::sqlFormat(R"(SELECT id FROM %@ WHERE %@.fileURL = "%@")",
                       {loopsTable, loopsTable, lc::sqlDoubleQuoteEscaped(url.absoluteString())});
}

// `format` with the pattern of `name` and its ESCAPE clause.
std::string formattedWithName(std::string_view format, const std::string& name) {
  std::string escape;
  const std::string pattern = *LCSearchEngine::_convertToFileURLSearchString(name, &escape);
  return lc::sqlFormat(format, {lc::sqlDoubleQuoteEscaped(pattern), escape});
}

Row firstRow(LCSQLiteUtilities utilities, const std::string& statement) {
  LCResultDictionary result;
  utilities.executeStatementWithGenericReturnValue(statement, &result);
  Row row;
  for (const auto& [column, cells] : result) row[column] = lc::cellText(cells.front());
  return row;
}

vesk::StringSet namesFound(LCSQLiteUtilities utilities, const std::string& statement) {
  LCResultDictionary result;
  utilities.executeStatementWithKeywordsReturnValue(statement, &result);
  vesk::StringSet names;
  for (const LCCell& name : result["name"]) names.insert(lc::cellText(name));
  return names;
}

std::string baseNameOf(const vesk::URL& url) {
  return vesk::path::deletingExtension(url.lastPathComponent());
}

}  // namespace

std::map<std::string, std::string> LCSearchEngine::resultDictForLoopId(int64_t loopId) const {
  return firstRow(utilities(), lc::sqlFormat("SELECT * FROM Loops WHERE Loops.id = %@", {std::to_string(loopId)}));
}

std::map<std::string, std::string> LCSearchEngine::resultDictForFilename(const std::string& name) const {
  return firstRow(utilities(), formattedWithName(R"(SELECT * FROM Loops WHERE Loops.fileURL like "%%%@%%" %@)", name));
}

std::unique_ptr<LCSearchEngineFile> LCSearchEngine::fileForLoopId(int64_t loopId) const {
  LCResultDictionary result;
  utilities().executeStatementWithLoopsReturnValue(
      lc::sqlFormat("SELECT fileURL, id FROM Loops WHERE Loops.id = %@", {std::to_string(loopId)}), &result);
  const LCCell* url = lc::firstCell(result, "fileURL");
  const LCCell* id = lc::firstCell(result, "id");
  return url && id ? std::make_unique<LCSearchEngineFile>(lc::cellText(*url), lc::cellInteger(*id)) : nullptr;
}

std::optional<vesk::URL> LCSearchEngine::fileURLForLoopId(int64_t loopId) const {
  LCResultDictionary result;
  utilities().executeStatementWithLoopsReturnValue(
      lc::sqlFormat(R"(SELECT fileURL FROM %@ WHERE %@.id = "%@")",
                    {m_tables.loops, m_tables.loops, std::to_string(loopId)}),
      &result);
  const LCCell* url = lc::firstCell(result, "fileURL");
  return url ? vesk::URL::fromString(lc::cellText(*url)) : std::nullopt;
}

int64_t LCSearchEngine::loopIdForFileURL(const vesk::URL& url) const {
  LCResultDictionary result;
  utilities().executeStatementWithLoopsReturnValue(selectLoopIdForFileURL(m_tables.loops, url), &result);
  const LCCell* id = lc::firstCell(result, "id");
  return id ? lc::cellInteger(*id) : 0;
}

int64_t LCSearchEngine::loopIdForFilepath(const std::string& path) const {
  return loopIdForFileURL(vesk::URL::fileURLWithPath(path));
}

bool LCSearchEngine::isFileIndexed(const vesk::URL& url) const {
  LCResultDictionary result;
  utilities().executeStatementWithGenericReturnValue(selectLoopIdForFileURL(m_tables.loops, url), &result);
  return lc::firstCell(result, "id") != nullptr;
}

std::set<int64_t> LCSearchEngine::loopIdsForName(const std::string& name) const {
  LCResultDictionary result;
  utilities().executeStatementWithLoopsReturnValue(
      formattedWithName(R"(SELECT id FROM Loops WHERE Loops.fileURL like "%%%@%%" %@)", name), &result);
  std::set<int64_t> ids;
  for (const LCCell& id : result["id"]) ids.insert(lc::cellInteger(id));
  return ids;
}

std::optional<std::string> LCSearchEngine::findPathForLoopname(const std::optional<std::string>& loopName,
                                                               int32_t tempo, int32_t rootNote) const {
  if (!loopName) return std::nullopt;
  const std::string baseName = vesk::path::deletingExtension(vesk::path::lastComponent(*loopName));
  std::string escape;
  const std::string pattern = *_convertToFileURLSearchString(baseName, &escape);
  LCResultDictionary result;
  utilities().executeStatementWithGenericReturnValue(
      lc::sqlFormat(R"(SELECT fileURL FROM %@ WHERE %@.fileURL like "%%%@%%" %@ AND %@.key = %@ AND %@.tempo = %@)",
                    {m_tables.loops, m_tables.loops, lc::sqlDoubleQuoteEscaped(pattern), escape, m_tables.loops,
                     std::to_string(rootNote), m_tables.loops, std::to_string(tempo < 1 ? -1 : tempo)}),
      &result);

  std::optional<vesk::URL> first;
  for (const LCCell& cell : result["fileURL"]) {
    const std::optional<vesk::URL> url = vesk::URL::fromString(lc::cellText(cell));
    if (url && baseNameOf(*url) == baseName) return url->path();
    if (!first) first = url;
  }
  return first ? std::optional(first->path()) : std::nullopt;
}

vesk::StringSet LCSearchEngine::keywordsForLoopId(int64_t loopId) const {
  return namesFound(utilities(),
                    selectKeywords() + lc::sqlFormat(R"(%@.id = "%@")", {m_tables.loops, std::to_string(loopId)}));
}

vesk::StringSet LCSearchEngine::keywordsForURL(const vesk::URL& url) const {
  return namesFound(
      utilities(), selectKeywords() + lc::sqlFormat(R"(%@.fileURL = "%@")",
                                                    {m_tables.loops, lc::sqlDoubleQuoteEscaped(url.absoluteString())}));
}

// Ends in "WHERE ".
std::string LCSearchEngine::selectKeywords() const {
  const std::string_view keywords = kDefaultKeywordsTablename;
  return lc::sqlFormat(
      "SELECT Keywords.name as name FROM %@ JOIN %@ ON %@.id = %@.keywordId JOIN %@ ON %@.id = %@.loopId WHERE ",
      {keywords, m_tables.tagging, keywords, m_tables.tagging, m_tables.loops, m_tables.loops, m_tables.tagging});
}
