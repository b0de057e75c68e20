// The bytes of one open file, read where they are asked for. Small reads go through a window of a few kilobytes, so
// that a run of neighbouring headers costs one system call; large ones go straight to where they are wanted.
//
// Owns the descriptor. One thread at a time. A read is all or nothing; one that the system refuses, or that finds the
// file shorter than it was when it was opened, is remembered in failed().
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "VeskLoopManagement/platform/audiofile/AudioFile.h"

namespace vesk {

class FileBytes {
 public:
  // Null when `path` is no readable regular file: `error` and `detail` then say why. Never waits for a FIFO or a
  // device.
  static std::unique_ptr<FileBytes> open(const std::string& path, OpenError& error, std::string& detail);
  ~FileBytes();
  FileBytes(const FileBytes&) = delete;
  FileBytes& operator=(const FileBytes&) = delete;

  uint64_t size() const { return m_size; }
  bool failed() const { return m_failed; }

  // Fills `target` from `offset` on; false when the file ends before, or reading fails.
  bool read(uint64_t offset, std::span<std::byte> target);
  // `count` bytes from `offset` on, but not more than the file has.
  std::optional<std::vector<std::byte>> upTo(uint64_t offset, uint64_t count);

 private:
  static constexpr size_t kWindowSize = 8192;
  static constexpr uint64_t kWindowStep = 4096;  // windows begin at multiples of it

  FileBytes(int descriptor, uint64_t size) : m_descriptor(descriptor), m_size(size) {}
  bool readDirectly(uint64_t offset, std::span<std::byte> target);
  bool moveWindow(uint64_t offset, size_t count);

  int m_descriptor;
  uint64_t m_size;
  bool m_failed = false;
  std::array<std::byte, kWindowSize> m_window;
  uint64_t m_windowOffset = 0;
  size_t m_windowSize = 0;  // bytes of the window that are filled
};

}  // namespace vesk
