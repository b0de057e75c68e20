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

// The places of "uuid" chunks in the file stay: those behind the one that goes move up, and the new one takes the last.
bool LCCAFWriter::writeData(const std::optional<vesk::Bytes>& data, const LCChunkIdentifier& forCAFChunk) {
  const auto indices = findIndicesForUUIDChunkID(forCAFChunk);
  if (!data || !indices) return removeUUIDChunksUUIDChunkID(forCAFChunk) && (!data || appendData(*data, forCAFChunk));
  for (size_t place = indices->size(); place-- > 1;) {
    if (!logged(kUUIDChunkCode, audioFile().removeUserData(kUUIDChunkCode, (*indices)[place]))) return false;
  }
  const size_t last = audioFile().userDataCount(kUUIDChunkCode) - 1;
  for (size_t place = indices->front(); place < last; ++place) {
    const auto next = audioFile().userData(kUUIDChunkCode, place + 1);
    if (!next || !setUUIDChunk(place, *next)) return false;
  }
  return setUUIDChunk(last, lc::uuidChunk(forCAFChunk, *data));
}

bool LCCAFWriter::appendData(std::span<const std::byte> data, const LCChunkIdentifier& identifier) {
  return setUUIDChunk(audioFile().userDataCount(kUUIDChunkCode), lc::uuidChunk(identifier, data));
}

bool LCCAFWriter::setUUIDChunk(size_t index, std::span<const std::byte> chunk) {
  return logged(kUUIDChunkCode, audioFile().setUserData(kUUIDChunkCode, index, chunk));
}
