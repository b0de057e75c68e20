#include "VeskLoopManagement/catalog/LCLibraryScan.h"

#include "catalog/CarriedLoops.h"
#include "catalog/CatalogError.h"
#include "catalog/DatabaseOpening.h"
#include "catalog/FileStates.h"
#include "catalog/FolderWalk.h"
#include "catalog/IndexingRun.h"
#include "catalog/LoopCounter.h"
#include "catalog/LoopRemoval.h"
#include "catalog/LoopRows.h"
#include "catalog/Packages.h"
#include "catalog/QuerySettings.h"
#include "catalog/UnchangedFiles.h"
#include "database/DatabaseFacts.h"
#include "database/LCTransaction.h"
#include "platform/Path.h"
#include "VeskLoopManagement/catalog/LCLibraryFolders.h"
#include "VeskLoopManagement/catalog/LCLoopFile.h"
#include "VeskLoopManagement/database/LCCrateManager.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/fileio/LCFileParser.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <span>

namespace {

using lc::CatalogError;
using lc::WalkedFile;

constexpr const char* kIndexingProgram = "veskloops";
constexpr size_t kMostPathsInGroups = 10000;
constexpr int64_t kFilesInReading = 1000;
// Rows are looked up in the order of their files, which is all over the table: 64 MiB of pages, when there are so many.
constexpr const char* kKeepManyPages = "PRAGMA cache_size = -65536";
constexpr std::chrono::seconds kLongBatch{2};  // well within the time that other programs wait for the database

bool isSameFile(const std::string& left, const std::string& right) {
  std::error_code error;
  return std::filesystem::equivalent(left, right, error);
}

bool haveSameContents(const std::string& left, const std::string& right) {
  std::error_code error;
  if (std::filesystem::file_size(left, error) != std::filesystem::file_size(right, error) || error) return false;
  std::ifstream leftFile(left, std::ios::binary);
  std::ifstream rightFile(right, std::ios::binary);
  std::vector<char> leftPart(1 << 16);
  std::vector<char> rightPart(1 << 16);
  while (leftFile && rightFile) {
    leftFile.read(leftPart.data(), static_cast<std::streamsize>(leftPart.size()));
    rightFile.read(rightPart.data(), static_cast<std::streamsize>(rightPart.size()));
    if (leftFile.gcount() != rightFile.gcount()) return false;
    if (!std::equal(leftPart.begin(), leftPart.begin() + leftFile.gcount(), rightPart.begin())) return false;
  }
  return leftFile.eof() && rightFile.eof();
}

// Whether path keywords are read is a switch of the whole process; it is as before when the scan ends.
class PathKeywordSwitch {
 public:
  explicit PathKeywordSwitch(bool isOn) : m_wasOn(LCFileParser::allowsKeywordExtractionFromPath()) {
    LCFileParser::setAllowsKeywordExtractionFromPath(isOn);
  }
  PathKeywordSwitch(const PathKeywordSwitch&) = delete;
  PathKeywordSwitch& operator=(const PathKeywordSwitch&) = delete;
  ~PathKeywordSwitch() { LCFileParser::setAllowsKeywordExtractionFromPath(m_wasOn); }

 private:
  bool m_wasOn;
};

LCFileProblem problemOf(lc::FileTransferResult::Kind kind) {
  using Kind = lc::FileTransferResult::Kind;
  switch (kind) {
    case Kind::destinationExists:
      return LCFileProblem::destinationExists;
    case Kind::copyFailed:
      return LCFileProblem::copyFailed;
    case Kind::refusedByDatabase:
    case Kind::done:
      break;
  }
  return LCFileProblem::databaseRefused;
}

// Only then every change shows in the state of the file.
bool writesIntoTheFileItself(sqlite3* connection) {
  LCStatement statement(connection, "PRAGMA journal_mode");
  return statement.step() && statement.textAt(0) != "wal";
}

// One run, from the open database to the report.
class Scan {
 public:
  Scan(const std::string& databaseFile, const LCScanRequest& request, LCScanObserver& observer)
      : m_databaseFile(databaseFile), m_request(request), m_observer(observer) {}

  LCScanReport run();

 private:
  void choosePaths();
  void openDatabase();
  void openForDryRun();
  void choosePackage();
  void prepareUnchanged();
  std::optional<int64_t> countFiles();
  void rememberFolder(const std::string& path);

  void walkAll(lc::WalkHandlers handlers);

  // One file: state, reading, placing, writing
  void visit(const WalkedFile& file);
  void add(const WalkedFile& file);
  bool passOverUnchanged(const WalkedFile& file);
  void noteUntagged(const std::string& path);
  // What became of the loop, for what is remembered of its file.
  enum class Written { failed, unsettled, settled };
  Written write(const LCFileData& record, const std::string& path, const std::optional<lc::FileState>& state);
  void place(const WalkedFile& file, const LCFileData& record);
  void transfer(const WalkedFile& file, const LCFileData& record, lc::WrittenLoop written);
  void noteSameIdentity(int64_t loopId, const std::string& urlText, const std::string& path);
  Written noteWritten(const lc::WrittenLoop& written);
  void fail(LCFileFailure failure);
  void failUnwalked(const std::string& path, LCFileProblem problem, const std::string& detail);
  void meetUnwalked(const std::string& path);
  void meetDeadLink(const std::string& path);
  void notePassedOver(const std::string& path);

  // Batches
  void openBatch();    // unless one is open
  void openReading();  // so that the next questions need no locks of their own
  bool isBatchFull() const;
  void commitBatch();
  void carry();
  void prune();
  void pruneBelow(const std::string& folder);
  bool isTakenOver(const LCLoopPlace& gone);
  void noteScan();
  void finish();
  bool isInterrupted();

  const std::string& m_databaseFile;
  const LCScanRequest& m_request;
  LCScanObserver& m_observer;
  LCScanReport m_report;
  bool m_isInterrupted = false;

  // Without a database, in a dry run, these are null.
  std::unique_ptr<LCSearchEngine> m_dryRunEngine;
  std::unique_ptr<LCFileIndexing> m_indexer;
  std::unique_ptr<lc::IndexingRun> m_run;
  std::unique_ptr<lc::LoopRows> m_rows;
  std::unique_ptr<lc::FileStates> m_states;
  std::unique_ptr<lc::CarriedLoops> m_carried;
  std::unique_ptr<lc::UnchangedFiles> m_unchanged;  // null, too, while files are copied
  std::optional<LCTransaction> m_batch;
  std::optional<std::string> m_packageIdentifier;
  std::vector<LCPackage> m_emptyPackages;  // before the scan
  std::vector<std::string> m_paths;        // of the request, and the remembered folders
  bool m_canRemember = true;
  std::chrono::steady_clock::time_point m_batchBegan;
  std::optional<LCTransaction> m_reading;  // while files are passed over
  int64_t m_inReading = 0;                 // files asked about in it
  int64_t m_inBatch = 0;                   // written since the last commit
  lc::LoopCounter m_loops;
  size_t m_pathsInGroups = 0;
};

LCScanReport Scan::run() {
  const auto began = std::chrono::steady_clock::now();
  const PathKeywordSwitch pathKeywords(m_request.readsPathKeywords);
  choosePaths();
  openDatabase();
  choosePackage();
  prepareUnchanged();
  m_observer.phaseBegan(LCScanPhase::indexing, countFiles());
  if (m_indexer) m_indexer->prepareIndexing();
  if (m_states) m_states->begin();
  walkAll({.file = [this](const WalkedFile& file) { visit(file); },
           .failure = [this](const std::string& path,
                             const std::string& detail) { failUnwalked(path, LCFileProblem::unreadable, detail); },
           .deadLink = [this](const std::string& path) { meetDeadLink(path); },
           .missing = [this](const std::string& path) { failUnwalked(path, LCFileProblem::notFound, {}); },
           .filesEnded =
               [this](const std::string& path, const std::vector<std::string>& names) {
                 m_reading.reset();
                 if (m_unchanged) m_unchanged->filesEnded(path, names);
               }});
  m_reading.reset();
  if (m_unchanged) m_unchanged->leaveFolder();
  commitBatch();
  if (m_request.copyTo) rememberFolder(*m_request.copyTo);
  carry();
  if (!isInterrupted() && m_request.prunes) prune();
  m_observer.phaseEnded(LCScanPhase::indexing);
  finish();
  m_report.isInterrupted = m_isInterrupted;
  m_report.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count();
  return m_report;
}

// --- Before the first file ---

void Scan::choosePaths() {
  m_paths = m_request.paths;
  if (!m_request.scansRememberedFolders) return;
  for (auto& folder : LCLibraryFolders(m_databaseFile).list()) m_paths.push_back(std::move(folder));
  if (!m_paths.empty()) return;
  throw CatalogError{{.kind = LCFailureKind::invalidRequest,
                      .message = "no folders are remembered for this loop database",
                      .nextStep = "Name a file or folder."}};
}

// What fails here costs the user no loops.
void Scan::rememberFolder(const std::string& path) {
  if (!m_indexer || !m_canRemember || !vesk::path::isDirectory(path)) return;
  const auto added = LCLibraryFolders(m_databaseFile).add(path);
  if (!added) {
    m_canRemember = false;
    m_observer.warned(fmt::format("{}: {}", added.failure().message, added.failure().subject),
                      added.failure().nextStep);
  }
}

void Scan::openDatabase() {
  if (m_request.isDryRun) {
    openForDryRun();
    if (!m_rows) return;
  } else {
    lc::OpenedIndexer opened = lc::openOrCreateIndexer(m_databaseFile);
    if (opened.damagedFileKeptAs) {
      m_observer.warned(fmt::format("the loop database {} was damaged and starts anew; the old file is kept as {}",
                                    m_databaseFile, *opened.damagedFileKeptAs),
                        "Scan your other folders again, too.");
    }
    m_indexer = std::move(opened.indexer);
    m_indexer->executeStatementWithNoReturnValue(kKeepManyPages);
    m_run = std::make_unique<lc::IndexingRun>(*m_indexer, lc::IndexingRun::Kind::scan);
    m_rows = std::make_unique<lc::LoopRows>(m_indexer->sqlite3Connection());
    m_emptyPackages = lc::emptyPackages(*m_rows);
  }
  const auto use = m_indexer ? lc::FileStates::Use::readWrite : lc::FileStates::Use::readOnly;
  m_states = std::make_unique<lc::FileStates>(m_databaseFile, use);
  if (m_rows->isUnused()) m_states->clearCache();  // they were of a database that is gone
  m_carried = std::make_unique<lc::CarriedLoops>(*m_rows, *m_states, m_run.get(),
                                                 [this](const std::string& text) { m_observer.noted(text); });
}

// When the package is known.
void Scan::prepareUnchanged() {
  if (!m_rows || m_request.copyTo) return;
  sqlite3* connection = m_indexer ? m_indexer->sqlite3Connection() : m_dryRunEngine->sqlite3Connection();
  m_unchanged = std::make_unique<lc::UnchangedFiles>(
      *m_states, *m_rows,
      lc::UnchangedFiles::Rules{
          .formerScan = lc::facts::lastScan(connection).value_or(""),
          .readsEveryFile = m_request.readsEveryFile,
          .readsPathWords = m_request.readsPathKeywords,
          .onlyTagged = m_request.onlyTagged,
          .package = m_packageIdentifier,
          .databaseFile = writesIntoTheFileItself(connection) ? std::optional(m_databaseFile) : std::nullopt});
}

// What stands in the way of reading is said; then every file counts as new.
void Scan::openForDryRun() {
  try {
    m_dryRunEngine = lc::openEngine(m_databaseFile, {.access = LCCatalogAccess::read}).engine;
    m_rows = std::make_unique<lc::LoopRows>(m_dryRunEngine->sqlite3Connection());
  } catch (const CatalogError& error) {
    if (error.failure.kind == LCFailureKind::databaseMissing) return;
    m_observer.warned(fmt::format("{}: {}", error.failure.message, error.failure.subject), error.failure.nextStep);
  }
}

// A known package by identifier or name, else a new one of the user's by that name.
void Scan::choosePackage() {
  if (!m_request.package) return;
  const std::string& word = *m_request.package;
  if (word.empty()) {
    throw CatalogError{{.kind = LCFailureKind::invalidRequest, .message = "the package needs a name"}};
  }
  if (m_rows) {
    if (const auto package = lc::findPackage(*m_rows, word)) {
      m_packageIdentifier = package->identifier;
      return;
    }
    if (word.starts_with(std::string(kContentIdentifierPrefix) + "."))
      lc::requiredPackage(*m_rows, word);  // says what is near
  }
  m_packageIdentifier = LCCrateManager::crateIdentifierForManufacturer(LCFileIndexingUserLoopsManufacturer, word, true);
  if (m_request.isDryRun) return;
  m_run->expectWork();  // without loops, it goes again
  const std::string manufacturer(LCFileIndexingUserLoopsManufacturer);
  lc::writePackage({.identifier = *m_packageIdentifier, .name = word, .manufacturer = manufacturer}, m_databaseFile);
}

// The number of files to come; a list that becomes known on the way can be walked only once.
std::optional<int64_t> Scan::countFiles() {
  if (!m_observer.wantsTotals() || m_request.nextPath) return std::nullopt;
  m_observer.phaseBegan(LCScanPhase::counting, std::nullopt);
  int64_t count = 0;
  const auto add = [&](const std::string& path) { m_observer.advanced(++count, path); };
  walkAll({.file = [&](const WalkedFile& file) { add(file.path); },
           .failure = [&](const std::string& path, const std::string&) { add(path); },
           .deadLink = add,
           .missing = add});
  m_observer.phaseEnded(LCScanPhase::counting);
  return count;
}

// --- Walking ---

bool Scan::isInterrupted() {
  if (!m_isInterrupted) m_isInterrupted = !m_observer.shouldContinue();
  return m_isInterrupted;
}

void Scan::walkAll(lc::WalkHandlers handlers) {
  lc::FolderWalk walk({.excludedPatterns = m_request.excludedPatterns, .withHidden = m_request.withHidden},
                      std::move(handlers), [this] { return !isInterrupted(); });
  if (m_request.copyTo) walk.skipFolder(*m_request.copyTo);
  for (const auto& path : m_paths) {
    if (!m_request.copyTo) rememberFolder(path);
    walk.walk(path);
    if (isInterrupted()) return;
  }
  while (const auto path = m_request.nextPath ? m_request.nextPath() : std::nullopt) {
    if (!m_request.copyTo) rememberFolder(*path);
    walk.walk(*path);
    if (isInterrupted()) return;
  }
}

// --- One file ---

void Scan::visit(const WalkedFile& file) {
  ++m_report.walked;
  if (!passOverUnchanged(file)) add(file);
  m_observer.advanced(m_report.walked, file.path);
  if (!isBatchFull()) return;
  commitBatch();
  if (m_carried && m_carried->hasMany()) carry();
}

// Tells of the file what reading it would.
bool Scan::passOverUnchanged(const WalkedFile& file) {
  if (!m_unchanged) return false;
  openReading();
  const vesk::URL url = vesk::URL::fileURLWithPath(file.path, false);
  const auto known = m_unchanged->find(file, url);
  if (!known) return false;
  if (!known->isTagged) noteUntagged(file.path);
  if (!known->isTagged && m_request.onlyTagged) return true;
  ++m_report.unchanged;
  if (known->otherPlace) noteSameIdentity(known->loopId, url.absoluteString(), file.path);
  m_carried->noteUnchanged(url, file.status.state, known->loopId);
  return true;
}

void Scan::noteUntagged(const std::string& path) {
  ++m_report.untagged;
  m_observer.noted(fmt::format("{}: without tags", path));
}

void Scan::add(const WalkedFile& file) {
  m_reading.reset();
  if (m_unchanged) m_unchanged->beginReading(file);
  LCLoopFile read = LCLoopFile::read(file.path, vesk::URL::fileURLWithPath(file.path, false));
  if (!read.record && read.failure.problem == LCFileProblem::unsupported) return notePassedOver(file.path);
  if (!read.record) return fail(std::move(read.failure));
  const bool isTagged = read.record->anySearchTags();
  if (!isTagged) noteUntagged(file.path);
  if (!isTagged && m_request.onlyTagged) {
    if (m_unchanged && read.isSelfContained) m_unchanged->rememberLeftOut(file);
    return;
  }
  if (m_request.copyTo) return place(file, *read.record);
  const Written written = write(*read.record, file.path, file.status.state);
  if (written == Written::failed || !m_unchanged || !read.isSelfContained) return;
  m_unchanged->rememberWritten(file, read.record->hash, isTagged, written == Written::settled);
}

Scan::Written Scan::write(const LCFileData& record, const std::string& path,
                          const std::optional<lc::FileState>& state) {
  noteSameIdentity(record.hash, record.fileURL()->absoluteString(), path);
  const bool isKept = m_rows && record.isFactoryBundleLoop && m_rows->placeWithId(record.hash);
  if (isKept) {
    ++m_report.unchanged;  // rows of the factory bundle are never replaced
    return Written::settled;
  }
  openBatch();
  if (!m_indexer || m_indexer->writeFileData(record, m_packageIdentifier)) {
    return noteWritten({.url = *record.fileURL(), .loopId = record.hash, .state = state, .movedFrom = std::nullopt});
  }
  fail({.path = path, .problem = LCFileProblem::databaseRefused});
  return Written::failed;
}

Scan::Written Scan::noteWritten(const lc::WrittenLoop& written) {
  ++m_inBatch;
  m_loops.add(written.loopId);
  return m_carried && m_carried->note(written) ? Written::settled : Written::unsettled;
}

void Scan::noteSameIdentity(int64_t loopId, const std::string& urlText, const std::string& path) {
  if (!m_rows) return;
  const auto known = m_rows->placeWithId(loopId);
  if (!known || known->urlText == urlText) return;
  const std::string otherPath = known->path();
  if (!vesk::path::exists(otherPath)) {
    m_states->forget(known->urlText, loopId);
    return;
  }
  if (isSameFile(otherPath, path)) return;
  auto& groups = m_report.sameIdentity;
  groups.isComplete = groups.isComplete && m_pathsInGroups < kMostPathsInGroups;
  if (!groups.isComplete) return;
  auto& group = groups.pathsOfLoop[loopId];
  m_pathsInGroups += group.insert(path).second;
  m_pathsInGroups += group.insert(otherPath).second;
}

// Copies or moves the file, and writes the row of what stands there then.
void Scan::place(const WalkedFile& file, const LCFileData& record) {
  const std::string destination =
      vesk::path::appending(vesk::path::resolvingSymlinks(*m_request.copyTo), file.relativePath);
  const vesk::URL destinationURL = vesk::URL::fileURLWithPath(destination, false);
  if (vesk::path::exists(destination)) {
    if (!isSameFile(file.path, destination) && !haveSameContents(file.path, destination)) {
      return fail({.path = file.path, .problem = LCFileProblem::destinationExists, .detail = destination});
    }
    const std::string standing = vesk::path::resolvingSymlinks(destination);
    LCFileData copied = record;
    copied.storedFileURL = vesk::URL::fileURLWithPath(standing, false);
    write(copied, standing, lc::fileStateAt(standing));
    return;
  }
  lc::WrittenLoop written{.url = destinationURL, .loopId = record.hash, .state = {}, .movedFrom = {}};
  if (m_request.movesInsteadOfCopying) written.movedFrom = record.fileURL();
  if (m_indexer) return transfer(file, record, written);
  noteWritten(written);
}

void Scan::transfer(const WalkedFile& file, const LCFileData& record, lc::WrittenLoop written) {
  using Transfer = lc::FileTransfer;
  openBatch();
  const auto result = m_indexer->addFileDataAndTransferFile(
      record, m_packageIdentifier,
      {.source = vesk::URL::fileURLWithPath(file.path, false),
       .destination = written.url,
       .way = m_request.movesInsteadOfCopying ? Transfer::Way::move : Transfer::Way::copy});
  if (!result.isDone()) return fail({.path = file.path, .problem = problemOf(result.kind), .detail = result.reason});
  written.state = lc::fileStateAt(written.url.path());
  noteWritten(written);
}

void Scan::failUnwalked(const std::string& path, LCFileProblem problem, const std::string& detail) {
  meetUnwalked(path);
  fail({.path = path, .problem = problem, .detail = detail});
}

void Scan::meetUnwalked(const std::string& path) {
  m_observer.advanced(++m_report.walked, path);
}

// By its name it may have been meant for no loop at all.
void Scan::meetDeadLink(const std::string& path) {
  if (LCLoopFile::isNameOfLoopFile(path)) {
    return failUnwalked(path, LCFileProblem::unreadable, "a link that leads nowhere");
  }
  meetUnwalked(path);
  notePassedOver(path);
}

void Scan::notePassedOver(const std::string& path) {
  ++m_report.unsupported;
  m_observer.noted(fmt::format("{}: of another type", path));
}

void Scan::fail(LCFileFailure failure) {
  ++m_report.failed;
  m_observer.fileFailed(failure);
}

// --- Batches ---

void Scan::openBatch() {
  if (!m_indexer || m_batch) return;
  sqlite3* connection = m_indexer->sqlite3Connection();
  m_batch.emplace(connection, LCTransaction::Begin::immediately);
  if (!m_batch->isOpen()) throw CatalogError{lc::databaseFailure(lc::lastStatusOf(connection), m_databaseFile)};
  m_run->claim();
  if (m_unchanged) m_unchanged->databaseChanges();
  m_batchBegan = std::chrono::steady_clock::now();
}

// Not for long, for others wait with their changes until it ends.
void Scan::openReading() {
  if (m_reading && ++m_inReading < kFilesInReading) return;
  m_reading.reset();
  m_inReading = 0;
  if (!m_batch && m_indexer) m_reading.emplace(m_indexer->sqlite3Connection());
}

bool Scan::isBatchFull() const {
  if (m_inBatch >= m_request.batchSize) return true;
  return m_batch && std::chrono::steady_clock::now() - m_batchBegan > kLongBatch;
}

// The states come second, so that they never tell of a loop that is not in the database.
void Scan::commitBatch() {
  m_reading.reset();
  if (m_batch) {
    const bool isCommitted = m_batch->commit();
    const int status = lc::lastStatusOf(m_indexer->sqlite3Connection());
    m_batch.reset();
    if (!isCommitted) throw CatalogError{lc::databaseFailure(status, m_databaseFile)};
    noteScan();
  }
  if (m_states) {
    m_states->commit();
    m_states->begin();
  }
  m_report.indexed += m_inBatch;
  m_report.loops = m_loops.count();
  m_inBatch = 0;
}

void Scan::carry() {
  if (!m_carried) return;
  m_states->commit();
  m_carried->carryAll();
  if (m_unchanged) m_unchanged->settle();
  noteScan();
  m_states->begin();
  m_report.carried = m_carried->count();
}

void Scan::prune() {
  if (!m_rows) return;
  for (const auto& path : m_paths) {
    if (vesk::path::isDirectory(path)) pruneBelow(vesk::path::resolvingSymlinks(path));
  }
}

// Placeholders stand for loops that are not on this disk yet, and stay.
void Scan::pruneBelow(const std::string& folder) {
  std::vector<LCLoopPlace> gone;
  m_rows->forEachPlaceBelow(vesk::URL::fileURLWithPath(folder, true).absoluteString(), std::nullopt,
                            [&](const LCLoopPlace& known) {
                              const bool stays = known.isPlaceholder || m_carried->wouldBeGone(known.id);
                              if (!stays && !vesk::path::exists(known.path())) gone.push_back(known);
                              return true;
                            });
  std::erase_if(gone, [this](const LCLoopPlace& known) { return !isInterrupted() && isTakenOver(known); });
  commitBatch();
  const auto batchSize = static_cast<size_t>(m_request.batchSize);
  for (size_t begin = 0; begin < gone.size() && !isInterrupted(); begin += batchSize) {
    const auto batch = std::span(gone).subspan(begin, std::min(batchSize, gone.size() - begin));
    for (const auto& known : batch) m_observer.noted(fmt::format("{}: gone", known.path()));
    if (m_run) lc::removeBatch(*m_run, batch);
    lc::CarriedLoops::forgetRemoved(*m_states, *m_rows, batch);
    m_report.removed += std::ssize(batch);
  }
}

// The row becomes that of another file of the same identity, wherever that is.
bool Scan::isTakenOver(const LCLoopPlace& gone) {
  for (const auto& file : m_states->cached().filesOfLoop(gone.id)) {
    const std::string path = LCLoopPlace{.urlText = file.urlText}.path();
    if (lc::fileStateAt(path) != file.state) continue;
    const auto url = vesk::URL::fileURLWithPath(path, false);
    const LCLoopFile read = LCLoopFile::read(path, url);
    if (!read.record || read.record->hash != gone.id) continue;
    openBatch();
    if (m_indexer && !m_indexer->writeFileData(*read.record, std::nullopt)) continue;
    noteWritten({.url = url, .loopId = gone.id, .state = file.state, .movedFrom = std::nullopt});
    m_observer.noted(fmt::format("{}: takes the place of {}", path, gone.path()));
    if (isBatchFull()) commitBatch();
    return true;
  }
  return false;
}

// From here on what is remembered of folders is of the database as this scan has written it.
void Scan::noteScan() {
  if (m_run && m_run->isLastScan()) m_states->cached().setScanOfFolders(m_run->name());
}

void Scan::finish() {
  if (m_run && m_run->hasWork()) {
    m_observer.phaseBegan(LCScanPhase::finishing, std::nullopt);
    m_run->finish();
    noteScan();
    lc::writePackages(m_emptyPackages, m_databaseFile);
    m_indexer->setIndexFileSchemaVersion(kDefaultDatabaseSchemaVersion, kIndexingProgram);
    m_observer.phaseEnded(LCScanPhase::finishing);
  }
  if (!m_states) return;
  m_states->commit();
  for (const auto& trouble : m_states->troubles()) {
    if (trouble.consequence) {
      m_observer.warned(fmt::format("{}; {}", trouble.text, *trouble.consequence), "Make its folder writable.");
    } else {
      m_observer.noted(trouble.text);
    }
  }
}

}  // namespace

LCOutcome<LCScanReport> LCLibraryScan::run(const std::string& databaseFile, const LCScanRequest& request,
                                           LCScanObserver& observer) {
  return lc::outcomeOf([&] { return Scan(databaseFile, request, observer).run(); });
}
