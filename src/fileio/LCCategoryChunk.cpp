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

size_t countOffsetOf(uint32_t version) {
  return version == 2 ? kSecondCountOffset : kCountOffset;
}

// How many descriptors are there, whatever the count says.
size_t descriptorCountAt(std::span<const std::byte> payload, size_t countOffset) {
  const size_t start = countOffset + kCountSize;
  if (payload.size() < start) return 0;
  const size_t declared = vesk::ByteReader(payload.subspan(countOffset), std::endian::big).u16();
  return std::min(declared, (payload.size() - start) / kFieldWidth);
}

vesk::StringSet descriptorsAt(std::span<const std::byte> payload, size_t countOffset) {
  const size_t count = descriptorCountAt(payload, countOffset);
  vesk::StringSet descriptors;
  for (size_t i = 0; i < count; ++i) {
    auto descriptor = lc::textField(payload, countOffset + kCountSize + i * kFieldWidth, kFieldWidth);
    if (descriptor) descriptors.insert(std::move(*descriptor));
  }
  return descriptors;
}

// With the fields of those descriptors that stay, then those of the others, and room for one when there is none.
std::vector<std::byte> withDescriptors(std::vector<std::byte> payload, vesk::StringSet wanted, size_t countOffset) {
  const size_t start = countOffset + kCountSize;
  payload.resize(std::max(payload.size(), start));
  const size_t oldCount = descriptorCountAt(payload, countOffset);
  vesk::ByteWriter fields(std::endian::big);
  size_t count = 0;
  for (size_t i = 0; i < oldCount; ++i) {
    const auto field = std::span(payload).subspan(start + i * kFieldWidth, kFieldWidth);
    const auto text = lc::textField(field, 0, kFieldWidth);
    if (text && wanted.erase(*text) == 0) continue;  // it goes, or it was there before
    fields.raw(field);
    ++count;
  }
  for (auto descriptor = wanted.begin(); descriptor != wanted.end() && count < kMostDescriptors; ++descriptor, ++count)
    lc::appendTextField(fields, *descriptor, kFieldWidth);
  if (count == 0) fields.zeros(kFieldWidth);

  const size_t oldEnd = std::min(start + std::max<size_t>(oldCount, 1) * kFieldWidth, payload.size());
  vesk::ByteWriter edited(std::endian::big);
  edited.raw(std::span(payload).first(countOffset));
  edited.u16(static_cast<uint16_t>(count));
  edited.raw(fields.take());
  edited.raw(std::span(payload).subspan(oldEnd));
  return edited.take();
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
  decoded.descriptors = descriptorsAt(payload, countOffsetOf(decoded.version));
  if (decoded.version == 1) return decoded;
  decoded.collection = lc::textField(payload, kCollectionOffset, kFieldWidth);
  decoded.theme = lc::textField(payload, kThemeOffset, kFieldWidth);
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

std::vector<std::byte> LCCategoryChunk::encodeOver(std::span<const std::byte> payload) const {
  const auto before = decode(payload).value_or(LCCategoryChunk());
  std::vector<std::byte> edited(payload.begin(), payload.end());
  const auto put = [&](size_t offset, const std::optional<std::string>& was, const std::optional<std::string>& is) {
    if (is != was) lc::putTextField(edited, offset, is, kFieldWidth);
  };
  put(kTypeOffset, before.instrumentType, instrumentType);
  put(kSubTypeOffset, before.instrumentSubType, instrumentSubType);
  put(kGenreOffset, before.genre, genre);
  if (version == 2) put(kCollectionOffset, before.collection, collection);
  if (version == 2) put(kThemeOffset, before.theme, theme);
  if (descriptors == before.descriptors) return edited;
  return withDescriptors(std::move(edited), descriptors, countOffsetOf(version));
}

LCCategoryChunk::Instrument LCCategoryChunk::decodeInstrument(std::span<const std::byte> payload) {
  if (payload.size() < kSubTypeOffset + kFieldWidth) return {};
  return {lc::textField(payload, kTypeOffset, kFieldWidth), lc::textField(payload, kSubTypeOffset, kFieldWidth)};
}
