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
