// The byte arrays compiled into the library, and the property lists in them. The keyword ids are a persisted format:
// databases store them.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/platform/PropertyList.h"

LC_EXPORT extern const unsigned char Keyword_Dictionary_plist[];
LC_EXPORT extern const uint32_t Keyword_Dictionary_plist_len;  // 4412
LC_EXPORT extern const unsigned char KeywordIds_plist[];
LC_EXPORT extern const uint32_t KeywordIds_plist_len;  // 17302
LC_EXPORT extern const unsigned char additionalData_dat[];
LC_EXPORT extern const uint32_t additionalData_dat_len;  // 56098

class LC_EXPORT LCCompiledResources {
 public:
  // "Descriptors", "Genres", "Instrument Types"; nil when the bytes are no dictionary.
  static vesk::Value KeywordDictionaryPlist();
  // Decimal id → {"name", "category"}; nil when the bytes are no dictionary.
  static vesk::Value KeywordIDsPlist();
  // A copy of the scrambled search-key translation.
  static std::vector<std::byte> additionalDataDat();
};

namespace lc {

// Scrambling and unscrambling are the same operation. It keeps the word list out of a plain `strings`, nothing more.
LC_EXPORT std::vector<std::byte> scrambledResource(std::vector<std::byte> bytes);

}  // namespace lc
