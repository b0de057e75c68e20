#include "catalog/FolderWalk.h"

#include "platform/Path.h"

#include <dirent.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

namespace {

using Directory = std::unique_ptr<DIR, int (*)(DIR*)>;

// The names in a folder by bytes, so that every run is the same.
std::vector<std::string> namesIn(DIR* directory) {
  std::vector<std::string> names;
  while (const dirent* entry = readdir(directory)) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string below(const std::string& folder, const std::string& name) {
  return folder.empty() ? name : vesk::path::appending(folder, name);
}

}  // namespace

lc::FolderWalk::FolderWalk(WalkOptions options, WalkHandlers handlers, std::function<bool()> keepGoing)
    : m_options(std::move(options)), m_handlers(std::move(handlers)), m_keepGoing(std::move(keepGoing)) {}

void lc::FolderWalk::skipFolder(const std::string& path) {
  if (const auto state = fileStateAt(path)) m_skippedFolder = FolderIdentity(state->device, state->inode);
}

bool lc::FolderWalk::enterFirstTime(const FolderIdentity& identity) {
  return identity != m_skippedFolder && m_seenFolders.insert(identity).second;
}

void lc::FolderWalk::walk(const std::string& path) {
  const auto status = fileStatusAt(path);
  if (!status) {
    const int error = errno;
    const auto entry = entryStatusAt(AT_FDCWD, path);
    return entry && S_ISLNK(entry->mode) ? tellOfLink(path, error) : m_handlers.missing(path);
  }
  const std::string resolvedPath = vesk::path::resolvingSymlinks(path);
  if (S_ISREG(status->mode)) {
    if (m_keepGoing()) m_handlers.file({resolvedPath, vesk::path::lastComponent(path), *status});
    return;
  }
  if (!S_ISDIR(status->mode)) return m_handlers.failure(path, "neither a file nor a folder");
  const FolderIdentity identity(status->state.device, status->state.inode);
  if (m_seenFolders.insert(identity).second) walkFolder({resolvedPath, "", identity});
  while (!m_linkedFolders.empty()) {
    const Folder linked = std::move(m_linkedFolders.back());
    m_linkedFolders.pop_back();
    if (enterFirstTime(linked.identity)) walkFolder(linked);
  }
}

void lc::FolderWalk::walkFolder(const Folder& folder) {
  for (const auto& subfolder : walkFiles(folder)) {
    if (!m_keepGoing()) return;
    if (enterFirstTime(subfolder.identity)) walkFolder(subfolder);
  }
}

std::vector<lc::FolderWalk::Folder> lc::FolderWalk::walkFiles(const Folder& folder) {
  const Directory directory(opendir(folder.path.c_str()), closedir);
  if (!directory) return m_handlers.failure(folder.path, std::strerror(errno)), std::vector<Folder>();
  const auto names = namesIn(directory.get());
  std::vector<Folder> subfolders;
  for (const auto& name : names) {
    if (!m_keepGoing()) return {};
    walkEntry(folder, dirfd(directory.get()), name, subfolders);
  }
  if (m_handlers.filesEnded) m_handlers.filesEnded(folder.path, names);
  return subfolders;
}

void lc::FolderWalk::walkEntry(const Folder& folder, int descriptor, const std::string& name,
                               std::vector<Folder>& subfolders) {
  Folder entry{below(folder.path, name), below(folder.relativePath, name)};
  if (isPassedOver(name, entry.relativePath)) return;
  auto status = entryStatusAt(descriptor, name);
  if (!status) return;  // gone in the meantime
  const bool isLink = S_ISLNK(status->mode);
  if (isLink) {
    status = fileStatusAt(entry.path);
    if (!status) return tellOfLink(entry.path, errno);
    entry.path = vesk::path::resolvingSymlinks(entry.path);
  }
  entry.identity = FolderIdentity(status->state.device, status->state.inode);
  if (S_ISREG(status->mode)) {
    m_handlers.file({std::move(entry.path), std::move(entry.relativePath), *status});
  } else if (S_ISDIR(status->mode)) {
    (isLink ? m_linkedFolders : subfolders).push_back(std::move(entry));
  }
}

// `error` is what following it came to.
void lc::FolderWalk::tellOfLink(const std::string& path, int error) const {
  const bool leadsNowhere = error == ENOENT || error == ENOTDIR || error == ELOOP;
  leadsNowhere ? m_handlers.deadLink(path) : m_handlers.failure(path, std::strerror(error));
}

// A pattern with "/" is about the path below the argument, one without about any name on the way.
bool lc::FolderWalk::isPassedOver(const std::string& name, const std::string& relativePath) const {
  if (name.starts_with("._") || name == ".AppleDouble" || name == "__MACOSX") return true;
  if (name.starts_with('.') && !m_options.withHidden) return true;
  const auto& patterns = m_options.excludedPatterns;
  return std::any_of(patterns.begin(), patterns.end(), [&](const std::string& pattern) {
    const bool isPath = pattern.find('/') != std::string::npos;
    return fnmatch(pattern.c_str(), (isPath ? relativePath : name).c_str(), isPath ? FNM_PATHNAME : 0) == 0;
  });
}
