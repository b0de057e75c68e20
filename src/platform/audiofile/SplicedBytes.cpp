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

bool areEqual(ByteSource& one, ByteSource& other) {
  constexpr size_t kComparedSize = size_t{1} << 18;
  if (one.size() != other.size()) return false;
  std::vector<std::byte> first(kComparedSize);
  std::vector<std::byte> second(kComparedSize);
  for (uint64_t offset = 0; offset < one.size(); offset += kComparedSize) {
    const auto size = static_cast<size_t>(std::min<uint64_t>(kComparedSize, one.size() - offset));
    const auto here = std::span(first).first(size);
    const auto there = std::span(second).first(size);
    if (!one.read(offset, here) || !other.read(offset, there)) return false;
    if (!std::equal(here.begin(), here.end(), there.begin())) return false;
  }
  return true;
}

bool writeSplice(const Splice& splice, int descriptor, FileReplacement& replacement) {
  for (const Splice::Piece& piece : splice.pieces()) {
    const auto from = static_cast<size_t>(piece.from);
    const bool isDone = piece.isNew
                            ? replacement.write(splice.newBytes().subspan(from, static_cast<size_t>(piece.size)))
                            : replacement.copy(descriptor, piece.from, piece.size);
    if (!isDone) return false;
  }
  return true;
}

}  // namespace vesk
