// The name and the icon under which a loop is shown.
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include "platform/Path.h"
#include "resources/ResourceTables.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCStatement.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"
#include "VeskLoopManagement/platform/Environment.h"

namespace {

std::optional<std::string> iconNameForKeywordId(int64_t keywordId) {
  const std::optional<std::string> keyword = LCKeywordHelper::keywordForKeywordId(keywordId);
  return keyword ? LCSearchEngine::iconNameForInstrumentSubType(*keyword) : std::nullopt;
}

}  // namespace

std::string LCSearchEngine::localizedNameForFile(const LCSearchEngineFile& file) {
  const std::optional<vesk::URL> url = file.unresolvedFileURL();
  const std::string baseName = url ? vesk::path::deletingExtension(url->lastPathComponent()) : "";
  return vesk::Environment::shared().localizedString(baseName, "LocalizableLoops").value_or(baseName);
}

std::optional<std::string> LCSearchEngine::iconNameForFile(const LCSearchEngineFile& file) const {
  LCStatement loop(m_sqlite.get(), lc::sqlFormat("SELECT instrumentSubTypeId, instrumentTypeId FROM %@ WHERE id = ?1",
                                                 {m_tables.loops}));
  loop.bind(1, file.loopID());
  if (!loop.step()) return std::nullopt;
  const std::optional<std::string> ofSubType = iconNameForKeywordId(loop.int64At(0));
  return ofSubType ? ofSubType : iconNameForKeywordId(loop.int64At(1));
}

std::optional<std::string> LCSearchEngine::iconNameForInstrumentSubType(const std::string& subType) {
  const auto found = lc::resources::instrumentIconNames().find(subType);
  return found == lc::resources::instrumentIconNames().end() ? std::nullopt : std::optional(found->second);
}

bool LCSearchEngine::kestrelLegacyIconIdForIconName(const std::string& iconName, int64_t* iconID) {
  for (const auto& [keyword, name] : lc::resources::instrumentIconNames()) {
    if (name != iconName) continue;
    if (iconID) *iconID = LCKeywordHelper::keywordIdForKeyword(keyword);
    return true;
  }
  return false;
}
