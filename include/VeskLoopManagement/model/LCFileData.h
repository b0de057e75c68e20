// LCFileData: everything known of one loop, filled by one parser, read by the indexer, the writers and the host.
// A plain value: no I/O. A text that may be missing is optional: nullopt (no tag) and "" (an empty tag) are different.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/model/LCMetaInfo.h"
#include "VeskLoopManagement/model/LCVireoLoopType.h"
#include "VeskLoopManagement/platform/PropertyList.h"
#include "VeskLoopManagement/platform/Text.h"
#include "VeskLoopManagement/platform/URL.h"

struct LC_EXPORT LCFileData {
  float bpm = 0.0f;              // beats per minute; -1 when neither the name nor beats and length give one
  float lengthInSeconds = 0.0f;  // frames by sample rate: as the file says, so infinite or NaN where that is 0
  int64_t beatCount = 0;
  int64_t midiRootNote = 0;  // MIDI note number; column "key"
  int64_t keyType = 0;       // 1 minor, 2 major, 3 neither, 4 both, 0 unknown
  int64_t fileType = 0;      // 1 loop, 2 one-shot
  int64_t signatureTop = 0;
  int64_t signatureBottom = 0;
  LCVireoLoopType vireoLoopType = kLoopTypeAudio;
  int64_t frameCount = 0;
  int64_t hash = 0;       // the loop's identity
  int64_t patchInfo = 0;  // 2: a patch with a track stack
  bool isWebLoop = false;
  bool isFactoryBundleLoop = false;  // lives in a factory bundle as ".loopdata"; affects fileURL()
  bool hasAuthoredChunks = false;
  bool hasLoopTypeChunks = false;
  bool enhancedFileDataAvailable = false;  // the bulky fields at the end have been looked for

  std::optional<std::string> themeTag;
  std::optional<std::string> collectionTag;
  std::optional<std::string> commentTag;
  std::optional<std::string> copyrightTag;
  std::optional<std::string> authorTag;
  std::optional<std::string> title;
  std::optional<vesk::StringSet> descriptors;
  std::optional<std::string> instrumentTypeTag;
  std::optional<std::string> instrumentSubTypeTag;
  std::optional<std::string> genreTag;
  std::optional<vesk::URL> storedFileURL;  // fileURL() is what everyone asks
  std::optional<std::string> contentIdentifier;
  std::optional<vesk::Number> iconId;
  std::optional<vesk::Number> preferFileName;
  // A loudness figure that the file does not give is none, and never 0.
  std::optional<double> integratedLoudness;        // LUFS
  std::optional<double> targetIntegratedLoudness;  // LUFS
  std::optional<double> globalMaxTruePeak;         // dBTP
  std::optional<std::vector<LCMetaInfo>> metaInfos;
  std::optional<vesk::Dictionary> taggingDictionary;  // "Taggings" of the additional loop data

  // Enhanced parse only.
  std::optional<vesk::Dictionary> genInstDictionary;
  std::optional<vesk::Bytes> eventSequenceData;
  std::optional<vesk::Bytes> stepSequencerData;
  std::optional<vesk::Bytes> midiData;

  // The stored URL; for a factory-bundle loop every ".loopdata" in its text stands as ".caf".
  std::optional<vesk::URL> fileURL() const;
  std::optional<std::string> fileName() const;           // last path component of fileURL()
  std::optional<std::string> descriptorsString() const;  // joined by ","; nullopt without a set, "" for an empty one
  vesk::StringSet allKeywords() const;  // the three tags where non-empty, and every descriptor (empty ones too)
  bool anySearchTags() const;           // a tag that is there counts, even when empty
  bool isAuthoredLoop() const;

  // Keyword ids through the taxonomy; 0 for none.
  int64_t instrumentTypeId() const;
  int64_t instrumentSubTypeId() const;
  int64_t genreId() const;
  // One per descriptor pair: the id of the first word when present, else of the second, else 0.
  int64_t singleEnsembleKeywordId() const;
  int64_t partFillKeywordId() const;
  int64_t acousticElectricKeywordId() const;
  int64_t dryProcessedKeywordId() const;
  int64_t cleanDistortedKeywordId() const;
  int64_t cheerfulDarkKeywordId() const;
  int64_t relaxedIntenseKeywordId() const;
  int64_t groovingArrhythmicKeywordId() const;
  int64_t melodicDissonantKeywordId() const;

  LCVireoLoopType ksLoopType() const;  // column "ksLoopType"
  bool hasPatchWithTrackStack() const;
  double calculatedTargetIntegratedLoudness() const;  // LUFS; the largest 32-bit float without a URL
  std::string description() const;

  // The record's keyed archive under "root". Bulky fields and the flags about chunks are not part of it.
  vesk::Bytes archived() const;
  // nullopt for anything that is not the archive of a loop record. A frame count comes back as 1 or 0, which is the
  // format.
  static std::optional<LCFileData> unarchived(std::span<const std::byte> archive);

  bool operator==(const LCFileData&) const = default;
};
