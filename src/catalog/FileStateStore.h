// What the disk said of files when they were indexed: where their bytes lie, how many, when they were last changed;
// and, packed by who asks (FolderStates), the same of whole folders. One store is one small database: when it cannot be
// used, trouble() says why and every question is answered as if nothing had been remembered. Never throws. One thread.
#pragma once

#include "VeskLoopManagement/database/LCConnection.h"
#include "VeskLoopManagement/database/LCStatement.h"

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace lc {

struct FileState {
  int64_t device = 0;
  int64_t inode = 0;
  int64_t size = 0;      // bytes
  int64_t modified = 0;  // nanoseconds since 1970
  int64_t created = 0;   // the same; 0 where the file system keeps no such time. Tells reused inodes apart.
  bool operator==(const FileState&) const = default;
  bool isOfSameFile(const FileState& other) const { return device == other.device && inode == other.inode; }
};

// What the disk says of anything that has a name.
struct FileStatus {
  FileState state;
  int64_t changed = 0;  // nanoseconds since 1970; unlike `modified` nobody can set it back
  mode_t mode = 0;
};

// Of what the path leads to, links followed; nullopt when that is nothing.
std::optional<FileState> fileStateAt(const std::string& path);
std::optional<FileStatus> fileStatusAt(const std::string& path);
// Of the entry itself in an open folder; a link is not followed.
std::optional<FileStatus> entryStatusAt(int folder, const std::string& name);

struct IndexedFile {
  std::string urlText;
  FileState state;
  int64_t loopId = 0;
  bool operator==(const IndexedFile&) const = default;
};

class FileStateStore {
 public:
  enum class Use { readOnly, readWrite };  // read-only: nothing is made, and writing does nothing
  FileStateStore(std::string path, Use use);

  // A sentence about what went wrong last; nullopt while everything works.
  const std::optional<std::string>& trouble() const { return m_trouble; }
  bool isUsable() const { return m_connection != nullptr; }

  std::optional<IndexedFile> fileWithURL(const std::string& urlText);
  // Under every URL that is remembered for it, links and former names included.
  std::vector<IndexedFile> filesWithState(const FileState& state);
  std::vector<IndexedFile> filesOfLoop(int64_t loopId);

  // The bytes kept for a folder; none: empty.
  std::vector<std::byte> folder(const std::string& path);
  // Which scan of the loop database the folders were written after; "" for none.
  std::string scanOfFolders();

  // A transaction for what follows, which locks others out from the first change on; without one, every change stands
  // at once.
  void begin();
  void commit();
  void remember(const IndexedFile& file);
  void forget(const std::string& urlText);
  void forget(const std::string& urlText, int64_t loopId);                    // only when it was this loop
  void setFolder(const std::string& path, std::span<const std::byte> bytes);  // empty: forgets it
  void clearFolders();
  void setScanOfFolders(const std::string& scan);
  void clear();

 private:
  struct Statements {
    LCStatement withURL, withState, ofLoop, remember, forget, forgetLoop, folder, setFolder, forgetFolder;
  };
  enum class Transaction { none, wanted, open };

  void open();
  bool isWritable() const { return isUsable() && m_use == Use::readWrite; }
  LCStatement& bound(LCStatement& statement, std::string_view sql, const std::string& urlText);
  std::vector<IndexedFile> filesOf(LCStatement& statement);
  void execute(std::string_view sql);
  void run(LCStatement& statement);
  void change(LCStatement& statement);  // within the transaction that is wanted
  void change(std::string_view sql);
  void giveUp(int status);

  Use m_use;
  std::string m_path;
  std::optional<std::string> m_trouble;
  LCConnection m_connection;  // null when the states cannot be used
  Transaction m_transaction = Transaction::none;
  Statements m_statements;
};

}  // namespace lc
