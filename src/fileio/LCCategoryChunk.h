// "cate", the category chunk: the keywords of a loop. Numbers are big-endian; texts are UTF-8 in fields of 50 bytes,
// ended by a NUL.
//   both versions             version 1                    version 2 (read only)
//   offset 0    uint32 version
//   offset 4    instrument type
//   offset 54   instrument sub-type
//   offset 104  genre
//   offset 154  66 reserved bytes
//                             offset 220  uint16 count     offset 220  collection
//                             offset 222  descriptors      offset 270  theme
//                                                          offset 320  2 reserved bytes
//                                                          offset 322  uint16 count
//                                                          offset 324  descriptors
// A plain value: no I/O. What a lying count or a short chunk promises beyond the payload is not there.
#pragma once

#include "VeskLoopManagement/platform/Text.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

struct LCCategoryChunk {
  static constexpr uint64_t kSmallestSize = 222;               // of both versions
  static constexpr uint64_t kLargestSize = 324 + 50 * 0xFFFF;  // nothing behind it is ever read

  uint32_t version = 1;
  // An empty field is an empty text; nullopt stands for a text that is no UTF-8 or lies behind the payload's end.
  std::optional<std::string> instrumentType;
  std::optional<std::string> instrumentSubType;
  std::optional<std::string> genre;
  std::optional<std::string> collection;  // version 2
  std::optional<std::string> theme;       // version 2
  vesk::StringSet descriptors;            // without those that are no UTF-8

  bool hasKnownVersion() const { return version == 1 || version == 2; }

  // nullopt below the smallest size. A version that is not known leaves every field empty.
  static std::optional<LCCategoryChunk> decode(std::span<const std::byte> payload);
  // Version 1, whatever `version` says: collection and theme are dropped ("coll" holds them), the reserved bytes are 0.
  // Texts are cut to 49 bytes, between characters; descriptors that the count cannot say are left out. Without
  // descriptors there is room for one, which established readers expect.
  std::vector<std::byte> encode() const;
  // `payload`, of the known version `version`, with these fields. What it holds already keeps its bytes, descriptors
  // their order; new ones follow them. Reserved bytes, descriptors that are no UTF-8 and what is behind them stay.
  std::vector<std::byte> encodeOver(std::span<const std::byte> payload) const;

  // The two texts that name the instrument, of any version and whatever follows them; both nullopt when the payload
  // ends before them.
  struct Instrument {
    std::optional<std::string> type;
    std::optional<std::string> subType;
  };
  static Instrument decodeInstrument(std::span<const std::byte> payload);

  bool operator==(const LCCategoryChunk&) const = default;
};
