// JSON as the program writes it. What is unknown is absent. Paths are UTF-8; one that is not gets U+FFFD and
// "pathIsExact": false, and its URL is exact. Pure functions.
#pragma once

#include "VeskLoopManagement/platform/PropertyList.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

using JSON = nlohmann::ordered_json;

// The value's text on one line; ill-formed UTF-8 stands as U+FFFD.
std::string compactJSON(const JSON& value);

// The path behind a stored URL; the text itself when it is no URL.
std::string pathOfURLText(const std::string& urlText);
// Adds "path", "pathIsExact" where it is needed, and "url".
void addPath(JSON& object, const std::string& path, std::string_view urlText);

// The decimal number that people would write for this float: 101.7 and not 101.69999694824219.
double shortDecimal(float value);
std::string base64(std::span<const std::byte> bytes);

// Values from archives may share their parts so often that written out they would fill any memory. What goes beyond the
// budget stands as "(too much to show)" or is left out.
struct JSONBudget {
  size_t bytes = size_t{16} << 20;
  int depth = 64;

  bool spend(size_t cost);  // false: nothing is left
};
JSON jsonOfNumber(const vesk::Number& number);
JSON jsonOfDictionary(const vesk::Dictionary& dictionary, JSONBudget budget = {});

template <typename T>
void addIfPresent(JSON& object, const char* name, const std::optional<T>& value) {
  if (value) object[name] = *value;
}
void addIfPresent(JSON& object, const char* name, const std::optional<vesk::Bytes>& bytes);
void addIfPresent(JSON& object, const char* name, const std::optional<vesk::Number>& number);
void addIfPresent(JSON& object, const char* name, const std::optional<vesk::Dictionary>& dictionary);
