#include "VeskLoopManagement/resources/LCCompiledResources.h"

#include <string_view>

namespace {

vesk::Value dictionaryOf(const unsigned char* bytes, uint32_t length) {
  const std::string_view xml(reinterpret_cast<const char*>(bytes), length);
  vesk::Value value = vesk::valueFromXMLPropertyList(xml);
  return value.dictionary() ? value : vesk::Value();
}

}  // namespace

vesk::Value LCCompiledResources::KeywordDictionaryPlist() {
  return dictionaryOf(Keyword_Dictionary_plist, Keyword_Dictionary_plist_len);
}

vesk::Value LCCompiledResources::KeywordIDsPlist() {
  return dictionaryOf(KeywordIds_plist, KeywordIds_plist_len);
}

std::vector<std::byte> LCCompiledResources::additionalDataDat() {
  const auto* first = reinterpret_cast<const std::byte*>(additionalData_dat);
  return {first, first + additionalData_dat_len};
}

// The build complements the bytes in the same way.
std::vector<std::byte> lc::scrambledResource(std::vector<std::byte> bytes) {
  for (std::byte& byte : bytes) byte = ~byte;
  return bytes;
}
