#include "VeskLoopManagement/model/LCFileData.h"

#include "model/LCLoudnessTarget.h"
#include "resources/ResourceTables.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"

#include <fmt/format.h>

namespace {

// The id of `first` when it is among the descriptors, else of `second` when that is, else 0.
int64_t descriptorId(const LCFileData& fileData, const char* first, const char* second) {
  if (!fileData.descriptors) return 0;
  for (const char* word : {first, second}) {
    if (fileData.descriptors->contains(word)) return LCKeywordHelper::keywordIdForKeyword(word);
  }
  return 0;
}

std::string shown(const std::optional<std::string>& text) {
  return text.value_or("(null)");
}

}  // namespace

std::optional<vesk::URL> LCFileData::fileURL() const {
  if (!storedFileURL || !isFactoryBundleLoop) return storedFileURL;
  return vesk::URL::fromString(vesk::text::replacingAll(storedFileURL->absoluteString(), ".loopdata", ".caf"));
}

std::optional<std::string> LCFileData::fileName() const {
  const std::optional<vesk::URL> url = fileURL();
  return url ? std::optional(url->lastPathComponent()) : std::nullopt;
}

std::optional<std::string> LCFileData::descriptorsString() const {
  return descriptors ? std::optional(vesk::text::joined(*descriptors, ",")) : std::nullopt;
}

vesk::StringSet LCFileData::allKeywords() const {
  vesk::StringSet keywords;
  for (const auto* tag : {&genreTag, &instrumentTypeTag, &instrumentSubTypeTag}) {
    if (*tag && !(*tag)->empty()) keywords.insert(**tag);
  }
  if (descriptors) keywords.insert(descriptors->begin(), descriptors->end());
  return keywords;
}

bool LCFileData::anySearchTags() const {
  return genreTag || instrumentTypeTag || instrumentSubTypeTag || (descriptors && !descriptors->empty());
}

bool LCFileData::isAuthoredLoop() const {
  return hasAuthoredChunks || anySearchTags();
}

int64_t LCFileData::instrumentTypeId() const {
  return LCKeywordHelper::keywordIdForKeyword(instrumentTypeTag);
}

int64_t LCFileData::instrumentSubTypeId() const {
  return LCKeywordHelper::keywordIdForKeyword(instrumentSubTypeTag);
}

int64_t LCFileData::genreId() const {
  return LCKeywordHelper::keywordIdForKeyword(genreTag);
}

int64_t LCFileData::singleEnsembleKeywordId() const {
  return descriptorId(*this, "Single", "Ensemble");
}

int64_t LCFileData::partFillKeywordId() const {
  return descriptorId(*this, "Part", "Fill");
}

int64_t LCFileData::acousticElectricKeywordId() const {
  return descriptorId(*this, "Acoustic", "Electric");
}

int64_t LCFileData::dryProcessedKeywordId() const {
  return descriptorId(*this, "Dry", "Processed");
}

int64_t LCFileData::cleanDistortedKeywordId() const {
  return descriptorId(*this, "Clean", "Distorted");
}

int64_t LCFileData::cheerfulDarkKeywordId() const {
  return descriptorId(*this, "Cheerful", "Dark");
}

int64_t LCFileData::relaxedIntenseKeywordId() const {
  return descriptorId(*this, "Relaxed", "Intense");
}

int64_t LCFileData::groovingArrhythmicKeywordId() const {
  return descriptorId(*this, "Grooving", "Arrhythmic");
}

int64_t LCFileData::melodicDissonantKeywordId() const {
  return descriptorId(*this, "Melodic", "Dissonant");
}

// A patch with a track stack counts as audio whatever else the loop holds; step-sequencer loops count as MIDI.
LCVireoLoopType LCFileData::ksLoopType() const {
  if (patchInfo == 2) return kLoopTypeAudio;
  return vireoLoopType == kLoopTypeStepSequencer ? kLoopTypeMIDI : vireoLoopType;
}

bool LCFileData::hasPatchWithTrackStack() const {
  if (patchInfo == 2) return true;
  const std::optional<std::string> name = fileName();
  return name && lc::resources::isTrackStackLoopWithMissingInfo(*name);
}

double LCFileData::calculatedTargetIntegratedLoudness() const {
  return LCLoudnessTarget::forFileData(*this);
}

std::string LCFileData::description() const {
  const std::string url = storedFileURL ? storedFileURL->absoluteString() : "(null)";
  const std::string words = descriptors ? "{" + vesk::text::joined(*descriptors, ", ") + "}" : "(null)";
  return fmt::format(
      "\nfileURL: {} \ntempo: {:f}\n beatCount: {}\n midiRootNote: {}\n keyType: {}\n descriptors: {}\n author: {} "
      "copyright: {} comment: {}",
      url, bpm, beatCount, midiRootNote, keyType, words, shown(authorTag), shown(copyrightTag), shown(commentTag));
}
