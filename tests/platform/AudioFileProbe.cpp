#include "AudioFileProbe.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

Probe probe(std::span<const std::byte> bytes, uint64_t sparseSize, std::span<const std::byte> tail) {
  const int descriptor = ::memfd_create("probe", MFD_CLOEXEC);
  const auto tailOffset = static_cast<off_t>(std::max<uint64_t>(sparseSize, bytes.size()));
  EXPECT_EQ(::pwrite(descriptor, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
  EXPECT_EQ(::ftruncate(descriptor, tailOffset), 0);
  EXPECT_EQ(::pwrite(descriptor, tail.data(), tail.size(), tailOffset), static_cast<ssize_t>(tail.size()));
  Probe result;
  result.file = vesk::AudioFile::open(fmt::format("/proc/self/fd/{}", descriptor), &result.error, &result.detail);
  ::close(descriptor);
  return result;
}

std::string chunkLine(const vesk::AudioFile& file) {
  std::vector<std::string> parts;
  for (const vesk::AudioChunk& chunk : file.chunks()) {
    parts.push_back(fmt::format("{} {}{}", chunk.id.text(), chunk.size, chunk.hasPad ? "+" : ""));
  }
  return fmt::format("{}", fmt::join(parts, ", "));
}

std::string irregularityLine(const vesk::AudioFile& file) {
  return fmt::format("{}", fmt::join(file.irregularities(), "; "));
}
