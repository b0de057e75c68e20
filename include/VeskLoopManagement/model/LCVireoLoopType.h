// Kinds of loop content. A stored number: the column "hasMidi" and every archive hold it.
#pragma once

#include "VeskLoopManagement/LCExport.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

using LCVireoLoopType = int64_t;
inline constexpr LCVireoLoopType kLoopTypeNone = -1;  // writers then write no tagging chunks
inline constexpr LCVireoLoopType kLoopTypeAudio = 0;
inline constexpr LCVireoLoopType kLoopTypeMIDI = 1;
inline constexpr LCVireoLoopType kLoopTypeDrummer = 2;
inline constexpr LCVireoLoopType kLoopTypeRangeMember = 3;  // no parser assigns it
inline constexpr LCVireoLoopType kLoopTypePercussionDrummer = 4;
inline constexpr LCVireoLoopType kLoopTypeBassPlayer = 5;
inline constexpr LCVireoLoopType kLoopTypeStepSequencer = 6;

// True exactly for 2, 3, 4 and 5, the generated-instrument loops.
constexpr bool LCVireoLoopTypeIsGenInst(LCVireoLoopType type) {
  return static_cast<uint64_t>(type) - 2 < 4;
}

namespace lc {

// "audio", "midi", "drummer", …; nullopt for other numbers.
LC_EXPORT std::optional<std::string> loopTypeName(LCVireoLoopType type);
LC_EXPORT std::optional<LCVireoLoopType> loopTypeFromText(std::string_view text);  // upper and lower case are the same
LC_EXPORT std::vector<std::string> loopTypeNames();

}  // namespace lc
