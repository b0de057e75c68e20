#include "fileio/LCCAFWriter.h"

#include "fileio/LCSearchInfo.h"
#include "fileio/UUIDChunks.h"
#include "VeskLoopManagement/model/LCTimeSignature.h"

// --- File info -------------------------------------------------------------------------------------------------------

bool LCCAFWriter::writeFileInfo() {
  if (!audioFile().canSetInfo()) return true;
  std::vector<vesk::InfoEdit> texts;
  const auto add = [&](const char* key, const std::optional<std::string>& text) {
    if (text) texts.emplace_back(key, text);
  };
  add("artist", fileData().authorTag);
  add("copyright", fileData().copyrightTag);
  add("comments", fileData().commentTag);
  add("title", fileData().title);
  return logged("info", audioFile().mergeInfo(texts));
}

// --- Search info -----------------------------------------------------------------------------------------------------

namespace {

constexpr int64_t kLoop = 1;

LCSearchInfo searchInfoOf(const LCFileData& record) {
  LCSearchInfo info;
  const auto add = [&](std::string_view key, const std::optional<std::string>& text) {
    if (text) info.entries[std::string(key)] = {*text};
  };
  const auto addTag = [&](std::string_view key, const std::optional<std::string>& text) {
    if (text && !text->empty()) add(key, text);
  };
  if (record.beatCount > 0) add(kBeatCountChunkID, std::to_string(record.beatCount));
  const bool isSigned = record.fileType == kLoop && record.signatureTop > 0 && record.signatureBottom > 0;
  if (isSigned) add(kTimeSignatureChunkID, LCTimeSignature{record.signatureTop, record.signatureBottom}.text());
  if (const auto name = lc::keySignatureFromRootNote(record.midiRootNote)) {
    add(kKeySignatureChunkID, name);
    add(kKeyTypeChunkID, lc::textFromKeyType(record.keyType));
  }
  addTag(kCategoryChunkID, record.instrumentTypeTag);
  addTag(kSubcategoryChunkID, record.instrumentSubTypeTag);
  addTag(kGenreChunkID, record.genreTag);
  add(kDescriptorChunkID, record.descriptorsString());
  return info;
}

}  // namespace

bool LCCAFWriter::writeSearchInfo() {
  const LCSearchInfo info = searchInfoOf(fileData());
  return writeData(info.entries.empty() ? std::nullopt : std::optional(info.encode()), kSearchInfoIdentifier);
}

// --- Payloads --------------------------------------------------------------------------------------------------------

bool LCCAFWriter::writeAdditionalData() {
  return writeData(additionalLoopData(), kAdditionalDataIdentifier);
}

bool LCCAFWriter::writeEnhancedData() {
  const auto write = [this](const std::optional<vesk::Bytes>& data, const LCChunkIdentifier& identifier) {
    return !data || writeData(data, identifier);
  };
  const bool hasSequence = write(fileData().eventSequenceData, kEventSequenceIdentifier);
  const bool hasInstrument = write(genInstData(), kGenInstIdentifier);
  const bool hasSteps = write(fileData().stepSequencerData, kStepSequencerIdentifier);
  const bool hasMIDI = setChunkIfAny(kMidiChunkCode, fileData().midiData);
  return hasSequence && hasInstrument && hasSteps && hasMIDI;
}

// --- Chunks ----------------------------------------------------------------------------------------------------------

std::optional<std::vector<uint32_t>> LCCAFWriter::findIndicesForUUIDChunkID(const LCChunkIdentifier& identifier) {
  return lc::uuidChunks(audioFile(), identifier);
}

// Each removal moves those behind it down by one.
bool LCCAFWriter::removeUUIDChunksUUIDChunkID(const LCChunkIdentifier& identifier) {
  uint32_t removed = 0;
  for (const uint32_t index : findIndicesForUUIDChunkID(identifier).value_or(std::vector<uint32_t>())) {
    if (!logged(kUUIDChunkCode, audioFile().removeUserData(kUUIDChunkCode, index - removed))) return false;
    ++removed;
  }
  return true;
}

bool LCCAFWriter::writeData(const std::optional<vesk::Bytes>& data, const LCChunkIdentifier& forCAFChunk) {
  const bool isRemoved = removeUUIDChunksUUIDChunkID(forCAFChunk);
  if (!data) return isRemoved;
  const size_t end = audioFile().userDataCount(kUUIDChunkCode);
  return logged(kUUIDChunkCode, audioFile().setUserData(kUUIDChunkCode, end, lc::uuidChunk(forCAFChunk, *data)));
}
