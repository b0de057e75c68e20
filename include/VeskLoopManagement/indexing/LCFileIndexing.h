// LCFileIndexing puts loop files into the loop database and takes them out again. One indexer owns one connection; it
// is used by one thread at a time, any thread. A run over files and folders is one transaction; end-of-run work (group
// keywords, per-keyword tables, keyword distribution, empty packages) follows it, or, between startMultipleIndexRuns()
// and endMultipleIndexRuns(), once for all runs. A file without parser or search tags is a failure of that file only.
// Besides the list of paths of the folder at work, memory does not grow with the number of files.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "VeskLoopManagement/database/LCConnection.h"
#include "VeskLoopManagement/database/LCCrateManager.h"
#include "VeskLoopManagement/database/LCDatabaseConfiguration.h"
#include "VeskLoopManagement/database/LCStatement.h"
#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/loudness/LCLoudnessDatabase.h"
#include "VeskLoopManagement/loudness/LCMetaInfoDatabase.h"
#include "VeskLoopManagement/model/LCFileData.h"
#include "VeskLoopManagement/platform/URL.h"

// A loop that lives on under a new id: its file was tagged anew or renamed, and identities are made of both.
struct LCLoopCarry {
  int64_t loopId = 0;
  int64_t toLoopId = 0;
};

namespace lc {

// A file that is to come to another place.
struct FileTransfer {
  enum class Way { copy, move };
  vesk::URL source;       // a link is followed: what it leads to is copied or moved
  vesk::URL destination;  // of the file itself; folders above it are made
  Way way = Way::copy;
};

struct FileTransferResult {
  enum class Kind { done, refusedByDatabase, destinationExists, copyFailed };
  Kind kind = Kind::done;
  std::string reason;  // the system's words, where it was the file system
  bool isDone() const { return kind == Kind::done; }
};

}  // namespace lc

// Will-start and did-finish reach observers on the main thread; reload is posted on the thread that ends the run.
inline constexpr std::string_view LCFileIndexingWillStartNotification = "LCFileIndexingWillStartNotification";
inline constexpr std::string_view LCFileIndexingDidFinishNotification = "LCFileIndexingDidFinishNotification";
inline constexpr std::string_view LCFileReloadBaseTablesNotification = "LCFileReloadBaseTablesNotification";
inline constexpr std::string_view kLCIndexingFinished = "LCIndexingFinished";

class LC_EXPORT LCFileIndexing {
 public:
  // --- Opening and loudness (LCFileIndexing.cpp) ---
  // Opens the database file for writing, creating it with all tables; null when it cannot be opened.
  [[nodiscard]] static std::unique_ptr<LCFileIndexing> initWithDatabaseConfiguration(
      const LCDatabaseConfiguration& configuration);
  ~LCFileIndexing();
  sqlite3* sqlite3Connection() const { return m_sqlite.get(); }  // borrowed
  // Loudness is recorded while a service is set. `service` is shared with the caller; null removes it.
  void setLoudnessAnalyzerService(std::shared_ptr<LCLoudnessAnalyzerService> service, bool createSeparateFile);
  LCLoudnessDatabase* loudnessDatabase() const { return m_loudnessDatabase.get(); }  // borrowed; may be null
  void setLoudnessDatabase(std::unique_ptr<LCLoudnessDatabase> database) { m_loudnessDatabase = std::move(database); }
  LCMetaInfoDatabase* metaInfoDatabase() const { return m_metaInfoDatabase.get(); }
  void setMetaInfoDatabase(std::unique_ptr<LCMetaInfoDatabase> database) { m_metaInfoDatabase = std::move(database); }

  // --- Runs (LCFileIndexing.cpp). Each answers the URLs that failed. `numberOfIndexedFiles` (may be null) gets items
  // walked, sub-folders included, minus failures. ---
  std::vector<vesk::URL> addFilenames(std::span<const vesk::URL> urls, const std::optional<std::string>& toCrate,
                                      uint32_t* numberOfIndexedFiles = nullptr);
  // nullopt without a folder, when the destination cannot be made, or after an abort.
  std::optional<std::vector<vesk::URL>> addDirectoryURL(const std::optional<vesk::URL>& url,
                                                        const std::optional<std::string>& toCrate,
                                                        uint32_t* numberOfIndexedFiles,
                                                        const std::optional<vesk::URL>& newDestination, bool move);
  void removeFilenames(std::span<const std::string> paths);

  // --- Runs of the host's own (LCFileIndexing.cpp), which walks the files itself, for progress and batches:
  // prepareIndexing, then for each batch beginBatch, a write or a removal for each file, commitBatch, and at the end
  // finishIndexingInBlock. ---
  void prepareIndexing();
  bool beginBatch();
  bool commitBatch();

  // --- One file (LCFileIndexing.cpp) ---
  // The path is resolved for reading; the row stores `url` as given, or the new destination.
  bool addFileURL(const vesk::URL& url, const std::optional<std::string>& toCrateId,
                  const std::optional<vesk::URL>& newDestination, bool move);
  // Takes out the first loop with this URL and answers whether the lookup ran. The URL stands in the statement as it
  // is, so one with an apostrophe is not found; removeLoopWithId() takes out any loop.
  bool removeFileURL(const vesk::URL& url);
  bool removeLoopWithId(int64_t loopId);  // the loop's own rows and its relations; whether all statements ran
  // The same for many loops, which is far quicker than one by one; call it between beginBatch and commitBatch.
  bool removeLoopsWithIds(std::span<const int64_t> loopIds);
  bool updateFileURL(const vesk::URL& url);  // always false

  // --- Writing a record (LCFileIndexingStatements.cpp) ---
  // True when the last statement of the write ran to its end. Loudness that had to be measured is entered into the
  // record.
  bool addFileDataToDatabase(LCFileData& fileData, const std::optional<std::string>& relateToCrateId);
  bool addFileDataToDatabase(const LCFileData& fileData, const std::optional<std::string>& relateToCrateId);
  // The same for every file that reads, tagged or not: true when all that is to be written was, also where that is a
  // row without keywords and without package.
  [[nodiscard]] bool writeFileData(const LCFileData& fileData, const std::optional<std::string>& relateToCrateId);
  int32_t keywordCategoryForKeyword(const std::string& keyword);
  // Reads anew which keywords the database has: before a run, and after writes were undone that may have brought some.
  void updateKeywordCache();

  // --- Writing a record and bringing its file to its place (LCFileIndexingTransfer.cpp) ---
  // Writes the record (see writeFileData), which was read from the source, under the destination, and copies or moves
  // the file there, one of Sound Designer II with its resource fork. All or nothing, within a batch or by itself: what
  // the record's row replaced stays unless the result is done, and so do the files. Folders that were made for it stay,
  // and loudness in a file of its own.
  [[nodiscard]] lc::FileTransferResult addFileDataAndTransferFile(const LCFileData& fileData,
                                                                  const std::optional<std::string>& toCrateId,
                                                                  const lc::FileTransfer& transfer);

  // --- Carrying what belongs to a loop (LCFileIndexingCarry.cpp) ---
  // Takes out a loop whose file is known under a new id, after everything that is not read from the file went over to
  // the row of `toLoopId`: the user's marks, packages, loudness, meta infos. What the new row has already wins; it is a
  // favourite when either was. Loudness stays behind when the length has changed, for then it was measured on other
  // audio. Writes within the caller's transaction; false when there is no such new row or a statement fails. A separate
  // loudness file is left alone.
  bool carryLoopWithId(int64_t loopId, int64_t toLoopId);
  bool carryLoopsWithIds(std::span<const LCLoopCarry> carries);  // quicker for many, as above

  // --- The end of a run (LCFileIndexingFinish.cpp) ---
  void finishIndexingInBlock(bool inBlock);  // all of the next three, with its own BEGIN and COMMIT when `inBlock`
  void addSpecialCategoriesKeywords();       // loops with a keyword of a group get the group's
  void createOptimizationTables();           // the loops of each keyword, and how many
  void removeEmptyCrates();

  // --- The database as a whole (LCFileIndexing.cpp) ---
  void setIndexFileSchemaVersion(int64_t schemaVersion, const std::optional<std::string>& appIdentifier = std::nullopt);
  void setLastExtraKeywordId(int64_t keywordId);
  bool replaceAbsolutePath(const std::string& oldPrefix, const std::string& newPrefix);
  void deleteLocalization();
  bool localizeLoopNamesForLocalIdentifier(const std::string& localeIdentifier);
  void fixTypos();
  bool executeStatementWithNoReturnValue(const std::string& sql);
  bool executeStatementWithGenericReturnValue(const std::string& sql, LCResultDictionary* result);

  // --- The whole process (LCFileIndexing.cpp) ---
  static void startMultipleIndexRuns();
  static void endMultipleIndexRuns(LCFileIndexing& indexer);
  static void abortIndexingForTermination();  // from any thread; never cleared
  static bool isFileIndexingRunning();
  static bool isFileIndexable(const vesk::URL& url);
  static bool anyNonVireoLoopsAudioFilesForURLs(std::span<const vesk::URL> urls);
  static void setErrorLoggingEnabled(bool enabled);

 private:
  LCFileIndexing(LCConnection connection, int64_t schemaVersion);

  struct Run;  // what one run was asked for, and what came of it so far
  struct CarryStatements {
    LCStatement places, marks, removeMarks, packages, loudness, removeLoudness, metaInfos, removeMetaInfos;
  };

  std::vector<vesk::URL> _addFilenames(std::span<const vesk::URL> urls, const std::optional<std::string>& toCrate,
                                       uint32_t* numberOfIndexedFiles, const std::optional<vesk::URL>& newDestination,
                                       bool move);
  bool addFolder(const vesk::URL& folderURL, const std::string& resolvedFolder, Run& run);  // false after an abort
  void addSubpath(const vesk::URL& folderURL, const std::string& subpath, Run& run);
  lc::FileTransferResult writeAndTransfer(const LCFileData& fileData, const std::optional<std::string>& toCrateId,
                                          const lc::FileTransfer& transfer);
  bool writeRow(LCFileData& fileData);
  bool addRelations(const LCFileData& fileData, const std::optional<std::string>& crateId);
  bool addToCrate(const std::optional<std::string>& crateId, int64_t loopId);
  bool addTagging(int64_t loopId, const std::string& keyword);
  std::optional<int64_t> idOfKeyword(const std::string& keyword);  // entered when it is new; nullopt when that failed
  void saveLoudness(LCFileData& fileData);
  LCStatement& insertLoopsStatementForFileData(const LCFileData& fileData);
  LCStatement* insertKeywordStatementForKeyword(const std::optional<std::string>& keyword, int64_t keywordCategory);
  LCStatement& insertTaggingStatementForLoopId(int64_t loopId, int64_t keywordId);
  LCStatement& insertLoopsKeywordsRelationForFileData(const LCFileData& fileData);
  LCStatement& insertEmptyLoopsKeywords(int64_t loopId);
  LCStatement* insertCrateRelationForCrateId(const std::optional<std::string>& crateId, int64_t toLoopId);

  LCConnection m_sqlite;  // declared first: statements and databases below borrow it and go before it
  int64_t m_schemaVersion;
  LCStatement m_insertLoop, m_insertLoopFactoryBundleLoop, m_insertKeyword, m_insertTagging, m_insertLoopsKeywords,
      m_insertEmptyLoopsKeywords, m_insertCrateRelation;
  CarryStatements m_carry;
  std::map<std::string, int32_t> m_keywordCategories;
  std::map<std::string, int64_t> m_keywordCache;
  std::shared_ptr<LCLoudnessAnalyzerService> m_loudnessAnalyzerService;
  std::unique_ptr<LCLoudnessDatabase> m_loudnessDatabase;
  std::unique_ptr<LCMetaInfoDatabase> m_metaInfoDatabase;
};
