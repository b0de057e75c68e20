// Loudness and meta infos of single loops, by way of databases that borrow the engine's connection for one question.
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include "VeskLoopManagement/database/LCSQLiteUtilities.h"
#include "VeskLoopManagement/fileio/LCFileParser.h"
#include "VeskLoopManagement/loudness/LCLoudnessDatabase.h"
#include "VeskLoopManagement/loudness/LCMetaInfoDatabase.h"

namespace {

// What the file's own tags say; nothing without a target.
std::optional<LCLoopLoudnessInfo> loudnessOfFile(const vesk::URL& url) {
  const std::unique_ptr<LCFileParser> parser = LCFileParser::fileParserForURL(url);
  const LCFileData* record = parser ? parser->enhancedFileData() : nullptr;
  if (!record || !record->targetIntegratedLoudness) return std::nullopt;
  LCLoopLoudnessInfo info;
  info.targetIntegratedLoudness = static_cast<float>(*record->targetIntegratedLoudness);
  if (record->integratedLoudness) info.integratedLoudness = static_cast<float>(*record->integratedLoudness);
  if (record->globalMaxTruePeak) info.globalMaxTruePeak = static_cast<float>(*record->globalMaxTruePeak);
  return info;
}

}  // namespace

std::optional<LCLoopLoudnessInfo> LCSearchEngine::findLoudnessInfoForLoopId(int64_t loopId,
                                                                            const vesk::URL& andFileURL) const {
  if (const auto factory = LCLoudnessDatabase::factoryDatabase()) {
    if (const auto info = factory->loudnessInfoForLoopID(loopId)) return info;
  }
  if (const auto info = LCLoudnessDatabase::loudnessDatabaseForSqlite(m_sqlite.get())->loudnessInfoForLoopID(loopId)) {
    return info;
  }
  return loudnessOfFile(andFileURL);
}

// Factory loops are known by name. The user's are known by their whole path, so that loops of one name in different
// folders are told apart.
std::optional<LCLoopLoudnessInfo> LCSearchEngine::findLoudnessInfoForURL(const vesk::URL& url) const {
  const std::string name = url.lastPathComponent();
  const auto factory = LCLoudnessDatabase::factoryDatabase();
  if (factory && !name.empty()) {
    if (const auto info = factory->loudnessInfoForFileName(name)) return info;
  }
  const auto own = LCLoudnessDatabase::loudnessDatabaseForSqlite(m_sqlite.get());
  if (const auto info = own->loudnessInfoForFileName(url.path())) return info;
  return loudnessOfFile(url);
}

bool LCSearchEngine::saveLoadnessInfo(const LCLoopLoudnessInfo& info, const std::string& forFileName,
                                      int64_t andLoopId) {
  const bool hasTable = LCSQLiteUtilities::isTableWithName("LoopsLoudnessV4", std::nullopt, m_sqlite.get());
  if (!hasTable) LCLoudnessDatabase::generateDatabaseTablesForSQLite(m_sqlite.get());
  return LCLoudnessDatabase::loudnessDatabaseForSqlite(m_sqlite.get())->saveLoadnessInfo(info, forFileName, andLoopId);
}

std::vector<LCMetaInfo> LCSearchEngine::findMetaInfosForLoopId(int64_t loopId) const {
  return LCMetaInfoDatabase::databaseForSqlite(m_sqlite.get())->metaInfosForLoopID(loopId);
}

std::vector<LCMetaInfo> LCSearchEngine::instrumentKeywordsForLoopId(int64_t loopId) const {
  return LCMetaInfoDatabase::databaseForSqlite(m_sqlite.get())->instrumentKeywordsForLoopId(loopId);
}

bool LCSearchEngine::saveMetaInfos(std::span<const LCMetaInfo> metaInfos, int64_t forLoopId) {
  return LCMetaInfoDatabase::databaseForSqlite(m_sqlite.get())->saveMetaInfos(metaInfos, forLoopId);
}
