#include "LoopJSON.h"

#include "KeyNames.h"
#include "VeskLoopManagement/platform/Text.h"

#include <fmt/format.h>

namespace {

JSON jsonOfMetaInfo(const LCMetaInfo& metaInfo) {
  JSON object = {{"type", metaInfo.type}};
  addIfPresent(object, "stringValue", metaInfo.stringValue);
  object["doubleValue"] = metaInfo.doubleValue;
  object["integerValue"] = metaInfo.integerValue;
  return object;
}

JSON jsonOfLoudness(const LCLoopLoudnessInfo& info) {
  JSON object = JSON::object();
  if (info.isMeasured()) object["integrated"] = info.integratedLoudness;
  if (info.globalMaxTruePeak != -LCLoopLoudnessInfo::kNone) object["truePeak"] = info.globalMaxTruePeak;
  if (info.targetIntegratedLoudness != LCLoopLoudnessInfo::kNone) {
    object["target"] = info.targetIntegratedLoudness;
    if (info.isMeasured()) object["gain"] = info.targetIntegratedLoudness - info.integratedLoudness;
  }
  return object;
}

}  // namespace

JSON jsonOfLoop(const LoopRow& row) {
  JSON object = {{"id", std::to_string(row.id)}};
  addPath(object, pathOfURLText(row.urlText), row.urlText);
  object["fileName"] = vesk::text::lossyUTF8(row.fileName);
  if (row.tempo > 0) object["tempo"] = row.tempo;
  if (row.beatCount > 0) object["beats"] = row.beatCount;
  if (row.signatureTop > 0) object["signature"] = fmt::format("{}/{}", row.signatureTop, row.signatureBottom);
  if (const auto name = keyNameForNote(row.rootNote)) {
    object["key"] = *name;
    object["keyNote"] = row.rootNote;
  }
  addIfPresent(object, "scale", scaleName(row.keyType));
  if (row.lengthInSeconds > 0) object["seconds"] = shortDecimal(static_cast<float>(row.lengthInSeconds));
  addIfPresent(object, "loopType", loopTypeName(row.loopType));
  addIfPresent(object, "genre", row.genre);
  addIfPresent(object, "instrument", row.instrument);
  addIfPresent(object, "subInstrument", row.subInstrument);
  object["descriptors"] = row.descriptors;
  object["crates"] = row.crates;
  if (row.marks) {
    object["favorite"] = row.marks->isFavorite;
    object["rating"] = row.marks->rating;
    object["comment"] = row.marks->comment;
  }
  if (JSON loudness = jsonOfLoudness(row.loudness); !loudness.empty()) object["loudness"] = std::move(loudness);
  return object;
}

JSON jsonOfRecord(const LCFileData& record) {
  JSON object = {{"bpm", shortDecimal(record.bpm)},
                 {"lengthInSeconds", shortDecimal(record.lengthInSeconds)},
                 {"beatCount", record.beatCount},
                 {"midiRootNote", record.midiRootNote},
                 {"keyType", record.keyType},
                 {"fileType", record.fileType},
                 {"signatureTop", record.signatureTop},
                 {"signatureBottom", record.signatureBottom},
                 {"vireoLoopType", record.vireoLoopType},
                 {"frameCount", record.frameCount},
                 {"hash", std::to_string(record.hash)},
                 {"patchInfo", record.patchInfo},
                 {"isWebLoop", record.isWebLoop},
                 {"isFactoryBundleLoop", record.isFactoryBundleLoop},
                 {"hasAuthoredChunks", record.hasAuthoredChunks},
                 {"hasLoopTypeChunks", record.hasLoopTypeChunks},
                 {"enhancedFileDataAvailable", record.enhancedFileDataAvailable}};
  addIfPresent(object, "themeTag", record.themeTag);
  addIfPresent(object, "collectionTag", record.collectionTag);
  addIfPresent(object, "commentTag", record.commentTag);
  addIfPresent(object, "copyrightTag", record.copyrightTag);
  addIfPresent(object, "authorTag", record.authorTag);
  addIfPresent(object, "title", record.title);
  addIfPresent(object, "descriptors", record.descriptors);
  addIfPresent(object, "instrumentTypeTag", record.instrumentTypeTag);
  addIfPresent(object, "instrumentSubTypeTag", record.instrumentSubTypeTag);
  addIfPresent(object, "genreTag", record.genreTag);
  if (const auto url = record.fileURL()) object["fileURL"] = url->absoluteString();
  addIfPresent(object, "contentIdentifier", record.contentIdentifier);
  addIfPresent(object, "iconId", record.iconId);
  addIfPresent(object, "preferFileName", record.preferFileName);
  addIfPresent(object, "integratedLoudness", record.integratedLoudness);
  addIfPresent(object, "targetIntegratedLoudness", record.targetIntegratedLoudness);
  addIfPresent(object, "globalMaxTruePeak", record.globalMaxTruePeak);
  if (record.metaInfos) {
    JSON& metaInfos = object["metaInfos"] = JSON::array();
    for (const auto& metaInfo : *record.metaInfos) metaInfos.push_back(jsonOfMetaInfo(metaInfo));
  }
  addIfPresent(object, "taggingDictionary", record.taggingDictionary);
  addIfPresent(object, "genInstDictionary", record.genInstDictionary);
  addIfPresent(object, "eventSequenceData", record.eventSequenceData);
  addIfPresent(object, "stepSequencerData", record.stepSequencerData);
  addIfPresent(object, "midiData", record.midiData);
  return object;
}

JSON jsonOfChunks(const vesk::AudioFile& file) {
  JSON object = {{"kind", vesk::containerName(file.kind())}, {"fileSize", file.fileSize()}};
  object["irregularities"] = file.irregularities();
  JSON& chunks = object["chunks"] = JSON::array();
  for (const auto& chunk : file.chunks()) {
    JSON entry = {{"id", chunk.id.text()}, {"offset", chunk.headerOffset}, {"size", chunk.size}};
    if (chunk.declaredSize != chunk.size) entry["declaredSize"] = chunk.declaredSize;
    chunks.push_back(std::move(entry));
  }
  return object;
}
