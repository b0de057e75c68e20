#include "model/LCLoudnessTarget.h"

#include "resources/ResourceTables.h"
#include "VeskLoopManagement/model/LCFileData.h"

#include <algorithm>
#include <limits>

namespace {

bool isTopper(const LCFileData& fileData, const std::string& fileName) {
  if (lc::resources::topperFilenames().contains(fileName)) return true;
  if (!fileData.metaInfos) return false;
  return std::any_of(fileData.metaInfos->begin(), fileData.metaInfos->end(), [](const LCMetaInfo& info) {
    return info.type == LCMetaInfo::kWeightedInstrumentKeyword && info.stringValue == "Topper";
  });
}

}  // namespace

double LCLoudnessTarget::forInstrument(const std::optional<std::string>& instrument,
                                       const std::optional<std::string>& subInstrument, bool isTopper) {
  if (isTopper) return -26.0;
  if (subInstrument == "Drum Kit" || subInstrument == "Electronic Beats") return -18.0;
  if (subInstrument == "Kick") return -18.0;
  if (instrument == "Bass") return -20.0;
  if (instrument == "Percussion") return -26.0;
  if (instrument == "Texture/Atmosphere") return -26.0;
  if (subInstrument == "Hi-hat") return -26.0;
  return -22.0;
}

double LCLoudnessTarget::forFileData(const LCFileData& fileData) {
  const std::optional<std::string> fileName = fileData.fileName();
  if (!fileName) return std::numeric_limits<float>::max();
  return forInstrument(fileData.instrumentTypeTag, fileData.instrumentSubTypeTag, isTopper(fileData, *fileName));
}
