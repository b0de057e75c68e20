#include "VeskLoopManagement/platform/PropertyList.h"

#include <expat.h>

#include <charconv>
#include <chrono>
#include <cmath>
#include <limits>
#include <type_traits>

namespace vesk {

namespace {

constexpr size_t kDepthLimit = 512;

bool equalArrays(const Array* left, const Array* right) {
  if (left == right) return true;
  return left && right && *left == *right;
}

}  // namespace

int64_t Number::integerValue() const {
  if (const auto* integer = std::get_if<int64_t>(&value)) return *integer;
  if (const auto* truth = std::get_if<bool>(&value)) return *truth ? 1 : 0;
  const double real = std::get<double>(value);
  constexpr double kTwoTo63 = 9223372036854775808.0;
  if (std::isnan(real)) return 0;
  if (real >= kTwoTo63) return std::numeric_limits<int64_t>::max();
  if (real < -kTwoTo63) return std::numeric_limits<int64_t>::min();
  return static_cast<int64_t>(real);
}

double Number::doubleValue() const {
  return std::visit([](auto held) { return static_cast<double>(held); }, value);
}

bool Number::boolValue() const {
  return std::visit([](auto held) { return held != decltype(held){}; }, value);
}

const Array* Value::setMembers() const {
  const Set* set = std::get_if<Set>(&m_value);
  return set ? set->members.get() : nullptr;
}

bool Value::operator==(const Value& other) const {
  if (m_value.index() != other.m_value.index()) return false;
  return std::visit(
      [&other](const auto& held) {
        using Held = std::decay_t<decltype(held)>;
        const auto& otherHeld = std::get<Held>(other.m_value);
        if constexpr (std::is_same_v<Held, Set>) {
          return equalArrays(held.members.get(), otherHeld.members.get());
        } else if constexpr (std::is_same_v<Held, std::shared_ptr<const ArchivedObject>>) {
          if (held == otherHeld) return true;
          return held && otherHeld && held->classNames == otherHeld->classNames && held->fields == otherHeld->fields;
        } else if constexpr (requires { held.get(); }) {
          if (held == otherHeld) return true;
          return held && otherHeld && *held == *otherHeld;
        } else {
          return held == otherHeld;
        }
      },
      m_value);
}

Value valueForKey(const Dictionary* dictionary, std::string_view key) {
  if (!dictionary) return {};
  const auto found = dictionary->find(key);
  return found == dictionary->end() ? Value() : found->second;
}

namespace {

// Dates: "2001-01-01T00:00:00Z", whole seconds.

constexpr std::chrono::sys_days kReferenceDay{std::chrono::year{2001} / 1 / 1};
constexpr double kSecondsPerDay = 86400;

// Reads `count` digits off the front of `text`; -1 when there are fewer.
int takeDigits(std::string_view& text, size_t count) {
  int number = 0;
  if (text.size() < count) return -1;
  for (size_t i = 0; i < count; ++i) {
    if (text[i] < '0' || text[i] > '9') return -1;
    number = number * 10 + (text[i] - '0');
  }
  text.remove_prefix(count);
  return number;
}

bool takeMark(std::string_view& text, char mark) {
  if (!text.starts_with(mark)) return false;
  text.remove_prefix(1);
  return true;
}

std::optional<Date> parsedDate(std::string_view text) {
  const int year = takeDigits(text, 4);
  const bool hasMonth = takeMark(text, '-');
  const int month = takeDigits(text, 2);
  const bool hasDay = takeMark(text, '-');
  const int day = takeDigits(text, 2);
  const bool hasTime = takeMark(text, 'T');
  const int hours = takeDigits(text, 2);
  const bool hasMinutes = takeMark(text, ':');
  const int minutes = takeDigits(text, 2);
  const bool hasSeconds = takeMark(text, ':');
  const int seconds = takeDigits(text, 2);
  if (text != "Z" || !hasMonth || !hasDay || !hasTime || !hasMinutes || !hasSeconds) return std::nullopt;
  if (year < 0 || month < 1 || day < 1 || hours < 0 || minutes < 0 || seconds < 0) return std::nullopt;
  const std::chrono::year_month_day date{std::chrono::year{year}, std::chrono::month{static_cast<unsigned>(month)},
                                         std::chrono::day{static_cast<unsigned>(day)}};
  if (!date.ok() || hours > 23 || minutes > 59 || seconds > 60) return std::nullopt;
  const auto days = (std::chrono::sys_days{date} - kReferenceDay).count();
  return Date{static_cast<double>(days) * kSecondsPerDay + hours * 3600 + minutes * 60 + seconds};
}

std::string padded(int64_t number, size_t width) {
  std::string digits = std::to_string(number);
  return digits.size() < width ? std::string(width - digits.size(), '0') + digits : digits;
}

// nullopt for dates outside the years 0 to 9999.
std::optional<std::string> dateText(const Date& date) {
  const double wholeDays = std::floor(date.seconds / kSecondsPerDay);
  if (!(std::abs(wholeDays) < 4'000'000)) return std::nullopt;
  const std::chrono::year_month_day day{kReferenceDay + std::chrono::days{static_cast<int>(wholeDays)}};
  const int year = static_cast<int>(day.year());
  if (year < 0 || year > 9999) return std::nullopt;
  const auto seconds = static_cast<int64_t>(date.seconds - wholeDays * kSecondsPerDay);
  return padded(year, 4) + "-" + padded(static_cast<unsigned>(day.month()), 2) + "-" +
         padded(static_cast<unsigned>(day.day()), 2) + "T" + padded(seconds / 3600, 2) + ":" +
         padded(seconds / 60 % 60, 2) + ":" + padded(seconds % 60, 2) + "Z";
}

// Base 64.

constexpr std::string_view kBase64Digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view kWhiteSpace = " \t\n\r";

std::optional<Bytes> decodedBase64(std::string_view text) {
  Bytes result;
  uint32_t bits = 0;
  int bitCount = 0;
  bool sawPadding = false;
  for (const char c : text) {
    if (kWhiteSpace.find(c) != std::string_view::npos) continue;
    if (c == '=') {
      sawPadding = true;
      continue;
    }
    const size_t digit = kBase64Digits.find(c);
    if (digit == std::string_view::npos || sawPadding) return std::nullopt;
    bits = (bits << 6 | static_cast<uint32_t>(digit)) & 0xFFFF;
    bitCount += 6;
    if (bitCount < 8) continue;
    bitCount -= 8;
    result.push_back(static_cast<std::byte>(bits >> bitCount & 0xFF));
  }
  return result;
}

std::string base64(const Bytes& bytes) {
  std::string result;
  for (size_t i = 0; i < bytes.size(); i += 3) {
    const size_t count = std::min<size_t>(3, bytes.size() - i);
    uint32_t bits = 0;
    for (size_t k = 0; k < 3; ++k) bits = bits << 8 | (k < count ? std::to_integer<uint32_t>(bytes[i + k]) : 0);
    for (size_t k = 0; k < 4; ++k) result += k <= count ? kBase64Digits[bits >> (18 - 6 * k) & 0x3F] : '=';
  }
  return result;
}

// Reading.

std::string_view withoutOuterWhiteSpace(std::string_view text) {
  const size_t start = text.find_first_not_of(kWhiteSpace);
  if (start == std::string_view::npos) return {};
  return text.substr(start, text.find_last_not_of(kWhiteSpace) - start + 1);
}

// Integers above the signed range become reals, which keep their magnitude.
std::optional<Number> parsedInteger(std::string_view text) {
  const bool isNegative = text.starts_with('-');
  if (isNegative || text.starts_with('+')) text.remove_prefix(1);
  const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
  if (isHexadecimal) text.remove_prefix(2);
  uint64_t magnitude = 0;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, magnitude, isHexadecimal ? 16 : 10);
  if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
  constexpr uint64_t kTwoTo63 = uint64_t{1} << 63;
  if (isNegative && magnitude > kTwoTo63) return std::nullopt;
  if (isNegative) return Number{static_cast<int64_t>(0 - magnitude)};
  if (magnitude >= kTwoTo63) return Number{static_cast<double>(magnitude)};
  return Number{static_cast<int64_t>(magnitude)};
}

std::optional<Number> parsedReal(std::string_view text) {
  if (text.starts_with('+')) text.remove_prefix(1);
  double real = 0;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, real);
  if (result.ec == std::errc::invalid_argument || result.ptr != end) return std::nullopt;
  if (result.ec == std::errc::result_out_of_range) real = text::doubleValue(text);
  return Number{real};
}

template <typename T>
Value valueOrNil(std::optional<T> parsed) {
  return parsed ? Value(std::move(*parsed)) : Value();
}

// The value of an element without children; nil when its text does not fit it.
Value leafValue(std::string_view element, const std::string& text) {
  if (element == "string") return text;
  const std::string_view trimmed = withoutOuterWhiteSpace(text);
  if (element == "integer") return valueOrNil(parsedInteger(trimmed));
  if (element == "real") return valueOrNil(parsedReal(trimmed));
  if (element == "date") return valueOrNil(parsedDate(trimmed));
  if (element == "data") return valueOrNil(decodedBase64(trimmed));
  if (!trimmed.empty()) return {};
  if (element == "true") return true;
  return element == "false" ? Value(false) : Value();
}

// Builds the value while Expat walks the text. Any fault stops the parser.
class XMLPropertyListReader {
 public:
  Value read(std::string_view xml) {
    const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser{XML_ParserCreate(nullptr),
                                                                              &XML_ParserFree};
    if (!parser || xml.size() > static_cast<size_t>(std::numeric_limits<int>::max())) return {};
    m_parser = parser.get();
    XML_SetUserData(m_parser, this);
    XML_SetElementHandler(m_parser, &onStart, &onEnd);
    XML_SetCharacterDataHandler(m_parser, &onText);
    // Entities of a document's own are no part of property lists, and blow up when they refer to each other.
    XML_SetEntityDeclHandler(m_parser, &onEntityDeclaration);
    XML_SetSkippedEntityHandler(m_parser, &onSkippedEntity);
    const auto status = XML_Parse(m_parser, xml.data(), static_cast<int>(xml.size()), XML_TRUE);
    return status == XML_STATUS_OK && !m_hasFailed ? std::move(m_root) : Value();
  }

 private:
  // An open dictionary or array.
  struct Container {
    bool isDictionary = false;
    std::optional<std::string> key;  // waits for its value
    Dictionary entries;
    Array members;
  };

  static XMLPropertyListReader& self(void* reader) { return *static_cast<XMLPropertyListReader*>(reader); }
  static void XMLCALL onStart(void* reader, const XML_Char* name, const XML_Char**) { self(reader).start(name); }
  static void XMLCALL onEnd(void* reader, const XML_Char* name) { self(reader).end(name); }
  static void XMLCALL onText(void* reader, const XML_Char* text, int length) {
    self(reader).text({text, static_cast<size_t>(length)});
  }
  static void XMLCALL onEntityDeclaration(void* reader, const XML_Char*, int, const XML_Char*, int, const XML_Char*,
                                          const XML_Char*, const XML_Char*, const XML_Char*) {
    self(reader).fail();
  }
  static void XMLCALL onSkippedEntity(void* reader, const XML_Char*, int) { self(reader).fail(); }

  // Expat may still call back after it was stopped, so every step asks first.
  void fail() {
    m_hasFailed = true;
    XML_StopParser(m_parser, XML_FALSE);
  }

  void start(std::string_view name) {
    if (m_hasFailed) return;
    if (name == "plist") {
      if (m_isInsidePlist) fail();
      m_isInsidePlist = true;
      return;
    }
    if (!m_isInsidePlist || m_isInsideLeaf) return fail();
    if (name == "dict" || name == "array") {
      if (m_open.size() >= kDepthLimit) return fail();
      m_open.push_back({.isDictionary = name == "dict"});
      return;
    }
    m_isInsideLeaf = true;
    m_text.clear();
  }

  void end(std::string_view name) {
    if (m_hasFailed) return;
    if (name == "plist") {
      if (m_root.isNil()) fail();
      return;
    }
    if (m_isInsideLeaf) {
      m_isInsideLeaf = false;
      return name == "key" ? addKey() : addValue(leafValue(name, m_text));
    }
    Container closed = std::move(m_open.back());
    m_open.pop_back();
    if (closed.key) return fail();
    addValue(closed.isDictionary ? Value(std::move(closed.entries)) : Value(std::move(closed.members)));
  }

  void text(std::string_view piece) {
    if (m_hasFailed) return;
    if (m_isInsideLeaf) {
      m_text += piece;
    } else if (!withoutOuterWhiteSpace(piece).empty()) {
      fail();
    }
  }

  void addKey() {
    const bool isExpected = !m_open.empty() && m_open.back().isDictionary && !m_open.back().key;
    if (!isExpected) return fail();
    m_open.back().key = m_text;
  }

  void addValue(Value value) {
    if (value.isNil()) return fail();
    if (m_open.empty()) {
      if (!m_root.isNil()) return fail();
      m_root = std::move(value);
      return;
    }
    Container& container = m_open.back();
    if (!container.isDictionary) {
      container.members.push_back(std::move(value));
      return;
    }
    if (!container.key) return fail();
    container.entries.insert_or_assign(std::move(*container.key), std::move(value));
    container.key.reset();
  }

  XML_Parser m_parser = nullptr;  // borrowed; lives during read()
  bool m_hasFailed = false;
  bool m_isInsidePlist = false;
  bool m_isInsideLeaf = false;
  std::string m_text;
  std::vector<Container> m_open;
  Value m_root;
};

// Writing.

constexpr std::string_view kXMLHeader =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";

// Each function answers false when XML cannot hold what it was given.
class XMLPropertyListWriter {
 public:
  std::string write(const Value& value) {
    m_result = kXMLHeader;
    if (!writeValue(value, 0)) return {};
    return m_result + "</plist>\n";
  }

 private:
  bool writeValue(const Value& value, size_t depth) {
    if (const Number* number = value.number()) return writeNumber(*number, depth);
    if (const std::string* string = value.string()) return writeElement("string", *string, depth);
    if (const Date* date = value.date()) return writeDate(*date, depth);
    if (const Bytes* bytes = value.bytes()) return writeData(*bytes, depth);
    if (depth >= kDepthLimit) return false;
    if (const Array* array = value.array()) return writeArray(*array, depth);
    if (const Dictionary* dictionary = value.dictionary()) return writeDictionary(*dictionary, depth);
    return false;
  }

  bool writeNumber(const Number& number, size_t depth) {
    if (const auto* truth = std::get_if<bool>(&number.value)) {
      writeLine(*truth ? "<true/>" : "<false/>", depth);
      return true;
    }
    char digits[40];
    const bool isInteger = std::holds_alternative<int64_t>(number.value);
    const auto result = isInteger ? std::to_chars(digits, digits + sizeof digits, std::get<int64_t>(number.value))
                                  : std::to_chars(digits, digits + sizeof digits, std::get<double>(number.value));
    return writeElement(isInteger ? "integer" : "real", {digits, result.ptr}, depth);
  }

  bool writeDate(const Date& date, size_t depth) {
    const auto text = dateText(date);
    return text && writeElement("date", *text, depth);
  }

  bool writeData(const Bytes& bytes, size_t depth) {
    static constexpr size_t kLineLength = 76;
    const std::string digits = base64(bytes);
    writeLine("<data>", depth);
    for (size_t i = 0; i < digits.size(); i += kLineLength) writeLine(digits.substr(i, kLineLength), depth);
    writeLine("</data>", depth);
    return true;
  }

  bool writeArray(const Array& array, size_t depth) {
    if (array.empty()) {
      writeLine("<array/>", depth);
      return true;
    }
    writeLine("<array>", depth);
    for (const Value& member : array) {
      if (!writeValue(member, depth + 1)) return false;
    }
    writeLine("</array>", depth);
    return true;
  }

  bool writeDictionary(const Dictionary& dictionary, size_t depth) {
    if (dictionary.empty()) {
      writeLine("<dict/>", depth);
      return true;
    }
    writeLine("<dict>", depth);
    for (const auto& [key, value] : dictionary) {
      if (!writeElement("key", key, depth + 1) || !writeValue(value, depth + 1)) return false;
    }
    writeLine("</dict>", depth);
    return true;
  }

  bool writeElement(std::string_view name, std::string_view text, size_t depth) {
    if (!text::isValidUTF8(text)) return false;
    m_result.append(depth, '\t').append("<").append(name).append(">");
    for (size_t i = 0; i < text.size(); ++i) {
      if (!writeByte(text, i)) return false;
    }
    m_result.append("</").append(name).append(">\n");
    return true;
  }

  bool writeByte(std::string_view text, size_t position) {
    const char c = text[position];
    const std::string_view character = text.substr(position, 3);
    const bool isControl = static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r';
    if (isControl || character == "\xEF\xBF\xBE" || character == "\xEF\xBF\xBF") return false;
    if (c == '&') {
      m_result += "&amp;";
    } else if (c == '<') {
      m_result += "&lt;";
    } else if (c == '>') {
      m_result += "&gt;";
    } else if (c == '\r') {
      m_result += "&#13;";
    } else {
      m_result += c;
    }
    return true;
  }

  void writeLine(std::string_view text, size_t depth) { m_result.append(depth, '\t').append(text).append("\n"); }

  std::string m_result;
};

}  // namespace

Value valueFromXMLPropertyList(std::string_view xml) {
  return XMLPropertyListReader().read(xml);
}

std::string xmlPropertyList(const Value& value) {
  return XMLPropertyListWriter().write(value);
}

}  // namespace vesk
