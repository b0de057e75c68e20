#include "VeskLoopManagement/platform/audiofile/ByteSource.h"

#include <algorithm>

namespace vesk {

bool ByteSource::read(uint64_t offset, std::span<std::byte> target) {
  if (offset > m_size || target.size() > m_size - offset) return false;
  if (target.empty()) return true;
  if (readInside(offset, target)) return true;
  m_failed = true;
  return false;
}

std::optional<std::vector<std::byte>> ByteSource::upTo(uint64_t offset, uint64_t count) {
  if (offset > m_size) return std::nullopt;
  std::vector<std::byte> bytes(std::min(count, m_size - offset));
  if (!read(offset, bytes)) return std::nullopt;
  return bytes;
}

}  // namespace vesk
