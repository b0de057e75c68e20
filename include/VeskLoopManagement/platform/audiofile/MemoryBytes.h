// Bytes in memory as a source, so that whatever reads files reads them too. Owns its bytes; never fails.
#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <utility>
#include <vector>

#include "VeskLoopManagement/platform/audiofile/ByteSource.h"

namespace vesk {

class MemoryBytes : public ByteSource {
 public:
  explicit MemoryBytes(std::vector<std::byte> bytes) : ByteSource(bytes.size()), m_bytes(std::move(bytes)) {}
  explicit MemoryBytes(std::span<const std::byte> bytes)
      : MemoryBytes(std::vector<std::byte>(bytes.begin(), bytes.end())) {}

 private:
  bool readInside(uint64_t offset, std::span<std::byte> target) override {
    const auto wanted = std::span(m_bytes).subspan(static_cast<size_t>(offset), target.size());
    std::copy(wanted.begin(), wanted.end(), target.begin());
    return true;
  }

  std::vector<std::byte> m_bytes;
};

}  // namespace vesk
