#include "VeskLoopManagement/loudness/LCLoopLoudnessInfo.h"

#include "fileio/LCCategoryChunk.h"
#include "model/LCLoudnessTarget.h"
#include "platform/KeyedArchive.h"
#include "resources/ResourceTables.h"

#include <algorithm>
#include <array>

namespace {

constexpr const char* kClassName = "LCLoopLoudnessInfo";
constexpr const char* kRootKey = "root";
constexpr const char* kIntegratedLoudnessKey = "integratedLoudnessV1";
constexpr const char* kGlobalMaxTruePeakKey = "globalMaxTruePeakV1";
constexpr const char* kTargetIntegratedLoudnessKey = "targetIntegratedLoudnessV1";

// A value beyond the range of 32-bit floats takes the range's end, which is the mark for "none".
double narrowed(double value) {
  return static_cast<double>(
      static_cast<float>(std::clamp(value, -LCLoopLoudnessInfo::kNone, LCLoopLoudnessInfo::kNone)));
}

bool isLoudnessInfo(const vesk::ArchivedObject& object) {
  return std::find(object.classNames.begin(), object.classNames.end(), kClassName) != object.classNames.end() ||
         object.fields.contains(kIntegratedLoudnessKey);
}

double archivedNumber(const vesk::ArchivedObject& object, const char* key) {
  const vesk::Value value = vesk::valueForKey(&object.fields, key);
  return value.number() ? narrowed(value.number()->doubleValue()) : 0.0;
}

}  // namespace

const vesk::StringSet& LCLoopLoudnessInfo::topperFilenames() {
  return lc::resources::topperFilenames();
}

double LCLoopLoudnessInfo::targetIntegratedLoudnessForFileData(const LCFileData& fileData) {
  return LCLoudnessTarget::forFileData(fileData);
}

double LCLoopLoudnessInfo::targetIntegratedLoudnessForCategoryChunk(std::span<const std::byte> categoryChunk,
                                                                    bool isTopper) {
  const auto instrument = LCCategoryChunk::decodeInstrument(categoryChunk);
  return targetIntegratedLoudnessForInstrument(instrument.type, instrument.subType, isTopper);
}

double LCLoopLoudnessInfo::targetIntegratedLoudnessForInstrument(const std::optional<std::string>& instrument,
                                                                 const std::optional<std::string>& subInstrument,
                                                                 bool isTopper) {
  return LCLoudnessTarget::forInstrument(instrument, subInstrument, isTopper);
}

vesk::Bytes LCLoopLoudnessInfo::archived() const {
  vesk::ArchivedObject object{{kClassName, "NSObject"},
                              {{kIntegratedLoudnessKey, narrowed(integratedLoudness)},
                               {kGlobalMaxTruePeakKey, narrowed(globalMaxTruePeak)},
                               {kTargetIntegratedLoudnessKey, narrowed(targetIntegratedLoudness)}}};
  const std::array<vesk::InlineFields, 1> inlineFields = {
      {{kClassName, {kIntegratedLoudnessKey, kGlobalMaxTruePeakKey, kTargetIntegratedLoudnessKey}}}};
  return vesk::archivedRoot(std::make_shared<const vesk::ArchivedObject>(std::move(object)), kRootKey, inlineFields);
}

std::optional<LCLoopLoudnessInfo> LCLoopLoudnessInfo::unarchived(std::span<const std::byte> archive) {
  const vesk::Value root = vesk::unarchivedRoot(archive, kRootKey, isLoudnessInfo);
  const vesk::ArchivedObject* object = root.object();
  if (object == nullptr) return std::nullopt;
  return LCLoopLoudnessInfo{archivedNumber(*object, kIntegratedLoudnessKey),
                            archivedNumber(*object, kGlobalMaxTruePeakKey),
                            archivedNumber(*object, kTargetIntegratedLoudnessKey)};
}
