// The keyed archive of LCFileData. Hosts store such archives, so keys and kinds of values are fixed: floats, integers
// and truth values are number objects, present always; texts and the rest are there only when the record has them.
#include "model/LCArchivedFields.h"
#include "platform/KeyedArchive.h"
#include "VeskLoopManagement/model/LCFileData.h"

namespace {

template <typename T>
struct Field {
  const char* key;
  T LCFileData::*member;
};

constexpr Field<float> kFloatFields[] = {
    {"bpm", &LCFileData::bpm},
    {"lengthInSeconds", &LCFileData::lengthInSeconds},
};

constexpr Field<int64_t> kIntegerFields[] = {
    {"beatCount", &LCFileData::beatCount},       {"midiRootNote", &LCFileData::midiRootNote},
    {"keyType", &LCFileData::keyType},           {"fileType", &LCFileData::fileType},
    {"signatureTop", &LCFileData::signatureTop}, {"signatureBottom", &LCFileData::signatureBottom},
    {"patchInfo", &LCFileData::patchInfo},       {"hash", &LCFileData::hash},
};

constexpr Field<bool> kFlagFields[] = {
    {"isWebLoop", &LCFileData::isWebLoop},
    {"isFactoryBundleLoop", &LCFileData::isFactoryBundleLoop},
};

constexpr Field<std::optional<std::string>> kTextFields[] = {
    {"themeTag", &LCFileData::themeTag},
    {"collectionTag", &LCFileData::collectionTag},
    {"commentTag", &LCFileData::commentTag},
    {"copyrightTag", &LCFileData::copyrightTag},
    {"authorTag", &LCFileData::authorTag},
    {"title", &LCFileData::title},
    {"instrumentTypeTag", &LCFileData::instrumentTypeTag},
    {"instrumentSubTypeTag", &LCFileData::instrumentSubTypeTag},
    {"genreTag", &LCFileData::genreTag},
    {"contentIdentifier", &LCFileData::contentIdentifier},
};

constexpr Field<std::optional<vesk::Number>> kNumberFields[] = {
    {"iconId", &LCFileData::iconId},
    {"preferFileName", &LCFileData::preferFileName},
};

constexpr Field<std::optional<double>> kLoudnessFields[] = {
    {"integratedLoudness", &LCFileData::integratedLoudness},
    {"targetIntegratedLoudness", &LCFileData::targetIntegratedLoudness},
    {"globalMaxTruePeak", &LCFileData::globalMaxTruePeak},
};

vesk::Value archivedSet(const vesk::StringSet& strings) {
  return vesk::Value::Set{std::make_shared<const vesk::Array>(strings.begin(), strings.end())};
}

vesk::Dictionary archivedFields(const LCFileData& record) {
  vesk::Dictionary fields;
  for (const auto& [key, member] : kFloatFields) fields[key] = static_cast<double>(record.*member);
  for (const auto& [key, member] : kIntegerFields) fields[key] = record.*member;
  for (const auto& [key, member] : kFlagFields) fields[key] = record.*member;
  fields["vireoLoopType"] = record.vireoLoopType;
  fields["vireoPlusLoop"] = record.vireoLoopType > 0;  // for readers that do not know the loop type yet
  fields["frameCount"] = record.frameCount;

  for (const auto& [key, member] : kTextFields) {
    if (record.*member) fields[key] = *(record.*member);
  }
  for (const auto& [key, member] : kNumberFields) {
    if (record.*member) fields[key] = *(record.*member);
  }
  for (const auto& [key, member] : kLoudnessFields) {
    if (record.*member) fields[key] = *(record.*member);
  }
  if (record.descriptors) fields["descriptors"] = archivedSet(*record.descriptors);
  if (record.storedFileURL) fields["fileURL"] = vesk::Value::URLText{record.storedFileURL->absoluteString()};
  if (record.metaInfos) fields["metaInfos"] = LCMetaInfo::archivedObjects(*record.metaInfos);
  if (record.taggingDictionary) fields["taggingDictionary"] = *record.taggingDictionary;
  return fields;
}

vesk::Number numberOrZero(LCArchivedFields& fields, std::string_view key) {
  return fields.number(key).value_or(vesk::Number());
}

// Older archives say only whether a loop holds more than audio.
LCVireoLoopType readLoopType(LCArchivedFields& fields) {
  if (const auto type = fields.number("vireoLoopType")) return type->integerValue();
  return numberOrZero(fields, "vireoPlusLoop").boolValue() ? kLoopTypeMIDI : kLoopTypeAudio;
}

void readScalars(LCArchivedFields& fields, LCFileData& record) {
  for (const auto& [key, member] : kFloatFields) {
    record.*member = static_cast<float>(numberOrZero(fields, key).doubleValue());
  }
  for (const auto& [key, member] : kIntegerFields) record.*member = numberOrZero(fields, key).integerValue();
  for (const auto& [key, member] : kFlagFields) record.*member = numberOrZero(fields, key).boolValue();
  record.vireoLoopType = readLoopType(fields);
  // A count that is not zero has always been read as 1, and readers rely on it.
  record.frameCount = numberOrZero(fields, "frameCount").boolValue() ? 1 : 0;
}

void readObjects(LCArchivedFields& fields, LCFileData& record) {
  for (const auto& [key, member] : kTextFields) record.*member = fields.string(key);
  for (const auto& [key, member] : kNumberFields) record.*member = fields.number(key);
  for (const auto& [key, member] : kLoudnessFields) {
    if (const auto level = fields.number(key)) record.*member = level->doubleValue();
  }
  record.descriptors = fields.stringSet("descriptors");
  if (const auto text = fields.urlText("fileURL")) record.storedFileURL = vesk::URL::fromString(*text);
  record.taggingDictionary = fields.plainDictionary("taggingDictionary");
}

// False when a member is no meta info, or when they would take far more memory than the archive of `archiveSize` bytes.
bool readMetaInfos(LCArchivedFields& fields, size_t archiveSize, LCFileData& record) {
  const std::optional<vesk::Array> objects = fields.array("metaInfos");
  if (!objects) return true;
  record.metaInfos = LCMetaInfo::fromArchivedObjects(*objects, archiveSize);
  return record.metaInfos && record.metaInfos->size() == objects->size();
}

// Archives made elsewhere may name the class differently; its two characteristic fields tell it.
bool isLoopRecord(const vesk::ArchivedObject& object) {
  if (lc::isKindOfClass(object, "LCFileData")) return true;
  return object.fields.contains("bpm") && object.fields.contains("hash");
}

bool isAdmitted(const vesk::ArchivedObject& object) {
  return isLoopRecord(object) || LCMetaInfo::isMetaInfo(object);
}

}  // namespace

vesk::Bytes LCFileData::archived() const {
  const vesk::ArchivedObject object{{"LCFileData", "NSObject"}, archivedFields(*this)};
  return LCMetaInfo::archiveWithMetaInfos(std::make_shared<const vesk::ArchivedObject>(object), "root");
}

std::optional<LCFileData> LCFileData::unarchived(std::span<const std::byte> archive) {
  const vesk::Value root = vesk::unarchivedRoot(archive, "root", isAdmitted);
  if (!root.object() || !isLoopRecord(*root.object())) return std::nullopt;
  LCArchivedFields fields(root.object()->fields);
  LCFileData record;
  readScalars(fields, record);
  readObjects(fields, record);
  if (!readMetaInfos(fields, archive.size(), record) || !fields.isValid()) return std::nullopt;
  return record;
}
