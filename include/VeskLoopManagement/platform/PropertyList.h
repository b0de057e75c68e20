// Values of property lists and keyed archives. A Value is small and cheap to copy: containers and bytes are shared and
// never change once they are in a Value, so that an archive whose objects refer to each other many times stays as small
// as it is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/platform/Text.h"

namespace vesk {

// A number as an archive holds it: truth value, integer or real. Comparison is by kind and value.
struct LC_EXPORT Number {
  std::variant<bool, int64_t, double> value = int64_t{0};

  int64_t integerValue() const;  // reals are cut towards zero and saturate; NaN is 0
  double doubleValue() const;
  bool boolValue() const;  // not zero
  bool operator==(const Number&) const = default;
};

// Seconds since 2001-01-01 00:00:00 UTC.
struct Date {
  double seconds = 0;
  bool operator==(const Date&) const = default;
};

class Value;
struct ArchivedObject;
using Bytes = std::vector<std::byte>;
using Array = std::vector<Value>;
using Dictionary = std::map<std::string, Value, CodeUnitLess>;

class LC_EXPORT Value {
 public:
  struct Null {
    bool operator==(const Null&) const = default;
  };
  struct URLText {  // relative part already joined to its base
    std::string text;
    bool operator==(const URLText&) const = default;
  };
  struct Set {  // members in the order of the archive
    std::shared_ptr<const Array> members;
  };

  Value() = default;  // nil
  Value(Null) : m_value(Null{}) {}
  Value(bool value) : m_value(Number{value}) {}
  Value(int value) : m_value(Number{int64_t{value}}) {}
  Value(int64_t value) : m_value(Number{value}) {}
  Value(double value) : m_value(Number{value}) {}
  Value(Number value) : m_value(value) {}
  Value(const char* value) : m_value(std::string(value)) {}
  Value(std::string value) : m_value(std::move(value)) {}
  Value(Date value) : m_value(value) {}
  Value(URLText value) : m_value(std::move(value)) {}
  Value(Bytes value) : m_value(std::make_shared<const Bytes>(std::move(value))) {}
  Value(Array value) : m_value(std::make_shared<const Array>(std::move(value))) {}
  Value(Dictionary value) : m_value(std::make_shared<const Dictionary>(std::move(value))) {}
  Value(std::shared_ptr<const Bytes> value) : m_value(std::move(value)) {}
  Value(std::shared_ptr<const Array> value) : m_value(std::move(value)) {}
  Value(std::shared_ptr<const Dictionary> value) : m_value(std::move(value)) {}
  Value(Set value) : m_value(std::move(value)) {}
  Value(std::shared_ptr<const ArchivedObject> value) : m_value(std::move(value)) {}

  bool isNil() const { return std::holds_alternative<std::monostate>(m_value); }
  // Each answers null when the value is of another kind. The pointer lives as long as this Value.
  const Number* number() const { return std::get_if<Number>(&m_value); }
  const std::string* string() const { return std::get_if<std::string>(&m_value); }
  const Date* date() const { return std::get_if<Date>(&m_value); }
  const URLText* url() const { return std::get_if<URLText>(&m_value); }
  const Bytes* bytes() const { return shared<Bytes>(); }
  const Array* array() const { return shared<Array>(); }
  const Dictionary* dictionary() const { return shared<Dictionary>(); }
  const ArchivedObject* object() const { return shared<ArchivedObject>(); }
  const Array* setMembers() const;
  bool isNull() const { return std::holds_alternative<Null>(m_value); }

  // Deep comparison. Values decoded from hostile archives may share a lot; compare those only when their size is known.
  bool operator==(const Value& other) const;

 private:
  template <typename T>
  const T* shared() const {
    const auto* held = std::get_if<std::shared_ptr<const T>>(&m_value);
    return held ? held->get() : nullptr;
  }

  std::variant<std::monostate, Null, Number, std::string, Date, URLText, std::shared_ptr<const Bytes>,
               std::shared_ptr<const Array>, std::shared_ptr<const Dictionary>, Set,
               std::shared_ptr<const ArchivedObject>>
      m_value;
};

// An object of a class that is not one of the containers above: its class names, own class first, and its coded fields.
struct ArchivedObject {
  std::vector<std::string> classNames;
  Dictionary fields;
};

// The entry of `key`, or nil. `dictionary` may be null.
LC_EXPORT Value valueForKey(const Dictionary* dictionary, std::string_view key);

// An XML property list; nil when it is not well formed, is deeper than 512 levels or holds anything but property-list
// values.
LC_EXPORT Value valueFromXMLPropertyList(std::string_view xml);
// XML text with one tab a level, keys in code-unit order and a final newline. `value` holds dictionaries, arrays,
// strings, integers, reals, truth values, dates and bytes only; "" when it holds anything else.
LC_EXPORT std::string xmlPropertyList(const Value& value);

}  // namespace vesk
