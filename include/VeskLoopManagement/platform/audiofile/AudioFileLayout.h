// What the headers of an audio file say: its container, its format, its counts and every chunk with offset, size and
// pad, as a writer must know them to leave every other byte alone. Plain values: no I/O.
#pragma once

#include "VeskLoopManagement/LCExport.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesk {

// Texts of files are read as far as this, to the end of a character; so many bytes nobody types.
inline constexpr size_t kMaximumTextSize = 65536;

// A four-character code, as chunks and formats are named by, in file order: FourCC("basc").
struct LC_EXPORT FourCC {
  char code[4] = {0, 0, 0, 0};

  constexpr FourCC() = default;
  constexpr FourCC(const char (&text)[5]) : code{text[0], text[1], text[2], text[3]} {}
  // `four` points to at least four bytes.
  static FourCC fromBytes(const std::byte* four);

  std::string text() const { return std::string(code, sizeof code); }
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
LC_EXPORT std::string_view containerName(ContainerKind kind);  // "AIFF", "AIFF-C", "WAV", …

// Whether a file may be rewritten: as it should be; oddly sized but unambiguous; readable but not safe to rewrite.
enum class Regularity { regular, benign, ambiguous };

// One chunk of the file's chunk list, in file order.
struct AudioChunk {
  FourCC id;
  uint64_t headerOffset = 0;  // of the id, in bytes from the start of the file
  uint64_t dataOffset = 0;    // of the first payload byte
  // As the header says, or "ds64" for it; all ones in CAF and "ds64": to the end of the file.
  uint64_t declaredSize = 0;
  uint64_t size = 0;      // payload bytes that are there
  bool isCutOff = false;  // fewer than declared; nobody reads half a payload
  bool hasPad = false;    // a pad byte follows the payload
  std::byte pad{0};       // its value
};

// What the walk over a file's headers found.
struct LC_EXPORT AudioFileContents {
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

}  // namespace vesk
