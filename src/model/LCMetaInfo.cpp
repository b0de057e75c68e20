#include "VeskLoopManagement/model/LCMetaInfo.h"

#include "model/LCArchivedFields.h"
#include "platform/KeyedArchive.h"

#include <set>

LCMetaInfo LCMetaInfo::metaInfoInstanceOfType(int64_t type) {
  LCMetaInfo info;
  if (type == kWeightedInstrumentKeyword) info.type = type;
  return info;
}

vesk::Value LCMetaInfo::archivedObject() const {
  vesk::ArchivedObject object;
  if (type == kWeightedInstrumentKeyword) object.classNames.push_back("LCWeightedInstrumentKeyword");
  object.classNames.insert(object.classNames.end(), {"LCMetaInfo", "NSObject"});
  object.fields["doubleValueV1"] = static_cast<double>(static_cast<float>(doubleValue));
  object.fields["integerValueV1"] = integerValue;
  object.fields["typeV1"] = type;
  if (stringValue) object.fields["stringValueV1"] = *stringValue;
  return std::make_shared<const vesk::ArchivedObject>(std::move(object));
}

vesk::Value LCMetaInfo::archivedObjects(const std::vector<LCMetaInfo>& infos) {
  vesk::Array objects;
  for (const LCMetaInfo& info : infos) objects.push_back(info.archivedObject());
  return objects;
}

namespace {

// The class names under which meta infos stand in `value`: those of archives made elsewhere differ.
void addMetaInfoClasses(const vesk::Value& value, std::set<std::string>& names) {
  if (const vesk::ArchivedObject* object = value.object()) {
    if (LCMetaInfo::isMetaInfo(*object) && !object->classNames.empty()) names.insert(object->classNames.front());
    for (const auto& [key, field] : object->fields) addMetaInfoClasses(field, names);
  }
  if (value.array()) {
    for (const vesk::Value& member : *value.array()) addMetaInfoClasses(member, names);
  }
  if (value.dictionary()) {
    for (const auto& [key, member] : *value.dictionary()) addMetaInfoClasses(member, names);
  }
}

}  // namespace

// The coder's scalar operations put numbers into the object itself.
vesk::Bytes LCMetaInfo::archiveWithMetaInfos(const vesk::Value& root, std::string_view rootKey) {
  std::set<std::string> classNames;
  addMetaInfoClasses(root, classNames);
  static const std::initializer_list<std::string_view> kScalars = {"doubleValueV1", "integerValueV1", "typeV1"};
  std::vector<vesk::InlineFields> inlineFields;
  for (const std::string& name : classNames) inlineFields.push_back({.className = name, .keys = kScalars});
  return vesk::archivedRoot(root, rootKey, inlineFields);
}

std::optional<LCMetaInfo> LCMetaInfo::fromArchivedObject(const vesk::Value& value) {
  if (!value.object() || !isMetaInfo(*value.object())) return std::nullopt;
  LCArchivedFields fields(value.object()->fields);
  LCMetaInfo info;
  info.doubleValue = static_cast<float>(fields.number("doubleValueV1").value_or(vesk::Number()).doubleValue());
  info.integerValue = fields.number("integerValueV1").value_or(vesk::Number()).integerValue();
  info.type = fields.number("typeV1").value_or(vesk::Number()).integerValue();
  const bool isWeighted = lc::isKindOfClass(*value.object(), "LCWeightedInstrumentKeyword");
  if (isWeighted) info.type = kWeightedInstrumentKeyword;  // whatever was archived
  info.stringValue = fields.string("stringValueV1");
  return fields.isValid() ? std::optional(info) : std::nullopt;
}

std::optional<std::vector<LCMetaInfo>> LCMetaInfo::fromArchivedObjects(const vesk::Array& objects, size_t archiveSize) {
  size_t budget = 16 * archiveSize;
  std::vector<LCMetaInfo> infos;
  for (const vesk::Value& object : objects) {
    std::optional<LCMetaInfo> info = fromArchivedObject(object);
    if (!info) continue;
    const size_t size = sizeof(LCMetaInfo) + info->stringValue.value_or("").size();
    if (size > budget) return std::nullopt;
    budget -= size;
    infos.push_back(std::move(*info));
  }
  return infos;
}

// Archives made elsewhere may name the class differently; its two characteristic fields tell it.
bool LCMetaInfo::isMetaInfo(const vesk::ArchivedObject& object) {
  if (lc::isKindOfClass(object, "LCMetaInfo")) return true;
  return object.fields.contains("typeV1") && object.fields.contains("doubleValueV1");
}

LCMetaInfo LCWeightedInstrumentKeyword::metaInfo() const {
  LCMetaInfo info = LCMetaInfo::metaInfoInstanceOfType(LCMetaInfo::kWeightedInstrumentKeyword);
  info.stringValue = keywordTitle;
  info.doubleValue = weight;
  return info;
}
