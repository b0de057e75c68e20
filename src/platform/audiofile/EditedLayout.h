// The layout of a whole new file, out of a list of chunks: every header, size and pad is computed from the list, never
// patched. What was not edited comes from the old file as it stands.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/audiofile/SplicedBytes.h"
#include "VeskLoopManagement/platform/audiofile/AudioFileLayout.h"

namespace vesk {

struct PlannedChunk {
  FourCC id;
  const AudioChunk* kept = nullptr;                       // of the old file; borrowed
  std::shared_ptr<const std::vector<std::byte>> payload;  // when it is not kept
};

struct EditedLayout {
  std::shared_ptr<const Splice> splice;
  AudioFileContents expected;  // what a reader must find; without what it remarks
};

// `old` is not ambiguous and was read from `bytes`. nullopt when the chunks do not fit into the container, or reading
// fails; `refusal` then says so.
std::optional<EditedLayout> layOut(const AudioFileContents& old, ByteSource& bytes,
                                   std::span<const PlannedChunk> chunks, std::string& refusal);
// Whether a reader found what it must, and nothing ambiguous.
bool readsAs(const AudioFileContents& expected, const AudioFileContents& found);

// Whether files of this kind can be laid out; the questions below are about such.
bool hasChunkLayout(ContainerKind kind);
// Of WAV, RF64, BW64 or RIFX.
bool isWAVKind(ContainerKind kind);
bool hasLongSizes(ContainerKind kind);  // RF64, BW64
// "SSND" or "data".
FourCC audioChunkID(ContainerKind kind);

}  // namespace vesk
