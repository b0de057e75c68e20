#include "fileio/LCCAFParser.h"

#include "VeskLoopManagement/model/LCTimeSignature.h"

#include <algorithm>

// --- Open ------------------------------------------------------------------------------------------------------------

LCCAFParser::LCCAFParser(const vesk::URL& url, std::unique_ptr<vesk::AudioFile> audioFile, bool isBigEndian)
    : LCFileParser(url, std::move(audioFile), isBigEndian) {}

// --- Find steps ------------------------------------------------------------------------------------------------------

// All chunks are walked: a later one overrides what an earlier one said.
void LCCAFParser::findSearchInfo() {
  bool isAuthored = false;
  bool isLoop = false;
  bool isWebLoop = false;
  const size_t count = m_audioFile->userDataCount(kUUIDChunkCode);
  for (size_t i = 0; i < count; ++i) {
    const Finding finding = readUUIDChunk(i);
    isAuthored |= finding != Finding::nothing;
    isLoop |= finding == Finding::authoredLoop || finding == Finding::webLoop;
    isWebLoop |= finding == Finding::webLoop;
  }
  m_fileData->isWebLoop = isWebLoop;
  if (isAuthored) m_fileData->hasAuthoredChunks = true;
  if (isLoop) m_fileData->hasLoopTypeChunks = true;
}

// --- Payloads --------------------------------------------------------------------------------------------------------

LCCAFParser::Finding LCCAFParser::readUUIDChunk(size_t index) {
  const auto identifier = identifierOfChunk(index);
  if (!identifier) return Finding::nothing;
  if (*identifier == kSearchInfoIdentifier) return readSearchInfo(index);
  if (*identifier == kWebLoopIdentifier) return Finding::webLoop;
  if (*identifier == kGenInstIdentifier) return readGenInstInfo(index);
  if (*identifier == kAdditionalDataIdentifier) return readAdditionalLoopData(index);
  if (*identifier == kStepSequencerIdentifier) return readStepSequencerData(index);
  if (*identifier == kEventSequenceIdentifier) return readEventSequenceData(index);
  if (*identifier == kPatchIdentifier) return notePatch();
  const auto markers = {kMarkerAIdentifier, kMarkerBIdentifier, kMarkerCIdentifier, kMarkerDIdentifier};
  const bool isMarker = std::find(markers.begin(), markers.end(), *identifier) != markers.end();
  return isMarker ? Finding::authoredLoop : Finding::nothing;
}

LCCAFParser::Finding LCCAFParser::readSearchInfo(size_t index) {
  const uint64_t size = m_audioFile->userDataSize(kUUIDChunkCode, index).value_or(0);
  if (size > sizeof(LCChunkIdentifier) + LCSearchInfo::kLargestSize) return Finding::nothing;
  const auto payload = payloadOfChunk(index);
  if (payload) setSearchInfoFromDictionary(LCSearchInfo::decode(*payload));
  return Finding::authoredLoop;
}

LCCAFParser::Finding LCCAFParser::readGenInstInfo(size_t index) {
  const auto payload = payloadOfChunk(index);
  if (!payload) return Finding::nothing;
  extractGenInstInfoFromData(*payload);
  return Finding::authoredLoop;
}

LCCAFParser::Finding LCCAFParser::readAdditionalLoopData(size_t index) {
  const auto payload = payloadOfChunk(index);
  if (!payload) return Finding::nothing;
  extractAdditionalLoopDataFromData(*payload);
  return Finding::authored;
}

// Kept in a plain parse too, unlike in AIFF files.
LCCAFParser::Finding LCCAFParser::readStepSequencerData(size_t index) {
  auto payload = payloadOfChunk(index);
  if (!payload) return Finding::nothing;
  extractStepSequencerDataFromData(*payload);
  m_fileData->stepSequencerData = std::move(*payload);
  return Finding::authoredLoop;
}

LCCAFParser::Finding LCCAFParser::readEventSequenceData(size_t index) {
  if (!m_fileData->enhancedFileDataAvailable) return Finding::nothing;
  auto payload = payloadOfChunk(index);
  if (!payload) return Finding::nothing;
  m_fileData->eventSequenceData = std::move(*payload);
  return Finding::authoredLoop;
}

LCCAFParser::Finding LCCAFParser::notePatch() {
  if (m_fileData->patchInfo <= 0) m_fileData->patchInfo = 1;
  return Finding::authoredLoop;
}

void LCCAFParser::setSearchInfoFromDictionary(const LCSearchInfo& searchInfo) {
  if (searchInfo.entries.empty()) return;
  LCFileData& record = *m_fileData;
  record.instrumentTypeTag = searchInfo.firstItem(kCategoryChunkID);
  record.instrumentSubTypeTag = searchInfo.firstItem(kSubcategoryChunkID);
  record.genreTag = searchInfo.firstItem(kGenreChunkID);
  record.descriptors.emplace();
  const auto descriptors = searchInfo.entries.find(kDescriptorChunkID);
  if (descriptors != searchInfo.entries.end()) {
    record.descriptors->insert(descriptors->second.begin(), descriptors->second.end());
  }

  record.midiRootNote = rootNoteFromKeySignature(searchInfo.firstItem(kKeySignatureChunkID).value_or(""));
  record.keyType = keyTypeFromText(searchInfo.firstItem(kKeyTypeChunkID).value_or(""));
  record.beatCount = vesk::text::integerValue(searchInfo.firstItem(kBeatCountChunkID).value_or(""));
  const auto signature = LCTimeSignature::fromText(searchInfo.firstItem(kTimeSignatureChunkID).value_or(""));
  record.signatureTop = signature.top;
  record.signatureBottom = signature.bottom;
  const bool isLoop = record.beatCount > 0 && record.signatureTop != 0;
  record.fileType = isLoop ? 1 : 2;
}

// --- Helpers ---------------------------------------------------------------------------------------------------------

std::optional<LCChunkIdentifier> LCCAFParser::identifierOfChunk(size_t index) const {
  LCChunkIdentifier identifier{};
  const auto bytes = m_audioFile->userData(kUUIDChunkCode, index, identifier.size());
  if (!bytes || bytes->size() != identifier.size()) return std::nullopt;
  std::copy(bytes->begin(), bytes->end(), identifier.begin());
  return identifier;
}

std::optional<vesk::Bytes> LCCAFParser::payloadOfChunk(size_t index) const {
  auto data = m_audioFile->userData(kUUIDChunkCode, index);
  if (!data || data->size() <= sizeof(LCChunkIdentifier)) return std::nullopt;
  data->erase(data->begin(), data->begin() + sizeof(LCChunkIdentifier));
  return data;
}
