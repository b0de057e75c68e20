#include "fileio/LCAdditionalDataChunk.h"

#include "platform/KeyedArchive.h"
#include "VeskLoopManagement/fileio/LCChunkIDs.h"

#include <string_view>

namespace {

template <typename T>
struct Field {
  std::string_view key;
  std::optional<T> LCAdditionalDataChunk::*member;
};

constexpr Field<double> kLevels[] = {
    {kLCAdditionalData_LoopIntegratedLoudness_Key, &LCAdditionalDataChunk::integratedLoudness},
    {kLCAdditionalData_LoopGlobalMaxTruePeak_Key, &LCAdditionalDataChunk::globalMaxTruePeak},
    {kLCAdditionalData_LoopTargetIntegratedLoudness_Key, &LCAdditionalDataChunk::targetIntegratedLoudness},
};

constexpr Field<vesk::Number> kNumbers[] = {
    {kLCAdditionalData_IconID_Key, &LCAdditionalDataChunk::iconId},
    {kLCAdditionalData_PreferFileName_Key, &LCAdditionalDataChunk::preferFileName},
};

constexpr int64_t kVersion = 1;

std::optional<vesk::Number> numberForKey(const vesk::Dictionary& dictionary, std::string_view key) {
  const vesk::Value value = vesk::valueForKey(&dictionary, key);
  if (!value.number()) return std::nullopt;
  return *value.number();
}

}  // namespace

std::optional<LCAdditionalDataChunk> LCAdditionalDataChunk::decode(std::span<const std::byte> payload) {
  const vesk::Value root = vesk::unarchivedRoot(payload, kLCAdditionalData_Chunk_RootDict, LCMetaInfo::isMetaInfo,
                                                vesk::ArchivedSets::refused);
  if (!root.dictionary() || root.dictionary()->empty()) return std::nullopt;
  const vesk::Dictionary& dictionary = *root.dictionary();
  LCAdditionalDataChunk decoded;
  for (const auto& [key, member] : kLevels) {
    if (const auto level = numberForKey(dictionary, key)) decoded.*member = level->doubleValue();
  }
  for (const auto& [key, member] : kNumbers) decoded.*member = numberForKey(dictionary, key);
  if (const auto patchInfo = numberForKey(dictionary, kLCAdditionalData_PatchInfo_Key)) {
    decoded.patchInfo = patchInfo->integerValue();
  }
  const vesk::Value metaInfos = vesk::valueForKey(&dictionary, kLCAdditionalData_MetaInfos_Key);
  if (const vesk::Array* members = metaInfos.array()) {
    decoded.metaInfos = LCMetaInfo::fromArchivedObjects(*members, payload.size());
  }
  const vesk::Value taggings = vesk::valueForKey(&dictionary, kLCAdditionalData_Taggings_Key);
  if (taggings.dictionary()) decoded.taggings = *taggings.dictionary();
  return decoded;
}

std::optional<vesk::Bytes> LCAdditionalDataChunk::encode() const {
  vesk::Dictionary dictionary;
  const auto put = [&](std::string_view key, vesk::Value value) { dictionary[std::string(key)] = std::move(value); };
  for (const auto& [key, member] : kLevels) {
    if (this->*member) put(key, *(this->*member));
  }
  for (const auto& [key, member] : kNumbers) {
    if (this->*member) put(key, *(this->*member));
  }
  if (patchInfo > 0) put(kLCAdditionalData_PatchInfo_Key, patchInfo);
  if (metaInfos) put(kLCAdditionalData_MetaInfos_Key, LCMetaInfo::archivedObjects(*metaInfos));
  if (taggings) put(kLCAdditionalData_Taggings_Key, *taggings);
  if (dictionary.empty()) return std::nullopt;
  put(kLCAdditionalData_Version_Key, kVersion);
  auto archive = LCMetaInfo::archiveWithMetaInfos(dictionary, kLCAdditionalData_Chunk_RootDict);
  return archive.empty() ? std::nullopt : std::optional(std::move(archive));
}
