#include "JSON.h"

#include "KeyNames.h"
#include "VeskLoopManagement/platform/PropertyList.h"
#include "VeskLoopManagement/platform/Text.h"
#include "VeskLoopManagement/platform/URL.h"

#include <fmt/format.h>

#include <charconv>
#include <span>

namespace {

constexpr std::string_view kBase64Letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string base64(std::span<const std::byte> bytes) {
  std::string text;
  for (size_t index = 0; index < bytes.size(); index += 3) {
    const size_t count = std::min<size_t>(3, bytes.size() - index);
    uint32_t group = 0;
    for (size_t offset = 0; offset < 3; ++offset) {
      group = group << 8 | (offset < count ? std::to_integer<uint32_t>(bytes[index + offset]) : 0);
    }
    for (size_t letter = 0; letter < 4; ++letter) {
      text += letter <= count ? kBase64Letters[group >> (18 - 6 * letter) & 63] : '=';
    }
  }
  return text;
}

// The decimal number that people would write for this float: 101.7 and not 101.69999694824219.
double shortDecimal(float value) {
  char text[64];
  const auto written = std::to_chars(text, text + sizeof text, value);
  double number = value;
  std::from_chars(text, written.ptr, number);
  return number;
}

// Values from archives may share their parts so often that written out they would fill any memory; they end here.
struct Budget {
  size_t bytes = size_t{16} << 20;
  int depth = 64;

  bool spend(size_t cost) {
    if (cost > bytes)
      bytes = 0;
    else
      bytes -= cost;
    return bytes > 0;
  }
};

size_t costOf(const vesk::Value& value) {
  constexpr size_t kSmallValue = 16;
  if (const auto* text = value.string()) return kSmallValue + text->size();
  if (const auto* url = value.url()) return kSmallValue + url->text.size();
  if (const auto* bytes = value.bytes()) return kSmallValue + bytes->size() / 3 * 4;
  return kSmallValue;
}

JSON jsonOfValue(const vesk::Value& value, Budget& budget);

JSON jsonOfMembers(const vesk::Array& members, Budget& budget) {
  JSON list = JSON::array();
  for (const auto& member : members) {
    if (budget.bytes == 0) break;
    list.push_back(jsonOfValue(member, budget));
  }
  return list;
}

JSON jsonOfDictionary(const vesk::Dictionary& dictionary, Budget& budget) {
  JSON object = JSON::object();
  for (const auto& [key, value] : dictionary) {
    if (!budget.spend(key.size())) break;
    object[key] = jsonOfValue(value, budget);
  }
  return object;
}

JSON jsonOfNumber(const vesk::Number& number) {
  return std::visit([](auto value) { return JSON(value); }, number.value);
}

JSON jsonOfContents(const vesk::Value& value, Budget& budget) {
  if (const auto* number = value.number()) return jsonOfNumber(*number);
  if (const auto* text = value.string()) return *text;
  if (const auto* url = value.url()) return url->text;
  if (const auto* bytes = value.bytes()) return base64(*bytes);
  if (const auto* date = value.date()) return {{"secondsSince2001", date->seconds}};
  if (const auto* array = value.array()) return jsonOfMembers(*array, budget);
  if (const auto* members = value.setMembers()) return jsonOfMembers(*members, budget);
  if (const auto* dictionary = value.dictionary()) return jsonOfDictionary(*dictionary, budget);
  if (const auto* object = value.object()) return jsonOfDictionary(object->fields, budget);
  return nullptr;
}

JSON jsonOfValue(const vesk::Value& value, Budget& budget) {
  if (budget.depth == 0 || !budget.spend(costOf(value))) return "(too much to show)";
  --budget.depth;
  JSON json = jsonOfContents(value, budget);
  ++budget.depth;
  return json;
}

template <typename T>
void addIfPresent(JSON& object, const char* name, const std::optional<T>& value) {
  if (value) object[name] = *value;
}

void addIfPresent(JSON& object, const char* name, const std::optional<vesk::Bytes>& bytes) {
  if (bytes) object[name] = base64(*bytes);
}

void addIfPresent(JSON& object, const char* name, const std::optional<vesk::Number>& number) {
  if (number) object[name] = jsonOfNumber(*number);
}

void addIfPresent(JSON& object, const char* name, const std::optional<vesk::Dictionary>& dictionary) {
  Budget budget;
  if (dictionary) object[name] = jsonOfDictionary(*dictionary, budget);
}

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

std::string codeText(vesk::FourCC code) {
  if (code.isPrintable()) return code.text();
  std::string text = "0x";
  for (const char letter : code.text()) text += fmt::format("{:02X}", static_cast<unsigned char>(letter));
  return text;
}

}  // namespace

std::string pathOfURLText(const std::string& urlText) {
  const auto url = vesk::URL::fromString(urlText);
  return url ? url->path() : urlText;
}

void addPath(JSON& object, const std::string& path, std::string_view urlText) {
  object["path"] = vesk::text::lossyUTF8(path);
  if (!vesk::text::isValidUTF8(path)) object["pathIsExact"] = false;
  object["url"] = urlText;
}

JSON jsonOfRow(const LoopRow& row) {
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
    JSON entry = {{"id", codeText(chunk.id)}, {"offset", chunk.headerOffset}, {"size", chunk.size}};
    if (chunk.declaredSize != chunk.size) entry["declaredSize"] = chunk.declaredSize;
    chunks.push_back(std::move(entry));
  }
  return object;
}
