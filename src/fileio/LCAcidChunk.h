// "acid", the loop chunk of WAV files. Numbers are little-endian.
//   offset 0   uint32  flags: bit 0 one-shot, bit 1 the root note is valid
//   offset 4   uint16  MIDI root note                     offset 16  uint16   top of the time signature
//   offset 6   6 bytes that we do not read                offset 18  uint16   bottom of the time signature
//   offset 12  uint16  beat count, then its ignored       offset 20  float32  tempo in beats per minute
//                      upper half
// A plain value: no I/O.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

struct LCAcidChunk {
  static constexpr uint64_t kSize = 24;

  bool isOneShot = false;
  uint16_t midiRootNote = 0;  // 0 unless the flags call it valid
  uint16_t beatCount = 0;
  uint16_t signatureTop = 0;
  uint16_t signatureBottom = 0;
  float tempo = 0.0f;

  // nullopt for any other size.
  static std::optional<LCAcidChunk> decode(std::span<const std::byte> payload);
};
