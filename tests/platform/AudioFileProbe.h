// Opens bytes as an audio file without touching a disk, and says in one line what stands in it.
#pragma once

#include "platform/audiofile/AudioFile.h"
#include "support/AudioFixture.h"

#include <memory>
#include <span>
#include <string>

struct Probe {
  std::unique_ptr<vesk::AudioFile> file;  // null when it was refused
  vesk::OpenError error = vesk::OpenError::none;
  std::string detail;
};

// `sparseSize`, when larger, lengthens the file with zeros that take no memory; `tail` is put at its end.
Probe probe(std::span<const std::byte> bytes, uint64_t sparseSize = 0, std::span<const std::byte> tail = {});

// The ids of the chunks with the sizes that are there, a "+" for a pad: "COMM 18, NAME 3+, SSND 408".
std::string chunkLine(const vesk::AudioFile& file);
// All sentences, joined with "; ".
std::string irregularityLine(const vesk::AudioFile& file);
