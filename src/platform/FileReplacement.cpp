#include "platform/FileReplacement.h"

#include "platform/Path.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/xattr.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <optional>
#include <random>
#include <system_error>

namespace vesk {
namespace {

constexpr std::string_view kSiblingPrefix = ".veskloops-";
constexpr std::string_view kSiblingSuffix = ".part";
constexpr std::string_view kCopySuffix = ".copy";
constexpr size_t kRandomLength = 12;
constexpr std::string_view kRandomLetters = "abcdefghijklmnopqrstuvwxyz0123456789";
constexpr size_t kBufferSize = size_t{1} << 20;
constexpr uint64_t kLargestCopy = uint64_t{1} << 30;  // by one call, so that a signal is not kept waiting

WriteFailure failureOf(const std::string& path, WriteError error, std::string_view what, int code = 0) {
  const bool hasNoSpace = code == ENOSPC || code == EDQUOT;
  if (error == WriteError::system && hasNoSpace) error = WriteError::noSpace;
  std::string message = path + ": ";
  message += what;
  if (code != 0) message += " (" + std::system_category().message(code) + ")";
  return {error, std::move(message), code};
}

// Calls again what a signal has interrupted.
template <typename Call>
auto retried(const Call& call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

bool writeAll(int descriptor, std::span<const std::byte> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = retried([&] { return ::write(descriptor, bytes.data(), bytes.size()); });
    if (count == 0) errno = EIO;
    if (count <= 0) return false;
    bytes = bytes.subspan(static_cast<size_t>(count));
  }
  return true;
}

// Fills `target` from `offset` on; false, errno being 0 where the file ends before.
bool readAll(int descriptor, uint64_t offset, std::span<std::byte> target) {
  while (!target.empty()) {
    const ssize_t count =
        retried([&] { return ::pread(descriptor, target.data(), target.size(), static_cast<off_t>(offset)); });
    if (count == 0) errno = 0;
    if (count <= 0) return false;
    offset += static_cast<uint64_t>(count);
    target = target.subspan(static_cast<size_t>(count));
  }
  return true;
}

// `isTouched` becomes true as soon as something was written.
bool writeAllAt(int descriptor, uint64_t offset, std::span<const std::byte> bytes, bool& isTouched) {
  while (!bytes.empty()) {
    const ssize_t count =
        retried([&] { return ::pwrite(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(offset)); });
    if (count == 0) errno = EIO;
    if (count <= 0) return false;
    isTouched = true;
    offset += static_cast<uint64_t>(count);
    bytes = bytes.subspan(static_cast<size_t>(count));
  }
  return true;
}

bool isSameFile(const struct stat& one, const struct stat& other) {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool isSameTime(const struct timespec& one, const struct timespec& other) {
  return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

bool isSameState(const struct stat& one, const struct stat& other) {
  return isSameFile(one, other) && one.st_size == other.st_size && isSameTime(one.st_mtim, other.st_mtim) &&
         isSameTime(one.st_ctim, other.st_ctim);
}

std::string folderOf(const std::string& path) {
  const std::string folder = path::deletingLastComponent(path);
  return folder.empty() ? "." : folder;
}

// --- Siblings ---

std::string randomSiblingName() {
  std::random_device random;
  std::string name(kSiblingPrefix);
  for (size_t i = 0; i < kRandomLength; ++i) name += kRandomLetters[random() % kRandomLetters.size()];
  return name.append(kSiblingSuffix);
}

bool isSiblingName(std::string_view name) {
  if (name.size() != kSiblingPrefix.size() + kRandomLength + kSiblingSuffix.size()) return false;
  const std::string_view random = name.substr(kSiblingPrefix.size(), kRandomLength);
  return name.starts_with(kSiblingPrefix) && name.ends_with(kSiblingSuffix) &&
         random.find_first_not_of(kRandomLetters) == std::string_view::npos;
}

// Removes a sibling that nobody holds a lock on. Its maker, should it come for its lock right now, waits for ours and
// then sees that its file has no name any more.
void removeIfAbandoned(int folder, const char* name) {
  const FileDescriptor file{::openat(folder, name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK)};
  struct stat status = {};
  if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return;
  if (::flock(file.get(), LOCK_EX | LOCK_NB) == 0) ::unlinkat(folder, name, 0);
}

// Removes what killed replacements have left in the folder. Not again within a few seconds, or writing to each file of
// a large folder in turn would read the folder as often.
void removeLeftovers(int folder, const std::string& path) {
  using Clock = std::chrono::steady_clock;
  struct Sweep {
    std::string path;
    Clock::time_point time;
  };
  static thread_local Sweep lastSweep;
  const auto now = Clock::now();
  if (lastSweep.path == path && now - lastSweep.time < std::chrono::seconds(10)) return;
  lastSweep = {path, now};
  const int listed = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (listed < 0) return;
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(::fdopendir(listed), &::closedir);
  if (!entries) {
    ::close(listed);
    return;
  }
  while (const dirent* entry = ::readdir(entries.get())) {
    if (isSiblingName(entry->d_name)) removeIfAbandoned(folder, entry->d_name);
  }
}

// --- Metadata ---

using Names = std::vector<std::string>;

// The names of the extended attributes; none where the file system has no such thing. nullopt when they cannot be read.
std::optional<Names> attributesOf(int descriptor) {
  const ssize_t size = ::flistxattr(descriptor, nullptr, 0);
  if (size < 0) return errno == ENOTSUP || errno == ENOSYS ? std::optional<Names>(Names()) : std::nullopt;
  std::string list(static_cast<size_t>(size), '\0');
  const ssize_t filled = ::flistxattr(descriptor, list.data(), list.size());
  if (filled < 0) return std::nullopt;
  Names names;
  for (size_t i = 0; i < static_cast<size_t>(filled); i += names.back().size() + 1)
    names.emplace_back(list.c_str() + i);
  return names;
}

std::optional<std::vector<char>> attribute(int descriptor, const std::string& name) {
  const ssize_t size = ::fgetxattr(descriptor, name.c_str(), nullptr, 0);
  if (size < 0) return std::nullopt;
  std::vector<char> value(static_cast<size_t>(size));
  const ssize_t filled = ::fgetxattr(descriptor, name.c_str(), value.data(), value.size());
  if (filled < 0) return std::nullopt;
  value.resize(static_cast<size_t>(filled));
  return value;
}

// What users and programs have set, ACLs among them. The system's own labels are not ours to make.
bool mustBeKept(std::string_view name) {
  return name.starts_with("user.") || name.starts_with("system.");
}

bool copyAttribute(int from, int to, const std::string& name) {
  const auto value = attribute(from, name);
  if (!value) return false;
  if (attribute(to, name) == value) return true;
  return ::fsetxattr(to, name.c_str(), value->data(), value->size(), 0) == 0;
}

// Makes the attributes of `to` those of `from`: it may have got some from its folder, such as an ACL.
bool copyAttributes(int from, int to) {
  const auto names = attributesOf(from);
  const auto others = attributesOf(to);
  if (!names || !others) return false;
  for (const std::string& name : *others) {
    const bool isWanted = !mustBeKept(name) || std::find(names->begin(), names->end(), name) != names->end();
    if (!isWanted && ::fremovexattr(to, name.c_str()) != 0) return false;
  }
  for (const std::string& name : *names) {
    if (!copyAttribute(from, to, name) && mustBeKept(name)) return false;
  }
  return true;
}

}  // namespace

// --- FoundFile -------------------------------------------------------------------------------------------------------

std::unique_ptr<FoundFile> FoundFile::open(const std::string& path, WriteFailure& failure) {
  const std::string resolved = path::resolvingSymlinks(path);
  const bool isCutByNUL = resolved.find('\0') != std::string::npos;
  constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW;
  FileDescriptor descriptor{isCutByNUL ? -1 : retried([&] { return ::open(resolved.c_str(), kFlags); })};
  struct stat status = {};
  if (!descriptor.isOpen() || ::fstat(descriptor.get(), &status) != 0) {
    const int code = isCutByNUL ? ENOENT : errno;
    const bool isMissing = code == ENOENT || code == ENOTDIR;
    failure = failureOf(path, isMissing ? WriteError::notFound : WriteError::notReadable, "it cannot be read", code);
    return nullptr;
  }
  if (!S_ISREG(status.st_mode)) {
    failure = failureOf(path, WriteError::notReadable, "it is not a regular file");
    return nullptr;
  }
  return std::unique_ptr<FoundFile>(new FoundFile(resolved, std::move(descriptor), status));
}

FoundFile::FoundFile(std::string path, FileDescriptor descriptor, const struct stat& status)
    : m_path(std::move(path)), m_descriptor(std::move(descriptor)), m_status(status) {}

bool FoundFile::mayBeReplaced(const ReplaceOptions& options, WriteFailure& failure) const {
  // Who may do everything is still told by the mode that the file is not to be written.
  const bool hasWriters = (m_status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) != 0;
  if (!hasWriters || ::faccessat(AT_FDCWD, m_path.c_str(), W_OK, AT_EACCESS) != 0) {
    failure = failureOf(m_path, WriteError::readOnly, "it is read-only", hasWriters ? errno : 0);
  } else if (::faccessat(AT_FDCWD, folderOf(m_path).c_str(), W_OK | X_OK, AT_EACCESS) != 0) {
    failure = failureOf(m_path, WriteError::readOnlyFolder, "nothing can be written to its folder", errno);
  } else if (hasOtherNames() && options.copyBack == CopyBack::never) {
    failure =
        failureOf(m_path, WriteError::hardLinked, "it has other names (hard links), which would keep the old file");
  } else {
    return true;
  }
  return false;
}

bool FoundFile::isUnchanged() const {
  struct stat open = {};
  struct stat named = {};
  return ::fstat(descriptor(), &open) == 0 && ::lstat(m_path.c_str(), &named) == 0 && isSameState(m_status, open) &&
         isSameState(m_status, named);
}

// --- FileReplacement -------------------------------------------------------------------------------------------------

FileReplacement::FileReplacement(const FoundFile& found, const ReplaceOptions& options)
    : FileReplacement(found.path(), &found, options) {}

FileReplacement::FileReplacement(const std::string& path) : FileReplacement(path, nullptr, {}) {}

FileReplacement::FileReplacement(const std::string& path, const FoundFile* found, const ReplaceOptions& options)
    : m_path(path), m_found(found), m_options(options) {
  m_copiesBack = found && found->hasOtherNames() && options.copyBack == CopyBack::whereNeeded;
  const std::string folder = folderOf(path);
  m_folder = FileDescriptor(retried([&] { return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
  if (!m_folder.isOpen()) {
    fail(WriteError::readOnlyFolder, "its folder cannot be opened", errno);
    return;
  }
  removeLeftovers(m_folder.get(), folder);
  makeSibling();
}

FileReplacement::~FileReplacement() {
  if (!m_sibling.empty()) ::unlinkat(m_folder.get(), m_sibling.c_str(), 0);
}

bool FileReplacement::fail(WriteError error, std::string_view what, int code) {
  if (!m_failure) m_failure = failureOf(m_path, error, what, code);
  return false;
}

void FileReplacement::makeSibling() {
  constexpr int kAttempts = 100;
  // Nobody else sees the contents of a file that others may not read. A file without a model is like any new one.
  const mode_t mode = m_found ? S_IRUSR | S_IWUSR : S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;
  for (int i = 0; i < kAttempts; ++i) {
    const std::string name = randomSiblingName();
    FileDescriptor file{
        retried([&] { return ::openat(m_folder.get(), name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode); })};
    if (!file.isOpen() && errno == EEXIST) continue;
    if (!file.isOpen()) {
      const bool isDenied = errno == EACCES || errno == EPERM || errno == EROFS;
      fail(isDenied ? WriteError::readOnlyFolder : WriteError::system, "no new file can be put beside it", errno);
      return;
    }
    struct stat status = {};
    retried([&] { return ::flock(file.get(), LOCK_EX); });  // failing, the sibling is never taken for a left-over
    if (::fstat(file.get(), &status) == 0 && status.st_nlink == 0) continue;  // somebody was faster than our lock
    m_sibling = name;
    m_file = std::move(file);
    return;
  }
  fail(WriteError::system, "no new file can be put beside it", EEXIST);
}

bool FileReplacement::write(std::span<const std::byte> bytes) {
  if (m_failure) return false;
  return writeAll(m_file.get(), bytes) || fail(WriteError::system, "its new contents cannot be written", errno);
}

bool FileReplacement::copy(int descriptor, uint64_t offset, uint64_t size) {
  if (m_failure) return false;
  auto position = static_cast<off_t>(offset);
  while (size > 0 && m_systemCopies) {
    const auto wanted = static_cast<size_t>(std::min(size, kLargestCopy));
    const ssize_t count =
        retried([&] { return ::copy_file_range(descriptor, &position, m_file.get(), nullptr, wanted, 0); });
    if (count < 0 && (errno == EIO || errno == ENOSPC || errno == EDQUOT || errno == EFBIG)) {
      return fail(WriteError::system, "its contents cannot be copied", errno);
    }
    if (count <= 0) {  // it cannot, here; or the file ends, which reading finds out
      m_systemCopies = false;
      break;
    }
    size -= static_cast<uint64_t>(count);
  }
  return copyByHand(descriptor, static_cast<uint64_t>(position), size);
}

bool FileReplacement::copyByHand(int descriptor, uint64_t offset, uint64_t size) {
  while (size > 0) {
    const auto piece = bufferOf(size);
    if (!readAll(descriptor, offset, piece)) return fail(WriteError::notReadable, "it cannot be read", errno);
    if (!write(piece)) return false;
    offset += piece.size();
    size -= piece.size();
  }
  return true;
}

// Room for the next piece of so many bytes.
std::span<std::byte> FileReplacement::bufferOf(uint64_t size) {
  m_buffer.resize(kBufferSize);
  return std::span(m_buffer).first(static_cast<size_t>(std::min<uint64_t>(size, kBufferSize)));
}

bool FileReplacement::complete() {
  if (m_failure) return false;
  if (m_isComplete) return true;
  if (m_found && !keepOwner()) return false;
  if (m_found && !m_copiesBack && !keepMetadata()) return false;
  if (retried([&] { return ::fsync(m_file.get()); }) != 0) {
    return fail(WriteError::system, "its new contents cannot be brought to the disk", errno);
  }
  m_isComplete = true;
  return true;
}

// Before anything else of the metadata, for it takes rights away.
bool FileReplacement::keepOwner() {
  const struct stat& model = m_found->status();
  struct stat own = {};
  if (::fstat(m_file.get(), &own) != 0) return fail(WriteError::system, "its new contents cannot be looked at", errno);
  if (m_copiesBack || (own.st_uid == model.st_uid && own.st_gid == model.st_gid)) return true;
  if (retried([&] { return ::fchown(m_file.get(), model.st_uid, model.st_gid); }) == 0) return true;
  if (m_options.replacing == Replacing::whateverIsThere) return true;
  if (errno != EPERM) return fail(WriteError::system, "its owner cannot be kept", errno);
  m_copiesBack = m_options.copyBack == CopyBack::whereNeeded;
  return m_copiesBack || fail(WriteError::ownerNotKept, "a new file cannot belong to its owner and group");
}

bool FileReplacement::keepMetadata() {
  const struct stat& model = m_found->status();
  const bool isLenient = m_options.replacing == Replacing::whateverIsThere;
  if (retried([&] { return ::fchmod(m_file.get(), model.st_mode & 07777); }) != 0) {
    return fail(WriteError::system, "its mode cannot be kept", errno);
  }
  if (!copyAttributes(m_found->descriptor(), m_file.get()) && !isLenient) {
    return fail(WriteError::system, "its access list or extended attributes cannot be kept", errno);
  }
  return keepModificationTime(m_file.get());
}

bool FileReplacement::keepModificationTime(int descriptor) {
  if (m_options.modificationTime == ModificationTime::now) return true;
  const struct timespec times[] = {m_found->status().st_atim, m_found->status().st_mtim};
  return retried([&] { return ::futimens(descriptor, times); }) == 0 ||
         fail(WriteError::system, "its time of modification cannot be kept", errno);
}

bool FileReplacement::commit() {
  if (!complete()) return false;
  const bool mayHaveChanged = m_found && m_options.replacing == Replacing::asFound;
  if (mayHaveChanged && !m_found->isUnchanged()) {
    return fail(WriteError::changedMeanwhile, "it was changed by somebody else meanwhile");
  }
  if (m_copiesBack) return copyBack();
  const std::string name = path::lastComponent(m_path);
  if (::renameat(m_folder.get(), m_sibling.c_str(), m_folder.get(), name.c_str()) != 0) {
    return fail(WriteError::system, "its new contents cannot be put in its place", errno);
  }
  m_sibling.clear();
  ::flock(m_file.get(), LOCK_UN);
  return syncFolder() ||
         fail(WriteError::notSynced, "it is written, but its folder cannot be brought to the disk", errno);
}

// True, too, where folders are nothing that can be synced.
bool FileReplacement::syncFolder() {
  return retried([&] { return ::fsync(m_folder.get()); }) == 0 || errno == EINVAL || errno == EROFS;
}

bool FileReplacement::copyBack() {
  FileDescriptor target{
      retried([&] { return ::open(m_path.c_str(), O_RDWR | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | O_NOFOLLOW); })};
  struct stat status = {};
  struct stat sibling = {};
  if (!target.isOpen()) return fail(WriteError::readOnly, "it cannot be written over", errno);
  if (::fstat(target.get(), &status) != 0 || ::fstat(m_file.get(), &sibling) != 0) {
    return fail(WriteError::system, "it cannot be looked at", errno);
  }
  if (!isSameState(status, m_found->status())) {
    return fail(WriteError::changedMeanwhile, "it was changed by somebody else meanwhile");
  }
  // The room is taken beforehand, where the file system can, so that it does not run out half-way.
  const bool hasRoom = retried([&] { return ::fallocate(target.get(), FALLOC_FL_KEEP_SIZE, 0, sibling.st_size); }) == 0;
  if (!hasRoom && errno != EOPNOTSUPP && errno != ENOSYS) {
    return fail(WriteError::system, "there is no room for its new contents", errno);
  }
  if (!renameSiblingToCopy()) return fail(WriteError::system, "its new contents cannot be kept beside it", errno);
  bool isTouched = false;
  if (writeOver(target.get(), static_cast<uint64_t>(sibling.st_size), isTouched))
    return keepModificationTime(target.get());
  const int code = errno;
  if (!isTouched) return fail(WriteError::system, "it cannot be written over", code);
  const std::string copy = path::appending(folderOf(m_path), m_sibling);
  m_sibling.clear();
  return fail(WriteError::brokenOff, "writing over it broke off; its new contents are whole in " + copy, code);
}

// From here on the sibling may become the only whole copy: it gets a name that nobody takes for a left-over.
bool FileReplacement::renameSiblingToCopy() {
  std::string name = m_sibling.substr(0, m_sibling.size() - kSiblingSuffix.size());
  name += kCopySuffix;
  if (::renameat(m_folder.get(), m_sibling.c_str(), m_folder.get(), name.c_str()) != 0) return false;
  m_sibling = name;
  return syncFolder();
}

// Only the pieces that differ are written. `isTouched` tells whether any was.
bool FileReplacement::writeOver(int target, uint64_t size, bool& isTouched) {
  const auto oldSize = m_found->size();
  std::vector<std::byte> old(kBufferSize);
  for (uint64_t offset = 0; offset < size; offset += kBufferSize) {
    const auto piece = bufferOf(size - offset);
    if (!readAll(m_file.get(), offset, piece)) return false;
    const auto there = std::span(old).first(piece.size());
    const bool isWhole = oldSize >= offset && oldSize - offset >= piece.size();
    if (isWhole && !readAll(target, offset, there)) return false;
    if (isWhole && std::memcmp(piece.data(), there.data(), piece.size()) == 0) continue;
    if (!writeAllAt(target, offset, piece, isTouched)) return false;
  }
  const bool isLonger = size < oldSize;
  if (isLonger && retried([&] { return ::ftruncate(target, static_cast<off_t>(size)); }) != 0) return false;
  isTouched = isTouched || isLonger;
  return retried([&] { return ::fsync(target); }) == 0;
}

}  // namespace vesk
