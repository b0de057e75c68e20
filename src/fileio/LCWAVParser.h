// LCWAVParser reads WAV loops (RF64, BW64 and RIFX too): the "acid" chunk and the additional loop data.
#pragma once

#include "VeskLoopManagement/fileio/LCFileParser.h"

#include <memory>

class LCWAVParser : public LCFileParser {
 public:
  // Null when the file does not open; `failure` (may be null) then says why.
  [[nodiscard]] static std::unique_ptr<LCWAVParser> initWithURL(const vesk::URL& url, bool isBigEndian,
                                                                LCParserFailure* failure = nullptr);
  // Over a file that is open already, such as bytes in memory; `url` says where keywords and name come from.
  LCWAVParser(const vesk::URL& url, vesk::AudioFile audioFile, bool isBigEndian);

 protected:
  void findSearchInfo() override;

 private:
  // A step for each chunk.
  Finding findAcidChunk();
  Finding findAdditionalLoopDataChunk();
};
