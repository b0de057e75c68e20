#include "VeskLoopManagement/catalog/LCLibraryFolders.h"

#include "catalog/CatalogError.h"
#include "catalog/DatabaseKey.h"
#include "platform/Path.h"
#include "VeskLoopManagement/catalog/LCNearNames.h"
#include "VeskLoopManagement/platform/Environment.h"
#include "VeskLoopManagement/platform/Text.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

using Folders = std::vector<std::string>;

constexpr char kEnd = '\0';  // behind each path of the file

std::string fileFor(const std::string& databaseFile) {
  return vesk::path::appending(vesk::Environment::shared().stateFolder(), "folders-" + lc::databaseKey(databaseFile));
}

[[noreturn]] void failToWrite(const std::string& file) {
  throw lc::CatalogError{{.kind = LCFailureKind::databaseUnopenable,
                          .message = fmt::format("the list of folders cannot be written ({})", std::strerror(errno)),
                          .subject = file,
                          .nextStep = "Check the permissions of the state folder."}};
}

// Keeps other programs from changing the list between our reading and writing.
class ListLock {
 public:
  explicit ListLock(const std::string& file) {
    vesk::path::createDirectories(vesk::path::deletingLastComponent(file));
    m_descriptor = open((file + ".lock").c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600);
    if (m_descriptor < 0) failToWrite(file);
    while (flock(m_descriptor, LOCK_EX) != 0 && errno == EINTR) {
    }
  }
  ListLock(const ListLock&) = delete;
  ListLock& operator=(const ListLock&) = delete;
  ~ListLock() { close(m_descriptor); }

 private:
  int m_descriptor = -1;
};

void write(const std::string& file, Folders folders) {
  std::sort(folders.begin(), folders.end());
  std::string contents;
  for (const auto& folder : folders) contents.append(folder).push_back(kEnd);
  if (!vesk::path::writeFileAtomically(file, contents)) failToWrite(file);
}

bool isInside(std::string_view path, std::string_view folder) {
  if (path == folder || folder == "/") return true;
  return path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == '/';
}

}  // namespace

LCLibraryFolders::LCLibraryFolders(const std::string& databaseFile) : m_file(fileFor(databaseFile)) {}

std::vector<std::string> LCLibraryFolders::list() const {
  const auto contents = vesk::path::readFile(m_file);
  if (!contents || contents->empty()) return {};
  Folders folders = vesk::text::split(*contents, kEnd);
  std::erase(folders, "");
  return folders;
}

LCOutcome<bool> LCLibraryFolders::add(std::string_view path) {
  return lc::outcomeOf([&] {
    const std::string added = vesk::path::resolvingSymlinks(std::string(path));
    if (!vesk::path::isDirectory(added)) {
      throw lc::CatalogError{
          {.kind = LCFailureKind::notFound, .message = "no such folder", .subject = std::string(path)}};
    }
    const ListLock lock(m_file);
    Folders folders = list();
    const auto coversAdded = [&](const std::string& known) { return isInside(added, known); };
    if (std::any_of(folders.begin(), folders.end(), coversAdded)) return false;
    std::erase_if(folders, [&](const std::string& known) { return isInside(known, added); });
    folders.push_back(added);
    write(m_file, std::move(folders));
    return true;
  });
}

LCOutcome<bool> LCLibraryFolders::remove(std::string_view path) {
  return lc::outcomeOf([&] {
    const ListLock lock(m_file);
    Folders folders = list();
    if (std::erase(folders, vesk::path::resolvingSymlinks(std::string(path))) == 0) {
      throw lc::CatalogError{{.kind = LCFailureKind::notFound,
                              .message = "no such folder is remembered",
                              .subject = std::string(path),
                              .nearNames = lc::nearNames(path, folders)}};
    }
    write(m_file, std::move(folders));
    return true;
  });
}
