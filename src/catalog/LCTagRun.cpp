#include "VeskLoopManagement/catalog/LCTagEdit.h"

#include "catalog/CatalogError.h"
#include "catalog/FileTagging.h"
#include "catalog/FileUndo.h"
#include "catalog/RetaggedLoops.h"
#include "catalog/TagJournal.h"

#include <algorithm>

namespace {

using lc::CatalogError;
using lc::JournalEntry;
using Status = JournalEntry::Status;

// Counts the reports of a run, hands them on, and has the database follow.
class Progress {
 public:
  Progress(const LCTagOptions& options, LCTagObserver& observer)
      : m_observer(observer),
        m_isDryRun(options.isDryRun),
        m_loops(options.isDryRun ? std::nullopt : options.databaseFile, observer) {}

  bool mayGoOn() {
    m_report.isInterrupted = m_report.isInterrupted || !m_observer.shouldContinue();
    return !m_report.isInterrupted;
  }

  void take(const LCTagReport& report) {
    if (report.problem) {
      ++m_report.failed;
    } else if (report.isChanged) {
      ++m_report.changed;
    } else {
      ++m_report.unchanged;
    }
    if (report.isChanged && !m_isDryRun) m_loops.add(report.path);
    m_observer.fileDone(report);
  }

  // The database's failure, if any, is the run's.
  LCTagRunReport finished(int64_t runId) {
    m_loops.finish();
    m_report.runId = runId;
    return m_report;
  }

  bool isInterrupted() const { return m_report.isInterrupted; }

 private:
  LCTagObserver& m_observer;
  bool m_isDryRun;
  lc::RetaggedLoops m_loops;
  LCTagRunReport m_report;
};

LCTagRunReport tagFiles(const LCTagOptions& options, LCTagObserver& observer) {
  std::optional<lc::TagJournal> journal;
  std::optional<lc::JournaledRun> run;
  if (!options.isDryRun) run.emplace(journal.emplace());
  Progress progress(options, observer);
  while (const auto edit = options.nextEdit()) {
    if (!progress.mayGoOn()) break;
    progress.take(lc::tagFile(*edit, options, run ? &*run : nullptr));
  }
  if (run && !progress.isInterrupted()) run->finish();
  return progress.finished(run ? run->id() : 0);
}

// --- Undoing ---

std::vector<JournalEntry> openEntries(lc::TagJournal& journal, int64_t runId) {
  auto entries = journal.entries(runId, Status::done);
  std::erase_if(entries, [&](const JournalEntry& entry) { return lc::wasNeverWritten(entry, journal); });
  return entries;
}

[[noreturn]] void failToFindRun(std::optional<int64_t> runId) {
  throw CatalogError{{.kind = LCFailureKind::notFound,
                      .message = runId ? "the journal has no such run" : "there is nothing to undo",
                      .subject = runId ? std::to_string(*runId) : ""}};
}

std::vector<JournalEntry> entriesToUndo(lc::TagJournal& journal, std::optional<int64_t> runId) {
  const auto runs = journal.runs();
  if (runId) {
    if (std::ranges::none_of(runs, [&](const auto& run) { return run.runId == *runId; })) failToFindRun(runId);
    return openEntries(journal, *runId);
  }
  for (const auto& run : runs) {
    if (run.undone == run.files) continue;
    if (auto entries = openEntries(journal, run.runId); !entries.empty()) return entries;
  }
  failToFindRun(std::nullopt);
}

LCTagRunReport undoRun(std::optional<int64_t> runId, const LCTagOptions& options, LCTagObserver& observer) {
  if (!lc::TagJournal::isThere()) failToFindRun(runId);
  lc::TagJournal journal;
  const auto entries = entriesToUndo(journal, runId);
  Progress progress(options, observer);
  for (const auto& entry : entries) {
    if (!progress.mayGoOn()) break;
    progress.take(lc::undoFile(entry, options, journal));
  }
  return progress.finished(entries.empty() ? runId.value_or(0) : entries.front().runId);
}

// --- Looking back ---

// What a killed run was about to write counts where it did.
std::vector<LCTagHistoryEntry> runsOf(lc::TagJournal& journal) {
  auto runs = journal.runs();
  for (auto& run : runs) {
    run.files -= std::ranges::count_if(journal.entries(run.runId, Status::pending),
                                       [&](const JournalEntry& entry) { return lc::wasNeverWritten(entry, journal); });
  }
  std::erase_if(runs, [](const LCTagHistoryEntry& run) { return run.files == 0; });
  return runs;
}

// In the order in which they were written.
std::vector<LCTagHistoryFile> filesOf(lc::TagJournal& journal, int64_t runId) {
  auto entries = journal.entries(runId);
  if (entries.empty()) failToFindRun(runId);
  std::ranges::reverse(entries);
  std::vector<LCTagHistoryFile> files;
  for (auto& entry : entries) {
    if (lc::wasNeverWritten(entry, journal)) continue;
    files.push_back(
        {.path = entry.path(), .fields = std::move(entry.fields), .isUndone = entry.status == Status::undone});
  }
  return files;
}

}  // namespace

LCOutcome<LCTagRunReport> LCTagRun::run(const LCTagOptions& options, LCTagObserver& observer) {
  return lc::outcomeOf([&] { return tagFiles(options, observer); });
}

LCOutcome<std::vector<LCTagHistoryEntry>> LCTagRun::history() {
  return lc::outcomeOf([] {
    if (!lc::TagJournal::isThere()) return std::vector<LCTagHistoryEntry>();
    lc::TagJournal journal;
    return runsOf(journal);
  });
}

LCOutcome<std::vector<LCTagHistoryFile>> LCTagRun::filesOfRun(int64_t runId) {
  return lc::outcomeOf([&] {
    if (!lc::TagJournal::isThere()) failToFindRun(runId);
    lc::TagJournal journal;
    return filesOf(journal, runId);
  });
}

LCOutcome<LCTagRunReport> LCTagRun::undo(std::optional<int64_t> runId, const LCTagOptions& options,
                                         LCTagObserver& observer) {
  return lc::outcomeOf([&] { return undoRun(runId, options, observer); });
}

std::string lc::tagProblemName(LCTagProblem problem) {
  switch (problem) {
    case LCTagProblem::notFound:
      return "notFound";
    case LCTagProblem::unreadable:
      return "unreadable";
    case LCTagProblem::unsupported:
      return "unsupported";
    case LCTagProblem::irregular:
      return "irregular";
    case LCTagProblem::invalidValue:
      return "invalidValue";
    case LCTagProblem::unknownKeyword:
      return "unknownKeyword";
    case LCTagProblem::notCarried:
      return "notCarried";
    case LCTagProblem::readOnly:
      return "readOnly";
    case LCTagProblem::hasOtherNames:
      return "hasOtherNames";
    case LCTagProblem::ownerNotKept:
      return "ownerNotKept";
    case LCTagProblem::changed:
      return "changed";
    case LCTagProblem::backupFailed:
      return "backupFailed";
    case LCTagProblem::journalFailed:
      return "journalFailed";
    case LCTagProblem::writeFailed:
      break;
  }
  return "writeFailed";
}
