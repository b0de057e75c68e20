// The journal of tag edits: one small database in the state folder, "tag-journal.db", that holds for every file that
// was changed the bytes beside its audio as they were, so that the change can be taken back. An entry is on the disk
// before its file is touched and stays "pending" until the file was read again; what became of a pending one of a
// killed run its file tells. The journal is the user's: one that is damaged or of a newer version is refused and left
// as it is.
//
// Several programs may use it at once. One thread. Throws CatalogErrors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "catalog/AudioSurroundings.h"
#include "catalog/FileStateStore.h"
#include "VeskLoopManagement/catalog/LCTagEdit.h"
#include "VeskLoopManagement/database/LCConnection.h"
#include "VeskLoopManagement/database/LCStatement.h"

namespace lc {

struct JournalEntry {
  enum class Status { pending = 0, done = 1, undone = 2 };
  int64_t id = 0;
  int64_t runId = 0;
  std::string urlText;
  Status status = Status::pending;
  FileImage former;
  FileImage latter;
  int64_t formerLoopId = 0;
  int64_t latterLoopId = 0;
  int64_t formerModified = 0;             // nanoseconds since 1970
  std::optional<int64_t> latterModified;  // once it is done
  std::map<std::string, LCTagFieldChange> fields;
  std::string path() const;
};

class TagJournal {
 public:
  // Made when there is none.
  TagJournal() : TagJournal(defaultFile()) {}
  explicit TagJournal(const std::string& file);
  static std::string defaultFile();
  static bool isThere();  // else there is no history, and reading makes none

  // --- Writing ---
  int64_t beginRun();
  void finishRun(int64_t runId);
  // Before the file is changed; is on the disk when it returns. `id` and `status` do not count. Answers the entry's id.
  int64_t add(const JournalEntry& entry, std::span<const std::byte> formerSurroundings);
  // The file is as the entry says. Not waited for: after a power cut the entry may be pending again.
  void markDone(int64_t entryId, const FileState& state);
  // The file has its former bytes and was last changed at `modified`, which entries of edits before this one then
  // expect. When it was never written, it is taken out.
  void markUndone(const JournalEntry& entry, int64_t modified);
  void remove(int64_t entryId);

  // --- Reading ---
  // Newest first, those with entries; pending ones count as written.
  std::vector<LCTagHistoryEntry> runs();
  // Newest first; those that are pending, not undone, or all.
  std::vector<JournalEntry> entries(int64_t runId, JournalEntry::Status upTo = JournalEntry::Status::undone);
  // Of the file before the edit; nullopt when they are not what the entry says.
  std::optional<std::vector<std::byte>> formerSurroundings(const JournalEntry& entry);
  // Whether an edit after this one began with a file like `image`.
  bool hasLaterStart(const JournalEntry& entry, const FileImage& image);

 private:
  void open();
  void makeTables();
  void requireOurs();
  void execute(const char* sql);
  void run(LCStatement& statement);
  LCStatement prepared(const char* sql);
  void addFields(int64_t entryId, const std::map<std::string, LCTagFieldChange>& fields);
  std::map<std::string, LCTagFieldChange> fields(int64_t entryId);
  [[noreturn]] void fail(int status) const;

  std::string m_file;
  LCConnection m_connection;
};

// One run of edits in a journal, which is borrowed. It begins with its first file.
class JournaledRun {
 public:
  explicit JournaledRun(TagJournal& journal) : m_journal(journal) {}
  int64_t id() const { return m_files > 0 ? m_id : 0; }  // 0: no file was written

  // As the journal's. `runId` does not count.
  int64_t add(JournalEntry entry, std::span<const std::byte> formerSurroundings);
  void markDone(int64_t entryId, const FileState& state) { m_journal.markDone(entryId, state); }
  void remove(int64_t entryId);  // of a file that was not written after all
  void finish();                 // a journal that refuses tells of it as ended half-way

 private:
  TagJournal& m_journal;
  int64_t m_id = 0;
  int64_t m_files = 0;
};

}  // namespace lc
