#include "AudioFileProbe.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

void writeAt(int descriptor, std::span<const std::byte> bytes, uint64_t offset) {
  const ssize_t written = ::pwrite(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(offset));
  EXPECT_EQ(written, static_cast<ssize_t>(bytes.size()));
}

}  // namespace

Probe probe(std::span<const std::byte> bytes, uint64_t sparseSize, std::span<const std::byte> tail) {
  const int descriptor = ::memfd_create("probe", MFD_CLOEXEC);
  EXPECT_GE(descriptor, 0);
  writeAt(descriptor, bytes, 0);
  const uint64_t tailOffset = std::max<uint64_t>(sparseSize, bytes.size());
  EXPECT_EQ(::ftruncate(descriptor, static_cast<off_t>(tailOffset)), 0);
  writeAt(descriptor, tail, tailOffset);
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
