#include "platform/audiofile/SplicedBytes.h"

#include <algorithm>

namespace vesk {

void Splice::add(std::span<const std::byte> bytes) {
  append(m_newBytes.size(), bytes.size(), true);
  m_newBytes.insert(m_newBytes.end(), bytes.begin(), bytes.end());
}

void Splice::append(uint64_t from, uint64_t size, bool isNew) {
  if (size == 0) return;
  const bool goesOn =
      !m_pieces.empty() && m_pieces.back().isNew == isNew && m_pieces.back().from + m_pieces.back().size == from;
  if (goesOn) {
    m_pieces.back().size += size;
  } else {
    m_pieces.push_back({.offset = m_size, .size = size, .from = from, .isNew = isNew});
  }
  m_size += size;
}

SplicedBytes::SplicedBytes(std::shared_ptr<ByteSource> source, std::shared_ptr<const Splice> splice)
    : ByteSource(splice->size()), m_source(std::move(source)), m_splice(std::move(splice)) {}

bool SplicedBytes::readInside(uint64_t offset, std::span<std::byte> target) {
  const auto& pieces = m_splice->pieces();
  auto piece = std::upper_bound(pieces.begin(), pieces.end(), offset,
                                [](uint64_t place, const Splice::Piece& next) { return place < next.offset; });
  for (--piece; !target.empty(); ++piece) {
    const uint64_t inside = offset - piece->offset;
    const auto part = target.first(static_cast<size_t>(std::min<uint64_t>(target.size(), piece->size - inside)));
    if (piece->isNew) {
      const auto bytes = m_splice->newBytes().subspan(static_cast<size_t>(piece->from + inside), part.size());
      std::copy(bytes.begin(), bytes.end(), part.begin());
    } else if (!m_source->read(piece->from + inside, part)) {
      return false;
    }
    offset += part.size();
    target = target.subspan(part.size());
  }
  return true;
}

}  // namespace vesk
