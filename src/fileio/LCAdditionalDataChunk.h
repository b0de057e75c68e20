// "adLD", additional loop data: a keyed archive of a dictionary with what no other chunk has room for. The archive's
// root key is "rootDict"; the keys of the dictionary are the kLCAdditionalData_ constants of LCChunkIDs.h.
// A plain value: no I/O.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "VeskLoopManagement/model/LCFileData.h"
#include "VeskLoopManagement/model/LCMetaInfo.h"
#include "VeskLoopManagement/platform/PropertyList.h"

struct LCAdditionalDataChunk {
  // A figure that the payload lacks is none, and never 0.
  std::optional<double> integratedLoudness;        // LUFS
  std::optional<double> globalMaxTruePeak;         // dBTP
  std::optional<double> targetIntegratedLoudness;  // LUFS
  std::optional<vesk::Number> iconId;
  std::optional<vesk::Number> preferFileName;
  int64_t patchInfo = 0;  // 0: none
  std::optional<std::vector<LCMetaInfo>> metaInfos;
  std::optional<vesk::Dictionary> taggings;

  // nullopt when the payload is no such archive, its dictionary is empty or a set is in it. A value of a wrong kind is
  // as good as absent.
  static std::optional<LCAdditionalDataChunk> decode(std::span<const std::byte> payload);
  // The fields that are there, with a version of 1 beside them; entries that a payload had under other keys are
  // dropped. nullopt when there is nothing to write, or the taggings are deeper than an archive may be.
  std::optional<vesk::Bytes> encode() const;
  // `payload` with those of these fields that it does not say already; nullopt in a field takes its entry out, and all
  // other entries stay. Empty when no entry but the version is left. nullopt when the payload cannot be decoded: what
  // is in it would be lost.
  std::optional<vesk::Bytes> encodeOver(std::span<const std::byte> payload) const;

  // The fields of a record that stand in this chunk.
  static LCAdditionalDataChunk ofRecord(const LCFileData& record);
  void applyTo(LCFileData& record) &&;

  bool operator==(const LCAdditionalDataChunk&) const = default;
};
