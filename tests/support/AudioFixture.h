// AudioFixture builds audio files and tagging payloads byte by byte, so that tests hold the library against the layouts
// themselves and not against its own writers. It includes nothing of src/.
//
// The one-line builders (aiffFile, wavFile, cafFile) make well-formed files of silence; a file that lies is put
// together from the chunk builders and formFile() or cafFileOf(), whose fields can be set to anything.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
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

  Builder& number(uint64_t value, int size, bool bigEndian);
  Builder& raw(std::span<const std::byte> more);
  Builder& text(std::string_view value) { return raw(std::as_bytes(std::span(value))); }  // without a terminator
  Builder& field(std::string_view value, size_t width);                                   // cut or filled with zeros
  Builder& zeros(size_t count, uint8_t value = 0);
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

Bytes bytesOf(std::string_view text);
Bytes bytesFromHex(std::string_view hex);  // blanks and "-" are passed over
// Writes `bytes` to `path`, replacing what is there. Ends the test program when that fails.
void writeFile(const std::string& path, std::span<const std::byte> bytes);

// --- Chunks and containers of any content ---

struct Chunk {
  std::string id;  // four characters
  Bytes payload = {};
  std::optional<uint64_t> declaredSize = std::nullopt;  // when it is not payload.size()
  bool hasPad = true;  // after an odd payload; containers without padding take no notice
  uint8_t pad = 0;
};

Chunk chunk(std::string_view id, Bytes payload);
Chunk chunk(std::string_view id, std::string_view text);

struct FormLies {
  std::optional<uint32_t> size = std::nullopt;  // instead of the true one
  Bytes trailing = {};                          // after the form
};
// `form` "FORM", "RIFX" (big-endian sizes), "RIFF", "RF64" or "BW64" (little-endian ones); `type` "AIFF", "WAVE", …
Bytes formFile(std::string_view form, std::string_view type, const std::vector<Chunk>& chunks,
               const FormLies& lies = {});
Bytes cafFileOf(const std::vector<Chunk>& chunks);

Bytes extended(double rate);  // 80 bits, as COMM holds the rate; for finite ones that are not negative
Chunk commChunk(int channels, uint32_t frames, int bits, const Bytes& extendedRate, std::string_view codec = {});
Chunk ssndChunk(size_t audioBytes);
Chunk fmtChunk(uint16_t tag, int channels, uint32_t rate, int bits, uint16_t blockAlign, bool bigEndian = false);
Chunk dataChunk(size_t audioBytes);
Chunk ds64Chunk(uint64_t riffSize, uint64_t dataSize, uint64_t sampleCount);

Chunk cafDescChunk(double rate, std::string_view format, uint32_t flags, uint32_t bytesPerPacket,
                   uint32_t framesPerPacket, uint32_t channels, uint32_t bits);
Chunk cafDataChunk(size_t audioBytes);  // with its edit count
Chunk cafPaktChunk(int64_t packets, int64_t validFrames, int32_t priming, int32_t remainder, size_t tableBytes = 0);
Chunk cafInfoChunk(const Pairs& pairs);

// A Sound Designer II file's resource fork: header, three texts with their lengths, and the map that names them 1000 to
// 1002, each with these `attributes`. `rate` has ten characters.
Bytes soundDesignerFork(char sampleBytes, std::string_view rate, char channels, uint8_t attributes = 0);

// --- Well-formed files of silence, with `chunks` after the audio ---

Bytes aiffFile(const std::vector<Chunk>& chunks = {}, int channels = 2, uint32_t frames = 1000, int bits = 16,
               double rate = 44100);
Bytes wavFile(const std::vector<Chunk>& chunks = {}, int channels = 2, uint32_t frames = 1000, int bits = 16,
              uint32_t rate = 44100);
Bytes cafFile(const std::vector<Chunk>& chunks = {}, int channels = 2, uint32_t frames = 1000, int bits = 16,
              double rate = 44100);

// --- Payloads of the tagging chunks ---

Bytes bascPayload(int32_t beats, int16_t rootNote, int16_t keyType, int16_t signatureTop, int16_t signatureBottom,
                  int16_t fileType);  // 82 bytes
// "cate", version 1: 222 + 50 x descriptors bytes.
Bytes catePayload(std::string_view type, std::string_view subType, std::string_view genre,
                  const Texts& descriptors = {});
// "cate", version 2: 324 + 50 x descriptors bytes.
Bytes cateV2Payload(std::string_view type, std::string_view subType, std::string_view genre, const Texts& descriptors,
                    std::string_view collection, std::string_view theme);
Bytes collPayload(std::string_view collection, std::string_view theme);  // 104 bytes
// "acid", 24 bytes; `beats` fills the whole 4-byte field.
Bytes acidPayload(uint32_t flags, uint16_t rootNote, uint32_t beats, uint16_t signatureTop, uint16_t signatureBottom,
                  float tempo);
Bytes comtPayload(const Texts& comments);
// "uuid" of CAF: the identifier's 32 hexadecimal digits, then the payload.
Bytes uuidPayload(std::string_view identifierHex, std::span<const std::byte> payload = {});
// The search info of CAF with its identifier: the whole payload of a "uuid" chunk.
Bytes searchInfoPayload(const Pairs& entries);
// LIST/INFO of WAV: zero-terminated texts, padded.
Bytes infoListPayload(const Pairs& entries);

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

}  // namespace fixture
