#include "catalog/FolderWalk.h"

#include "platform/Path.h"

#include <dirent.h>
#include <fnmatch.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

namespace {

using Directory = std::unique_ptr<DIR, int (*)(DIR*)>;

// The names in a folder by bytes, so that every run is the same; nullopt when it cannot be read.
std::optional<std::vector<std::string>> namesIn(const std::string& folder) {
  const Directory directory(opendir(folder.c_str()), closedir);
  if (!directory) return std::nullopt;
  std::vector<std::string> names;
  while (const dirent* entry = readdir(directory.get())) {
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
  struct stat status {};
  if (stat(path.c_str(), &status) == 0) m_skippedFolder = FolderIdentity(status.st_dev, status.st_ino);
}

bool lc::FolderWalk::enterFirstTime(const FolderIdentity& identity) {
  return identity != m_skippedFolder && m_seenFolders.insert(identity).second;
}

void lc::FolderWalk::walk(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    const int error = errno;
    const bool isLink = lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
    return isLink ? tellOfLink(path, error) : m_handlers.missing(path);
  }
  const std::string resolvedPath = vesk::path::resolvingSymlinks(path);
  if (S_ISREG(status.st_mode)) {
    if (m_keepGoing()) m_handlers.file({resolvedPath, vesk::path::lastComponent(path)});
    return;
  }
  if (!S_ISDIR(status.st_mode)) return m_handlers.failure(path, "neither a file nor a folder");
  const FolderIdentity identity(status.st_dev, status.st_ino);
  if (m_seenFolders.insert(identity).second) walkFolder({resolvedPath, "", identity});
  while (!m_linkedFolders.empty()) {
    const Folder linked = std::move(m_linkedFolders.back());
    m_linkedFolders.pop_back();
    if (enterFirstTime(linked.identity)) walkFolder(linked);
  }
}

void lc::FolderWalk::walkFolder(const Folder& folder) {
  const auto names = namesIn(folder.path);
  if (!names) return m_handlers.failure(folder.path, std::strerror(errno));
  for (const auto& name : *names) {
    if (!m_keepGoing()) return;
    walkEntry(folder, name);
  }
}

void lc::FolderWalk::walkEntry(const Folder& folder, const std::string& name) {
  Folder entry{below(folder.path, name), below(folder.relativePath, name)};
  if (isPassedOver(name, entry.relativePath)) return;
  struct stat status {};
  if (lstat(entry.path.c_str(), &status) != 0) return;  // gone in the meantime
  const bool isLink = S_ISLNK(status.st_mode);
  if (isLink) {
    if (stat(entry.path.c_str(), &status) != 0) return tellOfLink(entry.path, errno);
    entry.path = vesk::path::resolvingSymlinks(entry.path);
  }
  entry.identity = FolderIdentity(status.st_dev, status.st_ino);
  if (S_ISREG(status.st_mode)) {
    m_handlers.file({entry.path, entry.relativePath});
  } else if (S_ISDIR(status.st_mode) && isLink) {
    m_linkedFolders.push_back(std::move(entry));
  } else if (S_ISDIR(status.st_mode) && enterFirstTime(entry.identity)) {
    walkFolder(entry);
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
