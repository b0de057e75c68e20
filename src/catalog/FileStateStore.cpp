#include "catalog/FileStateStore.h"

#include "platform/Path.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <filesystem>

namespace {

constexpr std::string_view kCreateTable =
    "CREATE TABLE IF NOT EXISTS FileStates "
    "(fileURL TEXT PRIMARY KEY, device INTEGER, inode INTEGER, size INTEGER, modified INTEGER, created INTEGER, "
    "loopId INTEGER) WITHOUT ROWID";
constexpr std::string_view kCreateIndex = "CREATE INDEX IF NOT EXISTS index_fileStates_inode ON FileStates (inode)";
constexpr std::string_view kCreateLoopIndex =
    "CREATE INDEX IF NOT EXISTS index_fileStates_loopId ON FileStates (loopId)";
constexpr std::string_view kCreateFolders =
    "CREATE TABLE IF NOT EXISTS FolderStates (path TEXT PRIMARY KEY, files BLOB) WITHOUT ROWID";
constexpr std::string_view kCreateScan =
    "CREATE TABLE IF NOT EXISTS ScanOfFolders (id INTEGER PRIMARY KEY CHECK (id = 1), scan TEXT)";

constexpr std::string_view kSelectWithURL =
    "SELECT fileURL, device, inode, size, modified, created, loopId FROM FileStates WHERE fileURL = ?1";
constexpr std::string_view kSelectWithState =
    "SELECT fileURL, device, inode, size, modified, created, loopId FROM FileStates "
    "WHERE inode = ?1 AND device = ?2 AND size = ?3 AND modified = ?4 AND created = ?5";
constexpr std::string_view kSelectOfLoop =
    "SELECT fileURL, device, inode, size, modified, created, loopId FROM FileStates WHERE loopId = ?1 "
    "ORDER BY fileURL";
constexpr std::string_view kRemember =
    "INSERT OR REPLACE INTO FileStates (fileURL, device, inode, size, modified, created, loopId) "
    "VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7)";
constexpr std::string_view kForget = "DELETE FROM FileStates WHERE fileURL = ?1";
constexpr std::string_view kForgetLoop = "DELETE FROM FileStates WHERE fileURL = ?1 AND loopId = ?2";

constexpr std::string_view kSelectFolder = "SELECT files FROM FolderStates WHERE path = ?1";
constexpr std::string_view kSetFolder = "INSERT OR REPLACE INTO FolderStates (path, files) VALUES (?1, ?2)";
constexpr std::string_view kForgetFolder = "DELETE FROM FolderStates WHERE path = ?1";
constexpr std::string_view kSelectScan = "SELECT scan FROM ScanOfFolders";
constexpr std::string_view kSetScan = "INSERT OR REPLACE INTO ScanOfFolders (id, scan) VALUES (1, ?1)";

// What is no database, or not one of ours, can be thrown away: what is at its place comes back with the next run.
bool isWorthless(int status) {
  const int result = status & 0xFF;
  return result == SQLITE_NOTADB || result == SQLITE_CORRUPT || result == SQLITE_ERROR;
}

void removeDatabase(const std::string& path) {
  for (const char* companion : {"", "-wal", "-shm", "-journal"}) {
    std::error_code ignored;  // most are not there
    std::filesystem::remove(path + companion, ignored);
  }
}

int64_t nanoseconds(const statx_timestamp& time) {
  return time.tv_sec * 1'000'000'000 + time.tv_nsec;
}

std::optional<lc::FileStatus> statusAt(int folder, const char* path, int flags) {
  struct statx status {};
  constexpr unsigned kWanted =
      STATX_TYPE | STATX_MODE | STATX_INO | STATX_SIZE | STATX_MTIME | STATX_CTIME | STATX_BTIME;
  if (statx(folder, path, flags, kWanted, &status) != 0) return std::nullopt;
  const bool hasCreated = (status.stx_mask & STATX_BTIME) != 0;
  return lc::FileStatus{.state = {.device = static_cast<int64_t>(status.stx_dev_major) << 32 | status.stx_dev_minor,
                                  .inode = static_cast<int64_t>(status.stx_ino),
                                  .size = static_cast<int64_t>(status.stx_size),
                                  .modified = nanoseconds(status.stx_mtime),
                                  .created = hasCreated ? nanoseconds(status.stx_btime) : 0},
                        .changed = nanoseconds(status.stx_ctime),
                        .mode = status.stx_mode};
}

lc::IndexedFile fileAt(const LCStatement& row) {
  return {.urlText = row.textAt(0),
          .state = {.device = row.int64At(1),
                    .inode = row.int64At(2),
                    .size = row.int64At(3),
                    .modified = row.int64At(4),
                    .created = row.int64At(5)},
          .loopId = row.int64At(6)};
}

}  // namespace

std::optional<lc::FileState> lc::fileStateAt(const std::string& path) {
  const auto status = fileStatusAt(path);
  return status ? std::optional(status->state) : std::nullopt;
}

std::optional<lc::FileStatus> lc::fileStatusAt(const std::string& path) {
  return statusAt(AT_FDCWD, path.c_str(), 0);
}

std::optional<lc::FileStatus> lc::entryStatusAt(int folder, const std::string& name) {
  return statusAt(folder, name.c_str(), AT_SYMLINK_NOFOLLOW);
}

// --- Opening ---

lc::FileStateStore::FileStateStore(std::string path, Use use) : m_use(use), m_path(std::move(path)) {
  if (use == Use::readOnly && !vesk::path::exists(m_path)) return;
  vesk::path::createDirectories(vesk::path::deletingLastComponent(m_path));
  const bool wasThere = vesk::path::exists(m_path);
  open();
  if (!isUsable() && wasThere && !vesk::path::exists(m_path)) open();  // anew: what was there has been thrown away
}

// With a write-ahead log a commit need not wait for the disk; a crash costs the last ones and nothing else.
void lc::FileStateStore::open() {
  int status = SQLITE_OK;
  m_connection = lc::openConnection(m_path, LCOpenMode::readWriteCreate, &status);
  if (!isUsable()) return giveUp(status);
  if (m_use == Use::readOnly) return;
  execute("PRAGMA journal_mode = WAL");
  execute("PRAGMA synchronous = NORMAL");
  execute(kCreateTable);
  execute(kCreateIndex);
  execute(kCreateLoopIndex);
  execute(kCreateFolders);
  execute(kCreateScan);
}

void lc::FileStateStore::giveUp(int status) {
  m_trouble = fmt::format("what is remembered of files cannot be used ({}): {}", sqlite3_errstr(status), m_path);
  m_statements = {};
  m_connection.reset();
  if (m_use == Use::readWrite && isWorthless(status)) removeDatabase(m_path);
}

void lc::FileStateStore::run(LCStatement& statement) {
  if (!isUsable()) return;
  if (!statement.isPrepared() || !statement.run()) giveUp(statement.lastStatus());
}

void lc::FileStateStore::execute(std::string_view sql) {
  LCStatement statement(m_connection.get(), sql);
  run(statement);
}

LCStatement& lc::FileStateStore::bound(LCStatement& statement, std::string_view sql, const std::string& urlText) {
  statement.preparedOnce(m_connection.get(), sql).bind(1, urlText);
  return statement;
}

// --- Questions ---

std::vector<lc::IndexedFile> lc::FileStateStore::filesOf(LCStatement& statement) {
  std::vector<IndexedFile> files;
  while (statement.isPrepared() && statement.step()) files.push_back(fileAt(statement));
  statement.reset();
  if (!statement.isPrepared() || !statement.succeeded()) giveUp(statement.lastStatus());
  return files;
}

std::optional<lc::IndexedFile> lc::FileStateStore::fileWithURL(const std::string& urlText) {
  if (!isUsable()) return std::nullopt;
  const auto files = filesOf(bound(m_statements.withURL, kSelectWithURL, urlText));
  return files.empty() ? std::nullopt : std::optional(files.front());
}

std::vector<lc::IndexedFile> lc::FileStateStore::filesWithState(const FileState& state) {
  if (!isUsable()) return {};
  LCStatement& statement = m_statements.withState.preparedOnce(m_connection.get(), kSelectWithState);
  statement.bind(1, state.inode);
  statement.bind(2, state.device);
  statement.bind(3, state.size);
  statement.bind(4, state.modified);
  statement.bind(5, state.created);
  return filesOf(statement);
}

std::vector<lc::IndexedFile> lc::FileStateStore::filesOfLoop(int64_t loopId) {
  if (!isUsable()) return {};
  LCStatement& statement = m_statements.ofLoop.preparedOnce(m_connection.get(), kSelectOfLoop);
  statement.bind(1, loopId);
  return filesOf(statement);
}

std::vector<std::byte> lc::FileStateStore::folder(const std::string& path) {
  std::vector<std::byte> bytes;
  if (!isUsable()) return bytes;
  LCStatement& statement = bound(m_statements.folder, kSelectFolder, path);
  if (statement.step()) bytes = statement.blobAt(0);
  statement.reset();
  return bytes;
}

std::string lc::FileStateStore::scanOfFolders() {
  LCStatement statement(m_connection.get(), kSelectScan);
  return statement.step() ? statement.textAt(0) : "";
}

// --- Changes ---

void lc::FileStateStore::begin() {
  if (m_transaction == Transaction::none) m_transaction = Transaction::wanted;
}

void lc::FileStateStore::commit() {
  if (m_transaction == Transaction::open) execute("COMMIT");
  m_transaction = Transaction::none;
}

void lc::FileStateStore::change(LCStatement& statement) {
  if (m_transaction == Transaction::wanted) {
    m_transaction = Transaction::open;
    execute("BEGIN IMMEDIATE");
  }
  run(statement);
}

void lc::FileStateStore::change(std::string_view sql) {
  LCStatement statement(m_connection.get(), sql);
  change(statement);
}

void lc::FileStateStore::remember(const IndexedFile& file) {
  if (!isWritable()) return;
  LCStatement& statement = bound(m_statements.remember, kRemember, file.urlText);
  statement.bind(2, file.state.device);
  statement.bind(3, file.state.inode);
  statement.bind(4, file.state.size);
  statement.bind(5, file.state.modified);
  statement.bind(6, file.state.created);
  statement.bind(7, file.loopId);
  change(statement);
}

void lc::FileStateStore::forget(const std::string& urlText) {
  if (isWritable()) change(bound(m_statements.forget, kForget, urlText));
}

void lc::FileStateStore::forget(const std::string& urlText, int64_t loopId) {
  if (!isWritable()) return;
  LCStatement& statement = bound(m_statements.forgetLoop, kForgetLoop, urlText);
  statement.bind(2, loopId);
  change(statement);
}

void lc::FileStateStore::clear() {
  if (!isWritable()) return;
  change("DELETE FROM FileStates");
  clearFolders();
}

void lc::FileStateStore::setFolder(const std::string& path, std::span<const std::byte> bytes) {
  if (!isWritable()) return;
  if (bytes.empty()) return change(bound(m_statements.forgetFolder, kForgetFolder, path));
  LCStatement& statement = bound(m_statements.setFolder, kSetFolder, path);
  statement.bindBlob(2, bytes);
  change(statement);
}

void lc::FileStateStore::clearFolders() {
  if (isWritable()) change("DELETE FROM FolderStates");
}

void lc::FileStateStore::setScanOfFolders(const std::string& scan) {
  if (!isWritable()) return;
  LCStatement statement(m_connection.get(), kSetScan);
  statement.bind(1, scan);
  change(statement);
}
