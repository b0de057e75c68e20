// Repairs of loops whose files lack information. Which loops these are is data in resources/.
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include "resources/ResourceTables.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"

void LCSearchEngine::fixTopperKeyword() {
  const std::vector<LCMetaInfo> topper = {
      LCWeightedInstrumentKeyword{.keywordTitle = "Topper", .weight = 1.0}.metaInfo()};
  for (const std::string& name : lc::resources::topperRepairFilenames()) {
    for (const int64_t loopId : loopIdsForName(name)) {
      [[maybe_unused]] const bool saved = saveMetaInfos(topper, loopId);
    }
  }
}

void LCSearchEngine::fixTrackStackInfo() {
  for (const std::string& name : fileNamesWithMissingTrackInfo()) {
    utilities().executeStatementWithNoReturnValue(lc::sqlFormat(
        "UPDATE OR IGNORE Loops SET patchInfo = 2, ksLoopType = 0 WHERE fileName == '%@'", {lc::sqlEscaped(name)}));
  }
}

const vesk::StringSet& LCSearchEngine::fileNamesWithMissingTrackInfo() {
  return lc::resources::trackStackFilenames();
}

bool LCSearchEngine::isTrackStackLoopWithMissingInfo(const std::optional<std::string>& fileName) {
  return fileName && lc::resources::isTrackStackLoopWithMissingInfo(*fileName);
}
