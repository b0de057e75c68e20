// Loaded in front of the C library, it counts the calls by which a program changes files below some folders, and makes
// one of them fail or be the program's last. The surroundings say which:
//   VESK_FAULT_FOLDERS  the folders, separated by colons
//   VESK_FAULT_LOG      gets the name of each call, a line each
//   VESK_FAULT_AT       the number of the call, from 1 on; 0: none
//   VESK_FAULT          "kill" before the call; "short", writing half of it; or the number of an error that it answers,
//                       with "+" behind it if all later calls do so, too
// What reaches the disk when plays no part for a killed program: fsync succeeds at once.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

std::string setting(const char* name) {
  const char* text = std::getenv(name);
  return text ? text : "";
}

bool isOurs(std::string_view path) {
  static const std::string folders = setting("VESK_FAULT_FOLDERS") + ":";
  for (size_t from = 0, end = 0; (end = folders.find(':', from)) != std::string::npos; from = end + 1) {
    if (end > from && path.starts_with(std::string_view(folders).substr(from, end - from))) return true;
  }
  return false;
}

bool isOurs(int file) {
  char path[4096];
  const ssize_t size = ::readlink(("/proc/self/fd/" + std::to_string(file)).c_str(), path, sizeof path);
  return size > 0 && isOurs(std::string_view(path, static_cast<size_t>(size)));
}

bool isOurs(int folder, const char* path) {
  return path[0] == '/' || folder == AT_FDCWD ? isOurs(path) : isOurs(folder);
}

enum class Answer { real, failing, shortened };

Answer answerTo(const char* call, bool isOneOfOurs) {
  static const std::string fault = setting("VESK_FAULT");
  static const long at = std::atol(setting("VESK_FAULT_AT").c_str());
  static const long log =
      ::syscall(SYS_openat, AT_FDCWD, setting("VESK_FAULT_LOG").c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
  static long count = 0;
  if (!isOneOfOurs) return Answer::real;
  ++count;
  const std::string line = std::string(call) + "\n";
  ::syscall(SYS_write, log, line.data(), line.size());
  const bool isTold = count == at || (at > 0 && count > at && fault.ends_with('+'));
  if (!isTold) return Answer::real;
  if (fault == "kill") ::kill(::getpid(), SIGKILL);
  if (fault == "short") return Answer::shortened;
  errno = std::atoi(fault.c_str());
  return Answer::failing;
}

}  // namespace

#define REAL(name) static const auto real = reinterpret_cast<decltype(&::name)>(::dlsym(RTLD_NEXT, #name))

#define FAULTY(name, parameters, arguments, isOneOfOurs)                          \
  extern "C" int name parameters {                                                \
    REAL(name);                                                                   \
    return answerTo(#name, isOneOfOurs) == Answer::failing ? -1 : real arguments; \
  }
FAULTY(renameat, (int old, const char* from, int folder, const char* to), (old, from, folder, to), isOurs(folder, to))
FAULTY(unlink, (const char* path), (path), isOurs(path))
FAULTY(unlinkat, (int folder, const char* path, int flags), (folder, path, flags), isOurs(folder, path))
FAULTY(mkdir, (const char* path, mode_t mode), (path, mode), isOurs(path))
FAULTY(flock, (int file, int operation), (file, operation), isOurs(file))
FAULTY(fchmod, (int file, mode_t mode), (file, mode), isOurs(file))
FAULTY(fchown, (int file, uid_t user, gid_t group), (file, user, group), isOurs(file))
FAULTY(fsetxattr, (int file, const char* name, const void* value, size_t size, int flags),
       (file, name, value, size, flags), isOurs(file))
FAULTY(futimens, (int file, const struct timespec* times), (file, times), isOurs(file))
FAULTY(ftruncate, (int file, off_t size), (file, size), isOurs(file))
FAULTY(ftruncate64, (int file, off64_t size), (file, size), isOurs(file))
FAULTY(fallocate, (int file, int mode, off_t from, off_t size), (file, mode, from, size), isOurs(file))
#undef FAULTY

#define SYNC(name)                                            \
  extern "C" int name(int file) {                             \
    REAL(name);                                               \
    if (!isOurs(file)) return real(file);                     \
    return answerTo(#name, true) == Answer::failing ? -1 : 0; \
  }
SYNC(fsync)
SYNC(fdatasync)
#undef SYNC

#define WRITE(name, parameters, isOneOfOurs, ...)                          \
  extern "C" ssize_t name parameters {                                     \
    REAL(name);                                                            \
    const Answer answer = answerTo(#name, isOneOfOurs);                    \
    if (answer == Answer::failing) return -1;                              \
    if (answer == Answer::shortened) size = std::max<size_t>(size / 2, 1); \
    return real(__VA_ARGS__);                                              \
  }
WRITE(write, (int file, const void* bytes, size_t size), isOurs(file), file, bytes, size)
WRITE(pwrite, (int file, const void* bytes, size_t size, off_t at), isOurs(file), file, bytes, size, at)
WRITE(pwrite64, (int file, const void* bytes, size_t size, off64_t at), isOurs(file), file, bytes, size, at)
WRITE(copy_file_range, (int from, off64_t* in, int to, off64_t* out, size_t size, unsigned flags), isOurs(to), from, in,
      to, out, size, flags)
#undef WRITE

// A mode that was not given is not looked at.
#define OPEN(name, parameters, isOneOfOurs, ...)                                                     \
  extern "C" int name parameters {                                                                   \
    REAL(name);                                                                                      \
    va_list rest;                                                                                    \
    va_start(rest, flags);                                                                           \
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;                           \
    va_end(rest);                                                                                    \
    const bool writes = (flags & (O_CREAT | O_ACCMODE)) != 0;                                        \
    return answerTo(#name, writes && isOneOfOurs) == Answer::failing ? -1 : real(__VA_ARGS__, mode); \
  }
OPEN(open, (const char* path, int flags, ...), isOurs(path), path, flags)
OPEN(open64, (const char* path, int flags, ...), isOurs(path), path, flags)
OPEN(openat, (int folder, const char* path, int flags, ...), isOurs(folder, path), folder, path, flags)
OPEN(openat64, (int folder, const char* path, int flags, ...), isOurs(folder, path), folder, path, flags)
#undef OPEN

// What is closed is closed, whatever the answer.
extern "C" int close(int file) {
  REAL(close);
  const bool isWritten = (::fcntl(file, F_GETFL) & O_ACCMODE) != O_RDONLY;
  const bool fails = answerTo("close", isWritten && isOurs(file)) == Answer::failing;
  const int code = errno;
  const int result = real(file);
  if (fails) errno = code;
  return fails ? -1 : result;
}
