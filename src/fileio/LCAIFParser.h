// LCAIFParser reads AIFF and AIFF-C loops: the binary tagging chunks and the AIFF text chunks.
#pragma once

#include "VeskLoopManagement/fileio/LCFileParser.h"

#include <memory>
#include <optional>
#include <string>

class LCAIFParser : public LCFileParser {
 public:
  LCAIFParser(const vesk::URL& url, std::unique_ptr<vesk::AudioFile> audioFile, bool isBigEndian);

  // The chunk's bytes as text, nothing taken off; nullopt when it is absent, empty, unreadable or no UTF-8.
  std::optional<std::string> stringForChunk(vesk::FourCC code) const;
  // The first comment, without white space at its ends; nullopt when there is none.
  std::optional<std::string> stringForCommentsChunk() const;

 protected:
  void findSearchInfo() override;
  void findFileInfo() override;

 private:
  // Each answers whether the chunk is there, which is what makes the file a tagged loop.
  bool findBasicTaggingChunk();
  bool findCategoryChunk();
  bool findCollectionChunk();
  bool findGenInstChunk();
  bool findEventSequenceChunk();
  bool findAdditionalDataChunk();
  bool findStepSequencerChunk();
  bool findPatchChunk();
};
