#include "database/DatabaseCopy.h"

#include "platform/FileDescriptor.h"
#include "platform/Path.h"
#include "VeskLoopManagement/database/LCConnection.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sqlite3.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

namespace {

namespace fs = std::filesystem;

// Its last commit syncs the file.
int backUp(sqlite3* connection, const std::string& file) {
  int status = SQLITE_OK;
  const LCConnection target = lc::openConnection(file, LCOpenMode::readWriteCreate, &status);
  if (!target) return status;
  sqlite3_backup* backup = sqlite3_backup_init(target.get(), "main", connection, "main");
  if (!backup) return sqlite3_errcode(target.get());
  constexpr int kAllPages = -1;
  const int stepped = sqlite3_backup_step(backup, kAllPages);  // finishing does not tell of locks
  const int finished = sqlite3_backup_finish(backup);
  return stepped == SQLITE_DONE ? finished : stepped;
}

// A rename is on the disk when its folder is.
void syncFolder(const std::string& folder) {
  const vesk::FileDescriptor descriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (descriptor.isOpen()) ::fsync(descriptor.get());
}

}  // namespace

int lc::copyDatabase(sqlite3* connection, const std::string& path) {
  const std::string folder = vesk::path::deletingLastComponent(path);
  const std::string incoming =
      vesk::path::appending(folder, fmt::format(".incoming-{}-{}", ::getpid(), vesk::path::lastComponent(path)));
  std::error_code error;
  fs::remove(incoming, error);
  int status = backUp(connection, incoming);
  if (status == SQLITE_OK) {
    fs::rename(incoming, path, error);
    if (error) status = SQLITE_CANTOPEN;
  }
  if (status == SQLITE_OK) {
    syncFolder(folder);
  } else {
    fs::remove(incoming, error);
  }
  return status;
}
