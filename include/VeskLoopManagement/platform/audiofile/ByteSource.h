// Bytes that can be read at any place, such as a file (FileBytes) or a piece of memory (MemoryBytes). One thread at a
// time. A read is all or nothing; one that lies within the size and yet fails (the system refuses it, the file has been
// cut meanwhile) is remembered in failed().
#pragma once

#include "VeskLoopManagement/LCExport.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace vesk {

class LC_EXPORT ByteSource {
 public:
  virtual ~ByteSource() = default;
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;

  uint64_t size() const { return m_size; }
  bool failed() const { return m_failed; }

  // Fills `target` from `offset` on; false when the bytes end before, or reading fails.
  bool read(uint64_t offset, std::span<std::byte> target);
  // `count` bytes from `offset` on, but not more than there are; nullopt when `offset` lies behind the end, or reading
  // fails.
  std::optional<std::vector<std::byte>> upTo(uint64_t offset, uint64_t count);

 protected:
  explicit ByteSource(uint64_t size) : m_size(size) {}

 private:
  // Fills `target`, which is not empty and lies within the size.
  virtual bool readInside(uint64_t offset, std::span<std::byte> target) = 0;

  uint64_t m_size;
  bool m_failed = false;
};

}  // namespace vesk
