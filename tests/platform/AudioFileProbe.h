// Opens bytes as an audio file without touching a disk, and says in one line what stands in it.
#pragma once

#include "support/AudioFixture.h"
#include "VeskLoopManagement/platform/audiofile/AudioFile.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

struct Probe {
  vesk::OpenError error = vesk::OpenError::none;
  std::string detail;
  std::unique_ptr<vesk::AudioFile> file;  // null when it was refused

  explicit Probe(const std::string& path) : file(vesk::AudioFile::open(path, &error, &detail)) {}
};

// `sparseSize`, when larger, lengthens the file with zeros that take no memory; `tail` is put at its end.
inline Probe probe(std::span<const std::byte> bytes, uint64_t sparseSize = 0, std::span<const std::byte> tail = {}) {
  const int descriptor = ::memfd_create("probe", MFD_CLOEXEC);
  const auto tailOffset = static_cast<off_t>(std::max<uint64_t>(sparseSize, bytes.size()));
  EXPECT_EQ(::pwrite(descriptor, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
  EXPECT_EQ(::ftruncate(descriptor, tailOffset), 0);
  EXPECT_EQ(::pwrite(descriptor, tail.data(), tail.size(), tailOffset), static_cast<ssize_t>(tail.size()));
  Probe result(fmt::format("/proc/self/fd/{}", descriptor));
  ::close(descriptor);
  return result;
}

// The ids of the chunks with the sizes that are there, a "+" for a pad: "COMM 18, NAME 3+, SSND 408".
inline std::string chunkLine(const vesk::AudioFile& file) {
  std::string line;
  for (const vesk::AudioChunk& chunk : file.chunks()) {
    line += fmt::format("{}{} {}{}", line.empty() ? "" : ", ", chunk.id.text(), chunk.size, chunk.hasPad ? "+" : "");
  }
  return line;
}
