#include "model/LCArchivedFields.h"

#include <algorithm>

namespace {

// The decoder bounds how deep a value is and how often its shared parts stand in it.
bool isPlain(const vesk::Value& value) {
  if (const vesk::Array* members = value.array()) return std::all_of(members->begin(), members->end(), isPlain);
  if (const vesk::Dictionary* entries = value.dictionary()) {
    return std::all_of(entries->begin(), entries->end(), [](const auto& entry) { return isPlain(entry.second); });
  }
  return value.string() || value.number();
}

}  // namespace

std::optional<vesk::Number> LCArchivedFields::number(std::string_view key) {
  const vesk::Value value = vesk::valueForKey(&m_fields, key);
  if (value.isNil()) return std::nullopt;
  return value.number() ? std::optional(*value.number()) : refused<vesk::Number>();
}

std::optional<std::string> LCArchivedFields::string(std::string_view key) {
  const vesk::Value value = vesk::valueForKey(&m_fields, key);
  if (value.isNil()) return std::nullopt;
  return value.string() ? std::optional(*value.string()) : refused<std::string>();
}

std::optional<vesk::StringSet> LCArchivedFields::stringSet(std::string_view key) {
  const vesk::Value value = vesk::valueForKey(&m_fields, key);
  if (value.isNil()) return std::nullopt;
  if (!value.setMembers()) return refused<vesk::StringSet>();
  vesk::StringSet strings;
  for (const vesk::Value& member : *value.setMembers()) {
    if (!member.string()) return refused<vesk::StringSet>();
    strings.insert(*member.string());
  }
  return strings;
}

std::optional<std::string> LCArchivedFields::urlText(std::string_view key) {
  const vesk::Value value = vesk::valueForKey(&m_fields, key);
  if (value.isNil()) return std::nullopt;
  return value.url() ? std::optional(value.url()->text) : refused<std::string>();
}

std::optional<vesk::Array> LCArchivedFields::array(std::string_view key) {
  const vesk::Value value = vesk::valueForKey(&m_fields, key);
  if (value.isNil()) return std::nullopt;
  return value.array() ? std::optional(*value.array()) : refused<vesk::Array>();
}

std::optional<vesk::Dictionary> LCArchivedFields::plainDictionary(std::string_view key) {
  const vesk::Value value = vesk::valueForKey(&m_fields, key);
  if (value.isNil()) return std::nullopt;
  if (!value.dictionary() || !isPlain(value)) return refused<vesk::Dictionary>();
  return *value.dictionary();
}

bool lc::isKindOfClass(const vesk::ArchivedObject& object, std::string_view className) {
  return std::find(object.classNames.begin(), object.classNames.end(), className) != object.classNames.end();
}
