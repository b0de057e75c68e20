// "basc", the basic tagging chunk: beats, key and signature of a loop. Numbers are big-endian.
//   offset 0   uint32  version, written 1, never checked     offset 10  int16  key type
//   offset 4   int32   beat count                            offset 12  int16  top of the time signature
//   offset 8   int16   MIDI root note                        offset 14  int16  bottom of the time signature
//   offset 18  64 reserved bytes, undefined in old files     offset 16  int16  file type, 1 loop, 2 one-shot
// A plain value: no I/O, cannot fail except by saying nullopt.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

struct LCBasicTaggingChunk {
  static constexpr uint64_t kSize = 82;        // what is written, and all that is ever read
  static constexpr uint64_t kPaddedSize = 84;  // what some writers made of it

  int32_t beatCount = 0;
  int16_t midiRootNote = 0;
  int16_t keyType = 0;
  int16_t signatureTop = 0;
  int16_t signatureBottom = 0;
  int16_t fileType = 0;

  // Whether a chunk of `size` bytes is a basic tagging chunk at all; no writer ever made another size.
  static bool admitsSize(uint64_t size) { return size == kSize || size == kPaddedSize; }
  // nullopt for a payload of another size.
  static std::optional<LCBasicTaggingChunk> decode(std::span<const std::byte> payload);
  // 82 bytes of version 1, the reserved ones 0 whatever they were.
  std::vector<std::byte> encode() const;
  // `payload`, of an admitted size, with these fields: version, reserved bytes and padding stay.
  std::vector<std::byte> encodeOver(std::span<const std::byte> payload) const;

  bool operator==(const LCBasicTaggingChunk&) const = default;
};
