#include "VeskLoopManagement/model/LCVireoLoopType.h"

#include "VeskLoopManagement/platform/Text.h"

namespace {

struct LoopTypeName {
  LCVireoLoopType type;
  std::string_view name;
};
constexpr LoopTypeName kLoopTypes[] = {{kLoopTypeAudio, "audio"},
                                       {kLoopTypeMIDI, "midi"},
                                       {kLoopTypeDrummer, "drummer"},
                                       {kLoopTypeRangeMember, "rangemember"},
                                       {kLoopTypePercussionDrummer, "percussion"},
                                       {kLoopTypeBassPlayer, "bass"},
                                       {kLoopTypeStepSequencer, "stepsequencer"}};

}  // namespace

std::optional<std::string> lc::loopTypeName(LCVireoLoopType type) {
  for (const auto& entry : kLoopTypes) {
    if (entry.type == type) return std::string(entry.name);
  }
  return std::nullopt;
}

std::optional<LCVireoLoopType> lc::loopTypeFromText(std::string_view text) {
  const std::string lower = vesk::text::asciiLowercase(text);
  for (const auto& entry : kLoopTypes) {
    if (entry.name == lower) return entry.type;
  }
  return std::nullopt;
}

std::vector<std::string> lc::loopTypeNames() {
  std::vector<std::string> names;
  for (const auto& entry : kLoopTypes) names.emplace_back(entry.name);
  return names;
}
