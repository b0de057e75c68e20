// Opens bytes as an audio file without touching a disk, and says in one line what stands in it.
#pragma once

#include "support/AudioFixture.h"
#include "VeskLoopManagement/platform/audiofile/AudioFile.h"
#include "VeskLoopManagement/platform/audiofile/MemoryBytes.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

struct Probe {
  vesk::OpenError error = vesk::OpenError::none;
  std::string detail;
  std::unique_ptr<vesk::AudioFile> file;  // null when it was refused

  explicit Probe(const std::string& path) : file(vesk::AudioFile::open(path, &error, &detail)) {}
  explicit Probe(std::unique_ptr<vesk::ByteSource> bytes, std::unique_ptr<vesk::ByteSource> fork = nullptr)
      : file(vesk::AudioFile::open(std::move(bytes), &error, &detail, std::move(fork))) {}
};

inline Probe probe(std::span<const std::byte> bytes) {
  return Probe(std::make_unique<vesk::MemoryBytes>(bytes));
}

// The ids of the chunks with the sizes that are there, a "+" for a pad: "COMM 18, NAME 3+, SSND 408".
inline std::string chunkLine(const vesk::AudioFile& file) {
  std::string line;
  for (const vesk::AudioChunk& chunk : file.chunks()) {
    line += fmt::format("{}{} {}{}", line.empty() ? "" : ", ", chunk.id.text(), chunk.size, chunk.hasPad ? "+" : "");
  }
  return line;
}

// `head` and `tail` with zeros between them that take no memory.
struct Sparse : vesk::ByteSource {
  Sparse(fixture::Bytes first, uint64_t zeros, fixture::Bytes last = {})
      : ByteSource(first.size() + zeros + last.size()), head(std::move(first)), tail(std::move(last)) {}
  bool readInside(uint64_t offset, std::span<std::byte> target) override {
    const uint64_t tailOffset = size() - tail.size();
    for (std::byte& byte : target) {
      byte = offset < head.size() ? head[offset] : offset < tailOffset ? std::byte{0} : tail[offset - tailOffset];
      ++offset;
    }
    return true;
  }
  fixture::Bytes head, tail;
};
