// The audio-file service: opens AIFF, AIFF-C, WAV, RF64/BW64, RIFX, CAF and Sound Designer II files for reading and
// answers their format, frame counts, info texts and chunks. One open reads the chunk list (headers only); payloads are
// read when they are asked for; audio is never read. What a later writer needs (every chunk with its offsets, sizes and
// pad, and what is irregular) is in contents().
//
// Owns one file descriptor, closed on destruction. One thread at a time. Nothing throws; a question that the file
// cannot answer is nullopt. Sizes in files are never believed further than the file's own length. Standards: EA IFF 85
// / AIFF 1.3 and AIFF-C, RIFF WAVE (Multimedia Programming Interface 1.0), EBU Tech 3306 (RF64), ITU-R BS.2088 (BW64),
// Core Audio Format 1.0.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vesk {

// A four-character code in file order: FourCC("basc").
struct FourCC {
  char code[4] = {0, 0, 0, 0};

  constexpr FourCC() = default;
  constexpr FourCC(const char (&text)[5]) : code{text[0], text[1], text[2], text[3]} {}
  static FourCC fromBytes(const std::byte* four);
  std::string text() const { return std::string(code, 4); }
  bool isPrintable() const;  // ASCII 0x20 to 0x7E
  auto operator<=>(const FourCC&) const = default;
};

// The stream description.
struct AudioFormat {
  // Of linear PCM. Other formats keep the flags that their container gives, or 0.
  static constexpr uint32_t kIsFloat = 1;
  static constexpr uint32_t kIsBigEndian = 2;
  static constexpr uint32_t kIsSignedInteger = 4;
  static constexpr uint32_t kIsPacked = 8;        // the bits fill their bytes
  static constexpr uint32_t kIsAlignedHigh = 16;  // else they stand at the upper end of them

  double sampleRate = 0;  // hertz; may be 0, negative, infinite or NaN as the file says
  FourCC formatID;        // "lpcm", "alaw", "ulaw", "ima4", "ms\0\2" (WAV's tag 2), …
  uint32_t formatFlags = 0;
  uint32_t bytesPerPacket = 0;   // 0: variable or unknown
  uint32_t framesPerPacket = 0;  // 0: variable or unknown
  uint32_t bytesPerFrame = 0;
  uint32_t channelsPerFrame = 0;
  uint32_t bitsPerChannel = 0;
};

struct PacketTableInfo {
  int64_t validFrames = 0;
  int32_t primingFrames = 0;
  int32_t remainderFrames = 0;
};

enum class ContainerKind { aiff, aifc, wav, rf64, bw64, rifx, caf, soundDesigner2 };
std::string_view containerName(ContainerKind kind);  // "AIFF", "AIFF-C", "WAV", …

// Whether a file may be rewritten: as it should be; oddly sized but unambiguous; readable but not safe to rewrite.
enum class Regularity { regular, benign, ambiguous };

// One chunk of the file's chunk list, in file order.
struct AudioChunk {
  FourCC id;
  uint64_t headerOffset = 0;  // of the id, in bytes from the start of the file
  uint64_t dataOffset = 0;    // of the first payload byte
  // As the header says, or "ds64" for it; all ones in CAF and "ds64": to the end of the file.
  uint64_t declaredSize = 0;
  uint64_t size = 0;    // payload bytes that are there
  bool hasPad = false;  // a pad byte follows the payload
  std::byte pad{0};     // its value
};

// What the walk over a file's headers found: the file's layout, as a writer must know it to leave every other byte
// alone.
struct AudioFileContents {
  ContainerKind kind = ContainerKind::aiff;
  std::vector<AudioChunk> chunks;
  std::optional<uint64_t> formSize;    // as the header says, or "ds64" for it; nullopt where the container has none
  uint64_t chunksEnd = 0;              // the first byte behind the last chunk and its pad; what follows is no chunk
  std::vector<std::string> benign;     // what is odd but leaves no doubt, a sentence each
  std::vector<std::string> ambiguous;  // what makes rewriting unsafe, a sentence each
  std::optional<AudioFormat> format;
  std::optional<PacketTableInfo> packetTable;
  std::optional<int64_t> packetCount;

  const AudioChunk* firstChunk(FourCC id) const;  // null when there is none; borrowed from `chunks`
  size_t count(FourCC id) const;
  void noteBenign(std::string_view sentence);  // a sentence that is there already is not added again
  void noteAmbiguous(std::string_view sentence);
};

enum class OpenError { none, notFound, notReadable, notAudio, malformed };

class FileBytes;

class AudioFile {
 public:
  // Null when the file cannot be opened or is no audio container; `error` and `detail` (both may be null) then say why,
  // in words for a person, to be read after the path and a colon. Links are followed. The content decides, not the
  // extension, except for Sound Designer II, whose data has no mark of its own and is recognised by its resource fork.
  static std::unique_ptr<AudioFile> open(const std::string& path, OpenError* error = nullptr,
                                         std::string* detail = nullptr);
  ~AudioFile();
  AudioFile(const AudioFile&) = delete;
  AudioFile& operator=(const AudioFile&) = delete;

  ContainerKind kind() const { return m_contents.kind; }
  bool isBigEndian() const;  // byte order of the container's own numbers
  Regularity regularity() const;
  // What makes the file irregular, a sentence each, the reasons not to rewrite it first.
  std::vector<std::string> irregularities() const;
  uint64_t fileSize() const;

  std::optional<AudioFormat> dataFormat() const { return m_contents.format; }
  std::optional<PacketTableInfo> packetTableInfo() const { return m_contents.packetTable; }
  std::optional<int64_t> audioDataPacketCount() const { return m_contents.packetCount; }
  // Keys "artist", "title", "comments", "copyright", "album", "genre", …; nullopt when the container has no info. Where
  // a key occurs more than once, its first value that is not empty stands.
  std::optional<std::map<std::string, std::string>> infoDictionary() const;

  // Chunks with the same id are counted by `index` from 0 in file order.
  size_t userDataCount(FourCC id) const;
  // Of the payload that is there, which in a cut-off file is less than the chunk's header says.
  std::optional<uint64_t> userDataSize(FourCC id, size_t index = 0) const;
  // The whole payload, or its first `limit` bytes; nullopt when there is no such chunk, it is larger than 256 MiB (and
  // no smaller `limit` is given), or reading fails.
  std::optional<std::vector<std::byte>> userData(FourCC id, size_t index = 0,
                                                 std::optional<uint64_t> limit = std::nullopt) const;
  const std::vector<AudioChunk>& chunks() const { return m_contents.chunks; }
  const AudioFileContents& contents() const { return m_contents; }

 private:
  AudioFile(std::unique_ptr<FileBytes> bytes, AudioFileContents contents);
  const AudioChunk* chunkAt(FourCC id, size_t index) const;

  std::unique_ptr<FileBytes> m_bytes;  // never null
  AudioFileContents m_contents;
  std::map<FourCC, std::vector<size_t>> m_chunksById;  // indices into m_contents.chunks, ascending
};

}  // namespace vesk
