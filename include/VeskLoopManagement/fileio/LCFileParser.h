// LCFileParser turns one loop file into one loop record (LCFileData). The factory picks the parser by the file's
// extension; the parser opens the file once, reads headers and tagging chunks, never the audio, and is thrown away
// after use. A parser serves one file, once, on one thread. It logs nothing and throws nothing: what is missing, too
// small or malformed leaves the record's defaults. The class-wide switches are set before indexing starts.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/model/LCFileData.h"
#include "VeskLoopManagement/platform/audiofile/AudioFile.h"
#include "VeskLoopManagement/platform/URL.h"

// A set of container types that a caller admits.
using LCFileTypes = uint32_t;
inline constexpr LCFileTypes kFileTypeAIFF = 1;
inline constexpr LCFileTypes kFileTypeCAF = 2;
inline constexpr LCFileTypes kFileTypeWAV = 4;
inline constexpr LCFileTypes kFileTypeLoopData = 8;
inline constexpr LCFileTypes kFileTypeSoundDesigner2 = 16;
inline constexpr LCFileTypes kFileTypeREX = 32;

// Why there is no parser for a file, for messages to people.
struct LCParserFailure {
  enum class Reason {
    none,         // there is a parser
    unsupported,  // no container that we read, by its extension; folders too
    notAllowed,   // its type is not among the allowed ones
    notFound,
    unreadable,  // the system does not let us read it, or a REX adapter does not
    malformed,   // the contents are no audio container
  };
  Reason reason = Reason::none;
  std::string detail;  // one sentence without the path; may be empty
};

class LC_EXPORT LCFileParser {
 public:
  virtual ~LCFileParser() = default;
  LCFileParser(const LCFileParser&) = delete;
  LCFileParser& operator=(const LCFileParser&) = delete;

  static LCFileTypes defaultAllowedFileTypes();
  // The parser for `url`; null when its extension is unknown, its type is not admitted or the file does not open.
  [[nodiscard]] static std::unique_ptr<LCFileParser> fileParserForURL(const vesk::URL& url);
  [[nodiscard]] static std::unique_ptr<LCFileParser> fileParserForURL(const vesk::URL& url,
                                                                      LCFileTypes allowedFileTypes);
  // The same; `failure` (may be null) then says why there is none.
  [[nodiscard]] static std::unique_ptr<LCFileParser> fileParserForURL(const vesk::URL& url,
                                                                      LCFileTypes allowedFileTypes,
                                                                      LCParserFailure* failure);
  static void setAllowsSDIIFiles(bool allows);  // default no
  static bool allowsSDIIFiles();
  static void setAllowsKeywordExtractionFromPath(bool allows);  // default yes; WAV, SDII and REX hang on it too
  static bool allowsKeywordExtractionFromPath();

  // The record without the bulky payloads; nullptr when there is none (REX without an adapter, undecodable loop
  // metadata). Borrowed: it lives as long as the parser.
  virtual const LCFileData* fileData();
  // The record with MIDI, generated-instrument, event and step-sequencer data.
  virtual const LCFileData* enhancedFileData();
  // The record of the last parse, which the parser gives away with its payloads; nullopt when there is none.
  std::optional<LCFileData> takeFileData() { return std::exchange(m_fileData, std::nullopt); }
  // What the last parse left out or cut because it is larger than any real tag, a sentence each. Who writes such a file
  // must leave the tags concerned as they are.
  const std::vector<std::string>& notes() const { return m_notes; }

 protected:
  // What one chunk tells of the file, apart from the fields that it fills.
  enum class Finding {
    nothing,       // it is not there, or not to be read
    loop,          // it describes a loop
    authored,      // somebody tagged the file
    authoredLoop,  // both
  };

  // A parser that opens no audio file and replaces the steps that need one.
  LCFileParser(const vesk::URL& url, bool isBigEndian);
  LCFileParser(const vesk::URL& url, vesk::AudioFile audioFile, bool isBigEndian);

  // A parser over the file at `url`; null when it does not open, `failure` (may be null) then says why.
  template <typename Parser>
  static std::unique_ptr<Parser> parserOverFile(const vesk::URL& url, bool isBigEndian, LCParserFailure* failure) {
    auto audioFile = openAudioFile(url, failure);
    return audioFile ? std::make_unique<Parser>(url, std::move(*audioFile), isBigEndian) : nullptr;
  }

  void parseEnhanced(bool enhanced);
  // The find steps, in the order in which they run.
  virtual void findMidiChunk();
  virtual void findSearchInfo() {}
  virtual void findLengthAndCalcTempo();
  virtual void findFileInfo();

  void extractGenInstInfoFromData(std::span<const std::byte> data);
  void extractAdditionalLoopDataFromData(std::span<const std::byte> data);
  void extractStepSequencerDataFromData(std::span<const std::byte> data);
  void calcHash();

  void noteCutText() { addNote("a text is longer than 64 KiB and was cut"); }
  // Sets the record's flags; none is ever cleared.
  void note(Finding finding);
  void setFoundAuthoredChunks() { m_fileData->hasAuthoredChunks = true; }
  void setFoundLoopChunks() { m_fileData->hasLoopTypeChunks = true; }

  // The payload of the first chunk `code`, or its first `limit` bytes; nullopt when there is none or it cannot be read.
  std::optional<vesk::Bytes> chunkData(vesk::FourCC code, std::optional<uint64_t> limit = std::nullopt) const;
  // The payload of a chunk that holds an archive. One of more than 16 MiB is noted and stands as empty, which decodes
  // to nil.
  std::optional<vesk::Bytes> archiveData(vesk::FourCC code, size_t index = 0);

  std::optional<LCFileData> m_fileData;        // there whenever a find step runs
  std::optional<vesk::AudioFile> m_audioFile;  // there unless the parser replaces the steps that need it
  bool m_isBigEndian = true;

 private:
  static std::unique_ptr<vesk::AudioFile> openAudioFile(const vesk::URL& url, LCParserFailure* failure);
  void completeKeywordsFromPath();
  void addNote(std::string_view sentence);  // one that is there already is not added again

  std::vector<std::string> m_notes;
};
