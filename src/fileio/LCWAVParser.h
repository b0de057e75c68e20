// LCWAVParser reads WAV loops (RF64, BW64 and RIFX too): the "acid" chunk and the additional loop data.
#pragma once

#include "VeskLoopManagement/fileio/LCFileParser.h"

#include <memory>

class LCWAVParser : public LCFileParser {
 public:
  LCWAVParser(const vesk::URL& url, std::unique_ptr<vesk::AudioFile> audioFile, bool isBigEndian);

 protected:
  void findSearchInfo() override;

 private:
  void findAcidChunk();
  void findAdditionalLoopDataChunk();
  void setFoundAuthoredChunks() { m_fileData->hasAuthoredChunks = true; }
  void setFoundLoopChunks() { m_fileData->hasLoopTypeChunks = true; }
};
