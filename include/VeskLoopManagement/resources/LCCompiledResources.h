// The byte arrays compiled into the library, and the property lists in them. The keyword ids are a persisted format:
// databases store them.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "VeskLoopManagement/platform/PropertyList.h"

extern const unsigned char Keyword_Dictionary_plist[];
extern const uint32_t Keyword_Dictionary_plist_len;  // 4412
extern const unsigned char KeywordIds_plist[];
extern const uint32_t KeywordIds_plist_len;  // 17302
extern const unsigned char additionalData_dat[];
extern const uint32_t additionalData_dat_len;  // 56098

class LCCompiledResources {
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
std::vector<std::byte> scrambledResource(std::vector<std::byte> bytes);

}  // namespace lc
