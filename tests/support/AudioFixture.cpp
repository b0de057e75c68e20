#include "support/AudioFixture.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace fixture {
namespace {

void appendChunk(Builder& builder, const Chunk& chunk, bool bigEndian) {
  builder.field(chunk.id, 4).number(chunk.declaredSize.value_or(chunk.payload.size()), 4, bigEndian);
  builder.raw(chunk.payload);
  if (chunk.payload.size() % 2 == 1 && chunk.hasPad) builder.u8(chunk.pad);
}

std::vector<Chunk> joined(std::vector<Chunk> first, const std::vector<Chunk>& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

size_t audioBytes(size_t channels, size_t frames, size_t bits) {
  return channels * frames * ((bits + 7) / 8);
}

// The count and, for each pair, two terminated texts, as CAF holds them.
Bytes countedPairs(const Pairs& pairs) {
  Builder payload;
  payload.u32be(pairs.size());
  for (const auto& [key, value] : pairs) payload.text(key).u8(0).text(value).u8(0);
  return payload.bytes;
}

Builder categoryFields(uint32_t version, std::string_view type, std::string_view subType, std::string_view genre) {
  return Builder{}.u32be(version).field(type, 50).field(subType, 50).field(genre, 50).zeros(66);
}

Bytes withDescriptors(Builder& payload, const Texts& descriptors) {
  payload.u16be(descriptors.size());
  for (const std::string& descriptor : descriptors) payload.field(descriptor, 50);
  return payload.bytes;
}

}  // namespace

Builder& Builder::number(uint64_t value, int size, bool bigEndian) {
  for (int i = 0; i < size; ++i) u8(static_cast<uint8_t>(value >> (8 * (bigEndian ? size - 1 - i : i))));
  return *this;
}

Builder& Builder::raw(std::span<const std::byte> more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
  return *this;
}

Builder& Builder::field(std::string_view value, size_t width) {
  const std::string_view kept = value.substr(0, width);
  return text(kept).zeros(width - kept.size());
}

Builder& Builder::zeros(size_t count, uint8_t value) {
  bytes.insert(bytes.end(), count, std::byte{value});
  return *this;
}

Bytes bytesOf(std::string_view text) {
  return Builder{}.text(text).bytes;
}

Bytes bytesFromHex(std::string_view hex) {
  std::string digits;
  for (const char c : hex) {
    if (c != ' ' && c != '-') digits += c;
  }
  Bytes bytes;
  for (size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes.push_back(static_cast<std::byte>(std::strtoul(digits.substr(i, 2).c_str(), nullptr, 16)));
  }
  return bytes;
}

void writeFile(const std::string& path, std::span<const std::byte> bytes) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  const bool written = file && std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
  const bool closed = file && std::fclose(file) == 0;
  if (written && closed) return;
  std::fprintf(stderr, "cannot write the test file %s\n", path.c_str());
  std::abort();
}

// --- Chunks and containers of any content ---

Chunk chunk(std::string_view id, Bytes payload) {
  return Chunk{.id = std::string(id), .payload = std::move(payload)};
}
Chunk chunk(std::string_view id, std::string_view text) {
  return chunk(id, bytesOf(text));
}

Bytes formFile(std::string_view form, std::string_view type, const std::vector<Chunk>& chunks, const FormLies& lies) {
  const bool bigEndian = form == "FORM" || form == "RIFX";
  const bool isLong = form == "RF64" || form == "BW64";
  Builder body;
  body.text(type);
  for (const Chunk& each : chunks) appendChunk(body, each, bigEndian);
  const uint32_t size = lies.size.value_or(isLong ? 0xFFFFFFFF : body.bytes.size());
  return Builder{}.text(form).number(size, 4, bigEndian).raw(body.bytes).raw(lies.trailing).bytes;
}

Bytes cafFileOf(const std::vector<Chunk>& chunks) {
  Builder file;
  file.text("caff").u16be(1).u16be(0);
  for (const Chunk& each : chunks) {
    file.field(each.id, 4).u64be(each.declaredSize.value_or(each.payload.size())).raw(each.payload);
  }
  return file.bytes;
}

Bytes extended(double rate) {
  if (rate == 0) return Bytes(10);
  int exponent = 0;
  const double fraction = std::frexp(rate, &exponent);  // 0.5 to 1
  return Builder{}.u16be(exponent - 1 + 16383).u64be(static_cast<uint64_t>(std::ldexp(fraction, 64))).bytes;
}

Chunk commChunk(int channels, uint32_t frames, int bits, const Bytes& extendedRate, std::string_view codec) {
  Builder payload;
  payload.u16be(channels).u32be(frames).u16be(bits).raw(extendedRate);
  if (!codec.empty()) payload.field(codec, 4).u8(0).u8(0);  // an empty name with its pad
  return chunk("COMM", payload.bytes);
}

Chunk ssndChunk(size_t audioBytes) {
  return chunk("SSND", Builder{}.u32be(0).u32be(0).zeros(audioBytes).bytes);
}

Chunk fmtChunk(uint16_t tag, int channels, uint32_t rate, int bits, uint16_t blockAlign, bool bigEndian) {
  Builder payload;
  payload.number(tag, 2, bigEndian).number(channels, 2, bigEndian).number(rate, 4, bigEndian);
  payload.number(rate * blockAlign, 4, bigEndian).number(blockAlign, 2, bigEndian).number(bits, 2, bigEndian);
  return chunk("fmt ", payload.bytes);
}

Chunk dataChunk(size_t audioBytes) {
  return chunk("data", Builder{}.zeros(audioBytes).bytes);
}

Chunk ds64Chunk(uint64_t riffSize, uint64_t dataSize, uint64_t sampleCount) {
  return chunk("ds64", Builder{}.u64le(riffSize).u64le(dataSize).u64le(sampleCount).u32le(0).bytes);
}

Chunk cafDescChunk(double rate, std::string_view format, uint32_t flags, uint32_t bytesPerPacket,
                   uint32_t framesPerPacket, uint32_t channels, uint32_t bits) {
  Builder payload;
  payload.f64be(rate).field(format, 4).u32be(flags).u32be(bytesPerPacket).u32be(framesPerPacket);
  return chunk("desc", payload.u32be(channels).u32be(bits).bytes);
}

Chunk cafDataChunk(size_t audioBytes) {
  return chunk("data", Builder{}.u32be(0).zeros(audioBytes).bytes);
}

Chunk cafPaktChunk(int64_t packets, int64_t validFrames, int32_t priming, int32_t remainder, size_t tableBytes) {
  Builder payload;
  payload.u64be(packets).u64be(validFrames).u32be(priming).u32be(remainder).zeros(tableBytes, 1);
  return chunk("pakt", payload.bytes);
}

Chunk cafInfoChunk(const Pairs& pairs) {
  return chunk("info", countedPairs(pairs));
}

Bytes soundDesignerFork(char sampleBytes, std::string_view rate, char channels, uint8_t attributes) {
  Builder fork{bytesFromHex("00000010 0000002B 0000001B 0000004A 00000002 01")};
  fork.u8(sampleBytes).raw(bytesFromHex("0000000B 0A")).text(rate).raw(bytesFromHex("00000002 01")).u8(channels);
  fork.zeros(24).raw(bytesFromHex("001C 004A 0000")).text("STR ").raw(bytesFromHex("0002 000A"));
  for (const auto& [id, offset] : {std::pair(1000, 0), std::pair(1001, 6), std::pair(1002, 21)}) {
    fork.u16be(id).u16be(0xFFFF).u32be(uint32_t{attributes} << 24 | offset).zeros(4);
  }
  return fork.bytes;
}

// --- Well-formed files of silence ---

Bytes aiffFile(const std::vector<Chunk>& chunks, int channels, uint32_t frames, int bits, double rate) {
  const Chunk sound = ssndChunk(audioBytes(channels, frames, bits));
  return formFile("FORM", "AIFF", joined({commChunk(channels, frames, bits, extended(rate)), sound}, chunks));
}

Bytes wavFile(const std::vector<Chunk>& chunks, int channels, uint32_t frames, int bits, uint32_t rate) {
  const Chunk format = fmtChunk(1, channels, rate, bits, audioBytes(channels, 1, bits));
  return formFile("RIFF", "WAVE", joined({format, dataChunk(audioBytes(channels, frames, bits))}, chunks));
}

Bytes cafFile(const std::vector<Chunk>& chunks, int channels, uint32_t frames, int bits, double rate) {
  const Chunk desc = cafDescChunk(rate, "lpcm", 0, audioBytes(channels, 1, bits), 1, channels, bits);
  return cafFileOf(joined({desc, cafDataChunk(audioBytes(channels, frames, bits))}, chunks));
}

// --- Payloads of the tagging chunks ---

Bytes bascPayload(int32_t beats, int16_t rootNote, int16_t keyType, int16_t signatureTop, int16_t signatureBottom,
                  int16_t fileType) {
  Builder payload;
  payload.u32be(1).u32be(beats).u16be(rootNote).u16be(keyType);
  return payload.u16be(signatureTop).u16be(signatureBottom).u16be(fileType).zeros(64).bytes;
}

Bytes catePayload(std::string_view type, std::string_view subType, std::string_view genre, const Texts& descriptors) {
  Builder payload = categoryFields(1, type, subType, genre);
  return withDescriptors(payload, descriptors);
}

Bytes cateV2Payload(std::string_view type, std::string_view subType, std::string_view genre, const Texts& descriptors,
                    std::string_view collection, std::string_view theme) {
  Builder payload = categoryFields(2, type, subType, genre);
  return withDescriptors(payload.field(collection, 50).field(theme, 50).u16be(0), descriptors);
}

Bytes collPayload(std::string_view collection, std::string_view theme) {
  return Builder{}.u32be(1).field(collection, 50).field(theme, 50).bytes;
}

Bytes acidPayload(uint32_t flags, uint16_t rootNote, uint32_t beats, uint16_t signatureTop, uint16_t signatureBottom,
                  float tempo) {
  Builder payload;
  payload.u32le(flags).u16le(rootNote).u16le(0x8000).u32le(0).u32le(beats).u16le(signatureTop).u16le(signatureBottom);
  return payload.f32le(tempo).bytes;
}

Bytes comtPayload(const Texts& comments) {
  Builder payload;
  payload.u16be(comments.size());
  for (const std::string& comment : comments) {
    payload.u32be(0).u16be(0).u16be(comment.size()).text(comment);
    if (comment.size() % 2 == 1) payload.u8(0);
  }
  return payload.bytes;
}

Bytes uuidPayload(std::string_view identifierHex, std::span<const std::byte> payload) {
  return Builder{}.raw(bytesFromHex(identifierHex)).raw(payload).bytes;
}

Bytes searchInfoPayload(const Pairs& entries) {
  return uuidPayload(kSearchInfoID, countedPairs(entries));
}

Bytes infoListPayload(const Pairs& entries) {
  Builder payload;
  payload.text("INFO");
  for (const auto& [id, value] : entries) {
    appendChunk(payload, chunk(id, Builder{}.text(value).u8(0).bytes), false);
  }
  return payload.bytes;
}

}  // namespace fixture
