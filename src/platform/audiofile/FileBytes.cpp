#include "platform/audiofile/FileBytes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace vesk {
namespace {

std::string openFailure(int code) {
  switch (code) {
    case ENOENT:
    case ENOTDIR:
      return "there is no such file";
    case EACCES:
    case EPERM:
      return "no permission to read it";
    case ELOOP:
      return "its links lead in a circle";
    case ENAMETOOLONG:
      return "its path is too long";
    case EMFILE:
    case ENFILE:
      return "too many files are open";
    default:
      return "the system cannot open it";
  }
}

}  // namespace

std::unique_ptr<FileBytes> FileBytes::open(const std::string& path, OpenError& error, std::string& detail) {
  const bool isCutByNUL = path.find('\0') != std::string::npos;
  FileDescriptor descriptor{isCutByNUL ? -1 : ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)};
  if (!descriptor.isOpen()) {
    const int code = isCutByNUL ? ENOENT : errno;
    error = code == ENOENT || code == ENOTDIR ? OpenError::notFound : OpenError::notReadable;
    detail = openFailure(code);
    return nullptr;
  }
  struct stat status = {};
  const bool isKnown = ::fstat(descriptor.get(), &status) == 0;
  if (!isKnown || !S_ISREG(status.st_mode)) {
    error = OpenError::notReadable;
    detail = isKnown && S_ISDIR(status.st_mode) ? "it is a folder" : "it is not a regular file";
    return nullptr;
  }
  return std::make_unique<FileBytes>(std::move(descriptor), static_cast<uint64_t>(status.st_size));
}

bool FileBytes::readInside(uint64_t offset, std::span<std::byte> target) {
  if (target.size() > kWindowStep) return readDirectly(offset, target);
  if (!moveWindow(offset, target.size())) return false;
  std::memcpy(target.data(), m_window.data() + (offset - m_windowOffset), target.size());
  return true;
}

// Makes the window hold `count` bytes (not more than kWindowStep) from `offset` on, which the file has.
bool FileBytes::moveWindow(uint64_t offset, size_t count) {
  const bool isInside = offset >= m_windowOffset && offset - m_windowOffset <= m_windowSize &&
                        count <= m_windowSize - (offset - m_windowOffset);
  if (isInside) return true;
  m_windowOffset = offset - offset % kWindowStep;
  m_windowSize = 0;
  const auto filled = static_cast<size_t>(std::min<uint64_t>(kWindowSize, size() - m_windowOffset));
  if (!readDirectly(m_windowOffset, std::span(m_window).first(filled))) return false;
  m_windowSize = filled;
  return true;
}

bool FileBytes::readDirectly(uint64_t offset, std::span<std::byte> target) {
  while (!target.empty()) {
    const ssize_t count = ::pread(m_descriptor.get(), target.data(), target.size(), static_cast<off_t>(offset));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    offset += static_cast<uint64_t>(count);
    target = target.subspan(static_cast<size_t>(count));
  }
  return true;
}

}  // namespace vesk
