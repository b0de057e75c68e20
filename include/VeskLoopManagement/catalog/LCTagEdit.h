// Changing tags in loop files, one or a whole library, so that nothing else of a file changes and everything can be
// taken back. Each file goes through the same steps: its tags are edited in memory, each chunk from the bytes that are
// there; the result is parsed before anything is written, and a field that would read back as something else is
// refused with the reason; the old bytes that are not audio go to the journal; the file is replaced whole or not at
// all; it is read again and compared; and the loop database follows, the user's marks with it.
//
// Files that would not change are not touched. A file that fails leaves the others alone. Everything runs on the
// caller's thread from beginning to end; between two files it can be ended. Nothing is printed, asked or thrown.
#pragma once

#include "VeskLoopManagement/catalog/LCFailure.h"
#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/model/LCTagField.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

// One change of one field.
struct LCTagChange {
  enum class Kind { set, clear, addDescriptor, removeDescriptor };
  Kind kind = Kind::set;
  LCTagField field = LCTagField::descriptors;
  std::string text = {};  // as lc::setTagText() reads it; the word that is added or removed
};

// What is to become of one file: the changes in their order.
struct LCTagEdit {
  std::string path;  // absolute; links are resolved
  std::vector<LCTagChange> changes;
};

struct LCTagOptions {
  // Handed out one by one while they become known; nullopt ends the list. Not empty.
  std::function<std::optional<LCTagEdit>()> nextEdit;
  // The loop database in which the changed loops are brought up to date when they are in it; nullopt: none. One that is
  // missing is noted.
  std::optional<std::string> databaseFile = {};
  bool allowsUnknownKeywords = false;  // else genres, instruments and descriptors are those of the taxonomy
  bool copiesBack = false;             // writes over files with several hard links in place, which is not atomic
  bool keepsModificationTime = false;
  std::optional<std::string> backupFolder = {};  // absolute: files are copied there before they are changed
  bool isDryRun = false;                         // tells what would be done, refusals included, and writes nothing
};

// Why a file was left as it was. The reason for people is in `detail`.
enum class LCTagProblem {
  notFound,
  unreadable,
  unsupported,     // no file into which tags can be written
  irregular,       // what is odd about it makes rewriting unsafe
  invalidValue,    // the text is none for this field
  unknownKeyword,  // with near names
  notCarried,      // its container cannot hold the field, or not this value
  readOnly,        // the file, or its folder
  hasOtherNames,   // hard links
  ownerNotKept,    // the new file would be somebody else's
  changed,         // by someone else since it was opened, or right after it was written; of undo: since it was tagged
  backupFailed,
  journalFailed,
  writeFailed,  // the system's words are in `detail`
};

struct LCTagFieldChange {
  std::optional<std::string> from;
  std::optional<std::string> to;
};

// What became of one file.
struct LCTagReport {
  std::string path;
  bool isChanged = false;  // of a dry run: would be
  // The file is as it was, but for one that is changed nevertheless (see LCTagProblem::changed), and for what the
  // detail of `writeFailed` says of a copy-back that broke off.
  std::optional<LCTagProblem> problem = {};
  std::string detail = {};
  std::vector<std::string> nearNames = {};
  // Of the whole record, so that what follows from a field (tempo, file type) shows, too. By the field's short name;
  // the tempo's is "tempo".
  std::map<std::string, LCTagFieldChange> fields = {};
  int64_t oldId = 0;  // the loop's identity before and after
  int64_t newId = 0;
  std::optional<std::string> backup = {};  // where the old file was copied to
  std::vector<std::string> notes = {};     // worth knowing: a file system without locks, a folder not synced
};

// Answers to what happens; called on the run's thread.
class LC_EXPORT LCTagObserver {
 public:
  virtual ~LCTagObserver() = default;
  virtual void fileDone(const LCTagReport& report) { (void)report; }
  virtual void noted(const std::string& text) { (void)text; }
  virtual void warned(const std::string& text, const std::string& nextStep) { (void)text, (void)nextStep; }
  virtual bool shouldContinue() { return true; }  // asked before every file
};

struct LCTagRunReport {
  int64_t runId = 0;  // in the journal; 0 when nothing was written
  int64_t changed = 0;
  int64_t unchanged = 0;
  int64_t failed = 0;
  bool isInterrupted = false;
};

// A run of the past, as the journal tells it.
struct LCTagHistoryEntry {
  int64_t runId = 0;
  int64_t startedAt = 0;    // seconds since 1970
  bool isFinished = false;  // false: ended half-way, or still at work
  int64_t files = 0;        // written; what a run was about to write when it was killed its file tells
  int64_t undone = 0;       // of them
};

struct LCTagHistoryFile {
  std::string path;
  std::map<std::string, LCTagFieldChange> fields;
  bool isUndone = false;
};

namespace lc {
LC_EXPORT std::string tagProblemName(LCTagProblem problem);  // as programs spell it: "notCarried", …
}

// The journal lies in the state folder, one for all loop databases, and holds every byte that is not audio of each file
// before it was changed. It is the user's: nothing but the user takes runs out of it.
class LC_EXPORT LCTagRun {
 public:
  // A failure means that nothing was begun (the journal cannot be opened, the database is no loop database), or that
  // the database refused to follow: the files are then as the reports said.
  static LCOutcome<LCTagRunReport> run(const LCTagOptions& options, LCTagObserver& observer);

  // Newest first.
  static LCOutcome<std::vector<LCTagHistoryEntry>> history();
  static LCOutcome<std::vector<LCTagHistoryFile>> filesOfRun(int64_t runId);  // in the order in which they were written
  // Gives the files of a run their former bytes back, in the opposite order; without `runId`, of the newest run that is
  // not undone whole. A file that is not as the run left it stays, `changed`. Of `options` the database, copiesBack,
  // keepsModificationTime and isDryRun count.
  static LCOutcome<LCTagRunReport> undo(std::optional<int64_t> runId, const LCTagOptions& options,
                                        LCTagObserver& observer);
};
