// LCAIFParser reads AIFF and AIFF-C loops: the binary tagging chunks and the AIFF text chunks.
#pragma once

#include "VeskLoopManagement/fileio/LCFileParser.h"

#include <memory>
#include <optional>
#include <string>

class LCAIFParser : public LCFileParser {
 public:
  // Null when the file does not open; `failure` (may be null) then says why.
  [[nodiscard]] static std::unique_ptr<LCAIFParser> initWithURL(const vesk::URL& url, bool isBigEndian,
                                                                LCParserFailure* failure = nullptr);
  // Over a file that is open already, such as bytes in memory; `url` says where keywords and name come from.
  LCAIFParser(const vesk::URL& url, vesk::AudioFile audioFile, bool isBigEndian);

  // The chunk's bytes as text, nothing taken off but, as a note says, what is behind 64 KiB; nullopt when it is absent,
  // empty, unreadable or no UTF-8.
  std::optional<std::string> stringForChunk(vesk::FourCC code);
  // The first comment, without white space at its ends; nullopt when there is none.
  std::optional<std::string> stringForCommentsChunk() const;

 protected:
  void findSearchInfo() override;
  void findFileInfo() override;

 private:
  // A step for each chunk.
  Finding findBasicTaggingChunk();
  Finding findCategoryChunk();
  Finding findCollectionChunk();
  Finding findGenInstChunk();
  Finding findEventSequenceChunk();
  Finding findAdditionalDataChunk();
  Finding findStepSequencerChunk();
  Finding findPatchChunk();
};
