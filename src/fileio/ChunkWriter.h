// What writers of chunk-list files share: whole chunks set at index 0, failures logged, and the additional data, which
// AIFF and WAV files hold in one chunk.
#pragma once

#include "platform/audiofile/AudioFileEdit.h"
#include "VeskLoopManagement/fileio/LCFileWriter.h"

#include <optional>
#include <span>

namespace lc {

class ChunkWriter : public LCFileWriter {
 public:
  ChunkWriter(std::unique_ptr<vesk::AudioFileEdit> audioFile, bool isBigEndian)
      : LCFileWriter(std::move(audioFile), isBigEndian) {}

  // Without a payload nothing is written, and older data stay.
  bool writeAdditionalData() override;

 protected:
  // Replaces the first chunk `id`, or appends one.
  bool setChunk(vesk::FourCC id, std::span<const std::byte> payload);
  bool setChunkIfAny(vesk::FourCC id, const std::optional<vesk::Bytes>& payload);
  // Whether there is no error; one is logged.
  bool logged(vesk::FourCC id, vesk::EditError error);
};

}  // namespace lc
