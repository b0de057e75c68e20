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

vesk::Value rootOf(std::span<const std::byte> payload) {
  return vesk::unarchivedRoot(payload, kLCAdditionalData_Chunk_RootDict, LCMetaInfo::isMetaInfo,
                              vesk::ArchivedSets::refused);
}

std::optional<vesk::Number> numberForKey(const vesk::Dictionary& dictionary, std::string_view key) {
  const vesk::Value value = vesk::valueForKey(&dictionary, key);
  if (!value.number()) return std::nullopt;
  return *value.number();
}

}  // namespace

std::optional<LCAdditionalDataChunk> LCAdditionalDataChunk::decode(std::span<const std::byte> payload) {
  const vesk::Value root = rootOf(payload);
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

namespace {

vesk::Dictionary entriesOf(const LCAdditionalDataChunk& chunk) {
  vesk::Dictionary dictionary;
  const auto put = [&](std::string_view key, vesk::Value value) { dictionary[std::string(key)] = std::move(value); };
  for (const auto& [key, member] : kLevels) {
    if (chunk.*member) put(key, *(chunk.*member));
  }
  for (const auto& [key, member] : kNumbers) {
    if (chunk.*member) put(key, *(chunk.*member));
  }
  if (chunk.patchInfo > 0) put(kLCAdditionalData_PatchInfo_Key, chunk.patchInfo);
  if (chunk.metaInfos) put(kLCAdditionalData_MetaInfos_Key, LCMetaInfo::archivedObjects(*chunk.metaInfos));
  if (chunk.taggings) put(kLCAdditionalData_Taggings_Key, *chunk.taggings);
  return dictionary;
}

}  // namespace

std::optional<vesk::Bytes> LCAdditionalDataChunk::encode() const {
  vesk::Dictionary dictionary = entriesOf(*this);
  if (dictionary.empty()) return std::nullopt;
  dictionary[std::string(kLCAdditionalData_Version_Key)] = kVersion;
  auto archive = LCMetaInfo::archiveWithMetaInfos(dictionary, kLCAdditionalData_Chunk_RootDict);
  return archive.empty() ? std::nullopt : std::optional(std::move(archive));
}

std::optional<vesk::Bytes> LCAdditionalDataChunk::encodeOver(std::span<const std::byte> payload) const {
  const auto before = decode(payload);
  if (!before) return std::nullopt;
  const vesk::Value root = rootOf(payload);
  vesk::Dictionary dictionary = *root.dictionary();
  const vesk::Dictionary formerEntries = entriesOf(*before), entries = entriesOf(*this);
  for (const auto& [key, value] : formerEntries) {
    if (!entries.contains(key)) dictionary.erase(key);
  }
  for (const auto& [key, value] : entries) {
    const auto former = formerEntries.find(key);
    if (former == formerEntries.end() || former->second != value) dictionary[key] = value;
  }
  const bool hasVersion = dictionary.contains(std::string(kLCAdditionalData_Version_Key));
  if (dictionary.size() == (hasVersion ? 1u : 0u)) return vesk::Bytes();
  auto archive = LCMetaInfo::archiveWithMetaInfos(dictionary, kLCAdditionalData_Chunk_RootDict);
  return archive.empty() ? std::nullopt : std::optional(std::move(archive));
}

LCAdditionalDataChunk LCAdditionalDataChunk::ofRecord(const LCFileData& record) {
  return {.integratedLoudness = record.integratedLoudness,
          .globalMaxTruePeak = record.globalMaxTruePeak,
          .targetIntegratedLoudness = record.targetIntegratedLoudness,
          .iconId = record.iconId,
          .preferFileName = record.preferFileName,
          .patchInfo = record.patchInfo,
          .metaInfos = record.metaInfos,
          .taggings = record.taggingDictionary};
}

// Every field is set, so that one that is absent clears what an earlier chunk said.
void LCAdditionalDataChunk::applyTo(LCFileData& record) && {
  record.integratedLoudness = integratedLoudness;
  record.globalMaxTruePeak = globalMaxTruePeak;
  record.targetIntegratedLoudness = targetIntegratedLoudness;
  record.iconId = iconId;
  record.preferFileName = preferFileName;
  record.patchInfo = patchInfo;
  record.metaInfos = std::move(metaInfos);
  record.taggingDictionary = std::move(taggings);
}
