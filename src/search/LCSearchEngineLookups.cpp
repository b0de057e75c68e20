// Questions about single loops and the whole table. The search settings have no say here.
#include "search/LCSearchEngine.h"

#include "database/LCDatabaseSchema.h"

namespace {

std::string selectLoopIdForFileURL(const std::string& loopsTable, const vesk::URL& url) {
  return sqlFormat(R"(SELECT id FROM %@ WHERE %@.fileURL = "%@")",
                   {loopsTable, loopsTable, sqlDoubleQuoteEscaped(url.absoluteString())});
}

}  // namespace

int64_t LCSearchEngine::loopIdForFileURL(const vesk::URL& url) const {
  LCResultDictionary result;
  utilities().executeStatementWithLoopsReturnValue(selectLoopIdForFileURL(m_loopsTablename, url), &result);
  const LCCell* id = firstCell(result, "id");
  return id ? cellInteger(*id) : 0;
}

bool LCSearchEngine::isFileIndexed(const vesk::URL& url) const {
  LCResultDictionary result;
  utilities().executeStatementWithGenericReturnValue(selectLoopIdForFileURL(m_loopsTablename, url), &result);
  return firstCell(result, "id") != nullptr;
}

vesk::StringSet LCSearchEngine::keywordsForLoopId(int64_t loopId) const {
  const std::string& keywords = kDefaultKeywordsTablename;
  const std::string statement = sqlFormat(
      "SELECT Keywords.name as name FROM %@ JOIN %@ ON %@.id = %@.keywordId JOIN %@ ON %@.id = %@.loopId "
      R"(WHERE %@.id = "%@")",
      {keywords, m_taggingTablename, keywords, m_taggingTablename, m_loopsTablename, m_loopsTablename,
       m_taggingTablename, m_loopsTablename, std::to_string(loopId)});
  LCResultDictionary result;
  utilities().executeStatementWithKeywordsReturnValue(statement, &result);
  vesk::StringSet names;
  for (const LCCell& name : result["name"]) names.insert(cellText(name));
  return names;
}

int64_t LCSearchEngine::totalNumberOfLoops() const {
  LCResultDictionary result;
  utilities().executeStatementWithGenericReturnValue(
      sqlFormat("SELECT count() as numberOfLoops FROM %@", {m_loopsTablename}), &result);
  const LCCell* count = firstCell(result, "numberOfLoops");
  return count ? cellInteger(*count) : 0;
}
