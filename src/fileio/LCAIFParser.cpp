#include "fileio/LCAIFParser.h"

#include "fileio/LCBasicTaggingChunk.h"
#include "fileio/LCCategoryChunk.h"
#include "fileio/LCChunkBytes.h"
#include "fileio/LCCollectionChunk.h"
#include "fileio/LCCommentsChunk.h"
#include "VeskLoopManagement/fileio/LCChunkIDs.h"

// --- Open ------------------------------------------------------------------------------------------------------------

LCAIFParser::LCAIFParser(const vesk::URL& url, std::unique_ptr<vesk::AudioFile> audioFile, bool isBigEndian)
    : LCFileParser(url, std::move(audioFile), isBigEndian) {}

// --- Find steps ------------------------------------------------------------------------------------------------------

// The order is fixed here and not by the file: a later chunk overrides what an earlier one said, such as the loop type.
void LCAIFParser::findSearchInfo() {
  bool isLoop = findBasicTaggingChunk();
  isLoop |= findCategoryChunk();
  isLoop |= findCollectionChunk();
  isLoop |= findGenInstChunk();
  isLoop |= findEventSequenceChunk();
  bool isAuthored = findAdditionalDataChunk();
  isLoop |= findStepSequencerChunk();
  isLoop |= findPatchChunk();
  isAuthored |= isLoop;

  if (isAuthored) m_fileData->hasAuthoredChunks = true;
  if (isLoop) m_fileData->hasLoopTypeChunks = true;
}

void LCAIFParser::findFileInfo() {
  m_fileData->authorTag = stringForChunk(kAuthorChunkCode);
  m_fileData->copyrightTag = stringForChunk(kCopyrightChunkCode);
  m_fileData->title = stringForChunk(kNameChunkCode);
  m_fileData->commentTag = stringForCommentsChunk();
}

// --- Payloads --------------------------------------------------------------------------------------------------------

bool LCAIFParser::findBasicTaggingChunk() {
  const auto size = m_audioFile->userDataSize(kBasicTaggingChunkCode);
  if (!size || !LCBasicTaggingChunk::admitsSize(*size)) return false;
  const auto data = chunkData(kBasicTaggingChunkCode, LCBasicTaggingChunk::kSize);
  if (!data) return false;
  const auto basic = LCBasicTaggingChunk::decode(*data);
  if (!basic) return false;
  m_fileData->beatCount = basic->beatCount;
  m_fileData->midiRootNote = basic->midiRootNote;
  m_fileData->keyType = basic->keyType;
  m_fileData->signatureTop = basic->signatureTop;
  m_fileData->signatureBottom = basic->signatureBottom;
  m_fileData->fileType = basic->fileType;
  return true;
}

bool LCAIFParser::findCategoryChunk() {
  const auto data = chunkData(kCategoryChunkCode, LCCategoryChunk::kLargestSize);
  if (!data) return false;
  auto category = LCCategoryChunk::decode(*data);
  if (!category) return false;
  if (!category->hasKnownVersion()) return true;
  m_fileData->instrumentSubTypeTag = std::move(category->instrumentSubType);
  m_fileData->instrumentTypeTag = std::move(category->instrumentType);
  m_fileData->genreTag = std::move(category->genre);
  if (category->version == 2) {
    m_fileData->collectionTag = std::move(category->collection);
    m_fileData->themeTag = std::move(category->theme);
  }
  m_fileData->descriptors = std::move(category->descriptors);
  return true;
}

bool LCAIFParser::findCollectionChunk() {
  const auto data = chunkData(kCollectionChunkCode, LCCollectionChunk::kSize);
  if (!data) return false;
  auto collection = LCCollectionChunk::decode(*data);
  if (!collection) return false;
  if (!collection->hasKnownVersion()) return true;
  m_fileData->collectionTag = std::move(collection->collection);
  m_fileData->themeTag = std::move(collection->theme);
  return true;
}

bool LCAIFParser::findGenInstChunk() {
  const auto data = chunkData(kGenInstChunkCode);
  if (!data) return false;
  extractGenInstInfoFromData(*data);
  return true;
}

bool LCAIFParser::findEventSequenceChunk() {
  if (!m_fileData->enhancedFileDataAvailable) return false;
  auto data = chunkData(kEventSequenceChunkCode);
  if (!data) return false;
  m_fileData->eventSequenceData = std::move(*data);
  return true;
}

bool LCAIFParser::findAdditionalDataChunk() {
  const auto data = chunkData(kAdditionalDataChunkCode);
  if (!data) return false;
  extractAdditionalLoopDataFromData(*data);
  return true;
}

// A plain parse only needs to know whether there is anything in it.
bool LCAIFParser::findStepSequencerChunk() {
  const bool keepsData = m_fileData->enhancedFileDataAvailable;
  auto data = keepsData ? chunkData(kStepSequencerChunkCode) : chunkData(kStepSequencerChunkCode, 1);
  if (!data) return false;
  extractStepSequencerDataFromData(*data);
  if (keepsData) m_fileData->stepSequencerData = std::move(*data);
  return true;
}

bool LCAIFParser::findPatchChunk() {
  if (!m_audioFile->userDataSize(kPatchChunkCode)) return false;
  if (m_fileData->patchInfo < 1) m_fileData->patchInfo = 1;
  return true;
}

// --- Helpers ---------------------------------------------------------------------------------------------------------

std::optional<std::string> LCAIFParser::stringForChunk(vesk::FourCC code) const {
  const auto data = chunkData(code);
  if (!data || data->empty()) return std::nullopt;
  return lc::chunk::utf8Text(*data);
}

std::optional<std::string> LCAIFParser::stringForCommentsChunk() const {
  const auto data = chunkData(kCommentsChunkCode, LCCommentsChunk::kLargestSize);
  if (!data) return std::nullopt;
  auto comments = LCCommentsChunk::decode(*data);
  if (!comments) return std::nullopt;
  return std::move(comments->text);
}
