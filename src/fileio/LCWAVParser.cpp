#include "fileio/LCWAVParser.h"

#include "fileio/LCAcidChunk.h"
#include "VeskLoopManagement/fileio/LCChunkIDs.h"

// --- Open ------------------------------------------------------------------------------------------------------------

std::unique_ptr<LCWAVParser> LCWAVParser::initWithURL(const vesk::URL& url, bool isBigEndian,
                                                      LCParserFailure* failure) {
  return parserOverFile<LCWAVParser>(url, isBigEndian, failure);
}

LCWAVParser::LCWAVParser(const vesk::URL& url, vesk::AudioFile audioFile, bool isBigEndian)
    : LCFileParser(url, std::move(audioFile), isBigEndian) {}

// --- Find steps ------------------------------------------------------------------------------------------------------

void LCWAVParser::findSearchInfo() {
  m_fileData->signatureTop = 4;
  m_fileData->signatureBottom = 4;
  note(findAcidChunk());
  note(findAdditionalLoopDataChunk());
}

// --- Payloads --------------------------------------------------------------------------------------------------------

// The tempo lasts until the tempo step, which runs later and replaces it.
LCWAVParser::Finding LCWAVParser::findAcidChunk() {
  const auto size = m_audioFile->userDataSize(kAcidChunkCode);
  if (!size || *size != LCAcidChunk::kSize) return Finding::nothing;
  const auto data = chunkData(kAcidChunkCode);
  if (!data) return Finding::nothing;
  const auto acid = LCAcidChunk::decode(*data);
  if (!acid) return Finding::nothing;
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
  return Finding::loop;
}

LCWAVParser::Finding LCWAVParser::findAdditionalLoopDataChunk() {
  const auto data = archiveData(kAdditionalDataChunkCode);
  if (!data) return Finding::nothing;
  extractAdditionalLoopDataFromData(*data);
  return Finding::authored;
}
