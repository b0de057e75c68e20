// The write path of one loop: its row, its keywords and its package.
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/indexing/LCFileIndexing.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"
#include "VeskLoopManagement/resources/LCCompiledResources.h"

#include <sqlite3.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// The two beginnings are of one length. The second never replaces a row.
constexpr std::string_view kInsertOrReplaceLoop = "INSERT OR REPLACE INTO Loops ";
constexpr std::string_view kInsertLoop = "INSERT            INTO Loops ";

constexpr std::string_view kLoopColumns =
    "(id, fileURL, fileName, key, numberOfBeats, timeSignatureTop, timeSignatureBottom, tempo, keyType, fileType, "
    "hasMidi, theme, collection, comment, copyright, author, title, isWebLoop, lengthInSeconds, instrumentTypeId, "
    "instrumentSubTypeId, genreId, singleEnsembleKeywordId, partFillKeywordId, acousticElectricKeywordId, "
    "dryProcessedKeywordId, cleanDistortedKeywordId, cheerfulDarkKeywordId, relaxedIntenseKeywordId, "
    "groovingArrhythmicKeywordId, melodicDissonantKeywordId, contentIdentifier";
constexpr std::string_view kPatchColumns = ", patchInfo, ksLoopType";
constexpr std::string_view kLoopValues =
    ") VALUES (?1,?2,?3,?4,?5,?6,?7,?8,?9,?10,?11,?12,?13,?14,?15,?16,?17,?18,?19,?20,?21,?22,?23,?24,?25,?26,?27,?28,"
    "?29,?30,?31,?32";
constexpr std::string_view kPatchValues = ",?33,?34";
constexpr std::string_view kEndOfValues = ");";

constexpr std::string_view kInsertKeyword = "INSERT OR IGNORE INTO Keywords (name, categoryId) VALUES (?1, ?2);";
constexpr std::string_view kInsertTagging = "INSERT OR IGNORE INTO Tagging (loopId, keywordId) VALUES (?1, ?2);";
constexpr std::string_view kInsertLoopsKeywords =
    "INSERT OR IGNORE INTO LoopsKeywords (loopId, instrumentType, instrumentSubType, genre, descriptors) "
    "VALUES (?1,?2,?3,?4,?5)";
// Searches find no loop without such a row.
constexpr std::string_view kInsertEmptyLoopsKeywords = "INSERT OR IGNORE INTO LoopsKeywords (loopId) VALUES (?1)";
constexpr std::string_view kInsertCrateRelation =
    "INSERT OR IGNORE INTO CrateLoopRelation (crateId, loopId) VALUES (?1, ?2);";

// Tables have the patch columns from this schema version on.
bool hasPatchColumns(int64_t schemaVersion) {
  return schemaVersion >= kDefaultDatabaseSchemaVersion;
}

std::string insertLoopText(std::string_view beginning, bool withPatchColumns) {
  std::string text{beginning};
  text.append(kLoopColumns).append(withPatchColumns ? kPatchColumns : "");
  text.append(kLoopValues).append(withPatchColumns ? kPatchValues : "");
  return text.append(kEndOfValues);
}

// `statement` prepared if it is not yet, and ready for new values; its bindings stay.
LCStatement& ready(LCStatement& statement, sqlite3* connection, std::string_view sql) {
  if (!statement.isPrepared()) statement = LCStatement(connection, sql);
  statement.reset();
  return statement;
}

bool runsToEnd(LCStatement* statement) {
  return statement && !statement->step() && statement->succeeded();
}

void forget(LCStatement& statement) {
  statement.clearBindings();
  statement.reset();
}

// To the nearest whole beat per minute, halves away from zero.
int64_t roundedTempo(float bpm) {
  using Limits = std::numeric_limits<int32_t>;
  if (std::isnan(bpm)) return 0;
  return std::llround(std::clamp<double>(bpm, Limits::min(), Limits::max()));
}

void addAll(const vesk::Value& names, int32_t category, std::map<std::string, int32_t>& categories) {
  const vesk::Array* members = names.array();
  if (!members) return;
  for (const vesk::Value& member : *members) {
    if (const std::string* name = member.string()) categories[*name] = category;
  }
}

// The keywords of the built-in dictionary. Unlike the taxonomy, which hosts and searches extend, it knows no group
// keywords and learns nothing.
std::map<std::string, int32_t> builtInKeywordCategories() {
  std::map<std::string, int32_t> categories;
  const vesk::Value plist = LCCompiledResources::KeywordDictionaryPlist();
  const vesk::Value instruments = vesk::valueForKey(plist.dictionary(), "Instrument Types");
  if (const vesk::Dictionary* types = instruments.dictionary()) {
    for (const auto& [type, subTypes] : *types) {
      categories[type] = subTypes.string() ? kCategoryInstrumentType : kCategoryInstrumentTypeWithSubTypes;
      addAll(subTypes, kCategoryInstrumentSubType, categories);
    }
  }
  addAll(vesk::valueForKey(plist.dictionary(), "Genres"), kCategoryGenre, categories);
  const vesk::Value descriptors = vesk::valueForKey(plist.dictionary(), "Descriptors");
  if (const vesk::Array* pairs = descriptors.array()) {
    for (const vesk::Value& pair : *pairs) {
      if (!pair.string()) continue;
      for (const std::string& word : vesk::text::split(*pair.string(), '/')) categories[word] = kCategoryDescriptor;
    }
  }
  return categories;
}

}  // namespace

bool LCFileIndexing::addFileDataToDatabase(const LCFileData& fileData,
                                           const std::optional<std::string>& relateToCrateId) {
  LCFileData copy = fileData;
  return addFileDataToDatabase(copy, relateToCrateId);
}

bool LCFileIndexing::addFileDataToDatabase(LCFileData& fileData, const std::optional<std::string>& relateToCrateId) {
  return writeRow(fileData) && addRelations(fileData, relateToCrateId);
}

bool LCFileIndexing::writeFileData(const LCFileData& fileData, const std::optional<std::string>& relateToCrateId) {
  LCFileData copy = fileData;
  if (!writeRow(copy)) return false;
  LCStatement& insertTexts =
      copy.anySearchTags() ? insertLoopsKeywordsRelationForFileData(copy) : insertEmptyLoopsKeywords(copy.hash);
  if (!runsToEnd(&insertTexts)) return false;
  if (relateToCrateId && !addToCrate(relateToCrateId, copy.hash)) return false;
  const vesk::StringSet keywords = copy.allKeywords();
  return std::all_of(keywords.begin(), keywords.end(),
                     [&](const std::string& keyword) { return keyword.empty() || addTagging(copy.hash, keyword); });
}

// The loop's own row, and what is kept of it in tables of their own.
bool LCFileIndexing::writeRow(LCFileData& fileData) {
  LCStatement& insertLoop = insertLoopsStatementForFileData(fileData);
  const bool succeeded = runsToEnd(&insertLoop);
  if (succeeded) {
    saveLoudness(fileData);
    if (m_metaInfoDatabase && fileData.metaInfos) {
      [[maybe_unused]] const bool saved = m_metaInfoDatabase->saveMetaInfos(*fileData.metaInfos, fileData.hash);
    }
  }
  forget(insertLoop);
  return succeeded;
}

// Without a package the relation counts as failed, but the keywords are written all the same: the last step decides.
bool LCFileIndexing::addRelations(const LCFileData& fileData, const std::optional<std::string>& crateId) {
  if (!runsToEnd(&insertLoopsKeywordsRelationForFileData(fileData))) return false;

  bool lastStepSucceeded = addToCrate(crateId, fileData.hash);
  for (const std::string& keyword : fileData.allKeywords()) {
    if (!keyword.empty()) lastStepSucceeded = addTagging(fileData.hash, keyword);
  }
  return lastStepSucceeded;
}

// False without a package.
bool LCFileIndexing::addToCrate(const std::optional<std::string>& crateId, int64_t loopId) {
  LCStatement* insertRelation = insertCrateRelationForCrateId(crateId, loopId);
  const bool succeeded = runsToEnd(insertRelation);
  if (insertRelation) forget(*insertRelation);
  return succeeded;
}

bool LCFileIndexing::addTagging(int64_t loopId, const std::string& keyword) {
  const std::optional<int64_t> keywordId = idOfKeyword(keyword);
  if (!keywordId) return false;
  LCStatement& insertTagging = insertTaggingStatementForLoopId(loopId, *keywordId);
  const bool succeeded = runsToEnd(&insertTagging);
  if (succeeded) forget(insertTagging);
  return succeeded;
}

std::optional<int64_t> LCFileIndexing::idOfKeyword(const std::string& keyword) {
  const auto cached = m_keywordCache.find(keyword);
  if (cached != m_keywordCache.end()) return static_cast<int32_t>(cached->second);
  LCStatement* insertKeyword = insertKeywordStatementForKeyword(keyword, keywordCategoryForKeyword(keyword));
  if (!runsToEnd(insertKeyword)) return std::nullopt;
  forget(*insertKeyword);
  const int64_t keywordId = sqlite3_last_insert_rowid(m_sqlite.get());
  m_keywordCache[keyword] = keywordId;
  return keywordId;
}

void LCFileIndexing::saveLoudness(LCFileData& fileData) {
  const std::optional<vesk::URL> url = fileData.fileURL();
  if (!m_loudnessAnalyzerService || !m_loudnessDatabase || !url) return;

  LCLoopLoudnessInfo info;
  if (fileData.integratedLoudness && fileData.globalMaxTruePeak && fileData.targetIntegratedLoudness) {
    info = {.integratedLoudness = *fileData.integratedLoudness,
            .globalMaxTruePeak = *fileData.globalMaxTruePeak,
            .targetIntegratedLoudness = *fileData.targetIntegratedLoudness};
  } else {
    const auto measured = m_loudnessAnalyzerService->loudnessInfoForURL(*url);
    if (!measured) return;
    info = *measured;
    info.targetIntegratedLoudness = fileData.calculatedTargetIntegratedLoudness();
    fileData.integratedLoudness = info.integratedLoudness;
    fileData.globalMaxTruePeak = info.globalMaxTruePeak;
  }
  m_loudnessDatabase->saveLoadnessInfo(info, url->lastPathComponent(), fileData.hash);
}

// --- Statements, bound and ready to step

LCStatement& LCFileIndexing::insertLoopsStatementForFileData(const LCFileData& fileData) {
  const bool withPatchColumns = hasPatchColumns(m_schemaVersion);
  if (!m_insertLoop.isPrepared()) {
    m_insertLoop = LCStatement(m_sqlite.get(), insertLoopText(kInsertOrReplaceLoop, withPatchColumns));
    m_insertLoopFactoryBundleLoop = LCStatement(m_sqlite.get(), insertLoopText(kInsertLoop, withPatchColumns));
  }
  LCStatement& statement = fileData.isFactoryBundleLoop ? m_insertLoopFactoryBundleLoop : m_insertLoop;
  statement.reset();

  statement.bind(1, fileData.hash);
  if (const auto url = fileData.fileURL()) statement.bind(2, url->absoluteString());
  if (const auto name = fileData.fileName()) statement.bind(3, vesk::text::precomposed(*name));
  statement.bind32(4, fileData.midiRootNote);
  statement.bind32(5, fileData.beatCount);
  statement.bind32(6, fileData.signatureTop);
  statement.bind32(7, fileData.signatureBottom);
  statement.bind32(8, roundedTempo(fileData.bpm));
  statement.bind32(9, fileData.keyType);
  statement.bind32(10, fileData.fileType);
  statement.bind32(11, fileData.vireoLoopType);
  statement.bind(12, fileData.themeTag);
  statement.bind(13, fileData.collectionTag);
  statement.bind(14, fileData.commentTag);
  statement.bind(15, fileData.copyrightTag);
  statement.bind(16, fileData.authorTag);
  statement.bind(17, fileData.title);
  statement.bind32(18, fileData.isWebLoop ? 1 : 0);
  statement.bind(19, static_cast<double>(fileData.lengthInSeconds));
  statement.bind32(20, fileData.instrumentTypeId());
  statement.bind32(21, fileData.instrumentSubTypeId());
  statement.bind32(22, fileData.genreId());
  statement.bind32(23, fileData.singleEnsembleKeywordId());
  statement.bind32(24, fileData.partFillKeywordId());
  statement.bind32(25, fileData.acousticElectricKeywordId());
  statement.bind32(26, fileData.dryProcessedKeywordId());
  statement.bind32(27, fileData.cleanDistortedKeywordId());
  statement.bind32(28, fileData.cheerfulDarkKeywordId());
  statement.bind32(29, fileData.relaxedIntenseKeywordId());
  statement.bind32(30, fileData.groovingArrhythmicKeywordId());
  statement.bind32(31, fileData.melodicDissonantKeywordId());
  statement.bind(32, fileData.contentIdentifier);
  if (withPatchColumns) {
    statement.bind32(33, fileData.patchInfo);
    statement.bind32(34, fileData.ksLoopType());
  }
  return statement;
}

LCStatement* LCFileIndexing::insertKeywordStatementForKeyword(const std::optional<std::string>& keyword,
                                                              int64_t keywordCategory) {
  if (!keyword) return nullptr;
  LCStatement& statement = ready(m_insertKeyword, m_sqlite.get(), kInsertKeyword);
  statement.bind(1, *keyword);
  statement.bind32(2, keywordCategory);
  return &statement;
}

LCStatement& LCFileIndexing::insertTaggingStatementForLoopId(int64_t loopId, int64_t keywordId) {
  LCStatement& statement = ready(m_insertTagging, m_sqlite.get(), kInsertTagging);
  statement.bind(1, loopId);
  statement.bind(2, keywordId);
  return statement;
}

// Its bindings are never cleared: a text that this record lacks stands as the last record that had one left it.
LCStatement& LCFileIndexing::insertLoopsKeywordsRelationForFileData(const LCFileData& fileData) {
  LCStatement& statement = ready(m_insertLoopsKeywords, m_sqlite.get(), kInsertLoopsKeywords);
  statement.bind(1, fileData.hash);
  statement.bind(2, fileData.instrumentTypeTag);
  statement.bind(3, fileData.instrumentSubTypeTag);
  statement.bind(4, fileData.genreTag);
  if (fileData.descriptors && !fileData.descriptors->empty()) statement.bind(5, fileData.descriptorsString());
  return statement;
}

// For a loop without any, whose texts would otherwise be those of the last one.
LCStatement& LCFileIndexing::insertEmptyLoopsKeywords(int64_t loopId) {
  LCStatement& statement = ready(m_insertEmptyLoopsKeywords, m_sqlite.get(), kInsertEmptyLoopsKeywords);
  statement.bind(1, loopId);
  return statement;
}

LCStatement* LCFileIndexing::insertCrateRelationForCrateId(const std::optional<std::string>& crateId,
                                                           int64_t toLoopId) {
  if (!crateId) return nullptr;
  LCStatement& statement = ready(m_insertCrateRelation, m_sqlite.get(), kInsertCrateRelation);
  statement.bind(1, *crateId);
  statement.bind(2, toLoopId);
  return &statement;
}

// --- Keywords

int32_t LCFileIndexing::keywordCategoryForKeyword(const std::string& keyword) {
  if (m_keywordCategories.empty()) m_keywordCategories = builtInKeywordCategories();
  const auto found = m_keywordCategories.find(keyword);
  return found == m_keywordCategories.end() ? 0 : found->second;
}

void LCFileIndexing::updateKeywordCache() {
  LCResultDictionary rows;
  if (!executeStatementWithGenericReturnValue("SELECT id, name FROM Keywords", &rows)) return;
  const std::vector<LCCell>& ids = rows["id"];
  const std::vector<LCCell>& names = rows["name"];
  m_keywordCache.clear();
  if (ids.size() != names.size()) return;
  for (size_t row = 0; row < ids.size(); ++row) {
    m_keywordCache[lc::cellText(names[row])] = static_cast<int32_t>(lc::cellInteger(ids[row]));
  }
}
