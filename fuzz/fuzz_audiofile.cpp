// Any bytes as an audio file, and as the resource fork of a Sound Designer II file: every question is asked of what
// opens.
#include "VeskLoopManagement/platform/audiofile/AudioFile.h"
#include "VeskLoopManagement/platform/audiofile/MemoryBytes.h"

#include "Require.h"

#include <cstdint>
#include <map>

namespace {

void askEverything(const vesk::AudioFile& file) {
  std::map<vesk::FourCC, size_t> seen;
  uint64_t position = 0;
  for (const vesk::AudioChunk& chunk : file.chunks()) {
    require(chunk.headerOffset >= position);
    require(chunk.dataOffset <= file.fileSize() && chunk.size <= file.fileSize() - chunk.dataOffset);
    position = chunk.dataOffset + chunk.size + (chunk.hasPad ? 1 : 0);
    const auto payload = file.userData(chunk.id, seen[chunk.id]++);
    require(payload.has_value() != chunk.isCutOff);
    require(!payload || payload->size() == chunk.size);
  }
  require(file.kind() == vesk::ContainerKind::soundDesigner2 || position == file.contents().chunksEnd);
  require(file.dataFormat().has_value() && file.audioDataPacketCount().value_or(0) >= 0);
  file.packetTableInfo();
  file.infoDictionary();
  file.irregularities();
}

void open(std::span<const std::byte> bytes, std::unique_ptr<vesk::ByteSource> fork = nullptr) {
  auto error = vesk::OpenError::none;
  std::string detail;
  auto source = std::make_unique<vesk::MemoryBytes>(bytes);
  const auto file = vesk::AudioFile::open(std::move(source), &error, &detail, std::move(fork));
  require((error == vesk::OpenError::none) == (file != nullptr) && detail.empty() == (file != nullptr));
  if (file) askEverything(*file);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static constexpr std::byte kSilence[64] = {};
  const auto input = std::as_bytes(std::span(data, size));
  open(input);
  open(kSilence, std::make_unique<vesk::MemoryBytes>(input));
  return 0;
}
