// Why a file was not written. A plain value: a host asks for `error`, a person reads `message`.
#pragma once

#include <string>

namespace vesk {

enum class WriteError {
  none,
  notFound,
  notReadable,
  notAudio,          // no container that we know
  malformed,         // a container that cannot be parsed
  noChunks,          // a container that holds no chunks, to be edited or added to
  irregular,         // it can be read, but what a rewrite would make of it is not certain
  readOnly,          // nobody, or not we, may write to the file
  readOnlyFolder,    // nothing can be put beside it
  hardLinked,        // it has other names, which would keep the old contents; a copy-back serves them all
  ownerNotKept,      // the new file would belong to another user or group; a copy-back leaves it with its own
  changedMeanwhile,  // by somebody else, since it was opened
  noSpace,           // or the quota is used up
  tooLarge,          // for the sizes of its container
  notReadBack,       // what was to be written does not read back as it was meant; the file is as it was
  brokenOff,         // a copy-back failed half-way: the file is damaged, and its whole new contents lie beside it
  notSynced,         // the file is written; whether that survives a power cut is not known
  system,            // the system refused; `systemError` says how
};

struct WriteFailure {
  WriteError error = WriteError::none;
  std::string message;  // the path, a colon, what could not be done and the system's reason where it is its own
  int systemError = 0;  // errno, where the system refused

  explicit operator bool() const { return error != WriteError::none; }
};

}  // namespace vesk
