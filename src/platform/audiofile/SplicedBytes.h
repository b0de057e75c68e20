// The bytes of a file as it will be: pieces of a source and new bytes, one behind the other. Nothing is copied but the
// new bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "VeskLoopManagement/platform/audiofile/ByteSource.h"

namespace vesk {

// What stands where. A plain value.
class Splice {
 public:
  struct Piece {
    uint64_t offset = 0;  // in the whole
    uint64_t size = 0;
    uint64_t from = 0;  // in the source, or in newBytes()
    bool isNew = false;
  };

  // Both append; neighbours that belong together become one piece.
  void keep(uint64_t sourceOffset, uint64_t size) { append(sourceOffset, size, false); }
  void add(std::span<const std::byte> bytes);

  uint64_t size() const { return m_size; }
  const std::vector<Piece>& pieces() const { return m_pieces; }
  std::span<const std::byte> newBytes() const { return m_newBytes; }

 private:
  void append(uint64_t from, uint64_t size, bool isNew);

  std::vector<Piece> m_pieces;
  std::vector<std::byte> m_newBytes;
  uint64_t m_size = 0;
};

// Shares the source with others of its thread.
class SplicedBytes : public ByteSource {
 public:
  SplicedBytes(std::shared_ptr<ByteSource> source, std::shared_ptr<const Splice> splice);

 private:
  bool readInside(uint64_t offset, std::span<std::byte> target) override;

  std::shared_ptr<ByteSource> m_source;
  std::shared_ptr<const Splice> m_splice;
};

}  // namespace vesk
