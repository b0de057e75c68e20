#include "platform/BinaryPropertyList.h"

#include <unicode/unistr.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>

namespace vesk {

namespace {

// The file: "bplist00", the objects, the table of their offsets, and a trailer of 32 bytes:
//   offset 0   6 unused bytes                             offset 8   uint64  number of objects
//   offset 6   uint8  size of an offset in the table      offset 16  uint64  index of the root object
//   offset 7   uint8  size of a reference in an object    offset 24  uint64  where the table begins
// All numbers are big-endian. An object begins with a byte whose high half is its kind and whose low half is its size
// or length; 15 there means that the length follows as an integer object.
constexpr std::string_view kMagic = "bplist00";
constexpr size_t kTrailerSize = 32;
constexpr size_t kLongLength = 15;

enum Kind : uint8_t {
  kSimple = 0x0,
  kInteger = 0x1,
  kReal = 0x2,
  kDate = 0x3,
  kData = 0x4,
  kASCII = 0x5,
  kUTF16 = 0x6,
  kUID = 0x8,
  kArray = 0xA,
  kSet = 0xC,
  kDictionary = 0xD,
};
constexpr uint8_t kNullByte = 0x00;
constexpr uint8_t kFalseByte = 0x08;
constexpr uint8_t kTrueByte = 0x09;
constexpr uint8_t kReal32Byte = 0x22;
constexpr uint8_t kReal64Byte = 0x23;
constexpr uint8_t kDateByte = 0x33;

using Source = std::span<const std::byte>;

// `bytes` holds at most 8 bytes.
uint64_t unsignedValue(Source bytes) {
  uint64_t value = 0;
  for (const std::byte byte : bytes) value = value << 8 | std::to_integer<uint64_t>(byte);
  return value;
}

Value integerFromUnsigned(uint64_t value) {
  if (value > static_cast<uint64_t>(std::numeric_limits<int64_t>::max())) return static_cast<double>(value);
  return static_cast<int64_t>(value);
}

std::string textFromUTF16(Source bytes) {
  icu::UnicodeString units;
  for (size_t i = 0; i + 1 < bytes.size(); i += 2)
    units.append(static_cast<char16_t>(unsignedValue(bytes.subspan(i, 2))));
  std::string result;
  units.toUTF8String(result);
  return result;
}

// Reads one object. Every step answers nullopt when the object is malformed or not wholly there.
class NodeReader {
 public:
  NodeReader(Source bytes, uint64_t objectCount, size_t referenceSize)
      : m_rest(bytes), m_size(bytes.size()), m_objectCount(objectCount), m_referenceSize(referenceSize) {}

  size_t consumed() const { return m_size - m_rest.size(); }

  std::optional<PlistNode> read() {
    const auto marker = takeNumber(1);
    if (!marker) return std::nullopt;
    const auto low = static_cast<size_t>(*marker & 0xF);
    switch (*marker >> 4) {
      case kSimple:
        return simple(static_cast<uint8_t>(*marker));
      case kInteger:
        return integer(low);
      case kReal:
        return real(static_cast<uint8_t>(*marker));
      case kDate:
        return date(static_cast<uint8_t>(*marker));
      case kData:
        return data(low);
      case kASCII:
        return ascii(low);
      case kUTF16:
        return utf16(low);
      case kUID:
        return uid(low);
      case kArray:
      case kSet:
        return list(low, *marker >> 4 == kSet);
      case kDictionary:
        return map(low);
      default:
        return std::nullopt;
    }
  }

 private:
  std::optional<Source> take(uint64_t count) {
    if (count > m_rest.size()) return std::nullopt;
    const Source taken = m_rest.first(static_cast<size_t>(count));
    m_rest = m_rest.subspan(static_cast<size_t>(count));
    return taken;
  }

  std::optional<uint64_t> takeNumber(size_t size) {
    const auto bytes = take(size);
    if (!bytes) return std::nullopt;
    return unsignedValue(*bytes);
  }

  // `count` items of `itemSize` bytes each, when they are there.
  std::optional<Source> takeItems(size_t low, size_t itemSize) {
    const auto count = takeLength(low);
    if (!count || *count > m_rest.size() / itemSize) return std::nullopt;
    return take(*count * itemSize);
  }

  std::optional<uint64_t> takeLength(size_t low) {
    if (low != kLongLength) return low;
    const auto marker = takeNumber(1);
    if (!marker || *marker >> 4 != kInteger || (*marker & 0xF) > 3) return std::nullopt;
    return takeNumber(size_t{1} << (*marker & 0xF));
  }

  std::optional<PlistNode> simple(uint8_t marker) {
    if (marker == kNullByte) return PlistNode{Value(Value::Null{})};
    if (marker == kFalseByte || marker == kTrueByte) return PlistNode{Value(marker == kTrueByte)};
    return std::nullopt;
  }

  std::optional<PlistNode> integer(size_t low) {
    if (low == 4) return integerOf16Bytes();
    if (low > 4) return std::nullopt;
    const auto number = takeNumber(size_t{1} << low);
    if (!number) return std::nullopt;
    return PlistNode{low == 3 ? Value(static_cast<int64_t>(*number)) : integerFromUnsigned(*number)};
  }

  std::optional<PlistNode> integerOf16Bytes() {
    const auto high = takeNumber(8);
    const auto low = takeNumber(8);
    if (!high || !low) return std::nullopt;
    const auto signedLow = static_cast<int64_t>(*low);
    if (*high == 0) return PlistNode{integerFromUnsigned(*low)};
    if (*high == ~uint64_t{0} && signedLow < 0) return PlistNode{Value(signedLow)};
    return std::nullopt;
  }

  std::optional<PlistNode> real(uint8_t marker) {
    if (marker != kReal32Byte && marker != kReal64Byte) return std::nullopt;
    const bool isShort = marker == kReal32Byte;
    const auto bits = takeNumber(isShort ? 4 : 8);
    if (!bits) return std::nullopt;
    const double number = isShort ? std::bit_cast<float>(static_cast<uint32_t>(*bits)) : std::bit_cast<double>(*bits);
    return PlistNode{Value(number)};
  }

  std::optional<PlistNode> date(uint8_t marker) {
    const auto bits = takeNumber(8);
    if (marker != kDateByte || !bits) return std::nullopt;
    return PlistNode{Value(Date{std::bit_cast<double>(*bits)})};
  }

  std::optional<PlistNode> data(size_t low) {
    const auto bytes = takeItems(low, 1);
    if (!bytes) return std::nullopt;
    return PlistNode{Value(Bytes(bytes->begin(), bytes->end()))};
  }

  // Some writers put UTF-8 here, which is taken as it is.
  std::optional<PlistNode> ascii(size_t low) {
    const auto bytes = takeItems(low, 1);
    if (!bytes || !text::isValidUTF8(*bytes)) return std::nullopt;
    return PlistNode{Value(std::string(reinterpret_cast<const char*>(bytes->data()), bytes->size()))};
  }

  std::optional<PlistNode> utf16(size_t low) {
    const auto bytes = takeItems(low, 2);
    if (!bytes) return std::nullopt;
    return PlistNode{Value(textFromUTF16(*bytes))};
  }

  std::optional<PlistNode> uid(size_t low) {
    if (low > 7) return std::nullopt;
    const auto number = takeNumber(low + 1);
    if (!number) return std::nullopt;
    return PlistNode{PlistUID{*number}};
  }

  // nullopt also when one of them is out of range.
  std::optional<std::vector<uint32_t>> references(Source bytes) const {
    std::vector<uint32_t> result;
    result.reserve(bytes.size() / m_referenceSize);
    for (size_t i = 0; i < bytes.size(); i += m_referenceSize) {
      const uint64_t reference = unsignedValue(bytes.subspan(i, m_referenceSize));
      if (reference >= m_objectCount) return std::nullopt;
      result.push_back(static_cast<uint32_t>(reference));
    }
    return result;
  }

  std::optional<PlistNode> list(size_t low, bool isSet) {
    const auto bytes = takeItems(low, m_referenceSize);
    if (!bytes) return std::nullopt;
    auto members = references(*bytes);
    if (!members) return std::nullopt;
    return PlistNode{PlistNode::List{std::move(*members), isSet}};
  }

  // All keys stand before all values.
  std::optional<PlistNode> map(size_t low) {
    const auto bytes = takeItems(low, 2 * m_referenceSize);
    if (!bytes) return std::nullopt;
    const auto all = references(*bytes);
    if (!all) return std::nullopt;
    const size_t count = all->size() / 2;
    PlistNode::Map result;
    result.entries.reserve(count);
    for (size_t i = 0; i < count; ++i) result.entries.emplace_back((*all)[i], (*all)[count + i]);
    return PlistNode{std::move(result)};
  }

  Source m_rest;
  size_t m_size;
  uint64_t m_objectCount;
  size_t m_referenceSize;
};

struct Trailer {
  size_t offsetSize = 0;
  size_t referenceSize = 0;
  uint64_t objectCount = 0;
  uint64_t root = 0;
  uint64_t tableOffset = 0;
};

// nullopt when the figures contradict each other or the size of the file.
std::optional<Trailer> decodedTrailer(Source bytes) {
  if (bytes.size() < kMagic.size() + kTrailerSize) return std::nullopt;
  if (std::memcmp(bytes.data(), kMagic.data(), kMagic.size()) != 0) return std::nullopt;
  const Source trailer = bytes.last(kTrailerSize);
  const Trailer result{.offsetSize = std::to_integer<size_t>(trailer[6]),
                       .referenceSize = std::to_integer<size_t>(trailer[7]),
                       .objectCount = unsignedValue(trailer.subspan(8, 8)),
                       .root = unsignedValue(trailer.subspan(16, 8)),
                       .tableOffset = unsignedValue(trailer.subspan(24, 8))};
  const auto isSize = [](size_t size) { return size >= 1 && size <= 8; };
  if (!isSize(result.offsetSize) || !isSize(result.referenceSize)) return std::nullopt;
  const uint64_t trailerOffset = bytes.size() - kTrailerSize;
  if (result.tableOffset < kMagic.size() || result.tableOffset > trailerOffset) return std::nullopt;
  if (result.objectCount > (trailerOffset - result.tableOffset) / result.offsetSize) return std::nullopt;
  if (result.objectCount > kPlistObjectLimit || result.root >= result.objectCount) return std::nullopt;
  return result;
}

bool isText(const PlistNode& node) {
  const auto* value = std::get_if<Value>(&node.content);
  return value && value->string();
}

bool allKeysAreText(const PlistGraph& graph) {
  return std::all_of(graph.nodes.begin(), graph.nodes.end(), [&graph](const PlistNode& node) {
    const auto* map = std::get_if<PlistNode::Map>(&node.content);
    if (!map) return true;
    return std::all_of(map->entries.begin(), map->entries.end(),
                       [&graph](const auto& entry) { return isText(graph.nodes[entry.first]); });
  });
}

// Turns a value tree into a graph; every value becomes a node of its own.
class GraphFromValue {
 public:
  // nullopt when there are too many nodes.
  std::optional<PlistGraph> make(const Value& value) {
    m_graph.root = add(value);
    if (m_graph.nodes.size() > kPlistObjectLimit) return std::nullopt;
    return std::move(m_graph);
  }

 private:
  uint32_t add(const Value& value) {
    const auto index = static_cast<uint32_t>(m_graph.nodes.size());
    m_graph.nodes.emplace_back();
    PlistNode node = nodeFor(value);
    m_graph.nodes[index] = std::move(node);
    return index;
  }

  PlistNode nodeFor(const Value& value) {
    if (const Array* array = value.array()) {
      PlistNode::List list;
      for (const Value& member : *array) list.members.push_back(add(member));
      return {std::move(list)};
    }
    const Dictionary* dictionary = value.dictionary();
    if (!dictionary) return {value};
    if (const auto uid = uidIn(*dictionary)) return {*uid};
    PlistNode::Map map;
    for (const auto& [key, entry] : *dictionary) {
      const uint32_t keyNode = add(key);
      map.entries.emplace_back(keyNode, add(entry));
    }
    return {std::move(map)};
  }

  static std::optional<PlistUID> uidIn(const Dictionary& dictionary) {
    const Value entry = valueForKey(&dictionary, "CF$UID");
    const Number* number = entry.number();
    if (dictionary.size() != 1 || !number || number->integerValue() < 0) return std::nullopt;
    return PlistUID{static_cast<uint64_t>(number->integerValue())};
  }

  PlistGraph m_graph;
};

// Writing.

void appendNumber(Bytes& bytes, uint64_t value, size_t size) {
  for (size_t i = size; i > 0; --i) bytes.push_back(static_cast<std::byte>(value >> (8 * (i - 1)) & 0xFF));
}

// The smallest of 1, 2, 4 and 8 bytes that holds `value`.
size_t sizeFor(uint64_t value) {
  if (value <= 0xFF) return 1;
  if (value <= 0xFFFF) return 2;
  return value <= 0xFFFFFFFF ? 4 : 8;
}

void appendInteger(Bytes& bytes, int64_t value) {
  const size_t size = value < 0 ? 8 : sizeFor(static_cast<uint64_t>(value));
  appendNumber(bytes, kInteger << 4 | static_cast<uint64_t>(std::countr_zero(size)), 1);
  appendNumber(bytes, static_cast<uint64_t>(value), size);
}

void appendMarker(Bytes& bytes, Kind kind, size_t count) {
  appendNumber(bytes, static_cast<uint64_t>(kind) << 4 | std::min(count, kLongLength), 1);
  if (count >= kLongLength) appendInteger(bytes, static_cast<int64_t>(count));
}

void appendText(Bytes& bytes, const std::string& value) {
  if (text::isASCII(value)) {
    appendMarker(bytes, kASCII, value.size());
    for (const char c : value) bytes.push_back(static_cast<std::byte>(c));
    return;
  }
  const std::u16string units = text::toUTF16(value);
  appendMarker(bytes, kUTF16, units.size());
  for (const char16_t unit : units) appendNumber(bytes, unit, 2);
}

void appendScalar(Bytes& bytes, const Number& number) {
  if (const auto* truth = std::get_if<bool>(&number.value)) {
    appendNumber(bytes, *truth ? kTrueByte : kFalseByte, 1);
  } else if (const auto* integer = std::get_if<int64_t>(&number.value)) {
    appendInteger(bytes, *integer);
  } else {
    appendNumber(bytes, kReal64Byte, 1);
    appendNumber(bytes, std::bit_cast<uint64_t>(std::get<double>(number.value)), 8);
  }
}

void appendContent(Bytes& bytes, const Value& value, size_t) {
  if (const Number* number = value.number()) {
    appendScalar(bytes, *number);
  } else if (const std::string* string = value.string()) {
    appendText(bytes, *string);
  } else if (const Date* date = value.date()) {
    appendNumber(bytes, kDateByte, 1);
    appendNumber(bytes, std::bit_cast<uint64_t>(date->seconds), 8);
  } else if (const Bytes* data = value.bytes()) {
    appendMarker(bytes, kData, data->size());
    bytes.insert(bytes.end(), data->begin(), data->end());
  } else {
    appendNumber(bytes, kNullByte, 1);
  }
}

void appendContent(Bytes& bytes, const PlistNode::Real32& real, size_t) {
  appendNumber(bytes, kReal32Byte, 1);
  appendNumber(bytes, std::bit_cast<uint32_t>(real.value), 4);
}

void appendContent(Bytes& bytes, const PlistUID& uid, size_t) {
  const size_t size = sizeFor(uid.value);
  appendNumber(bytes, static_cast<uint64_t>(kUID) << 4 | (size - 1), 1);
  appendNumber(bytes, uid.value, size);
}

void appendContent(Bytes& bytes, const PlistNode::List& list, size_t referenceSize) {
  appendMarker(bytes, list.isSet ? kSet : kArray, list.members.size());
  for (const uint32_t member : list.members) appendNumber(bytes, member, referenceSize);
}

void appendContent(Bytes& bytes, const PlistNode::Map& map, size_t referenceSize) {
  appendMarker(bytes, kDictionary, map.entries.size());
  for (const auto& entry : map.entries) appendNumber(bytes, entry.first, referenceSize);
  for (const auto& entry : map.entries) appendNumber(bytes, entry.second, referenceSize);
}

}  // namespace

std::optional<PlistGraph> parseBinaryPropertyList(std::span<const std::byte> bytes) {
  const auto trailer = decodedTrailer(bytes);
  if (!trailer) return std::nullopt;
  const auto tableOffset = static_cast<size_t>(trailer->tableOffset);
  const Source objects = bytes.first(tableOffset);
  PlistGraph graph;
  graph.root = static_cast<uint32_t>(trailer->root);
  size_t bytesLeft = objects.size() - kMagic.size();
  for (size_t i = 0; i < trailer->objectCount; ++i) {
    const uint64_t offset = unsignedValue(bytes.subspan(tableOffset + i * trailer->offsetSize, trailer->offsetSize));
    if (offset < kMagic.size() || offset >= objects.size()) return std::nullopt;
    const Source rest = objects.subspan(static_cast<size_t>(offset));
    NodeReader reader(rest.first(std::min(rest.size(), bytesLeft)), trailer->objectCount, trailer->referenceSize);
    auto node = reader.read();
    if (!node) return std::nullopt;
    bytesLeft -= reader.consumed();
    graph.nodes.push_back(std::move(*node));
  }
  if (!allKeysAreText(graph)) return std::nullopt;
  return graph;
}

std::optional<PlistGraph> parseXMLPropertyListGraph(std::span<const std::byte> bytes) {
  const Value value = valueFromXMLPropertyList({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  if (value.isNil()) return std::nullopt;
  return GraphFromValue().make(value);
}

void appendPlistNode(Bytes& bytes, const PlistNode& node, size_t referenceSize) {
  std::visit([&](const auto& content) { appendContent(bytes, content, referenceSize); }, node.content);
}

Bytes writeBinaryPropertyList(const PlistGraph& graph) {
  const size_t referenceSize = sizeFor(graph.nodes.size());
  Bytes bytes;
  for (const char c : kMagic) bytes.push_back(static_cast<std::byte>(c));
  std::vector<size_t> offsets;
  for (const PlistNode& node : graph.nodes) {
    offsets.push_back(bytes.size());
    appendPlistNode(bytes, node, referenceSize);
  }
  const size_t tableOffset = bytes.size();
  const size_t offsetSize = sizeFor(tableOffset);
  for (const size_t offset : offsets) appendNumber(bytes, offset, offsetSize);
  appendNumber(bytes, 0, 6);
  appendNumber(bytes, offsetSize, 1);
  appendNumber(bytes, referenceSize, 1);
  appendNumber(bytes, graph.nodes.size(), 8);
  appendNumber(bytes, graph.root, 8);
  appendNumber(bytes, tableOffset, 8);
  return bytes;
}

}  // namespace vesk
