// "coll", the collection chunk. The number is big-endian; texts are UTF-8 in fields of 50 bytes, ended by a NUL.
//   offset 0  uint32 version, 1      offset 4  collection      offset 54  theme
// A plain value: no I/O.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

struct LCCollectionChunk {
  static constexpr uint64_t kSize = 104;  // longer ones are read too

  uint32_t version = 1;
  std::optional<std::string> collection;  // nullopt: no UTF-8
  std::optional<std::string> theme;

  bool hasKnownVersion() const { return version == 1; }

  // nullopt below the size. A version that is not known leaves the texts empty.
  static std::optional<LCCollectionChunk> decode(std::span<const std::byte> payload);
  // 104 bytes of version 1, whatever `version` says. Texts are cut to 49 bytes, between characters.
  std::vector<std::byte> encode() const;
  // `payload`, of a known version, with these texts; one that it holds already keeps its bytes, and so does what is
  // behind them.
  std::vector<std::byte> encodeOver(std::span<const std::byte> payload) const;

  bool operator==(const LCCollectionChunk&) const = default;
};
