// "acid", the loop chunk of WAV files. Numbers are little-endian.
//   offset 0   uint32  flags: bit 0 one-shot,             offset 12  uint16   beat count
//                      bit 1 the root note is valid       offset 14  uint16   upper half of the beat count, ignored
//   offset 4   uint16  MIDI root note                     offset 16  uint16   top of the time signature
//   offset 6   6 bytes whose meaning we do not know       offset 18  uint16   bottom of the time signature
//                                                         offset 20  float32  tempo in beats per minute
// A plain value: no I/O.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

struct LCAcidChunk {
  static constexpr uint64_t kSize = 24;

  bool isOneShot = false;
  uint16_t midiRootNote = 0;  // 0 unless the flags call it valid
  uint16_t beatCount = 0;
  uint16_t signatureTop = 0;
  uint16_t signatureBottom = 0;
  float tempo = 0.0f;
  // Kept for whoever gave them a meaning.
  uint32_t otherFlags = 0;  // bits 2 to 31, at their places
  std::array<std::byte, 6> unknown{};

  // nullopt for any other size.
  static std::optional<LCAcidChunk> decode(std::span<const std::byte> payload);
  // A root note that is not 0 is called valid. Dropped: a note that the flags do not call valid, the upper half of the
  // beat count.
  std::vector<std::byte> encode() const;

  bool operator==(const LCAcidChunk&) const = default;
};
