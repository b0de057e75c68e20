#include "LoopJSON.h"

#include "VeskLoopManagement/model/LCMusicalKey.h"
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

JSON jsonOfPlace(const LCLoopPlace& place) {
  JSON object = {{"id", std::to_string(place.id)}};
  addPath(object, place.path(), place.urlText);
  return object;
}

JSON jsonOfLoop(const LCCatalogLoop& loop) {
  JSON object = jsonOfPlace(loop.place);
  object["fileName"] = vesk::text::lossyUTF8(loop.fileName);
  if (loop.tempo > 0) object["tempo"] = loop.tempo;
  if (loop.beatCount > 0) object["beats"] = loop.beatCount;
  if (loop.signature.isKnown()) object["signature"] = loop.signature.text();
  if (const auto name = lc::noteName(loop.rootNote)) {
    object["key"] = *name;
    object["keyNote"] = loop.rootNote;
  }
  addIfPresent(object, "scale", lc::scaleName(loop.keyType));
  if (loop.lengthInSeconds > 0) object["seconds"] = shortDecimal(static_cast<float>(loop.lengthInSeconds));
  addIfPresent(object, "loopType", lc::loopTypeName(loop.loopType));
  if (loop.genre) object["genre"] = loop.genre->name;
  if (loop.instrument) object["instrument"] = loop.instrument->name;
  if (loop.subInstrument) object["subInstrument"] = loop.subInstrument->name;
  object["descriptors"] = loop.descriptors;
  object["crates"] = loop.packages;
  if (loop.marks) {
    object["favorite"] = loop.marks->isFavorite;
    object["rating"] = loop.marks->rating;
    object["comment"] = loop.marks->comment;
  }
  if (JSON loudness = jsonOfLoudness(loop.loudness); !loudness.empty()) object["loudness"] = std::move(loudness);
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
