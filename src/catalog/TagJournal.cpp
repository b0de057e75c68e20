#include "catalog/TagJournal.h"

#include "catalog/CatalogError.h"
#include "database/LCTransaction.h"
#include "platform/Path.h"
#include "VeskLoopManagement/catalog/LCCatalogLoop.h"
#include "VeskLoopManagement/platform/Environment.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>

namespace {

constexpr int64_t kVersion = 1;

// Places of audio and sizes are in bytes; a hash is the 64 bits of its number.
constexpr const char* kTables[] = {
    "CREATE TABLE Runs (id INTEGER PRIMARY KEY, startedAt INTEGER NOT NULL, isFinished INTEGER NOT NULL DEFAULT 0)",
    ("CREATE TABLE Files (id INTEGER PRIMARY KEY, runId INTEGER NOT NULL, fileURL TEXT NOT NULL, status INTEGER NOT "
     "NULL, audioSize INTEGER NOT NULL, "
     "formerSize INTEGER NOT NULL, formerAudioOffset INTEGER NOT NULL, formerHash INTEGER NOT NULL, "
     "formerModified INTEGER NOT NULL, formerLoopId INTEGER NOT NULL, "
     "latterSize INTEGER NOT NULL, latterAudioOffset INTEGER NOT NULL, latterHash INTEGER NOT NULL, "
     "latterModified INTEGER, latterLoopId INTEGER NOT NULL, latterDevice INTEGER, latterInode INTEGER, "
     "formerBytes BLOB NOT NULL)"),
    "CREATE INDEX index_files_runId ON Files (runId)",
    "CREATE INDEX index_files_fileURL ON Files (fileURL)",
    ("CREATE TABLE Fields (fileId INTEGER NOT NULL, name TEXT NOT NULL, formerText TEXT, latterText TEXT, "
     "PRIMARY KEY (fileId, name)) WITHOUT ROWID"),
    "PRAGMA user_version = 1"};

constexpr const char* kInsertFile =
    "INSERT INTO Files (runId, fileURL, status, audioSize, formerSize, formerAudioOffset, formerHash, formerModified, "
    "formerLoopId, latterSize, latterAudioOffset, latterHash, latterLoopId, formerBytes) "
    "VALUES (?1, ?2, 0, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13)";
constexpr const char* kSelectFiles =
    "SELECT id, runId, fileURL, status, audioSize, formerSize, formerAudioOffset, formerHash, formerModified, "
    "formerLoopId, latterSize, latterAudioOffset, latterHash, latterLoopId, latterModified "
    "FROM Files WHERE runId = ?1 AND status <= ?2 ORDER BY id DESC";
// An undone file is younger than what an edit before this one left.
constexpr const char* kRenewModified =
    "UPDATE Files SET latterModified = ?1 "
    "WHERE fileURL = ?2 AND id < ?3 AND status = 1 AND latterModified = ?4 AND latterSize = ?5 AND latterHash = ?6";

// Of an edit of the same file, later than the one with this id.
constexpr const char* kSelectLaterStart =
    "SELECT 1 FROM Files WHERE fileURL = ?1 AND id > ?2 AND formerSize = ?3 AND formerAudioOffset = ?4 AND "
    "formerHash = ?5";

LCFailure failureOf(int status, const std::string& file) {
  switch (status & 0xFF) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return {.kind = LCFailureKind::databaseLocked,
              .message = "the journal of tag edits is in use by another program",
              .subject = file,
              .nextStep = "Try again when that one is done."};
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return {.kind = LCFailureKind::databaseDamaged,
              .message = "the journal of tag edits is damaged",
              .subject = file,
              .nextStep = "Move it away to begin a new one; edits made until now can then not be taken back."};
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
    case SQLITE_READONLY:
      return {.kind = LCFailureKind::databaseUnopenable,
              .message = fmt::format("the journal of tag edits cannot be written ({})", sqlite3_errstr(status)),
              .subject = file,
              .nextStep = "Check the permissions of the state folder."};
    default:
      return {.kind = LCFailureKind::databaseRefused,
              .message = fmt::format("the journal of tag edits refuses ({})", sqlite3_errstr(status)),
              .subject = file};
  }
}

[[noreturn]] void failToOpen(const std::string& file, const std::string& reason) {
  throw lc::CatalogError{{.kind = LCFailureKind::databaseUnopenable,
                          .message = fmt::format("the journal of tag edits cannot be opened ({})", reason),
                          .subject = file,
                          .nextStep = "Check the permissions of the state folder."}};
}

// Before SQLite makes it: it holds bytes of files that others may not read. One that is there is not opened, for its
// closing would end the locks of this process's other connections.
void makePrivate(const std::string& file) {
  std::string reason;
  if (!vesk::path::createDirectories(vesk::path::deletingLastComponent(file), &reason)) failToOpen(file, reason);
  const int descriptor = ::open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (descriptor >= 0) {
    ::close(descriptor);
  } else if (errno != EEXIST) {
    failToOpen(file, std::strerror(errno));
  }
}

uint64_t sizeAt(const LCStatement& row, int column) {
  return static_cast<uint64_t>(row.int64At(column));
}

lc::JournalEntry entryAt(const LCStatement& row) {
  const uint64_t audioSize = sizeAt(row, 4);
  lc::JournalEntry entry{
      .id = row.int64At(0),
      .runId = row.int64At(1),
      .urlText = row.textAt(2),
      .status = static_cast<lc::JournalEntry::Status>(row.int64At(3)),
      .former = {{.fileSize = sizeAt(row, 5), .offset = sizeAt(row, 6), .size = audioSize}, sizeAt(row, 7)},
      .latter = {{.fileSize = sizeAt(row, 10), .offset = sizeAt(row, 11), .size = audioSize}, sizeAt(row, 12)},
      .formerLoopId = row.int64At(9),
      .latterLoopId = row.int64At(13),
      .formerModified = row.int64At(8)};
  if (!row.isNull(14)) entry.latterModified = row.int64At(14);
  return entry;
}

}  // namespace

std::string lc::JournalEntry::path() const {
  return LCLoopPlace{.urlText = urlText}.path();
}

// --- Opening ---

std::string lc::TagJournal::defaultFile() {
  return vesk::path::appending(vesk::Environment::shared().stateFolder(), "tag-journal.db");
}

bool lc::TagJournal::isThere() {
  return vesk::path::exists(defaultFile());
}

lc::TagJournal::TagJournal(const std::string& file) : m_file(file) {
  makePrivate(m_file);
  int status = SQLITE_OK;
  m_connection = lc::openConnection(m_file, LCOpenMode::readWriteCreate, &status);
  if (!m_connection) fail(status);
  open();
}

// The write-ahead log is synced by every commit, but for those that need not be waited for.
void lc::TagJournal::open() {
  requireOurs();
  execute("PRAGMA journal_mode = WAL");
  execute("PRAGMA synchronous = FULL");
}

void lc::TagJournal::requireOurs() {
  const auto number = [this](const char* sql) {
    LCStatement statement = prepared(sql);
    if (!statement.step()) fail(statement.lastStatus());
    return statement.int64At(0);
  };
  if (number("PRAGMA user_version") == 0) makeTables();
  const int64_t version = number("PRAGMA user_version");
  if (version == 0) {
    throw CatalogError{{.kind = LCFailureKind::databaseForeign,
                        .message = "the file at the place of the journal of tag edits is none; it is left as it is",
                        .subject = m_file,
                        .nextStep = "Move it away."}};
  }
  if (version > kVersion) {
    throw CatalogError{{.kind = LCFailureKind::databaseNewer,
                        .message = "the journal of tag edits was made by a newer version of this program",
                        .subject = m_file,
                        .nextStep = "Use that version."}};
  }
}

void lc::TagJournal::makeTables() {
  LCTransaction transaction(m_connection.get(), LCTransaction::Begin::immediately);
  if (!transaction.isOpen()) fail(lastStatusOf(m_connection.get()));
  LCStatement isMade = prepared("SELECT 1 FROM sqlite_master");  // by another program meanwhile
  if (isMade.step()) return;
  for (const char* sql : kTables) execute(sql);
  if (!transaction.commit()) fail(lastStatusOf(m_connection.get()));
}

void lc::TagJournal::fail(int status) const {
  throw CatalogError{failureOf(status, m_file)};
}

LCStatement lc::TagJournal::prepared(const char* sql) {
  LCStatement statement(m_connection.get(), sql);
  if (!statement.isPrepared()) fail(statement.lastStatus());
  return statement;
}

void lc::TagJournal::run(LCStatement& statement) {
  if (!statement.run()) fail(statement.lastStatus());
}

void lc::TagJournal::execute(const char* sql) {
  LCStatement statement = prepared(sql);
  run(statement);
}

// --- Writing ---

int64_t lc::TagJournal::beginRun() {
  LCStatement insert = prepared("INSERT INTO Runs (startedAt) VALUES (?1)");
  insert.bind(1, static_cast<int64_t>(std::time(nullptr)));
  run(insert);
  return sqlite3_last_insert_rowid(m_connection.get());
}

void lc::TagJournal::finishRun(int64_t runId) {
  LCStatement update = prepared("UPDATE Runs SET isFinished = 1 WHERE id = ?1");
  update.bind(1, runId);
  run(update);
}

int64_t lc::TagJournal::add(const JournalEntry& entry, std::span<const std::byte> formerSurroundings) {
  LCTransaction transaction(m_connection.get(), LCTransaction::Begin::immediately);
  if (!transaction.isOpen()) fail(lastStatusOf(m_connection.get()));
  LCStatement insert = prepared(kInsertFile);
  insert.bind(1, entry.runId);
  insert.bind(2, entry.urlText);
  insert.bind(3, entry.former.audio.size);
  insert.bind(4, entry.former.audio.fileSize);
  insert.bind(5, entry.former.audio.offset);
  insert.bind(6, entry.former.hash);
  insert.bind(7, entry.formerModified);
  insert.bind(8, entry.formerLoopId);
  insert.bind(9, entry.latter.audio.fileSize);
  insert.bind(10, entry.latter.audio.offset);
  insert.bind(11, entry.latter.hash);
  insert.bind(12, entry.latterLoopId);
  insert.bindBlob(13, formerSurroundings);
  run(insert);
  const int64_t id = sqlite3_last_insert_rowid(m_connection.get());
  addFields(id, entry.fields);
  if (!transaction.commit()) fail(lastStatusOf(m_connection.get()));
  return id;
}

void lc::TagJournal::addFields(int64_t entryId, const std::map<std::string, LCTagFieldChange>& fields) {
  for (const auto& [name, change] : fields) {
    LCStatement insert = prepared("INSERT INTO Fields (fileId, name, formerText, latterText) VALUES (?1, ?2, ?3, ?4)");
    insert.bind(1, entryId);
    insert.bind(2, name);
    insert.bind(3, change.from);
    insert.bind(4, change.to);
    run(insert);
  }
}

void lc::TagJournal::markDone(int64_t entryId, const FileState& state) {
  LCStatement update =
      prepared("UPDATE Files SET status = 1, latterModified = ?1, latterDevice = ?2, latterInode = ?3 WHERE id = ?4");
  update.bind(1, state.modified);
  update.bind(2, state.device);
  update.bind(3, state.inode);
  update.bind(4, entryId);
  execute("PRAGMA synchronous = NORMAL");
  run(update);
  execute("PRAGMA synchronous = FULL");
}

void lc::TagJournal::markUndone(const JournalEntry& entry, int64_t modified) {
  LCTransaction transaction(m_connection.get(), LCTransaction::Begin::immediately);
  if (!transaction.isOpen()) fail(lastStatusOf(m_connection.get()));
  LCStatement mark = prepared("UPDATE Files SET status = 2 WHERE id = ?1");
  mark.bind(1, entry.id);
  run(mark);
  LCStatement renew = prepared(kRenewModified);
  renew.bind(1, modified);
  renew.bind(2, entry.urlText);
  renew.bind(3, entry.id);
  renew.bind(4, entry.formerModified);
  renew.bind(5, entry.former.audio.fileSize);
  renew.bind(6, entry.former.hash);
  run(renew);
  if (!transaction.commit()) fail(lastStatusOf(m_connection.get()));
}

void lc::TagJournal::remove(int64_t entryId) {
  for (const char* sql : {"DELETE FROM Fields WHERE fileId = ?1", "DELETE FROM Files WHERE id = ?1"}) {
    LCStatement statement = prepared(sql);
    statement.bind(1, entryId);
    run(statement);
  }
}

// --- Reading ---

std::vector<LCTagHistoryEntry> lc::TagJournal::runs() {
  LCStatement select = prepared(
      "SELECT Runs.id, startedAt, isFinished, count(*), sum(status = 2) FROM Runs JOIN Files ON runId = Runs.id "
      "GROUP BY Runs.id ORDER BY Runs.id DESC");
  std::vector<LCTagHistoryEntry> runs;
  while (select.step()) {
    runs.push_back({.runId = select.int64At(0),
                    .startedAt = select.int64At(1),
                    .isFinished = select.int64At(2) != 0,
                    .files = select.int64At(3),
                    .undone = select.int64At(4)});
  }
  if (!select.succeeded()) fail(select.lastStatus());
  return runs;
}

std::vector<lc::JournalEntry> lc::TagJournal::entries(int64_t runId, JournalEntry::Status upTo) {
  LCStatement select = prepared(kSelectFiles);
  select.bind(1, runId);
  select.bind(2, static_cast<int64_t>(upTo));
  std::vector<JournalEntry> entries;
  while (select.step()) entries.push_back(entryAt(select));
  if (!select.succeeded()) fail(select.lastStatus());
  for (auto& entry : entries) entry.fields = fields(entry.id);
  return entries;
}

std::map<std::string, LCTagFieldChange> lc::TagJournal::fields(int64_t entryId) {
  const auto text = [](const LCStatement& row, int column) {
    return row.isNull(column) ? std::nullopt : std::optional(row.textAt(column));
  };
  LCStatement select = prepared("SELECT name, formerText, latterText FROM Fields WHERE fileId = ?1");
  select.bind(1, entryId);
  std::map<std::string, LCTagFieldChange> fields;
  while (select.step()) fields[select.textAt(0)] = {.from = text(select, 1), .to = text(select, 2)};
  if (!select.succeeded()) fail(select.lastStatus());
  return fields;
}

std::optional<std::vector<std::byte>> lc::TagJournal::formerSurroundings(const JournalEntry& entry) {
  LCStatement select = prepared("SELECT formerBytes FROM Files WHERE id = ?1");
  select.bind(1, entry.id);
  if (!select.step()) return std::nullopt;
  auto bytes = select.blobAt(0);
  const AudioPlace& audio = entry.former.audio;
  const bool isWhole = audio.isSound() && bytes.size() == audio.fileSize - audio.size &&
                       imageOf(audio, bytes) == entry.former && entry.latter.audio.isSound();
  return isWhole ? std::optional(std::move(bytes)) : std::nullopt;
}

bool lc::TagJournal::hasLaterStart(const JournalEntry& entry, const FileImage& image) {
  LCStatement select = prepared(kSelectLaterStart);
  select.bind(1, entry.urlText);
  select.bind(2, entry.id);
  select.bind(3, image.audio.fileSize);
  select.bind(4, image.audio.offset);
  select.bind(5, image.hash);
  return select.step();
}

// --- A run ---

int64_t lc::JournaledRun::add(JournalEntry entry, std::span<const std::byte> formerSurroundings) {
  if (m_id == 0) m_id = m_journal.beginRun();
  entry.runId = m_id;
  const int64_t entryId = m_journal.add(entry, formerSurroundings);
  ++m_files;
  return entryId;
}

// An entry that the journal does not let go stays pending, and its file tells that it was never written.
void lc::JournaledRun::remove(int64_t entryId) {
  --m_files;
  static_cast<void>(outcomeOf([&] {
    m_journal.remove(entryId);
    return true;
  }));
}

void lc::JournaledRun::finish() {
  if (id() == 0) return;
  static_cast<void>(outcomeOf([&] {
    m_journal.finishRun(m_id);
    return true;
  }));
}
