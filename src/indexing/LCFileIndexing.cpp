#include "VeskLoopManagement/indexing/LCFileIndexing.h"

#include "indexing/FileCopying.h"
#include "platform/Path.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"
#include "VeskLoopManagement/fileio/LCFileParser.h"
#include "VeskLoopManagement/platform/Environment.h"
#include "VeskLoopManagement/platform/Notifications.h"

#include <fmt/format.h>
#include <sqlite3.h>

#include <atomic>
#include <filesystem>
#include <system_error>

struct LCFileIndexing::Run {
  const std::optional<std::string>& crateId;
  const std::optional<vesk::URL>& destination;
  bool move = false;
  uint32_t walked = 0;  // files and folders
  std::vector<vesk::URL> failures = {};
};

namespace {

// Shared by all indexers of the process.
std::atomic<unsigned char> s_running{0};
std::atomic<unsigned char> s_multipleRuns{0};
std::atomic<unsigned char> s_abort{0};
std::atomic<unsigned char> s_errorLogging{0};

// Taking out a loop by URL reads all of Loops, and its relations all of CrateLoopRelation. From this many loops on it
// pays to make an index first and to drop it afterwards.
constexpr size_t kManyLoops = 8;
constexpr const char* kCreateURLIndex = "CREATE INDEX IF NOT EXISTS index_loops_fileURL ON Loops (fileURL)";
constexpr const char* kCreateRelationIndex =
    "CREATE INDEX IF NOT EXISTS index_crateLoopRelation_loopId ON CrateLoopRelation (loopId)";
constexpr const char* kDropURLIndex = "DROP INDEX IF EXISTS index_loops_fileURL";
constexpr const char* kDropRelationIndex = "DROP INDEX IF EXISTS index_crateLoopRelation_loopId";

bool isFile(const std::string& path) {
  return vesk::path::exists(path) && !vesk::path::isDirectory(path);
}

vesk::URL resolvedURL(const vesk::URL& url) {
  return vesk::URL::fileURLWithPath(vesk::path::resolvingSymlinks(url.path()));
}

// Whether the regular file at `path` is an audio file that is no tagged loop.
bool isAudioFileWithoutLoop(const std::string& path) {
  const std::string extension = vesk::path::lowercaseExtension(path);
  if (extension == "caf" || extension == "aiff" || extension == "aif") {
    const auto parser = LCFileParser::fileParserForURL(vesk::URL::fileURLWithPath(path, false));
    const LCFileData* fileData = parser ? parser->fileData() : nullptr;
    return !fileData || !fileData->isAuthoredLoop();
  }
  const auto code = vesk::Environment::shared().fileTypeCode(path);
  return code == "AIFF" || code == "CAF " || code == "caff" || code == "WAVE" || code == ".WAV";
}

// Links inside a folder do not count: what they point to has its own place.
bool isRegularFile(const std::string& path) {
  std::error_code error;
  return std::filesystem::symlink_status(path, error).type() == std::filesystem::file_type::regular;
}

bool holdsAudioFileWithoutLoop(const std::string& path) {
  if (!vesk::path::isDirectory(path)) return isRegularFile(path) && isAudioFileWithoutLoop(path);
  for (const std::string& subpath : vesk::path::subpaths(path)) {
    const std::string file = vesk::path::appending(path, subpath);
    if (isRegularFile(file) && isAudioFileWithoutLoop(file)) return true;
  }
  return false;
}

// Appends the files below a folder; anything else, be it there or not, itself.
void appendFiles(const std::string& path, std::vector<std::string>& files) {
  if (!vesk::path::isDirectory(path)) return files.push_back(path);
  for (const std::string& subpath : vesk::path::subpaths(path)) {
    const std::string file = vesk::path::appending(path, subpath);
    if (isFile(file)) files.push_back(file);
  }
}

// Makes the index of the relations for as long as many loops are taken out.
class RelationIndex {
 public:
  RelationIndex(LCFileIndexing& indexer, size_t loopCount) : m_indexer(indexer), m_isMade(loopCount >= kManyLoops) {
    if (m_isMade) m_indexer.executeStatementWithNoReturnValue(kCreateRelationIndex);
  }
  RelationIndex(const RelationIndex&) = delete;
  RelationIndex& operator=(const RelationIndex&) = delete;
  ~RelationIndex() {
    if (m_isMade) m_indexer.executeStatementWithNoReturnValue(kDropRelationIndex);
  }

 private:
  LCFileIndexing& m_indexer;
  bool m_isMade;
};

}  // namespace

// --- Lifecycle

std::unique_ptr<LCFileIndexing> LCFileIndexing::initWithDatabaseConfiguration(
    const LCDatabaseConfiguration& configuration) {
  LCConnection connection = lc::openConnection(configuration.databaseFile(), LCOpenMode::readWriteCreate);
  if (!connection) return nullptr;
  return std::unique_ptr<LCFileIndexing>(new LCFileIndexing(std::move(connection), configuration.schemaVersion()));
}

LCFileIndexing::LCFileIndexing(LCConnection connection, int64_t schemaVersion)
    : m_sqlite(std::move(connection)), m_schemaVersion(schemaVersion) {
  LCSQLiteUtilities::generateDatabaseTablesForSQLite(m_sqlite.get(), m_schemaVersion);
  m_metaInfoDatabase = LCMetaInfoDatabase::databaseForSqlite(m_sqlite.get());
}

LCFileIndexing::~LCFileIndexing() = default;

void LCFileIndexing::setLoudnessAnalyzerService(std::shared_ptr<LCLoudnessAnalyzerService> service,
                                                bool createSeparateFile) {
  const char* name = sqlite3_db_filename(m_sqlite.get(), "main");
  const std::string databaseFile = name ? name : "";  // empty for a database in memory
  if (createSeparateFile && !databaseFile.empty()) {
    const std::string fileName = fmt::format("{}.{}", kLoudnessDatabaseFileName, kLoudnessDatabaseExtension);
    const std::string folder = vesk::path::deletingLastComponent(databaseFile);
    m_loudnessDatabase = LCLoudnessDatabase::initWithDatabaseFile(vesk::path::appending(folder, fileName), true);
  } else {
    m_loudnessDatabase = LCLoudnessDatabase::loudnessDatabaseForSqlite(m_sqlite.get());
  }
  m_loudnessAnalyzerService = std::move(service);
}

void LCFileIndexing::prepareIndexing() {
  updateKeywordCache();
}

bool LCFileIndexing::beginBatch() {
  return executeStatementWithNoReturnValue("BEGIN;");
}

bool LCFileIndexing::commitBatch() {
  return executeStatementWithNoReturnValue("COMMIT;");
}

// --- One file

bool LCFileIndexing::addFileURL(const vesk::URL& url, const std::optional<std::string>& toCrateId,
                                const std::optional<vesk::URL>& newDestination, bool move) {
  const std::string resolvedPath = vesk::path::resolvingSymlinks(url.path());
  if (!isFile(resolvedPath)) return false;

  std::optional<LCFileData> fileData;
  if (const auto parser = LCFileParser::fileParserForURL(vesk::URL::fileURLWithPath(resolvedPath, false))) {
    if (const LCFileData* parsed = parser->fileData()) fileData = *parsed;
  }
  if (!fileData || !fileData->anySearchTags()) {
    if (s_errorLogging) vesk::log("No keywords found for file: " + resolvedPath);
    return false;
  }

  fileData->storedFileURL = newDestination ? *newDestination : url;
  const bool written = addFileDataToDatabase(*fileData, toCrateId);
  if (!written || !newDestination) return written;

  const std::string destination = vesk::path::resolvingSymlinks(newDestination->path());
  const std::error_code error =
      move ? lc::moveFile(resolvedPath, destination) : lc::copyFile(resolvedPath, destination);
  if (error && !removeFileURL(*newDestination)) removeLoopWithId(fileData->hash);
  return written;
}

bool LCFileIndexing::removeFileURL(const vesk::URL& url) {
  int64_t loopId = 0;
  {
    // One prepared statement, whatever the URL holds: what follows a semicolon never runs.
    LCStatement select(m_sqlite.get(), "SELECT id FROM Loops WHERE fileURL = '" + url.absoluteString() + "'");
    if (select.step()) {
      loopId = select.int64At(0);
    } else if (!select.succeeded()) {
      return false;
    }
  }
  if (loopId != 0) removeLoopWithId(loopId);
  return true;
}

bool LCFileIndexing::removeLoopWithId(int64_t loopId) {
  bool succeeded = true;
  for (const char* statement :
       {"DELETE FROM Loops WHERE id = %@", "DELETE FROM Tagging WHERE loopId = %@",
        "DELETE FROM LoopsKeywords WHERE loopId = %@", "DELETE FROM CrateLoopRelation WHERE loopId = %@"}) {
    if (!executeStatementWithNoReturnValue(lc::sqlFormat(statement, {std::to_string(loopId)}))) succeeded = false;
  }
  return succeeded;
}

bool LCFileIndexing::removeLoopsWithIds(std::span<const int64_t> loopIds) {
  const RelationIndex index(*this, loopIds.size());
  bool succeeded = true;
  for (const int64_t loopId : loopIds) {
    if (!removeLoopWithId(loopId)) succeeded = false;
  }
  return succeeded;
}

bool LCFileIndexing::carryLoopsWithIds(std::span<const LCLoopCarry> carries) {
  const RelationIndex index(*this, carries.size());
  return std::all_of(carries.begin(), carries.end(),
                     [this](const LCLoopCarry& carry) { return carryLoopWithId(carry.loopId, carry.toLoopId); });
}

bool LCFileIndexing::updateFileURL(const vesk::URL&) {
  return false;
}

// --- Runs

std::vector<vesk::URL> LCFileIndexing::addFilenames(std::span<const vesk::URL> urls,
                                                    const std::optional<std::string>& toCrate,
                                                    uint32_t* numberOfIndexedFiles) {
  return _addFilenames(urls, toCrate, numberOfIndexedFiles, std::nullopt, false);
}

std::optional<std::vector<vesk::URL>> LCFileIndexing::addDirectoryURL(const std::optional<vesk::URL>& url,
                                                                      const std::optional<std::string>& toCrate,
                                                                      uint32_t* numberOfIndexedFiles,
                                                                      const std::optional<vesk::URL>& newDestination,
                                                                      bool move) {
  if (!url) return std::nullopt;
  std::optional<vesk::URL> destination;
  if (newDestination) {
    destination = resolvedURL(*newDestination);
    if (!vesk::path::createDirectories(destination->path())) return std::nullopt;
  }
  auto failures =
      _addFilenames(std::span(&*url, 1), toCrate, numberOfIndexedFiles, destination, destination.has_value() && move);
  if (s_abort) {
    if (numberOfIndexedFiles) *numberOfIndexedFiles = 0;
    return std::nullopt;
  }
  return failures;
}

std::vector<vesk::URL> LCFileIndexing::_addFilenames(std::span<const vesk::URL> urls,
                                                     const std::optional<std::string>& toCrate,
                                                     uint32_t* numberOfIndexedFiles,
                                                     const std::optional<vesk::URL>& newDestination, bool move) {
  Run run{.crateId = toCrate, .destination = newDestination, .move = move};
  prepareIndexing();
  beginBatch();
  s_running = 1;
  for (const vesk::URL& url : urls) {
    const std::string resolvedPath = vesk::path::resolvingSymlinks(url.path());
    if (vesk::path::isDirectory(resolvedPath)) {
      // After an abort the transaction stays open, to be rolled back with the connection, and the run counts as
      // running.
      if (!addFolder(url, resolvedPath, run)) return std::move(run.failures);
      continue;
    }
    // A file that is named itself is indexed where it lies.
    ++run.walked;
    if (!addFileURL(url, toCrate, std::nullopt, false)) run.failures.push_back(url);
  }
  commitBatch();

  if (!s_multipleRuns) {
    finishIndexingInBlock(true);
    if (run.walked != 0 && !s_multipleRuns) {
      vesk::NotificationCenter::shared().post(LCFileReloadBaseTablesNotification);
    }
  }
  if (numberOfIndexedFiles) *numberOfIndexedFiles = run.walked - static_cast<uint32_t>(run.failures.size());
  s_running = 0;
  return std::move(run.failures);
}

bool LCFileIndexing::addFolder(const vesk::URL& folderURL, const std::string& resolvedFolder, Run& run) {
  const std::vector<std::string> subpaths = vesk::path::subpaths(resolvedFolder);
  run.walked += static_cast<uint32_t>(subpaths.size());
  for (const std::string& subpath : subpaths) {
    if (s_abort) return false;
    addSubpath(folderURL, subpath, run);
  }
  return true;
}

void LCFileIndexing::addSubpath(const vesk::URL& folderURL, const std::string& subpath, Run& run) {
  const vesk::URL url = folderURL.appendingPathComponent(subpath);
  const std::string resolvedPath = vesk::path::resolvingSymlinks(url.path());
  if (!vesk::path::exists(resolvedPath)) return;

  std::optional<vesk::URL> destination;
  if (run.destination) destination = run.destination->appendingPathComponent(subpath);
  if (vesk::path::isDirectory(resolvedPath)) {
    if (destination) vesk::path::createDirectories(destination->path());
    return;
  }
  if (!addFileURL(url, run.crateId, destination, run.move)) run.failures.push_back(url);
}

void LCFileIndexing::removeFilenames(std::span<const std::string> paths) {
  std::vector<std::string> files;
  for (const std::string& path : paths) appendFiles(path, files);

  beginBatch();
  {
    const RelationIndex index(*this, files.size());
    if (files.size() >= kManyLoops) executeStatementWithNoReturnValue(kCreateURLIndex);
    for (const std::string& file : files) removeFileURL(vesk::URL::fileURLWithPath(file));
    executeStatementWithNoReturnValue(kDropURLIndex);
  }
  createOptimizationTables();
  commitBatch();
  vesk::NotificationCenter::shared().post(LCFileReloadBaseTablesNotification);
  vesk::NotificationCenter::shared().post(LCFileIndexingDidFinishNotification);
}

// --- Forwarded to the utilities

void LCFileIndexing::setIndexFileSchemaVersion(int64_t schemaVersion, const std::optional<std::string>& appIdentifier) {
  LCSQLiteUtilities::setDatabaseSchemaVersion(schemaVersion, m_sqlite.get());
  if (appIdentifier) LCSQLiteUtilities::setIndexingAppIdentifier(appIdentifier, m_sqlite.get());
}

void LCFileIndexing::setLastExtraKeywordId(int64_t keywordId) {
  LCSQLiteUtilities::setLastExtraKeywordId(keywordId, m_sqlite.get());
}

bool LCFileIndexing::replaceAbsolutePath(const std::string& oldPrefix, const std::string& newPrefix) {
  return LCSQLiteUtilities::replaceAbsolutePath(oldPrefix, newPrefix, m_sqlite.get());
}

void LCFileIndexing::deleteLocalization() {
  LCSQLiteUtilities::deleteLocalizationFlagInSQLite(m_sqlite.get());
}

bool LCFileIndexing::localizeLoopNamesForLocalIdentifier(const std::string& localeIdentifier) {
  return LCSQLiteUtilities::localizeFilenamesInSQLite(m_sqlite.get(), localeIdentifier, {});
}

void LCFileIndexing::fixTypos() {
  LCSQLiteUtilities::fixTypos(m_sqlite.get());
}

bool LCFileIndexing::executeStatementWithNoReturnValue(const std::string& sql) {
  return LCSQLiteUtilities(m_sqlite.get()).executeStatementWithNoReturnValue(sql);
}

bool LCFileIndexing::executeStatementWithGenericReturnValue(const std::string& sql, LCResultDictionary* result) {
  return LCSQLiteUtilities(m_sqlite.get()).executeStatementWithGenericReturnValue(sql, result);
}

// --- The whole process

void LCFileIndexing::startMultipleIndexRuns() {
  s_multipleRuns = 1;
  vesk::NotificationCenter::shared().postOnMainThread(LCFileIndexingWillStartNotification);
}

void LCFileIndexing::endMultipleIndexRuns(LCFileIndexing& indexer) {
  s_multipleRuns = 0;
  indexer.finishIndexingInBlock(true);
  vesk::NotificationCenter::shared().post(LCFileReloadBaseTablesNotification);
}

void LCFileIndexing::abortIndexingForTermination() {
  s_abort = 1;
}

bool LCFileIndexing::isFileIndexingRunning() {
  return s_running || s_multipleRuns;
}

bool LCFileIndexing::isFileIndexable(const vesk::URL& url) {
  const auto parser = LCFileParser::fileParserForURL(url);
  const LCFileData* fileData = parser ? parser->fileData() : nullptr;
  return fileData && fileData->anySearchTags();
}

bool LCFileIndexing::anyNonVireoLoopsAudioFilesForURLs(std::span<const vesk::URL> urls) {
  return std::any_of(urls.begin(), urls.end(), [](const vesk::URL& url) {
    return holdsAudioFileWithoutLoop(vesk::path::resolvingSymlinks(url.path()));
  });
}

void LCFileIndexing::setErrorLoggingEnabled(bool enabled) {
  s_errorLogging = enabled ? 1 : 0;
}
