#include "fileio/LCAIFWriter.h"

#include "fileio/LCBasicTaggingChunk.h"
#include "fileio/LCCategoryChunk.h"
#include "fileio/LCCollectionChunk.h"
#include "fileio/LCCommentsChunk.h"
#include "platform/audiofile/AudioFileEdit.h"
#include "VeskLoopManagement/fileio/LCChunkIDs.h"

// --- File info -------------------------------------------------------------------------------------------------------

bool LCAIFWriter::writeFileInfo() {
  const bool hasAuthor = writeString(fileData().authorTag, kAuthorChunkCode);
  const bool hasCopyright = writeString(fileData().copyrightTag, kCopyrightChunkCode);
  const bool hasComment = writeCommentString(fileData().commentTag);
  const bool hasTitle = writeString(fileData().title, kNameChunkCode);
  return hasAuthor && hasCopyright && hasComment && hasTitle;
}

bool LCAIFWriter::writeString(const std::optional<std::string>& string, vesk::FourCC forChunk) {
  if (string && !string->empty()) return setChunk(forChunk, std::as_bytes(std::span(*string)));
  const auto error = audioFile().removeUserData(forChunk);
  return error == vesk::EditError::chunkNotFound || logged(forChunk, error);
}

// Lengths are counted in 16 bits: a comment whose length they cannot tell from 0 counts as empty.
bool LCAIFWriter::writeCommentString(const std::optional<std::string>& comment) {
  const bool hasText = comment && static_cast<uint16_t>(vesk::text::utf16Length(*comment)) != 0;
  if (hasText) return setChunk(kCommentsChunkCode, LCCommentsChunk{.text = *comment}.encode());
  const auto error = audioFile().removeUserData(kCommentsChunkCode);
  const bool isMissing = error == vesk::EditError::chunkNotFound;  // nothing that anybody needs to read
  return isMissing ? false : logged(kCommentsChunkCode, error);
}

// --- Search info -----------------------------------------------------------------------------------------------------

bool LCAIFWriter::writeSearchInfo() {
  const LCFileData& record = fileData();
  if (record.vireoLoopType == kLoopTypeNone) return true;
  const LCBasicTaggingChunk basic{.beatCount = static_cast<int32_t>(record.beatCount),
                                  .midiRootNote = static_cast<int16_t>(record.midiRootNote),
                                  .keyType = static_cast<int16_t>(record.keyType),
                                  .signatureTop = static_cast<int16_t>(record.signatureTop),
                                  .signatureBottom = static_cast<int16_t>(record.signatureBottom),
                                  .fileType = static_cast<int16_t>(record.fileType)};
  if (!setChunk(kBasicTaggingChunkCode, basic.encode())) return false;

  LCCategoryChunk category;
  category.instrumentType = record.instrumentTypeTag;
  category.instrumentSubType = record.instrumentSubTypeTag;
  category.genre = record.genreTag;
  category.descriptors = record.descriptors.value_or(vesk::StringSet());
  if (!setChunk(kCategoryChunkCode, category.encode())) return false;

  const bool hasCollection = !record.themeTag.value_or("").empty() || !record.collectionTag.value_or("").empty();
  if (!hasCollection) return true;
  LCCollectionChunk collection;
  collection.collection = record.collectionTag;
  collection.theme = record.themeTag;
  return setChunk(kCollectionChunkCode, collection.encode());
}

// --- Enhanced data ---------------------------------------------------------------------------------------------------

bool LCAIFWriter::writeEnhancedData() {
  const bool hasSequence = setChunkIfAny(kEventSequenceChunkCode, fileData().eventSequenceData);
  const bool hasInstrument = setChunkIfAny(kGenInstChunkCode, genInstData());
  const bool hasSteps = setChunkIfAny(kStepSequencerChunkCode, fileData().stepSequencerData);
  const bool hasMIDI = setChunkIfAny(kDotMidChunkCode, fileData().midiData);
  return hasSequence && hasInstrument && hasSteps && hasMIDI;
}
