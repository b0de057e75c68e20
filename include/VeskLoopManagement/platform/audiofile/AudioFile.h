// The audio-file service: opens AIFF, AIFF-C, WAV, RF64/BW64, RIFX, CAF and Sound Designer II files for reading and
// answers their format, frame counts, info texts and chunks. One open reads the chunk list (headers only); payloads are
// read when they are asked for; audio is never read. What writing needs (every chunk with its offsets, sizes and pad,
// and what is irregular) is in contents().
//
// Owns the bytes it was opened over, of which a file keeps its descriptor open. One thread at a time. Nothing throws; a
// question that the file cannot answer is nullopt. Sizes in files are never believed further than the file's own
// length. Standards: EA IFF 85 / AIFF 1.3 and AIFF-C, RIFF WAVE (Multimedia Programming Interface 1.0), EBU Tech 3306
// (RF64), ITU-R BS.2088 (BW64), Core Audio Format 1.0.
#pragma once

#include "VeskLoopManagement/LCExport.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "VeskLoopManagement/platform/audiofile/AudioFileLayout.h"
#include "VeskLoopManagement/platform/audiofile/ByteSource.h"

namespace vesk {

enum class OpenError { none, notFound, notReadable, notAudio, malformed };

class LC_EXPORT AudioFile {
 public:
  // Null when the file cannot be opened or is no audio container; `error` and `detail` (both may be null) then say why,
  // in words for a person, to be read after the path and a colon. Links are followed. The content decides, not the
  // extension, except for Sound Designer II, whose data has no mark of its own and is recognised by its resource fork,
  // which is looked for beside the file.
  [[nodiscard]] static std::unique_ptr<AudioFile> open(const std::string& path, OpenError* error = nullptr,
                                                       std::string* detail = nullptr);
  // The same over any bytes, which are not null. Those of a Sound Designer II file come with a `resourceFork`, bare or
  // inside an AppleDouble file; it is read during the call only.
  [[nodiscard]] static std::unique_ptr<AudioFile> open(std::unique_ptr<ByteSource> bytes, OpenError* error = nullptr,
                                                       std::string* detail = nullptr,
                                                       std::unique_ptr<ByteSource> resourceFork = nullptr);
  // The file beside `path` that holds its resource fork, "._name" or ".AppleDouble/name", when that fork is one of a
  // Sound Designer II file; nullopt when there is none. Who copies or moves the file takes it along.
  static std::optional<std::string> soundDesigner2ForkBeside(const std::string& path);

  // A file that was moved from can only be destroyed or assigned to.
  AudioFile(AudioFile&&) noexcept = default;
  AudioFile& operator=(AudioFile&&) noexcept = default;
  ~AudioFile() = default;

  ContainerKind kind() const { return m_contents.kind; }
  bool isBigEndian() const;  // byte order of the container's own numbers
  Regularity regularity() const;
  // What makes the file irregular, a sentence each, the reasons not to rewrite it first.
  std::vector<std::string> irregularities() const;
  uint64_t fileSize() const { return m_bytes->size(); }

  std::optional<AudioFormat> dataFormat() const { return m_contents.format; }
  std::optional<PacketTableInfo> packetTableInfo() const { return m_contents.packetTable; }
  std::optional<int64_t> audioDataPacketCount() const { return m_contents.packetCount; }
  // Keys "artist", "title", "comments", "copyright", "album", "genre", …; nullopt when the container has no info. Where
  // a key occurs more than once, its first value that is not empty stands. `isCut` (may be null) then says whether a
  // text is longer than kMaximumTextSize and ends there.
  std::optional<std::map<std::string, std::string>> infoDictionary(bool* isCut = nullptr) const;

  // Chunks with the same id are counted by `index` from 0 in file order.
  size_t userDataCount(FourCC id) const;
  // Of the payload, which in a cut-off file is not all there.
  std::optional<uint64_t> userDataSize(FourCC id, size_t index = 0) const;
  // The whole payload, or its first `limit` bytes; nullopt when there is no such chunk, the end of the file cuts it
  // off, it is larger than 256 MiB (and no smaller `limit` is given), or reading fails.
  std::optional<std::vector<std::byte>> userData(FourCC id, size_t index = 0,
                                                 std::optional<uint64_t> limit = std::nullopt) const;
  const std::vector<AudioChunk>& chunks() const { return m_contents.chunks; }
  const AudioFileContents& contents() const { return m_contents; }

 private:
  AudioFile(std::unique_ptr<ByteSource> bytes, AudioFileContents contents);
  const AudioChunk* chunkAt(FourCC id, size_t index) const;
  std::optional<std::map<std::string, std::string>> infoTexts(bool& isCut) const;

  std::unique_ptr<ByteSource> m_bytes;  // not null
  AudioFileContents m_contents;
  std::map<FourCC, std::vector<size_t>> m_chunksById;  // indices into m_contents.chunks, ascending
};

}  // namespace vesk
