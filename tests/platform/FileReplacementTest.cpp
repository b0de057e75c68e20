// Replacing files: what of them is kept, when it is refused, and what is left behind.
#include "platform/FileReplacement.h"

#include "platform/Path.h"
#include "support/AudioFixture.h"
#include "support/TestEnvironment.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/xattr.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <functional>

using namespace vesk;
using fixture::bytesOf;
using Texts = std::vector<std::string>;
namespace fs = std::filesystem;

namespace {

struct stat statusOf(const std::string& path) {
  struct stat status = {};
  ::lstat(path.c_str(), &status);
  return status;
}

// Empty when the file does not have it.
fixture::Bytes attribute(const std::string& path, const char* name) {
  fixture::Bytes value(100);
  const ssize_t size = ::getxattr(path.c_str(), name, value.data(), value.size());
  value.resize(static_cast<size_t>(std::max<ssize_t>(size, 0)));
  return value;
}

// Replaces what is at `path` by "new" after `meanwhile`.
WriteFailure replaced(
    const std::string& path, const ReplaceOptions& options = {}, const std::function<void()>& meanwhile = [] {}) {
  WriteFailure failure;
  const auto found = FoundFile::open(path, failure);
  if (!found || !found->mayBeReplaced(options, failure)) return failure;
  FileReplacement replacement(*found, options);
  replacement.write(bytesOf("new"));
  replacement.complete();
  meanwhile();
  const bool isDone = replacement.commit();
  EXPECT_EQ(isDone, !replacement.failure());
  return replacement.failure();
}

WriteError errorOfReplacing(const std::string& path, const ReplaceOptions& options = {}) {
  return replaced(path, options).error;
}

// No file grows beyond `size` bytes meanwhile, as on a full disk.
struct SizeLimit {
  explicit SizeLimit(rlim_t size) {
    ::getrlimit(RLIMIT_FSIZE, &old);
    const struct rlimit limit = {.rlim_cur = size, .rlim_max = old.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  SizeLimit(const SizeLimit&) = delete;
  SizeLimit& operator=(const SizeLimit&) = delete;
  ~SizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, handler);
  }
  struct rlimit old = {};
  void (*handler)(int) = std::signal(SIGXFSZ, SIG_IGN);
};

constexpr ReplaceOptions kCopyBack = {.copyBack = CopyBack::whereNeeded};

}  // namespace

TEST(FileReplacement, MetadataAndLinksAreKept) {
  const TemporaryFolder folder;
  const std::string file = folder.addFile("a.caf", "old");
  fs::create_symlink("a.caf", folder.path("link"));
  const bool isRoot = ::geteuid() == 0;
  EXPECT_TRUE(!isRoot || ::chown(file.c_str(), 1234, 2345) == 0);
  // An access list in which user 1 may read, and one that the folder hands on to new files.
  const auto list = [](uint16_t user) {
    fixture::Builder bytes;
    bytes.u32le(2).u16le(1).u16le(6).u32le(~0u).u16le(2).u16le(4).u32le(user).u16le(4).u16le(0).u32le(~0u);
    return bytes.u16le(16).u16le(4).u32le(~0u).u16le(32).u16le(0).u32le(~0u).bytes;
  };
  const fixture::Bytes own = list(1);
  const fixture::Bytes handedOn = list(2);
  const char* kAccess = "system.posix_acl_access";
  if (::setxattr(folder.path().c_str(), "system.posix_acl_default", handedOn.data(), handedOn.size(), 0) != 0 ||
      ::setxattr(file.c_str(), "user.note", "keep", 4, 0) != 0) {
    GTEST_SKIP() << "the file system knows no access lists or attributes";
  }
  for (const bool hasList : {false, true}) {
    const int changed =
        hasList ? ::setxattr(file.c_str(), kAccess, own.data(), own.size(), 0) : ::chmod(file.c_str(), 0604);
    EXPECT_EQ(changed, 0);
    const struct stat before = statusOf(file);
    EXPECT_EQ(errorOfReplacing(folder.path("link"), {.modificationTime = ModificationTime::kept}), WriteError::none);
    const struct stat after = statusOf(file);
    EXPECT_EQ(path::readFile(folder.path("link")), "new");
    EXPECT_TRUE(fs::is_symlink(folder.path("link")));
    EXPECT_NE(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mode, before.st_mode);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
    EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    EXPECT_EQ(attribute(file, "user.note"), bytesOf("keep"));
    EXPECT_EQ(attribute(file, kAccess), hasList ? own : fixture::Bytes());
  }
}

TEST(FileReplacement, WhatMustNotBeReplacedIsRefusedAndLeftAlone) {
  using enum WriteError;
  const TemporaryFolder folder;
  const std::string file = folder.addFile("a", "old");
  const auto rewrite = [&] { fixture::writeFile(file, bytesOf("odd")); };
  const auto swap = [&] {
    fixture::writeFile(folder.path("b"), bytesOf("odd"));
    fs::rename(folder.path("b"), file);
  };
  const auto keepTime = [&] {
    const auto time = fs::last_write_time(file);
    rewrite();
    fs::last_write_time(file, time);
  };
  for (const std::function<void()>& meanwhile : {std::function<void()>(rewrite), {swap}, {keepTime}}) {
    EXPECT_EQ(replaced(file, {}, meanwhile).error, changedMeanwhile);
    EXPECT_EQ(path::readFile(file), "odd");
  }
  EXPECT_EQ(replaced(file, {}, [&] { fs::remove(file); }).error, changedMeanwhile);
  EXPECT_EQ(errorOfReplacing(file), notFound);
  EXPECT_EQ(errorOfReplacing(folder.path()), notReadable);
  fs::permissions(folder.addFile("read-only", "old"), fs::perms{0444});
  EXPECT_EQ(errorOfReplacing(folder.path("read-only")), readOnly);
  fs::create_hard_link(folder.addFile("c", "old"), folder.path("d"));
  EXPECT_EQ(errorOfReplacing(folder.path("c")), hardLinked);
  EXPECT_EQ(path::readFile(folder.path("d")), "old");
  EXPECT_EQ(path::subpaths(folder.path()), (Texts{"c", "d", "read-only"}));
}

TEST(FileReplacement, ACopyBackServesAllNamesOfAFile) {
  const TemporaryFolder folder;
  const std::string large(size_t{3} << 20, 'x');
  for (const std::string& old : {std::string("o"), std::string("older"), large}) {
    const std::string file = folder.addFile("c", old);
    fs::remove(folder.path("d"));
    fs::create_hard_link(file, folder.path("d"));
    EXPECT_EQ(errorOfReplacing(file, kCopyBack), WriteError::none);
    EXPECT_EQ(path::readFile(folder.path("d")), "new");
    EXPECT_EQ(replaced(file, kCopyBack, [&] { folder.addFile("c", "odd"); }).error, WriteError::changedMeanwhile);
    EXPECT_EQ(path::readFile(folder.path("d")), "odd");
  }
  EXPECT_EQ(path::subpaths(folder.path()), (Texts{"c", "d"}));
}

TEST(FileReplacement, ACopyBackThatBreaksOffLeavesTheNewContentsBesideTheFile) {
  for (const auto& [room, error, left] :
       {std::tuple(2, WriteError::brokenOff, "new"), {0, WriteError::system, "old"}}) {
    const TemporaryFolder folder;
    fs::create_hard_link(folder.addFile("c", "old"), folder.path("d"));
    std::optional<SizeLimit> limit;
    const WriteFailure failure = replaced(folder.path("c"), kCopyBack, [&, size = room] { limit.emplace(size); });
    limit.reset();
    EXPECT_EQ(failure.error, error) << failure.message;
    const std::string whole = path::appending(folder.path(), path::subpaths(folder.path()).front());
    EXPECT_EQ(path::readFile(whole), left);
    EXPECT_EQ(failure.message.find(whole) != std::string::npos,
              error == WriteError::brokenOff || whole.ends_with("/c"));
  }
}

TEST(FileReplacement, RangesAreCopiedAndAShortFileIsAnError) {
  const TemporaryFolder folder;
  std::string text;
  while (text.size() < (size_t{5} << 19)) text += std::to_string(text.size());
  const std::string source = folder.addFile("source", text);
  WriteFailure failure;
  const auto found = FoundFile::open(source, failure);
  const FileDescriptor zeros{::open("/dev/zero", O_RDONLY)};  // a device that the system does not copy from
  for (const int descriptor : {found->descriptor(), zeros.get()}) {
    FileReplacement replacement(folder.path("target"));
    EXPECT_TRUE(replacement.write(bytesOf("a")) && replacement.copy(descriptor, 3, text.size() - 5));
    EXPECT_TRUE(replacement.copy(found->descriptor(), 1, 4) && replacement.commit());
    const std::string middle =
        descriptor == zeros.get() ? std::string(text.size() - 5, '\0') : text.substr(3, text.size() - 5);
    EXPECT_TRUE(path::readFile(folder.path("target")) == "a" + middle + text.substr(1, 4));
  }
  FileReplacement replacement(folder.path("target"));
  EXPECT_FALSE(replacement.copy(found->descriptor(), 3, text.size()));
  EXPECT_FALSE(replacement.commit());
  EXPECT_EQ(replacement.failure().error, WriteError::notReadable);
}

TEST(FileReplacement, OnlySiblingsOfTheDeadAreRemoved) {
  const TemporaryFolder folder;
  for (const char* name :
       {".veskloops-abcdefghij01.part", ".veskloops-abcdefghij02.part", ".veskloops-abcdefghij03.copy",
        ".veskloops-ABCDEFGHIJ04.part", ".veskloops-short.part", "veskloops-abcdefghij01.part"}) {
    folder.addFile(name, "");
  }
  folder.addFolder(".veskloops-abcdefghij05.part");
  const FileDescriptor alive{::open(folder.path(".veskloops-abcdefghij02.part").c_str(), O_RDWR)};
  ASSERT_EQ(::flock(alive.get(), LOCK_EX), 0);
  { const FileReplacement first(folder.path("a")), second(folder.path("b")); }
  EXPECT_EQ(path::subpaths(folder.path()),
            (Texts{".veskloops-ABCDEFGHIJ04.part", ".veskloops-abcdefghij02.part", ".veskloops-abcdefghij03.copy",
                   ".veskloops-abcdefghij05.part", ".veskloops-short.part", "veskloops-abcdefghij01.part"}));
}
