#include "JSON.h"

#include "VeskLoopManagement/platform/Text.h"
#include "VeskLoopManagement/platform/URL.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

namespace {

constexpr std::string_view kBase64Letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

size_t costOf(const vesk::Value& value) {
  constexpr size_t kSmallValue = 16;
  if (const auto* text = value.string()) return kSmallValue + text->size();
  if (const auto* url = value.url()) return kSmallValue + url->text.size();
  if (const auto* bytes = value.bytes()) return kSmallValue + bytes->size() / 3 * 4;
  return kSmallValue;
}

JSON jsonOfValue(const vesk::Value& value, JSONBudget& budget);

JSON jsonOfMembers(const vesk::Array& members, JSONBudget& budget) {
  JSON list = JSON::array();
  for (const auto& member : members) {
    if (budget.bytes == 0) break;
    list.push_back(jsonOfValue(member, budget));
  }
  return list;
}

JSON jsonOfEntries(const vesk::Dictionary& dictionary, JSONBudget& budget) {
  JSON object = JSON::object();
  for (const auto& [key, value] : dictionary) {
    if (!budget.spend(key.size())) break;
    object[key] = jsonOfValue(value, budget);
  }
  return object;
}

JSON jsonOfContents(const vesk::Value& value, JSONBudget& budget) {
  if (const auto* number = value.number()) return jsonOfNumber(*number);
  if (const auto* text = value.string()) return *text;
  if (const auto* url = value.url()) return url->text;
  if (const auto* bytes = value.bytes()) return base64(*bytes);
  if (const auto* date = value.date()) return {{"secondsSince2001", date->seconds}};
  if (const auto* array = value.array()) return jsonOfMembers(*array, budget);
  if (const auto* members = value.setMembers()) return jsonOfMembers(*members, budget);
  if (const auto* dictionary = value.dictionary()) return jsonOfEntries(*dictionary, budget);
  if (const auto* object = value.object()) return jsonOfEntries(object->fields, budget);
  return nullptr;
}

JSON jsonOfValue(const vesk::Value& value, JSONBudget& budget) {
  if (budget.depth == 0 || !budget.spend(costOf(value))) return "(too much to show)";
  --budget.depth;
  JSON json = jsonOfContents(value, budget);
  ++budget.depth;
  return json;
}

}  // namespace

std::string compactJSON(const JSON& value) {
  return value.dump(-1, ' ', false, JSON::error_handler_t::replace);
}

std::string pathOfURLText(const std::string& urlText) {
  const auto url = vesk::URL::fromString(urlText);
  return url ? url->path() : urlText;
}

void addPath(JSON& object, const std::string& path, std::string_view urlText) {
  object["path"] = vesk::text::lossyUTF8(path);
  if (!vesk::text::isValidUTF8(path)) object["pathIsExact"] = false;
  object["url"] = urlText;
}

double shortDecimal(float value) {
  char text[64];
  const auto written = std::to_chars(text, text + sizeof text, value);
  double number = value;
  std::from_chars(text, written.ptr, number);
  return number;
}

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

bool JSONBudget::spend(size_t cost) {
  bytes -= std::min(cost, bytes);
  return bytes > 0;
}

JSON jsonOfNumber(const vesk::Number& number) {
  return std::visit([](auto value) { return JSON(value); }, number.value);
}

JSON jsonOfDictionary(const vesk::Dictionary& dictionary, JSONBudget budget) {
  return jsonOfEntries(dictionary, budget);
}

void addIfPresent(JSON& object, const char* name, const std::optional<vesk::Bytes>& bytes) {
  if (bytes) object[name] = base64(*bytes);
}

void addIfPresent(JSON& object, const char* name, const std::optional<vesk::Number>& number) {
  if (number) object[name] = jsonOfNumber(*number);
}

void addIfPresent(JSON& object, const char* name, const std::optional<vesk::Dictionary>& dictionary) {
  if (dictionary) object[name] = jsonOfDictionary(*dictionary);
}
