// The bytes of one open file. Small reads go through a window of a few kilobytes, so that a run of neighbouring headers
// costs one system call; large ones go straight to where they are wanted.
//
// Owns the descriptor. A file that is shorter than it was when it was opened fails to read.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "platform/FileDescriptor.h"
#include "VeskLoopManagement/platform/audiofile/AudioFile.h"
#include "VeskLoopManagement/platform/audiofile/ByteSource.h"

namespace vesk {

class FileBytes : public ByteSource {
 public:
  // Null when `path` is no readable regular file: `error` and `detail` then say why. Never waits for a FIFO or a
  // device.
  static std::unique_ptr<FileBytes> open(const std::string& path, OpenError& error, std::string& detail);
  // Over a file of this size that is open for reading.
  FileBytes(FileDescriptor descriptor, uint64_t size) : ByteSource(size), m_descriptor(std::move(descriptor)) {}

 private:
  static constexpr size_t kWindowSize = 8192;
  static constexpr uint64_t kWindowStep = 4096;  // windows begin at multiples of it

  bool readInside(uint64_t offset, std::span<std::byte> target) override;
  bool readDirectly(uint64_t offset, std::span<std::byte> target);
  bool moveWindow(uint64_t offset, size_t count);

  FileDescriptor m_descriptor;
  std::array<std::byte, kWindowSize> m_window;
  uint64_t m_windowOffset = 0;
  size_t m_windowSize = 0;  // bytes of the window that are filled
};

}  // namespace vesk
