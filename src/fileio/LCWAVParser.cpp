#include "fileio/LCWAVParser.h"

#include "fileio/LCAcidChunk.h"
#include "VeskLoopManagement/fileio/LCChunkIDs.h"

// --- Open ------------------------------------------------------------------------------------------------------------

LCWAVParser::LCWAVParser(const vesk::URL& url, std::unique_ptr<vesk::AudioFile> audioFile, bool isBigEndian)
    : LCFileParser(url, std::move(audioFile), isBigEndian) {}

// --- Find steps ------------------------------------------------------------------------------------------------------

void LCWAVParser::findSearchInfo() {
  m_fileData->signatureTop = 4;
  m_fileData->signatureBottom = 4;
  findAcidChunk();
  findAdditionalLoopDataChunk();
}

// --- Payloads --------------------------------------------------------------------------------------------------------

// The tempo lasts until the tempo step, which runs later and replaces it.
void LCWAVParser::findAcidChunk() {
  const auto size = m_audioFile->userDataSize(kAcidChunkCode);
  if (!size || *size != LCAcidChunk::kSize) return;
  const auto data = chunkData(kAcidChunkCode);
  if (!data) return;
  const auto acid = LCAcidChunk::decode(*data);
  if (!acid) return;
  constexpr int64_t kLoop = 1;
  constexpr int64_t kOneShot = 2;
  constexpr int64_t kNeitherMajorNorMinor = 3;  // the chunk knows no scale
  m_fileData->fileType = acid->isOneShot ? kOneShot : kLoop;
  m_fileData->midiRootNote = acid->midiRootNote;
  m_fileData->keyType = kNeitherMajorNorMinor;
  m_fileData->beatCount = acid->beatCount;
  m_fileData->signatureTop = acid->signatureTop;
  m_fileData->signatureBottom = acid->signatureBottom;
  m_fileData->bpm = acid->tempo;
  setFoundLoopChunks();
}

void LCWAVParser::findAdditionalLoopDataChunk() {
  const auto data = chunkData(kAdditionalDataChunkCode);
  if (!data) return;
  extractAdditionalLoopDataFromData(*data);
  setFoundAuthoredChunks();
}
