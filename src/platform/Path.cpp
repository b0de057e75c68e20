#include "platform/Path.h"

#include "platform/FileReplacement.h"
#include "VeskLoopManagement/platform/Environment.h"
#include "VeskLoopManagement/platform/Text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <span>
#include <system_error>

namespace vesk::path {

namespace {

// Texts with a NUL name nothing: the system would read them only as far as it.
bool canNameFile(std::string_view path) {
  return !path.empty() && path.find('\0') == std::string_view::npos;
}

std::optional<struct stat> statusOf(const std::string& path) {
  struct stat status = {};
  if (!canNameFile(path) || ::stat(path.c_str(), &status) != 0) return std::nullopt;
  return status;
}

std::string_view withoutTrailingSlashes(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  return path;
}

// The index of the "." before the extension of `component`, or npos when it has none.
size_t extensionDot(std::string_view component) {
  const size_t dot = component.rfind('.');
  if (dot == std::string_view::npos || dot == 0) return std::string_view::npos;
  const std::string_view rest = component.substr(dot + 1);
  if (rest.empty() || rest.find(' ') != std::string_view::npos) return std::string_view::npos;
  return dot;
}

std::optional<std::string> realPath(const std::string& path) {
  if (!canNameFile(path)) return std::nullopt;
  const std::unique_ptr<char, decltype(&std::free)> resolved{::realpath(path.c_str(), nullptr), &std::free};
  if (!resolved) return std::nullopt;
  return std::string(resolved.get());
}

// Companions that other systems leave beside files hold no loops.
bool isCompanionName(std::string_view name) {
  return name.starts_with("._") || name == ".AppleDouble" || name == "__MACOSX";
}

struct FolderEntry {
  std::string relativePath;
  bool isFolder = false;  // a link to a folder is none
};

// What stands in `folder`, sorted by bytes; each path begins with `prefix`. Empty when it cannot be read.
std::vector<FolderEntry> entriesOf(const std::string& folder, const std::string& prefix) {
  std::vector<FolderEntry> entries;
  std::error_code error;
  std::filesystem::directory_iterator iterator(folder, error);
  while (!error && iterator != std::filesystem::directory_iterator()) {
    const std::string name = iterator->path().filename().string();
    std::error_code statusError;
    const auto status = iterator->symlink_status(statusError);
    if (!isCompanionName(name)) entries.push_back({prefix + name, std::filesystem::is_directory(status)});
    iterator.increment(error);
  }
  std::sort(entries.begin(), entries.end(),
            [](const FolderEntry& left, const FolderEntry& right) { return left.relativePath < right.relativePath; });
  return entries;
}

}  // namespace

std::string lastComponent(std::string_view path) {
  path = withoutTrailingSlashes(path);
  if (path == "/") return "/";
  const size_t slash = path.rfind('/');
  return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

std::vector<std::string> components(std::string_view path) {
  std::vector<std::string> result;
  if (path.starts_with('/')) result.emplace_back("/");
  for (std::string& component : text::split(path, '/')) {
    if (!component.empty()) result.push_back(std::move(component));
  }
  return result;
}

std::string extension(std::string_view path) {
  const std::string component = lastComponent(path);
  const size_t dot = extensionDot(component);
  return dot == std::string::npos ? std::string() : component.substr(dot + 1);
}

std::string lowercaseExtension(std::string_view path) {
  return text::asciiLowercase(extension(path));
}

std::string deletingExtension(std::string_view path) {
  const std::string found = extension(path);
  if (found.empty()) return std::string(path);
  path = withoutTrailingSlashes(path);
  return std::string(path.substr(0, path.size() - found.size() - 1));
}

std::string deletingLastComponent(std::string_view path) {
  path = withoutTrailingSlashes(path);
  const size_t slash = path.rfind('/');
  if (slash == std::string_view::npos) return {};
  return std::string(withoutTrailingSlashes(path.substr(0, slash == 0 ? 1 : slash)));
}

std::string appending(std::string_view folder, std::string_view component) {
  if (folder.empty()) return std::string(component);
  std::string result(withoutTrailingSlashes(folder));
  while (component.starts_with('/')) component.remove_prefix(1);
  if (component.empty()) return result;
  if (result != "/") result += '/';
  result += component;
  return result;
}

bool exists(const std::string& path) {
  return statusOf(path).has_value();
}

bool isDirectory(const std::string& path) {
  const auto status = statusOf(path);
  return status && S_ISDIR(status->st_mode);
}

bool isDeadLink(const std::string& path) {
  std::error_code error;
  return canNameFile(path) && std::filesystem::is_symlink(path, error) && !exists(path);
}

std::string resolvingSymlinks(const std::string& path) {
  if (!canNameFile(path)) return path;
  std::string existing = path;
  std::string missing;
  while (true) {
    if (const auto resolved = realPath(existing.empty() ? "." : existing)) return appending(*resolved, missing);
    if (existing.empty() || existing == "/") return path;
    const std::string last = lastComponent(existing);
    missing = missing.empty() ? last : last + "/" + missing;
    existing = deletingLastComponent(existing);
  }
}

bool createDirectories(const std::string& path, std::string* error) {
  std::error_code failure = std::make_error_code(std::errc::invalid_argument);
  if (canNameFile(path)) {
    failure.clear();
    std::filesystem::create_directories(path, failure);
  }
  if (isDirectory(path)) return true;
  if (!failure) failure = std::make_error_code(std::errc::not_a_directory);
  if (error) *error = path + ": " + failure.message();
  return false;
}

std::vector<std::string> subpaths(const std::string& folder) {
  std::vector<std::string> result;
  if (!canNameFile(folder)) return result;
  std::vector<FolderEntry> pending = entriesOf(folder, "");
  std::reverse(pending.begin(), pending.end());
  while (!pending.empty()) {
    const FolderEntry entry = std::move(pending.back());
    pending.pop_back();
    result.push_back(entry.relativePath);
    if (!entry.isFolder) continue;
    std::vector<FolderEntry> inside = entriesOf(appending(folder, entry.relativePath), entry.relativePath + "/");
    pending.insert(pending.end(), std::make_move_iterator(inside.rbegin()), std::make_move_iterator(inside.rend()));
  }
  return result;
}

std::string expandingTilde(std::string_view path) {
  if (path == "~") return Environment::shared().homeFolder();
  if (path.starts_with("~/")) return appending(Environment::shared().homeFolder(), path.substr(2));
  return std::string(path);
}

std::optional<std::string> readFile(const std::string& path, size_t limit) {
  if (!canNameFile(path)) return std::nullopt;
  // Without O_NONBLOCK a pipe that nobody writes to would hold us up here for ever.
  const FileDescriptor file{::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)};
  struct stat status = {};
  if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  if (static_cast<uint64_t>(status.st_size) > limit) return std::nullopt;
  std::string contents;
  contents.reserve(static_cast<size_t>(status.st_size));
  std::vector<char> piece(size_t{1} << 16);
  while (true) {
    const ssize_t count = ::read(file.get(), piece.data(), piece.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return std::nullopt;
    if (count == 0) return contents;
    if (static_cast<size_t>(count) > limit - contents.size()) return std::nullopt;
    contents.append(piece.data(), static_cast<size_t>(count));
  }
}

bool writeFileAtomically(const std::string& path, std::string_view contents) {
  if (!canNameFile(path)) return false;
  WriteFailure failure;
  const auto found = FoundFile::open(path, failure);
  if (!found && failure.error != WriteError::notFound) return false;
  std::optional<FileReplacement> replacement;
  if (found) {
    replacement.emplace(*found, ReplaceOptions{.replacing = Replacing::whateverIsThere});
  } else {
    replacement.emplace(resolvingSymlinks(path));
  }
  return replacement->write(std::as_bytes(std::span(contents))) && replacement->commit();
}

}  // namespace vesk::path
