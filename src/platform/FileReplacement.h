// The one way in which a file is replaced: its new contents are written whole to a temporary sibling, get the old
// file's metadata, are synced and renamed over it, and the folder is synced. A reader sees the old or the new contents,
// and whatever stops the work half-way leaves the old ones.
//
// Siblings are called ".veskloops-", 12 random characters and ".part"; they are made exclusively and locked (flock) as
// long as their maker lives. Every exit removes its own. A maker that was killed cannot; so a replacement first removes
// those siblings in the folder that nobody holds a lock on (a thread does so once in ten seconds in the same folder).
// Where the file system knows no such locks, they stay.
//
// One thread at a time. Nothing throws: a call that fails says so, the first reason is kept in failure(), and every
// call after it fails.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/FileDescriptor.h"
#include "platform/WriteFailure.h"

namespace vesk {

enum class CopyBack { never, whereNeeded };
enum class ModificationTime { now, kept };
// What is replaced: the file that was found and has not changed since, with its owner; or whatever is there by then,
// with the owner as far as the system lets us.
enum class Replacing { asFound, whateverIsThere };

struct ReplaceOptions {
  // A file with several hard links, or with an owner whom we cannot make that of a new file, is refused; or else it is
  // written over in place from the complete and synced sibling. That is not atomic: when it fails half-way, or is
  // killed, the file holds a mixture, and its new contents lie beside it whole, under the sibling's name but with
  // ".copy" at its end. Nothing removes those; the failure (brokenOff) names them.
  CopyBack copyBack = CopyBack::never;
  ModificationTime modificationTime = ModificationTime::now;
  Replacing replacing = Replacing::asFound;
};

// A regular file as it was found, held open for reading.
class FoundFile {
 public:
  // Links are resolved. Null when there is no regular file that we may read; `failure` says why.
  static std::unique_ptr<FoundFile> open(const std::string& path, WriteFailure& failure);

  // Whether the file may be replaced, as far as can be told beforehand: that it and its folder are writable and the
  // options admit its links.
  bool mayBeReplaced(const ReplaceOptions& options, WriteFailure& failure) const;
  // Whether device, inode, size and the times of modification and status are still those found, and its name's too.
  bool isUnchanged() const;

  const std::string& path() const { return m_path; }
  int descriptor() const { return m_descriptor.get(); }
  const struct stat& status() const { return m_status; }
  uint64_t size() const { return static_cast<uint64_t>(m_status.st_size); }
  bool hasOtherNames() const { return m_status.st_nlink > 1; }

 private:
  FoundFile(std::string path, FileDescriptor descriptor, const struct stat& status);

  std::string m_path;
  FileDescriptor m_descriptor;
  struct stat m_status;
};

class FileReplacement {
 public:
  // Makes the sibling: of `found`, which is borrowed and outlives the replacement; or of a `path` with links resolved
  // where no file is yet.
  explicit FileReplacement(const FoundFile& found, const ReplaceOptions& options = {});
  explicit FileReplacement(const std::string& path);
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;
  ~FileReplacement();  // removes the sibling unless it has become the file

  // Appends to the sibling: bytes, or `size` bytes from `offset` on of an open file, which the system copies itself
  // where it can (and shares, where the file system can). Memory stays flat.
  bool write(std::span<const std::byte> bytes);
  bool copy(int descriptor, uint64_t offset, uint64_t size);
  // The sibling gets the metadata of the found file: mode, owner, ACL and extended attributes, and the time of
  // modification when the options say so. It is then on the disk as it will be, to be read by descriptor().
  bool complete();
  // Completes the sibling if that has not been done, makes sure that the file is still as it was found, and puts the
  // sibling in its place. After the failure notSynced the new contents are in place; after brokenOff see above; after
  // any other the file is as it was.
  bool commit();

  int descriptor() const { return m_file.get(); }
  const WriteFailure& failure() const { return m_failure; }

 private:
  FileReplacement(const std::string& path, const FoundFile* found, const ReplaceOptions& options);
  bool fail(WriteError error, std::string_view what, int code = 0);  // false
  void makeSibling();
  bool copyByHand(int descriptor, uint64_t offset, uint64_t size);
  std::span<std::byte> bufferOf(uint64_t size);
  bool keepOwner();
  bool keepMetadata();
  bool keepModificationTime(int descriptor);
  bool syncFolder();
  bool copyBack();
  bool renameSiblingToCopy();
  bool writeOver(int target, uint64_t size, bool& isTouched);

  std::string m_path;
  const FoundFile* m_found;
  ReplaceOptions m_options;
  WriteFailure m_failure;
  FileDescriptor m_folder;
  FileDescriptor m_file;
  std::string m_sibling;  // its name; empty when there is none to remove
  std::vector<std::byte> m_buffer;
  bool m_systemCopies = true;  // until it says that it cannot
  bool m_copiesBack = false;
  bool m_isComplete = false;
};

}  // namespace vesk
