#include "IndexCommand.h"

#include "Arguments.h"
#include "CarriedLoops.h"
#include "Database.h"
#include "English.h"
#include "FileStates.h"
#include "FolderWalk.h"
#include "IdentityGroups.h"
#include "JSON.h"
#include "LoopArguments.h"
#include "LoopFile.h"
#include "LoopRows.h"
#include "Output.h"
#include "platform/Path.h"
#include "Progress.h"
#include "Signals.h"
#include "VeskLoopManagement/database/LCCrateManager.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/fileio/LCFileParser.h"
#include "VeskLoopManagement/indexing/LCFileIndexing.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <memory>
#include <span>

namespace {

constexpr const char* kIndexingProgram = "veskloops";

struct IndexArguments {
  PathListOptions paths;
  std::optional<std::string> crate;
  std::optional<std::string> copyTo;
  std::vector<std::string> excludedPatterns;
  int64_t batchSize = 500;
  bool move = false;
  bool prune = false;
  bool noPathKeywords = false;
  bool dryRun = false;
};

struct IndexCounts {
  int64_t walked = 0;
  int64_t indexed = 0;  // committed
  int64_t unchanged = 0;
  int64_t removed = 0;
  int64_t untagged = 0;
  int64_t unsupported = 0;
  int64_t failed = 0;
};

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

// One run of the command, from the open database to the summary.
class IndexRun {
 public:
  IndexRun(Context& context, const IndexArguments& arguments)
      : m_context(context), m_output(context.output), m_arguments(arguments), m_progress(context.output) {}

  int run();

 private:
  void requireExistingPaths() const;
  void openDatabase();
  void chooseCrate();
  std::optional<int64_t> countFiles();
  void walkAll(const FolderWalk::FileHandler& file, const FolderWalk::FailureHandler& failure,
               const std::function<void(const std::string& path)>& missing);
  void failUnwalked(const std::string& path, const std::string& reason, const std::string& detail);
  FolderWalk makeWalk() const;

  void visit(const WalkedFile& file);
  void add(const WalkedFile& file);
  void addByCopying(const WalkedFile& file, const LCFileData& record);
  void write(const LCFileData& record, const std::string& path, const std::optional<FileState>& state);
  bool copyAndWrite(const vesk::URL& source, const vesk::URL& destination);
  void noteSameIdentity(const LCFileData& record, const std::string& path);
  void fail(const std::string& path, const std::string& reason, const std::string& detail);

  void noteWritten(const WrittenLoop& written);

  void beginBatch();
  void commitBatch();
  void carryLoops();
  void prune();
  void pruneBelow(const std::string& folder);
  void finishDatabase();
  int report();
  bool isInterrupted() const { return InterruptionGuard::isInterrupted(); }

  Context& m_context;
  Output& m_output;
  const IndexArguments& m_arguments;
  Progress m_progress;
  std::unique_ptr<LCFileIndexing> m_indexer;       // null in a dry run
  std::unique_ptr<LCSearchEngine> m_dryRunEngine;  // the database as it is, in a dry run; null when there is none
  std::unique_ptr<LoopRows> m_rows;                // null without a database
  std::unique_ptr<FileStates> m_states;            // as m_rows
  std::unique_ptr<CarriedLoops> m_carried;         // as m_rows
  std::optional<std::string> m_crateIdentifier;
  std::string m_copyFolder;  // absolute; "" for none
  IndexCounts m_counts;
  int64_t m_inBatch = 0;  // written since the last commit
  IdentityGroups m_identities;
  std::chrono::steady_clock::time_point m_began = std::chrono::steady_clock::now();
};

int IndexRun::run() {
  requireExistingPaths();
  if (m_arguments.noPathKeywords) LCFileParser::setAllowsKeywordExtractionFromPath(false);
  if (m_arguments.copyTo) m_copyFolder = absolutePath(*m_arguments.copyTo);
  openDatabase();
  chooseCrate();

  const InterruptionGuard guard;
  m_output.beginDocument("veskloops.index/1", Output::Summary::alsoAsLastLine);
  m_output.beginList("failures");
  const auto total = countFiles();
  m_progress.begin("index", total);
  if (m_indexer) m_indexer->prepareIndexing();
  if (m_indexer) beginBatch();
  walkAll([this](const WalkedFile& file) { visit(file); },
          [this](const std::string& path, const std::string& detail) { failUnwalked(path, "unreadable", detail); },
          [this](const std::string& path) { failUnwalked(path, "notFound", {}); });
  if (m_indexer) commitBatch();
  carryLoops();
  if (m_arguments.prune && !isInterrupted()) prune();
  m_progress.end();
  finishDatabase();
  return report();
}

// --- Before the first file ---

void IndexRun::requireExistingPaths() const {
  for (const auto& argument : m_arguments.paths.arguments) {
    if (argument == "-" || vesk::path::exists(absolutePath(argument))) continue;
    throw Failure{.code = kExitNotFound,
                  .kind = "notFound",
                  .message = "no such file or folder",
                  .subject = argument,
                  .nextStep = "Rows of files that are gone are taken out by veskloops remove."};
  }
}

void IndexRun::openDatabase() {
  if (m_arguments.dryRun) {
    m_dryRunEngine = openForReadingIfPossible(m_context);
    if (!m_dryRunEngine) return;
    m_rows = std::make_unique<LoopRows>(m_dryRunEngine->sqlite3Connection());
  } else {
    m_indexer = openOrCreate(m_context);
    m_rows = std::make_unique<LoopRows>(m_indexer->sqlite3Connection());
  }
  const auto use = m_indexer ? FileStates::Use::readWrite : FileStates::Use::readOnly;
  m_states = std::make_unique<FileStates>(m_output, databaseFile(m_context), use);
  if (m_rows->isUnused()) m_states->clear();  // they were of a database that is gone
  m_carried = std::make_unique<CarriedLoops>(m_output, *m_rows, *m_states, m_indexer.get());
}

// A known package by identifier or name, else a new one of the user's by that name.
void IndexRun::chooseCrate() {
  if (!m_arguments.crate) return;
  const std::string& word = *m_arguments.crate;
  if (word.empty()) throw usageFailure("--crate needs a name");
  if (m_rows) {
    if (const auto crate = findCrate(*m_rows, word)) {
      m_crateIdentifier = crate->identifier;
      return;
    }
  }
  if (word.starts_with(kContentIdentifierPrefix + ".")) {
    if (m_rows) requiredCrate(*m_rows, word);  // says what is near
  }
  m_crateIdentifier = LCCrateManager::crateIdentifierForManufacturer(LCFileIndexingUserLoopsManufacturer, word, true);
  if (m_arguments.dryRun) return;
  const auto manager = LCCrateManager::initWithDatabaseConfiguration(databaseConfiguration(m_context, false));
  if (!manager ||
      !manager->createCrateWithIdentifier(*m_crateIdentifier, word, LCFileIndexingUserLoopsManufacturer, false)) {
    throw Failure{
        .code = kExitDatabase, .kind = "database", .message = "the package could not be made", .subject = word};
  }
}

FolderWalk IndexRun::makeWalk() const {
  FolderWalk walk(m_arguments.excludedPatterns, [this] { return !isInterrupted(); });
  if (!m_copyFolder.empty()) walk.skipFolder(m_copyFolder);
  return walk;
}

// The number of files to come, for the progress line; a list on standard input can be read only once.
std::optional<int64_t> IndexRun::countFiles() {
  if (!m_progress.isShown() || readsStandardInput(m_arguments.paths)) return std::nullopt;
  m_progress.begin("scan", std::nullopt);
  int64_t count = 0;
  walkAll([&](const WalkedFile& file) { m_progress.step(++count, file.path); },
          [&](const std::string&, const std::string&) { ++count; }, [&](const std::string&) { ++count; });
  m_progress.end();
  return count;
}

void IndexRun::walkAll(const FolderWalk::FileHandler& file, const FolderWalk::FailureHandler& failure,
                       const std::function<void(const std::string& path)>& missing) {
  FolderWalk walk = makeWalk();
  forEachEntry(m_arguments.paths, [&](const std::string& entry, bool) {
    const std::string path = absolutePath(entry);
    if (!walk.walk(path, file, failure)) missing(path);
    return !isInterrupted();
  });
}

// --- One file ---

void IndexRun::visit(const WalkedFile& file) {
  ++m_counts.walked;
  add(file);
  m_progress.step(m_counts.walked, file.path);
  if (m_indexer && m_inBatch >= m_arguments.batchSize) {
    commitBatch();
    if (m_carried->hasMany()) carryLoops();
    beginBatch();
  }
}

void IndexRun::add(const WalkedFile& file) {
  const auto state = fileStateAt(file.resolvedPath);
  const LoopFileReading reading = readLoopFile(file.resolvedPath, vesk::URL::fileURLWithPath(file.path, false));
  if (reading.isUnsupported()) {
    ++m_counts.unsupported;
    m_output.comment(fmt::format("{}: of another type", file.path));
  } else if (!reading.record) {
    fail(file.path, reading.reason, reading.detail);
  } else if (!reading.record->anySearchTags()) {
    ++m_counts.untagged;
    m_output.comment(fmt::format("{}: without tags", file.path));
  } else if (!m_copyFolder.empty()) {
    addByCopying(file, *reading.record);
  } else {
    write(*reading.record, file.path, state);
  }
}

void IndexRun::write(const LCFileData& record, const std::string& path, const std::optional<FileState>& state) {
  noteSameIdentity(record, path);
  const bool isKnown = m_rows && record.isFactoryBundleLoop && m_rows->placeWithId(record.hash);
  if (isKnown) {
    ++m_counts.unchanged;  // rows of the factory bundle are never replaced
  } else if (!m_indexer || m_indexer->addFileDataToDatabase(record, m_crateIdentifier)) {
    noteWritten({.url = *record.fileURL(), .loopId = record.hash, .state = state});
  } else {
    fail(path, "database", {});
  }
}

void IndexRun::noteWritten(const WrittenLoop& written) {
  ++m_inBatch;
  if (m_carried) m_carried->note(written);
}

void IndexRun::noteSameIdentity(const LCFileData& record, const std::string& path) {
  if (!m_rows) return;
  const auto place = m_rows->placeWithId(record.hash);
  if (!place || place->urlText == record.fileURL()->absoluteString()) return;
  const std::string otherPath = pathOfURLText(place->urlText);
  if (!vesk::path::exists(otherPath)) {
    m_states->forget(place->urlText, record.hash);
  } else if (!isSameFile(otherPath, path)) {
    m_identities.add(record.hash, path, otherPath);
  }
}

// The indexer copies and writes the row in one go. It does not say that a copy failed, so we look.
void IndexRun::addByCopying(const WalkedFile& file, const LCFileData& record) {
  const std::string destination = vesk::path::appending(m_copyFolder, file.relativePath);
  const vesk::URL destinationURL = vesk::URL::fileURLWithPath(destination, false);
  if (vesk::path::exists(destination)) {
    if (!isSameFile(file.resolvedPath, destination) && !haveSameContents(file.resolvedPath, destination)) {
      return fail(file.path, "destinationExists", destination);
    }
    LCFileData copied = record;
    copied.storedFileURL = destinationURL;
    return write(copied, destination, fileStateAt(destination));
  }
  const auto sourceURL = vesk::URL::fileURLWithPath(file.path, false);
  WrittenLoop written{.url = destinationURL, .loopId = record.hash};
  if (m_arguments.move) written.movedFrom = sourceURL;
  if (!m_indexer) return noteWritten(written);
  std::string reason;
  if (!vesk::path::createDirectories(vesk::path::deletingLastComponent(destination), &reason)) {
    return fail(file.path, "copyFailed", reason);
  }
  if (copyAndWrite(sourceURL, destinationURL)) {
    written.state = fileStateAt(destination);
    return noteWritten(written);
  }
  if (vesk::path::exists(destination)) return fail(file.path, "database", {});
  fail(file.path, "copyFailed", destination);
}

// The row takes the place of the one that the loop has already, which must stay when there is no copy.
bool IndexRun::copyAndWrite(const vesk::URL& source, const vesk::URL& destination) {
  {
    UndoableStep step(m_indexer->sqlite3Connection());
    const bool isWritten = m_indexer->addFileURL(source, m_crateIdentifier, destination, m_arguments.move);
    if (isWritten && vesk::path::exists(destination.path())) {
      step.keep();
      return true;
    }
  }
  m_indexer->updateKeywordCache();  // what was new is gone again
  return false;
}

void IndexRun::failUnwalked(const std::string& path, const std::string& reason, const std::string& detail) {
  ++m_counts.walked;
  fail(path, reason, detail);
}

void IndexRun::fail(const std::string& path, const std::string& reason, const std::string& detail) {
  ++m_counts.failed;
  m_output.error(failureText(path, reason, detail));
  m_output.item(jsonOfFailure(path, reason, detail), "failure");
}

// --- The database ---

void IndexRun::beginBatch() {
  beginWriting(m_indexer->sqlite3Connection());
  m_states->begin();
}

// The states come second, so that they never tell of a loop that is not in the database.
void IndexRun::commitBatch() {
  commitWriting(m_indexer->sqlite3Connection());
  m_states->commit();
  m_counts.indexed += m_inBatch;
  m_inBatch = 0;
}

void IndexRun::carryLoops() {
  if (m_carried) m_carried->carryAll();
}

void IndexRun::prune() {
  if (!m_rows) return;
  for (const auto& argument : m_arguments.paths.arguments) {
    const std::string path = absolutePath(argument);
    if (argument != "-" && vesk::path::isDirectory(path)) pruneBelow(path);
  }
}

// Placeholders stand for loops that are not on this disk yet, and stay.
void IndexRun::pruneBelow(const std::string& folder) {
  std::vector<LoopPlace> gone;
  m_rows->forEachPlaceBelow(vesk::URL::fileURLWithPath(folder, true).absoluteString(), std::nullopt,
                            [&](const LoopPlace& place) {
                              const bool isGone = !vesk::path::exists(pathOfURLText(place.urlText));
                              const bool isLeft = !place.isPlaceholder && !m_carried->wouldBeGone(place.id);
                              if (isGone && isLeft) gone.push_back(place);
                              return true;
                            });
  const auto batchSize = static_cast<size_t>(m_arguments.batchSize);
  for (size_t begin = 0; begin < gone.size(); begin += batchSize) {
    const auto batch = std::span(gone).subspan(begin, std::min(batchSize, gone.size() - begin));
    for (const auto& place : batch) m_output.comment(fmt::format("{}: gone", pathOfURLText(place.urlText)));
    if (m_indexer) removeLoops(*m_indexer, batch);
    m_states->begin();
    CarriedLoops::forgetRemoved(*m_states, *m_rows, batch);
    m_states->commit();
    m_counts.removed += static_cast<int64_t>(batch.size());
  }
}

void IndexRun::finishDatabase() {
  if (!m_indexer) {
    m_counts.indexed = m_inBatch;
    return;
  }
  m_progress.begin("finish", std::nullopt);
  m_indexer->finishIndexingInBlock(true);
  m_indexer->setIndexFileSchemaVersion(kDefaultDatabaseSchemaVersion, kIndexingProgram);
  m_progress.end();
}

int IndexRun::report() {
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - m_began).count();
  const int64_t carried = m_carried ? m_carried->count() : 0;
  m_output.endList();
  m_output.field("walked", m_counts.walked);
  m_output.field("indexed", m_counts.indexed);
  m_output.field("unchanged", m_counts.unchanged);
  m_output.field("removed", m_counts.removed);
  m_output.field("carried", carried);
  m_output.field("untagged", m_counts.untagged);
  m_output.field("unsupported", m_counts.unsupported);
  m_output.field("failed", m_counts.failed);
  m_output.field("sameIdentity", m_identities.json());
  if (!m_identities.isComplete()) m_output.field("sameIdentityIsComplete", false);
  m_output.field("seconds", std::round(seconds * 1000) / 1000);
  m_output.field("dryRun", m_arguments.dryRun);
  m_output.field("interrupted", isInterrupted());
  m_output.endDocument();

  m_identities.warn(m_output);
  if (isInterrupted())
    m_output.warning("interrupted; what was finished is kept", "Run the same command again to go on.");
  if (!m_output.isQuiet()) {
    std::string summary =
        fmt::format("{} indexed, {} unchanged, {} untagged, {} of other types, {} failed in {:.1f} s", m_counts.indexed,
                    m_counts.unchanged, m_counts.untagged, m_counts.unsupported, m_counts.failed, seconds);
    if (m_arguments.prune) summary += fmt::format(", {} removed", m_counts.removed);
    if (carried > 0) summary += fmt::format(", marks of {} kept under a new identity", counted(carried, "loop"));
    if (m_arguments.dryRun) summary += " (dry run: nothing was changed)";
    m_output.text(summary);
  }
  if (isInterrupted()) return kExitSignalBase + InterruptionGuard::signalNumber();
  return m_counts.failed > 0 ? kExitSomeFilesFailed : kExitDone;
}

}  // namespace

CommandRunner addIndexCommand(CLI::App& app) {
  auto arguments = std::make_shared<IndexArguments>();
  addPathList(app, arguments->paths, "PATH", "Files and folders with loops");
  addText(app, "--crate", arguments->crate, "Put the loops into this content package; a new name makes a new one",
          "ID|NAME");
  auto* copyTo = addText(app, "--copy-to", arguments->copyTo,
                         "Copy the loops into this folder and index the copies; nothing is overwritten", "DIR");
  app.add_flag("--move", arguments->move, "Move them there instead")->needs(copyTo);
  app.add_flag("--prune", arguments->prune, "Take out the loops of these folders whose files are gone");
  app.add_flag("--no-path-keywords", arguments->noPathKeywords,
               "Take no keywords from file and folder names; WAV files, which live on them, are then left out");
  app.add_option("--batch", arguments->batchSize, "Write to the database after every N loops")
      ->type_name("N")
      ->check(CLI::Range(int64_t{1}, int64_t{1000000}))
      ->capture_default_str();
  addTexts(app, "--exclude", arguments->excludedPatterns,
           "Leave out names that match, or paths below PATH when the pattern has a /; repeatable", "GLOB");
  app.add_flag("-n,--dry-run", arguments->dryRun, "Only tell what would be done");
  return [arguments](Context& context) {
    if (arguments->paths.arguments.empty())
      throw usageFailure("index needs a file or folder", "See veskloops help index.");
    checkPathList(arguments->paths);
    return IndexRun(context, *arguments).run();
  };
}
