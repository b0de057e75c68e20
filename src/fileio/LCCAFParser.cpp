#include "fileio/LCCAFParser.h"

#include "VeskLoopManagement/model/LCTimeSignature.h"

#include <algorithm>

// --- Open ------------------------------------------------------------------------------------------------------------

std::unique_ptr<LCCAFParser> LCCAFParser::initWithURL(const vesk::URL& url, bool isBigEndian,
                                                      LCParserFailure* failure) {
  return parserOverFile<LCCAFParser>(url, isBigEndian, failure);
}

LCCAFParser::LCCAFParser(const vesk::URL& url, vesk::AudioFile audioFile, bool isBigEndian)
    : LCFileParser(url, std::move(audioFile), isBigEndian) {}

// --- Find steps ------------------------------------------------------------------------------------------------------

// All chunks are walked: a later one overrides what an earlier one said.
void LCCAFParser::findSearchInfo() {
  m_fileData->isWebLoop = false;
  const size_t count = m_audioFile->userDataCount(kUUIDChunkCode);
  for (size_t i = 0; i < count; ++i) note(findUUIDChunk(i));
}

// --- Payloads --------------------------------------------------------------------------------------------------------

LCCAFParser::Finding LCCAFParser::findUUIDChunk(size_t index) {
  const auto identifier = identifierOfChunk(index);
  if (!identifier) return Finding::nothing;
  if (*identifier == kSearchInfoIdentifier) return findSearchInfoChunk(index);
  if (*identifier == kWebLoopIdentifier) return findWebLoopChunk();
  if (*identifier == kGenInstIdentifier) return findGenInstChunk(index);
  if (*identifier == kAdditionalDataIdentifier) return findAdditionalDataChunk(index);
  if (*identifier == kStepSequencerIdentifier) return findStepSequencerChunk(index);
  if (*identifier == kEventSequenceIdentifier) return findEventSequenceChunk(index);
  if (*identifier == kPatchIdentifier) return findPatchChunk();
  const auto markers = {kMarkerAIdentifier, kMarkerBIdentifier, kMarkerCIdentifier, kMarkerDIdentifier};
  const bool isMarker = std::find(markers.begin(), markers.end(), *identifier) != markers.end();
  return isMarker ? Finding::authoredLoop : Finding::nothing;
}

LCCAFParser::Finding LCCAFParser::findSearchInfoChunk(size_t index) {
  const uint64_t size = m_audioFile->userDataSize(kUUIDChunkCode, index).value_or(0);
  if (size > sizeof(LCChunkIdentifier) + LCSearchInfo::kLargestSize) return Finding::nothing;
  if (const auto chunk = m_audioFile->userData(kUUIDChunkCode, index)) extractSearchInfoFromData(*chunk);
  return Finding::authoredLoop;
}

LCCAFParser::Finding LCCAFParser::findWebLoopChunk() {
  m_fileData->isWebLoop = true;
  return Finding::authoredLoop;
}

LCCAFParser::Finding LCCAFParser::findGenInstChunk(size_t index) {
  const auto archive = archiveOfChunk(index);
  if (!archive) return Finding::nothing;
  extractGenInstInfoFromData(*archive);
  return Finding::authoredLoop;
}

LCCAFParser::Finding LCCAFParser::findAdditionalDataChunk(size_t index) {
  const auto archive = archiveOfChunk(index);
  if (!archive) return Finding::nothing;
  extractAdditionalLoopDataFromData(*archive);
  return Finding::authored;
}

// Kept in a plain parse too, unlike in AIFF files.
LCCAFParser::Finding LCCAFParser::findStepSequencerChunk(size_t index) {
  auto payload = payloadOfChunk(index);
  if (!payload) return Finding::nothing;
  extractStepSequencerDataFromData(*payload);
  m_fileData->stepSequencerData = std::move(*payload);
  return Finding::authoredLoop;
}

LCCAFParser::Finding LCCAFParser::findEventSequenceChunk(size_t index) {
  if (!m_fileData->enhancedFileDataAvailable) return Finding::nothing;
  auto payload = payloadOfChunk(index);
  if (!payload) return Finding::nothing;
  m_fileData->eventSequenceData = std::move(*payload);
  return Finding::authoredLoop;
}

LCCAFParser::Finding LCCAFParser::findPatchChunk() {
  if (m_fileData->patchInfo <= 0) m_fileData->patchInfo = 1;
  return Finding::authoredLoop;
}

void LCCAFParser::extractSearchInfoFromData(std::span<const std::byte> chunk) {
  if (chunk.size() < sizeof(LCChunkIdentifier)) return;
  setSearchInfoFromDictionary(LCSearchInfo::decode(chunk.subspan(sizeof(LCChunkIdentifier))));
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

  record.midiRootNote = lc::rootNoteFromKeySignature(searchInfo.firstItem(kKeySignatureChunkID).value_or(""));
  record.keyType = lc::keyTypeFromText(searchInfo.firstItem(kKeyTypeChunkID).value_or(""));
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

namespace {

// Of a chunk that was not read, nothing.
std::optional<vesk::Bytes> withoutIdentifier(std::optional<vesk::Bytes> chunk) {
  if (!chunk || chunk->size() <= sizeof(LCChunkIdentifier)) return std::nullopt;
  chunk->erase(chunk->begin(), chunk->begin() + sizeof(LCChunkIdentifier));
  return chunk;
}

}  // namespace

std::optional<vesk::Bytes> LCCAFParser::payloadOfChunk(size_t index) const {
  return withoutIdentifier(m_audioFile->userData(kUUIDChunkCode, index));
}

std::optional<vesk::Bytes> LCCAFParser::archiveOfChunk(size_t index) {
  auto chunk = archiveData(kUUIDChunkCode, index);
  const bool wasTooLarge = chunk && chunk->empty();
  return wasTooLarge ? chunk : withoutIdentifier(std::move(chunk));
}
