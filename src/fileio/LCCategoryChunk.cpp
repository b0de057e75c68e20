#include "fileio/LCCategoryChunk.h"

#include "fileio/ChunkText.h"
#include "platform/audiofile/ByteReader.h"

#include <algorithm>

namespace {

constexpr uint32_t kWrittenVersion = 1;
constexpr size_t kFieldWidth = 50;
constexpr size_t kTypeOffset = 4;
constexpr size_t kSubTypeOffset = 54;
constexpr size_t kGenreOffset = 104;
constexpr size_t kReservedSize = 66;
constexpr size_t kCountOffset = 220;
constexpr size_t kCountSize = 2;
constexpr size_t kMostDescriptors = 0xFFFF;
// Of version 2.
constexpr size_t kCollectionOffset = 220;
constexpr size_t kThemeOffset = 270;
constexpr size_t kSecondCountOffset = 322;

vesk::StringSet descriptorsAt(std::span<const std::byte> payload, size_t countOffset) {
  const size_t start = countOffset + kCountSize;
  if (payload.size() < start) return {};
  const size_t present = (payload.size() - start) / kFieldWidth;
  const size_t declared = vesk::ByteReader(payload.subspan(countOffset), std::endian::big).u16();
  vesk::StringSet descriptors;
  for (size_t i = 0; i < std::min(declared, present); ++i) {
    auto descriptor = lc::textField(payload, start + i * kFieldWidth, kFieldWidth);
    if (descriptor) descriptors.insert(std::move(*descriptor));
  }
  return descriptors;
}

}  // namespace

std::optional<LCCategoryChunk> LCCategoryChunk::decode(std::span<const std::byte> payload) {
  if (payload.size() < kSmallestSize) return std::nullopt;
  LCCategoryChunk decoded;
  decoded.version = vesk::ByteReader(payload, std::endian::big).u32();
  if (!decoded.hasKnownVersion()) return decoded;

  Instrument instrument = decodeInstrument(payload);
  decoded.instrumentType = std::move(instrument.type);
  decoded.instrumentSubType = std::move(instrument.subType);
  decoded.genre = lc::textField(payload, kGenreOffset, kFieldWidth);
  if (decoded.version == 1) {
    decoded.descriptors = descriptorsAt(payload, kCountOffset);
    return decoded;
  }
  decoded.collection = lc::textField(payload, kCollectionOffset, kFieldWidth);
  decoded.theme = lc::textField(payload, kThemeOffset, kFieldWidth);
  decoded.descriptors = descriptorsAt(payload, kSecondCountOffset);
  return decoded;
}

std::vector<std::byte> LCCategoryChunk::encode() const {
  vesk::ByteWriter writer(std::endian::big);
  writer.u32(kWrittenVersion);
  lc::appendTextField(writer, instrumentType, kFieldWidth);
  lc::appendTextField(writer, instrumentSubType, kFieldWidth);
  lc::appendTextField(writer, genre, kFieldWidth);
  writer.zeros(kReservedSize);
  size_t left = std::min(descriptors.size(), kMostDescriptors);
  writer.u16(static_cast<uint16_t>(left));
  if (left == 0) writer.zeros(kFieldWidth);
  for (auto descriptor = descriptors.begin(); left > 0; ++descriptor, --left) {
    lc::appendTextField(writer, *descriptor, kFieldWidth);
  }
  return writer.take();
}

LCCategoryChunk::Instrument LCCategoryChunk::decodeInstrument(std::span<const std::byte> payload) {
  if (payload.size() < kSubTypeOffset + kFieldWidth) return {};
  return {lc::textField(payload, kTypeOffset, kFieldWidth), lc::textField(payload, kSubTypeOffset, kFieldWidth)};
}
