// LCAIFWriter writes the tagging chunks and texts of AIFF files, each as the first chunk with its code. No tagging
// chunk is ever removed: a record with fewer tags leaves older chunks of other codes in place.
#pragma once

#include "fileio/ChunkWriter.h"

class LCAIFWriter : public lc::ChunkWriter {
 public:
  using lc::ChunkWriter::ChunkWriter;

  bool writeFileInfo() override;
  bool writeSearchInfo() override;
  bool writeEnhancedData() override;

  // The whole chunk; without a text the chunk is removed, and one that is not there counts as removed.
  bool writeString(const std::optional<std::string>& string, vesk::FourCC forChunk);
  // One comment; without a text the chunk is removed, and one that is not there counts as failure.
  bool writeCommentString(const std::optional<std::string>& comment);
};
