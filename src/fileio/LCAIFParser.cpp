#include "fileio/LCAIFParser.h"

#include "fileio/ChunkText.h"
#include "fileio/LCBasicTaggingChunk.h"
#include "fileio/LCCategoryChunk.h"
#include "fileio/LCCollectionChunk.h"
#include "fileio/LCCommentsChunk.h"
#include "VeskLoopManagement/fileio/LCChunkIDs.h"

// --- Open ------------------------------------------------------------------------------------------------------------

std::unique_ptr<LCAIFParser> LCAIFParser::initWithURL(const vesk::URL& url, bool isBigEndian,
                                                      LCParserFailure* failure) {
  return parserOverFile<LCAIFParser>(url, isBigEndian, failure);
}

LCAIFParser::LCAIFParser(const vesk::URL& url, vesk::AudioFile audioFile, bool isBigEndian)
    : LCFileParser(url, std::move(audioFile), isBigEndian) {}

// --- Find steps ------------------------------------------------------------------------------------------------------

// The order is fixed here and not by the file: a later chunk overrides what an earlier one said, such as the loop type.
void LCAIFParser::findSearchInfo() {
  note(findBasicTaggingChunk());
  note(findCategoryChunk());
  note(findCollectionChunk());
  note(findGenInstChunk());
  note(findEventSequenceChunk());
  note(findAdditionalDataChunk());
  note(findStepSequencerChunk());
  note(findPatchChunk());
}

void LCAIFParser::findFileInfo() {
  m_fileData->authorTag = stringForChunk(kAuthorChunkCode);
  m_fileData->copyrightTag = stringForChunk(kCopyrightChunkCode);
  m_fileData->title = stringForChunk(kNameChunkCode);
  m_fileData->commentTag = stringForCommentsChunk();
}

// --- Payloads --------------------------------------------------------------------------------------------------------

LCAIFParser::Finding LCAIFParser::findBasicTaggingChunk() {
  const auto size = m_audioFile->userDataSize(kBasicTaggingChunkCode);
  if (!size || !LCBasicTaggingChunk::admitsSize(*size)) return Finding::nothing;
  const auto data = chunkData(kBasicTaggingChunkCode, LCBasicTaggingChunk::kSize);
  if (!data) return Finding::nothing;
  const auto basic = LCBasicTaggingChunk::decode(*data);
  if (!basic) return Finding::nothing;
  m_fileData->beatCount = basic->beatCount;
  m_fileData->midiRootNote = basic->midiRootNote;
  m_fileData->keyType = basic->keyType;
  m_fileData->signatureTop = basic->signatureTop;
  m_fileData->signatureBottom = basic->signatureBottom;
  m_fileData->fileType = basic->fileType;
  return Finding::authoredLoop;
}

LCAIFParser::Finding LCAIFParser::findCategoryChunk() {
  const auto data = chunkData(kCategoryChunkCode, LCCategoryChunk::kLargestSize);
  if (!data) return Finding::nothing;
  auto category = LCCategoryChunk::decode(*data);
  if (!category) return Finding::nothing;
  if (!category->hasKnownVersion()) return Finding::authoredLoop;
  m_fileData->instrumentSubTypeTag = std::move(category->instrumentSubType);
  m_fileData->instrumentTypeTag = std::move(category->instrumentType);
  m_fileData->genreTag = std::move(category->genre);
  if (category->version == 2) {
    m_fileData->collectionTag = std::move(category->collection);
    m_fileData->themeTag = std::move(category->theme);
  }
  m_fileData->descriptors = std::move(category->descriptors);
  return Finding::authoredLoop;
}

LCAIFParser::Finding LCAIFParser::findCollectionChunk() {
  const auto data = chunkData(kCollectionChunkCode, LCCollectionChunk::kSize);
  if (!data) return Finding::nothing;
  auto collection = LCCollectionChunk::decode(*data);
  if (!collection) return Finding::nothing;
  if (!collection->hasKnownVersion()) return Finding::authoredLoop;
  m_fileData->collectionTag = std::move(collection->collection);
  m_fileData->themeTag = std::move(collection->theme);
  return Finding::authoredLoop;
}

LCAIFParser::Finding LCAIFParser::findGenInstChunk() {
  const auto data = archiveData(kGenInstChunkCode);
  if (!data) return Finding::nothing;
  extractGenInstInfoFromData(*data);
  return Finding::authoredLoop;
}

LCAIFParser::Finding LCAIFParser::findEventSequenceChunk() {
  if (!m_fileData->enhancedFileDataAvailable) return Finding::nothing;
  auto data = chunkData(kEventSequenceChunkCode);
  if (!data) return Finding::nothing;
  m_fileData->eventSequenceData = std::move(*data);
  return Finding::authoredLoop;
}

LCAIFParser::Finding LCAIFParser::findAdditionalDataChunk() {
  const auto data = archiveData(kAdditionalDataChunkCode);
  if (!data) return Finding::nothing;
  extractAdditionalLoopDataFromData(*data);
  return Finding::authored;
}

// A plain parse only needs to know whether there is anything in it.
LCAIFParser::Finding LCAIFParser::findStepSequencerChunk() {
  const bool keepsData = m_fileData->enhancedFileDataAvailable;
  auto data = keepsData ? chunkData(kStepSequencerChunkCode) : chunkData(kStepSequencerChunkCode, 1);
  if (!data) return Finding::nothing;
  extractStepSequencerDataFromData(*data);
  if (keepsData) m_fileData->stepSequencerData = std::move(*data);
  return Finding::authoredLoop;
}

LCAIFParser::Finding LCAIFParser::findPatchChunk() {
  if (!m_audioFile->userDataSize(kPatchChunkCode)) return Finding::nothing;
  if (m_fileData->patchInfo < 1) m_fileData->patchInfo = 1;
  return Finding::authoredLoop;
}

// --- Helpers ---------------------------------------------------------------------------------------------------------

std::optional<std::string> LCAIFParser::stringForChunk(vesk::FourCC code) {
  const auto data = chunkData(code, vesk::kMaximumTextSize + 1);
  if (!data || data->empty()) return std::nullopt;
  const std::string_view kept = vesk::text::cut(lc::characters(*data), vesk::kMaximumTextSize);
  if (kept.size() < data->size()) noteCutText();
  return lc::utf8Text(std::as_bytes(std::span(kept)));
}

std::optional<std::string> LCAIFParser::stringForCommentsChunk() const {
  const auto data = chunkData(kCommentsChunkCode, LCCommentsChunk::kLargestSize);
  if (!data) return std::nullopt;
  auto comments = LCCommentsChunk::decode(*data);
  if (!comments) return std::nullopt;
  return std::move(comments->text);
}
