// LCWAVWriter writes the additional data of WAV files and nothing else: their "acid" chunk is never changed.
#pragma once

#include "fileio/ChunkWriter.h"

class LCWAVWriter : public lc::ChunkWriter {
 public:
  using lc::ChunkWriter::ChunkWriter;
};
