// The fields of one archived object, read by key and kind. Internal to this layer. A field that is absent is nullopt;
// one of the wrong kind is, too, and makes the object unreadable as a whole, which isValid() tells after all fields
// were asked.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "VeskLoopManagement/platform/PropertyList.h"
#include "VeskLoopManagement/platform/Text.h"

class LCArchivedFields {
 public:
  explicit LCArchivedFields(const vesk::Dictionary& fields) : m_fields(fields) {}  // borrowed, outlives this object

  std::optional<vesk::Number> number(std::string_view key);
  std::optional<std::string> string(std::string_view key);
  std::optional<vesk::StringSet> stringSet(std::string_view key);  // every member is a string
  std::optional<std::string> urlText(std::string_view key);
  std::optional<vesk::Array> array(std::string_view key);
  // Dictionaries, arrays, strings and numbers only, all the way down.
  std::optional<vesk::Dictionary> plainDictionary(std::string_view key);

  bool isValid() const { return m_valid; }

 private:
  template <typename T>
  std::optional<T> refused() {
    m_valid = false;
    return std::nullopt;
  }

  const vesk::Dictionary& m_fields;
  bool m_valid = true;
};

namespace lc {

// Whether the object's class, or one that it is made from, has this name.
bool isKindOfClass(const vesk::ArchivedObject& object, std::string_view className);

}  // namespace lc
