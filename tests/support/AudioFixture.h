// AudioFixture builds audio files and tagging payloads byte by byte, so that tests hold the library against the layouts
// themselves and not against its own writers. It includes nothing of src/.
//
// The one-line builders (aiffFile, wavFile, cafFile) make well-formed files of silence; a file that lies is put
// together from the chunk builders and formFile() or cafFileOf(), whose fields can be set to anything.
#pragma once

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace fixture {

using Bytes = std::vector<std::byte>;
using Texts = std::vector<std::string>;
using Pairs = std::vector<std::pair<std::string, std::string>>;

// Appends numbers and texts to a growing run of bytes: Builder{}.u32be(1).text("abc").bytes.
struct Builder {
  Bytes bytes;

  Builder& number(uint64_t value, int size, bool bigEndian) {
    for (int i = 0; i < size; ++i) u8(static_cast<uint8_t>(value >> (8 * (bigEndian ? size - 1 - i : i))));
    return *this;
  }
  Builder& raw(std::span<const std::byte> more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
    return *this;
  }
  Builder& text(std::string_view value) { return raw(std::as_bytes(std::span(value))); }  // without a terminator
  // Cut or filled with zeros.
  Builder& field(std::string_view value, size_t width) {
    const std::string_view kept = value.substr(0, width);
    return text(kept).zeros(width - kept.size());
  }
  Builder& zeros(size_t count, uint8_t value = 0) {
    bytes.insert(bytes.end(), count, std::byte{value});
    return *this;
  }
  Builder& u8(uint8_t value) { return zeros(1, value); }
  Builder& u16be(uint16_t value) { return number(value, 2, true); }
  Builder& u32be(uint32_t value) { return number(value, 4, true); }
  Builder& u64be(uint64_t value) { return number(value, 8, true); }
  Builder& u16le(uint16_t value) { return number(value, 2, false); }
  Builder& u32le(uint32_t value) { return number(value, 4, false); }
  Builder& u64le(uint64_t value) { return number(value, 8, false); }
  Builder& f32le(float value) { return u32le(std::bit_cast<uint32_t>(value)); }
  Builder& f64be(double value) { return u64be(std::bit_cast<uint64_t>(value)); }
};

inline Bytes bytesOf(std::string_view text) {
  return Builder{}.text(text).bytes;
}

// Blanks and "-" are passed over.
inline Bytes bytesFromHex(std::string_view hex) {
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

// Writes `bytes` to `path`, replacing what is there. Throws when that fails.
inline void writeFile(const std::string& path, std::span<const std::byte> bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

// --- Chunks and containers of any content ---

struct Chunk {
  std::string id;  // four characters
  Bytes payload = {};
  std::optional<uint64_t> declaredSize = std::nullopt;  // when it is not payload.size()
  bool hasPad = true;  // after an odd payload; containers without padding take no notice
  uint8_t pad = 0;
};

inline Chunk chunk(std::string_view id, Bytes payload) {
  return Chunk{.id = std::string(id), .payload = std::move(payload)};
}

inline Chunk chunk(std::string_view id, std::string_view text) {
  return chunk(id, bytesOf(text));
}

inline Chunk lying(Chunk chunk, uint64_t declaredSize) {
  chunk.declaredSize = declaredSize;
  return chunk;
}

inline Chunk unpadded(Chunk chunk) {
  chunk.hasPad = false;
  return chunk;
}

inline void appendChunk(Builder& builder, const Chunk& chunk, bool bigEndian) {
  builder.field(chunk.id, 4).number(chunk.declaredSize.value_or(chunk.payload.size()), 4, bigEndian);
  builder.raw(chunk.payload);
  if (chunk.payload.size() % 2 == 1 && chunk.hasPad) builder.u8(chunk.pad);
}

struct FormLies {
  std::optional<uint32_t> size = std::nullopt;  // instead of the true one
  Bytes trailing = {};                          // after the form
};
// `form` "FORM", "RIFX" (big-endian sizes), "RIFF", "RF64" or "BW64" (little-endian ones); `type` "AIFF", "WAVE", …
inline Bytes formFile(std::string_view form, std::string_view type, const std::vector<Chunk>& chunks,
                      const FormLies& lies = {}) {
  const bool bigEndian = form == "FORM" || form == "RIFX";
  const bool isLong = form == "RF64" || form == "BW64";
  Builder body;
  body.text(type);
  for (const Chunk& each : chunks) appendChunk(body, each, bigEndian);
  const uint32_t size = lies.size.value_or(isLong ? 0xFFFFFFFF : body.bytes.size());
  return Builder{}.text(form).number(size, 4, bigEndian).raw(body.bytes).raw(lies.trailing).bytes;
}

inline Bytes cafFileOf(const std::vector<Chunk>& chunks) {
  Builder file;
  file.text("caff").u16be(1).u16be(0);
  for (const Chunk& each : chunks) {
    file.field(each.id, 4).u64be(each.declaredSize.value_or(each.payload.size())).raw(each.payload);
  }
  return file.bytes;
}

// 80 bits, as COMM holds the rate; for finite ones that are not negative.
inline Bytes extended(double rate) {
  if (rate == 0) return Bytes(10);
  int exponent = 0;
  const double fraction = std::frexp(rate, &exponent);  // 0.5 to 1
  return Builder{}.u16be(exponent - 1 + 16383).u64be(static_cast<uint64_t>(std::ldexp(fraction, 64))).bytes;
}

inline Chunk commChunk(int channels, uint32_t frames, int bits, const Bytes& extendedRate,
                       std::string_view codec = {}) {
  Builder payload;
  payload.u16be(channels).u32be(frames).u16be(bits).raw(extendedRate);
  if (!codec.empty()) payload.field(codec, 4).u8(0).u8(0);  // an empty name with its pad
  return chunk("COMM", payload.bytes);
}

inline Chunk ssndChunk(size_t audioBytes) {
  return chunk("SSND", Builder{}.u32be(0).u32be(0).zeros(audioBytes).bytes);
}

inline Chunk fmtChunk(uint16_t tag, int channels, uint32_t rate, int bits, uint16_t blockAlign,
                      bool bigEndian = false) {
  Builder payload;
  payload.number(tag, 2, bigEndian).number(channels, 2, bigEndian).number(rate, 4, bigEndian);
  payload.number(rate * blockAlign, 4, bigEndian).number(blockAlign, 2, bigEndian).number(bits, 2, bigEndian);
  return chunk("fmt ", payload.bytes);
}

inline Chunk dataChunk(size_t audioBytes) {
  return chunk("data", Builder{}.zeros(audioBytes).bytes);
}

inline Chunk ds64Chunk(uint64_t riffSize, uint64_t dataSize, uint64_t sampleCount) {
  return chunk("ds64", Builder{}.u64le(riffSize).u64le(dataSize).u64le(sampleCount).u32le(0).bytes);
}

inline Chunk cafDescChunk(double rate, std::string_view format, uint32_t flags, uint32_t bytesPerPacket,
                          uint32_t framesPerPacket, uint32_t channels, uint32_t bits) {
  Builder payload;
  payload.f64be(rate).field(format, 4).u32be(flags).u32be(bytesPerPacket).u32be(framesPerPacket);
  return chunk("desc", payload.u32be(channels).u32be(bits).bytes);
}

// With its edit count.
inline Chunk cafDataChunk(size_t audioBytes) {
  return chunk("data", Builder{}.u32be(0).zeros(audioBytes).bytes);
}

inline Chunk cafPaktChunk(int64_t packets, int64_t validFrames, int32_t priming, int32_t remainder,
                          size_t tableBytes = 0) {
  Builder payload;
  payload.u64be(packets).u64be(validFrames).u32be(priming).u32be(remainder).zeros(tableBytes, 1);
  return chunk("pakt", payload.bytes);
}

// The count and, for each pair, two terminated texts, as CAF holds them.
inline Bytes countedPairs(const Pairs& pairs) {
  Builder payload;
  payload.u32be(pairs.size());
  for (const auto& [key, value] : pairs) payload.text(key).u8(0).text(value).u8(0);
  return payload.bytes;
}

inline Chunk cafInfoChunk(const Pairs& pairs) {
  return chunk("info", countedPairs(pairs));
}

// A Sound Designer II file's resource fork: header, three texts with their lengths, and the map that names them 1000 to
// 1002, each with these `attributes`. `rate` has ten characters.
inline Bytes soundDesignerFork(char sampleBytes, std::string_view rate, char channels, uint8_t attributes = 0) {
  Builder fork{bytesFromHex("00000010 0000002B 0000001B 0000004A 00000002 01")};
  fork.u8(sampleBytes).raw(bytesFromHex("0000000B 0A")).text(rate).raw(bytesFromHex("00000002 01")).u8(channels);
  fork.zeros(24).raw(bytesFromHex("001C 004A 0000")).text("STR ").raw(bytesFromHex("0002 000A"));
  for (const auto& [id, offset] : {std::pair(1000, 0), std::pair(1001, 6), std::pair(1002, 21)}) {
    fork.u16be(id).u16be(0xFFFF).u32be(uint32_t{attributes} << 24 | offset).zeros(4);
  }
  return fork.bytes;
}

// --- Well-formed files of silence, with `chunks` after the audio ---

inline std::vector<Chunk> joinedChunks(std::vector<Chunk> first, const std::vector<Chunk>& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

inline size_t silenceSize(size_t channels, size_t frames, size_t bits) {
  return channels * frames * ((bits + 7) / 8);
}

inline Bytes aiffFile(const std::vector<Chunk>& chunks = {}, int channels = 2, uint32_t frames = 1000, int bits = 16,
                      double rate = 44100) {
  const Chunk sound = ssndChunk(silenceSize(channels, frames, bits));
  return formFile("FORM", "AIFF", joinedChunks({commChunk(channels, frames, bits, extended(rate)), sound}, chunks));
}

inline Bytes wavFile(const std::vector<Chunk>& chunks = {}, int channels = 2, uint32_t frames = 1000, int bits = 16,
                     uint32_t rate = 44100) {
  const Chunk format = fmtChunk(1, channels, rate, bits, silenceSize(channels, 1, bits));
  return formFile("RIFF", "WAVE", joinedChunks({format, dataChunk(silenceSize(channels, frames, bits))}, chunks));
}

inline Bytes cafFile(const std::vector<Chunk>& chunks = {}, int channels = 2, uint32_t frames = 1000, int bits = 16,
                     double rate = 44100) {
  const Chunk desc = cafDescChunk(rate, "lpcm", 0, silenceSize(channels, 1, bits), 1, channels, bits);
  return cafFileOf(joinedChunks({desc, cafDataChunk(silenceSize(channels, frames, bits))}, chunks));
}

// --- Payloads of the tagging chunks ---

inline constexpr std::string_view kSearchInfoID = "29819273-B5BF-4AEF-B78D-62D1EF90BB2C";
inline constexpr std::string_view kWebLoopID = "CEE5B7CA-83E4-472C-9764-4CE0C35CF05C";
inline constexpr std::string_view kGeneratedInstrumentID = "103E1CD9-E7DC-EF4A-BFC0-0964320C73D3";
inline constexpr std::string_view kAdditionalDataID = "04072018-1707-2016-0508-198106101980";
inline constexpr std::string_view kStepSequencerID = "18B9BFBD-15B7-4E54-8D37-D5F927D82AA5";
inline constexpr std::string_view kEventSequenceID = "EF014ACE-B31A-4532-88C0-20255DC22ECD";
inline constexpr std::string_view kMarkerAID = "A7BD1B9D-DC29-4B64-BE7E-513F684BDD79";
inline constexpr std::string_view kMarkerBID = "BCC51A46-4280-4F5F-AA43-7DBDADAC0979";
inline constexpr std::string_view kMarkerCID = "52461C71-6A21-4360-87D8-7493AE78FAC8";
inline constexpr std::string_view kMarkerDID = "0352811B-9D5D-42E1-882D-6AF61A6B330C";
inline constexpr std::string_view kPatchMarkerID = "1FB1573D-9DAA-49B1-B997-B430B75C6B19";

// "basc", 82 bytes.
inline Bytes bascPayload(int32_t beats, int16_t rootNote, int16_t keyType, int16_t signatureTop,
                         int16_t signatureBottom, int16_t fileType) {
  Builder payload;
  payload.u32be(1).u32be(beats).u16be(rootNote).u16be(keyType);
  return payload.u16be(signatureTop).u16be(signatureBottom).u16be(fileType).zeros(64).bytes;
}

// "cate", version 1: 222 + 50 x descriptors bytes; with `more` fields between the texts and the descriptors version 2.
inline Bytes catePayload(std::string_view type, std::string_view subType, std::string_view genre,
                         const Texts& descriptors = {}, const Bytes& more = {}) {
  Builder payload;
  payload.u32be(more.empty() ? 1 : 2).field(type, 50).field(subType, 50).field(genre, 50).zeros(66).raw(more);
  payload.u16be(descriptors.size());
  for (const std::string& descriptor : descriptors) payload.field(descriptor, 50);
  return payload.bytes;
}

// "cate", version 2: 324 + 50 x descriptors bytes.
inline Bytes cateV2Payload(std::string_view type, std::string_view subType, std::string_view genre,
                           const Texts& descriptors, std::string_view collection, std::string_view theme) {
  return catePayload(type, subType, genre, descriptors,
                     Builder{}.field(collection, 50).field(theme, 50).u16be(0).bytes);
}

// "coll", 104 bytes.
inline Bytes collPayload(std::string_view collection, std::string_view theme) {
  return Builder{}.u32be(1).field(collection, 50).field(theme, 50).bytes;
}

// "acid", 24 bytes; `beats` fills the whole 4-byte field.
inline Bytes acidPayload(uint32_t flags, uint16_t rootNote, uint32_t beats, uint16_t signatureTop,
                         uint16_t signatureBottom, float tempo) {
  Builder payload;
  payload.u32le(flags).u16le(rootNote).u16le(0x8000).u32le(0).u32le(beats).u16le(signatureTop).u16le(signatureBottom);
  return payload.f32le(tempo).bytes;
}

inline Bytes comtPayload(const Texts& comments) {
  Builder payload;
  payload.u16be(comments.size());
  for (const std::string& comment : comments) {
    payload.u32be(0).u16be(0).u16be(comment.size()).text(comment);
    if (comment.size() % 2 == 1) payload.u8(0);
  }
  return payload.bytes;
}

// "uuid" of CAF: the identifier's 32 hexadecimal digits, then the payload.
inline Bytes uuidPayload(std::string_view identifierHex, std::span<const std::byte> payload = {}) {
  return Builder{}.raw(bytesFromHex(identifierHex)).raw(payload).bytes;
}

// The search info of CAF with its identifier: the whole payload of a "uuid" chunk.
inline Bytes searchInfoPayload(const Pairs& entries) {
  return uuidPayload(kSearchInfoID, countedPairs(entries));
}

// LIST/INFO of WAV: zero-terminated texts, padded.
inline Bytes infoListPayload(const Pairs& entries) {
  Builder payload;
  payload.text("INFO");
  for (const auto& [id, value] : entries) {
    appendChunk(payload, chunk(id, Builder{}.text(value).u8(0).bytes), false);
  }
  return payload.bytes;
}

// --- A loop with all its tags ---

struct LoopTags {
  std::string instrument = "Drums";
  std::string subInstrument = "Drum Kit";
  std::string genre = "Rock/Blues";
  Texts descriptors = {"Dry"};
  int16_t rootNote = 48;
  int16_t keyType = 2;
  int32_t beats = 8;
  int16_t signatureTop = 4;
  int16_t signatureBottom = 4;
};

// An AIFF file of four seconds at one frame of 8 bits every hundredth of a second.
inline Bytes loopFile(const LoopTags& tags = {}, const std::vector<Chunk>& more = {}) {
  const Bytes basic = bascPayload(tags.beats, tags.rootNote, tags.keyType, tags.signatureTop, tags.signatureBottom, 1);
  const Bytes category = catePayload(tags.instrument, tags.subInstrument, tags.genre, tags.descriptors);
  return aiffFile(joinedChunks({chunk("basc", basic), chunk("cate", category)}, more), 1, 400, 8, 100);
}

}  // namespace fixture
