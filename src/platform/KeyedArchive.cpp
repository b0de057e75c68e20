#include "platform/KeyedArchive.h"

#include "platform/BinaryPropertyList.h"
#include "VeskLoopManagement/platform/URL.h"

#include <algorithm>
#include <map>
#include <unordered_map>

namespace vesk {

namespace {

// The layout: a dictionary with "$version", "$archiver", "$top" (root key → UID) and "$objects", whose element 0 is
// the text "$null". A UID is an index in "$objects". Text, numbers and data stand there directly; every other object is
// a dictionary whose "$class" is the UID of {"$classname", "$classes"}.
constexpr int64_t kVersion = 100000;
constexpr std::string_view kArchiverName = "NSKeyedArchiver";
constexpr std::string_view kVersionKey = "$version";
constexpr std::string_view kArchiverKey = "$archiver";
constexpr std::string_view kTopKey = "$top";
constexpr std::string_view kObjectsKey = "$objects";
constexpr std::string_view kNullText = "$null";
constexpr std::string_view kClassKey = "$class";
constexpr std::string_view kClassNameKey = "$classname";
constexpr std::string_view kClassNamesKey = "$classes";
constexpr std::string_view kKeysKey = "NS.keys";
constexpr std::string_view kMembersKey = "NS.objects";
constexpr std::string_view kOldKeyPrefix = "NS.key.";
constexpr std::string_view kOldMemberPrefix = "NS.object.";
constexpr std::string_view kTextKey = "NS.string";
constexpr std::string_view kDataKey = "NS.data";
constexpr std::string_view kTimeKey = "NS.time";
constexpr std::string_view kRelativeKey = "NS.relative";
constexpr std::string_view kBaseKey = "NS.base";

constexpr size_t kDepthLimit = 512;

// Keys that begin with "$" belong to the archiver; those of users get one more.
std::string escapedKey(std::string_view key) {
  return (key.starts_with('$') ? "$" : "") + std::string(key);
}

bool belongsToArchiver(std::string_view key) {
  return key.starts_with('$') && !key.starts_with("$$");
}

std::string_view unescapedKey(std::string_view key) {
  return key.starts_with("$$") ? key.substr(1) : key;
}

// Reading.

class ArchiveReader {
 public:
  // `graph` and `admits` are borrowed and outlive the reader.
  ArchiveReader(const PlistGraph& graph, size_t archiveSize, const ArchivedObjectFilter& admits, ArchivedSets sets)
      : m_graph(graph), m_admits(admits), m_sets(sets), m_weightLeft(weightLimit(archiveSize)) {}

  Value root(std::string_view rootKey) {
    const auto* top = mapAt(m_graph.root);
    if (!top) return {};
    const PlistNode* objects = nullptr;
    const PlistNode::Map* roots = nullptr;
    for (const auto& [key, value] : top->entries) {
      if (textOf(key) == kObjectsKey) objects = &m_graph.nodes[value];
      if (textOf(key) == kTopKey) roots = mapAt(value);
    }
    m_objects = objects ? std::get_if<PlistNode::List>(&objects->content) : nullptr;
    if (!m_objects || !roots || m_objects->members.size() > kPlistObjectLimit) return {};
    m_decoded.resize(m_objects->members.size());
    const std::string escaped = escapedKey(rootKey);
    for (const auto& [key, value] : roots->entries) {
      const auto* uid = std::get_if<PlistUID>(&m_graph.nodes[value].content);
      if (textOf(key) == escaped) return uid ? decodedRoot(*uid) : Value();
    }
    return {};
  }

 private:
  // What the value may weigh in bytes when all shared references are written out; see Decoded.
  static constexpr size_t kWeightPerByte = 64;
  static constexpr size_t kLeastLimit = size_t{1} << 20;
  static constexpr size_t kGreatestLimit = size_t{1} << 30;
  static constexpr size_t kReferenceWeight = 64;

  static size_t weightLimit(size_t archiveSize) {
    const size_t size = std::min(archiveSize, kGreatestLimit);
    return std::min(size * kWeightPerByte + kLeastLimit, kGreatestLimit);
  }

  // One element of "$objects".
  struct Decoded {
    enum class State { untouched, underWay, done };
    State state = State::untouched;
    Value value;
    size_t height = 0;  // levels of containers in it
    size_t weight = 0;  // about the bytes that it takes, shared ones counted at each place
  };

  // An object's dictionary with its keys as texts, sorted by them.
  class Fields {
   public:
    Fields(const ArchiveReader& reader, const PlistNode::Map& map) {
      m_entries.reserve(map.entries.size());
      for (const auto& [key, value] : map.entries)
        m_entries.emplace_back(reader.textOf(key), &reader.m_graph.nodes[value]);
      std::stable_sort(m_entries.begin(), m_entries.end(),
                       [](const Entry& left, const Entry& right) { return left.first < right.first; });
    }
    const PlistNode* find(std::string_view key) const {
      const auto found =
          std::lower_bound(m_entries.begin(), m_entries.end(), key,
                           [](const Entry& entry, std::string_view wanted) { return entry.first < wanted; });
      return found != m_entries.end() && found->first == key ? found->second : nullptr;
    }
    auto begin() const { return m_entries.begin(); }
    auto end() const { return m_entries.end(); }

   private:
    using Entry = std::pair<std::string_view, const PlistNode*>;
    std::vector<Entry> m_entries;
  };

  using ClassNames = std::vector<std::string>;

  // The root's value, or nil when anything below it failed.
  Value decodedRoot(const PlistUID& uid) {
    Value value = decode(uid.value, 0).value_or(Value());
    return m_hasFailed ? Value() : value;
  }

  std::optional<Value> fail() {
    m_hasFailed = true;
    return std::nullopt;
  }

  // Everything that costs time or memory is paid for before it is done.
  bool pay(size_t weight) {
    if (weight > m_weightLeft) {
      m_hasFailed = true;
      return false;
    }
    m_weightLeft -= weight;
    return true;
  }

  const PlistNode::Map* mapAt(uint32_t index) const {
    return std::get_if<PlistNode::Map>(&m_graph.nodes[index].content);
  }

  // The parser made sure that keys are texts.
  std::string_view textOf(uint32_t index) const {
    const auto* value = std::get_if<Value>(&m_graph.nodes[index].content);
    const std::string* string = value ? value->string() : nullptr;
    return string ? std::string_view(*string) : std::string_view();
  }

  const PlistNode* objectNode(uint64_t uid) const {
    if (uid >= m_objects->members.size()) return nullptr;
    return &m_graph.nodes[m_objects->members[static_cast<size_t>(uid)]];
  }

  // Nil for UID 0; nullopt when the archive is malformed. `depth` counts the containers around the object.
  std::optional<Value> decode(uint64_t uid, size_t depth) {
    if (m_hasFailed || uid >= m_decoded.size()) return fail();
    if (uid == 0) return Value();
    Decoded& decoded = m_decoded[static_cast<size_t>(uid)];
    if (decoded.state == Decoded::State::underWay) return fail();
    if (decoded.state == Decoded::State::done) return shared(decoded, depth);
    decoded.state = Decoded::State::underWay;
    const size_t outerHeight = m_height;
    const size_t weightBefore = m_weightLeft;
    m_height = 0;
    auto value = depth > kDepthLimit ? fail() : decodeObject(*objectNode(uid), depth);
    if (!value || depth + m_height > kDepthLimit) return fail();
    decoded.state = Decoded::State::done;
    decoded.value = *value;
    decoded.height = m_height;
    decoded.weight = weightBefore - m_weightLeft;
    m_height = std::max(outerHeight, decoded.height);
    return value;
  }

  std::optional<Value> shared(const Decoded& decoded, size_t depth) {
    if (depth + decoded.height > kDepthLimit || !pay(decoded.weight)) return fail();
    m_height = std::max(m_height, decoded.height);
    return decoded.value;
  }

  std::optional<Value> decodeObject(const PlistNode& node, size_t depth) {
    if (const auto* value = std::get_if<Value>(&node.content)) return decodeScalar(*value);
    const auto* map = std::get_if<PlistNode::Map>(&node.content);
    if (!map || !pay(kReferenceWeight * (1 + map->entries.size()))) return fail();
    const Fields fields(*this, *map);
    const ClassNames* names = classNames(fields);
    if (!names) return fail();
    const auto is = [names](std::string_view name, std::string_view mutableName) {
      return std::find(names->begin(), names->end(), name) != names->end() ||
             std::find(names->begin(), names->end(), mutableName) != names->end();
    };
    if (is("NSDictionary", "NSMutableDictionary")) return decodeDictionary(fields, depth);
    if (is("NSArray", "NSMutableArray")) return decodeArray(fields, depth);
    if (is("NSSet", "NSMutableSet")) return decodeSet(fields, depth);
    if (is("NSString", "NSMutableString")) return decodeText(fields, depth);
    if (is("NSData", "NSMutableData")) return decodeData(fields, depth);
    if (is("NSDate", "NSDate")) return decodeDate(fields, depth);
    if (is("NSURL", "NSURL")) return decodeURL(fields, depth);
    if (is("NSNull", "NSNull")) return Value(Value::Null{});
    return decodeOwnObject(fields, *names, depth);
  }

  std::optional<Value> decodeScalar(const Value& value) {
    const size_t textSize = value.string() ? value.string()->size() : 0;
    const size_t dataSize = value.bytes() ? value.bytes()->size() : 0;
    if (!pay(kReferenceWeight + textSize + dataSize)) return fail();
    return value;
  }

  // What `node` stands for inside of an object: a reference is followed, a scalar is taken as it is.
  std::optional<Value> decodeField(const PlistNode* node, size_t depth) {
    if (!node) return Value();
    if (const auto* uid = std::get_if<PlistUID>(&node->content)) return decode(uid->value, depth);
    const auto* value = std::get_if<Value>(&node->content);
    return value ? decodeScalar(*value) : fail();
  }

  // Each class is looked at once; null when the object has none that can be read.
  const ClassNames* classNames(const Fields& fields) {
    const PlistNode* node = fields.find(kClassKey);
    const auto* uid = node ? std::get_if<PlistUID>(&node->content) : nullptr;
    if (!uid) return nullptr;
    const auto known = m_classes.find(uid->value);
    if (known != m_classes.end()) return &known->second;
    const PlistNode* object = objectNode(uid->value);
    const auto* map = object ? std::get_if<PlistNode::Map>(&object->content) : nullptr;
    if (!map || !pay(kReferenceWeight * (1 + map->entries.size()))) return nullptr;
    auto names = namesOfClass(Fields(*this, *map));
    if (!names) return nullptr;
    return &m_classes.emplace(uid->value, std::move(*names)).first->second;
  }

  std::optional<ClassNames> namesOfClass(const Fields& fields) {
    static constexpr size_t kNamesLimit = 32;
    static constexpr size_t kNameLengthLimit = 256;
    ClassNames names;
    const PlistNode* list = fields.find(kClassNamesKey);
    if (list && !std::holds_alternative<PlistNode::List>(list->content)) return std::nullopt;
    if (list) {
      for (const uint32_t member : std::get<PlistNode::List>(list->content).members) {
        if (names.size() == kNamesLimit || textOf(member).size() > kNameLengthLimit) return std::nullopt;
        if (!pay(textOf(member).size())) return std::nullopt;
        names.emplace_back(textOf(member));
      }
    }
    const PlistNode* ownName = fields.find(kClassNameKey);
    const auto* value = ownName ? std::get_if<Value>(&ownName->content) : nullptr;
    if (names.empty() && value && value->string() && value->string()->size() <= kNameLengthLimit) {
      names.push_back(*value->string());
    }
    if (names.empty()) return std::nullopt;
    return names;
  }

  // The members under `listKey`, or in the older form under `oldPrefix` with a number counting from 0.
  std::optional<std::vector<const PlistNode*>> memberNodes(const Fields& fields, std::string_view listKey,
                                                           std::string_view oldPrefix) {
    std::vector<const PlistNode*> nodes;
    if (const PlistNode* node = fields.find(listKey)) {
      const auto* list = std::get_if<PlistNode::List>(&node->content);
      if (!list || !pay(list->members.size())) return std::nullopt;
      for (const uint32_t member : list->members) nodes.push_back(&m_graph.nodes[member]);
      return nodes;
    }
    while (const PlistNode* node = fields.find(std::string(oldPrefix) + std::to_string(nodes.size()))) {
      nodes.push_back(node);
    }
    return nodes;
  }

  // Containers hold no nil.
  std::optional<Value> decodeMember(const PlistNode* node, size_t depth) {
    auto value = decodeField(node, depth + 1);
    return value && !value->isNil() ? value : fail();
  }

  std::optional<Array> decodeMembers(const Fields& fields, size_t depth) {
    const auto nodes = memberNodes(fields, kMembersKey, kOldMemberPrefix);
    if (!nodes) return std::nullopt;
    Array members;
    for (const PlistNode* node : *nodes) {
      auto member = decodeMember(node, depth);
      if (!member) return std::nullopt;
      members.push_back(std::move(*member));
    }
    ++m_height;
    return members;
  }

  std::optional<Value> decodeArray(const Fields& fields, size_t depth) {
    auto members = decodeMembers(fields, depth);
    return members ? Value(std::move(*members)) : fail();
  }

  std::optional<Value> decodeSet(const Fields& fields, size_t depth) {
    if (m_sets == ArchivedSets::refused) return fail();
    auto members = decodeMembers(fields, depth);
    return members ? Value(Value::Set{std::make_shared<const Array>(std::move(*members))}) : fail();
  }

  std::optional<Value> decodeDictionary(const Fields& fields, size_t depth) {
    const auto keys = memberNodes(fields, kKeysKey, kOldKeyPrefix);
    const auto values = memberNodes(fields, kMembersKey, kOldMemberPrefix);
    if (!keys || !values || keys->size() != values->size()) return fail();
    Dictionary dictionary;
    for (size_t i = 0; i < keys->size(); ++i) {
      const auto key = decodeMember((*keys)[i], depth);
      if (!key || !key->string()) return fail();
      auto value = decodeMember((*values)[i], depth);
      if (!value) return fail();
      dictionary.insert_or_assign(*key->string(), std::move(*value));
    }
    ++m_height;
    return Value(std::move(dictionary));
  }

  std::optional<Value> decodeText(const Fields& fields, size_t depth) {
    auto value = decodeField(fields.find(kTextKey), depth + 1);
    return value && value->string() ? value : fail();
  }

  std::optional<Value> decodeData(const Fields& fields, size_t depth) {
    auto value = decodeField(fields.find(kDataKey), depth + 1);
    return value && value->bytes() ? value : fail();
  }

  std::optional<Value> decodeDate(const Fields& fields, size_t depth) {
    const auto value = decodeField(fields.find(kTimeKey), depth + 1);
    if (!value || !value->number()) return fail();
    return Value(Date{value->number()->doubleValue()});
  }

  std::optional<Value> decodeURL(const Fields& fields, size_t depth) {
    const auto base = decodeField(fields.find(kBaseKey), depth + 1);
    const auto relative = decodeField(fields.find(kRelativeKey), depth + 1);
    if (!base || !relative || !relative->string()) return fail();
    if (!base->isNil() && !base->url()) return fail();
    const std::string baseText = base->url() ? base->url()->text : "";
    if (!pay(baseText.size() + relative->string()->size())) return fail();
    ++m_height;
    return Value(Value::URLText{joinedURLText(baseText, *relative->string())});
  }

  std::optional<Value> decodeOwnObject(const Fields& fields, const ClassNames& names, size_t depth) {
    ArchivedObject object{names, {}};
    for (const std::string& name : names) {
      if (!pay(name.size())) return fail();
    }
    for (const auto& [key, node] : fields) {
      if (belongsToArchiver(key)) continue;
      auto value = decodeField(node, depth + 1);
      if (!value || !pay(key.size())) return fail();
      if (!value->isNil()) object.fields.insert_or_assign(std::string(unescapedKey(key)), std::move(*value));
    }
    const bool isBoxedValue = std::find(names.begin(), names.end(), "NSValue") != names.end();
    if (!isBoxedValue && !(m_admits && m_admits(object))) return fail();
    ++m_height;
    return Value(std::make_shared<const ArchivedObject>(std::move(object)));
  }

  const PlistGraph& m_graph;
  const ArchivedObjectFilter& m_admits;
  ArchivedSets m_sets;
  const PlistNode::List* m_objects = nullptr;
  std::vector<Decoded> m_decoded;
  std::map<uint64_t, ClassNames> m_classes;
  size_t m_weightLeft;
  size_t m_height = 0;  // of what was decoded so far inside of the object under way
  bool m_hasFailed = false;
};

// Writing.

class ArchiveWriter {
 public:
  explicit ArchiveWriter(std::span<const InlineFields> inlineFields) : m_inlineFields(inlineFields) {}

  Bytes write(const Value& root, std::string_view rootKey) {
    m_objects.members.push_back(textNode(kNullText));
    const PlistUID rootUID{encode(root, 0).uid};
    if (m_hasFailed) return {};
    PlistNode::Map top;
    addEntry(top, escapedKey(rootKey), node({rootUID}));
    PlistNode::Map archive;
    addEntry(archive, kArchiverKey, textNode(kArchiverName));
    addEntry(archive, kObjectsKey, node({m_objects}));
    addEntry(archive, kTopKey, node({std::move(top)}));
    addEntry(archive, kVersionKey, node({Value(kVersion)}));
    m_graph.root = node({std::move(archive)});
    return writeBinaryPropertyList(m_graph);
  }

 private:
  struct Encoded {
    uint64_t uid = 0;
    size_t height = 0;  // levels of containers in it
  };

  // The index of a node with this content; equal nodes are one.
  uint32_t node(PlistNode content) {
    Bytes bytes;
    appendPlistNode(bytes, content, sizeof(uint32_t));
    const auto [found, isNew] = m_nodes.emplace(std::move(bytes), static_cast<uint32_t>(m_graph.nodes.size()));
    if (isNew) m_graph.nodes.push_back(std::move(content));
    return found->second;
  }

  uint32_t textNode(std::string_view text) { return node({Value(std::string(text))}); }

  uint32_t referenceTo(const Encoded& encoded) { return node({PlistUID{encoded.uid}}); }

  void addEntry(PlistNode::Map& map, std::string_view key, uint32_t value) {
    map.entries.emplace_back(textNode(key), value);
  }

  // The UID of the object that `index` is the node of.
  uint64_t objectFor(uint32_t index) {
    const auto [found, isNew] = m_uidByNode.emplace(index, m_objects.members.size());
    if (isNew) m_objects.members.push_back(index);
    return found->second;
  }

  // The reference to the class whose names, own name first, are `names`.
  uint32_t classReference(std::vector<std::string> names) {
    if (std::find(names.begin(), names.end(), "NSObject") == names.end()) names.emplace_back("NSObject");
    PlistNode::List list;
    for (const std::string& name : names) list.members.push_back(textNode(name));
    PlistNode::Map map;
    addEntry(map, kClassNamesKey, node({std::move(list)}));
    addEntry(map, kClassNameKey, textNode(names.front()));
    return node({PlistUID{objectFor(node({std::move(map)}))}});
  }

  Encoded objectWithClass(PlistNode::Map map, std::vector<std::string> classNames, size_t height) {
    addEntry(map, kClassKey, classReference(std::move(classNames)));
    return {objectFor(node({std::move(map)})), height};
  }

  // `depth` counts the containers around the value. Nil is UID 0.
  Encoded encode(const Value& value, size_t depth) {
    if (depth > kDepthLimit || m_hasFailed) {
      m_hasFailed = true;
      return {};
    }
    const Encoded encoded = encodeByKind(value, depth);
    if (depth + encoded.height > kDepthLimit) m_hasFailed = true;
    return encoded;
  }

  Encoded encodeByKind(const Value& value, size_t depth) {
    if (value.isNil()) return {};
    if (value.isNull()) return objectWithClass({}, {"NSNull"}, 0);
    if (value.string()) return encodeText(*value.string());
    if (value.date()) return encodeDate(*value.date());
    if (value.url()) return encodeURL(*value.url(), depth);
    if (value.number() || value.bytes()) return {objectFor(node({value})), 0};
    return encodeContainer(value, depth);
  }

  // The text that stands for nil must not be taken for it.
  Encoded encodeText(const std::string& text) {
    if (text != kNullText) return {objectFor(textNode(text)), 0};
    PlistNode::Map map;
    addEntry(map, kTextKey, textNode(text));
    return objectWithClass(std::move(map), {"NSMutableString", "NSString"}, 0);
  }

  Encoded encodeDate(const Date& date) {
    PlistNode::Map map;
    addEntry(map, kTimeKey, node({Value(date.seconds)}));
    return objectWithClass(std::move(map), {"NSDate"}, 0);
  }

  Encoded encodeURL(const Value::URLText& url, size_t depth) {
    PlistNode::Map map;
    addEntry(map, kBaseKey, referenceTo({}));
    addEntry(map, kRelativeKey, referenceTo(encode(url.text, depth)));
    return objectWithClass(std::move(map), {"NSURL"}, 1);
  }

  // A container that stands in several places is walked over once.
  Encoded encodeContainer(const Value& value, size_t depth) {
    const auto identity = identityOf(value);
    const auto known = m_containers.find(identity);
    if (known != m_containers.end()) return known->second;
    const Encoded encoded = newContainer(value, depth);
    m_containers.emplace(identity, encoded);
    return encoded;
  }

  // The shared contents, and whether they stand in a set, which may share them with an array.
  static std::pair<const void*, bool> identityOf(const Value& value) {
    if (value.array()) return {value.array(), false};
    if (value.dictionary()) return {value.dictionary(), false};
    if (value.object()) return {value.object(), false};
    return {value.setMembers(), true};
  }

  Encoded newContainer(const Value& value, size_t depth) {
    if (value.array()) return encodeMembers(*value.array(), {"NSArray"}, depth);
    if (value.dictionary()) return encodeDictionary(*value.dictionary(), depth);
    if (value.setMembers()) return encodeMembers(*value.setMembers(), {"NSSet"}, depth);
    return value.object() ? encodeOwnObject(*value.object(), depth) : Encoded{};
  }

  Encoded encodeMembers(const Array& members, std::vector<std::string> classNames, size_t depth) {
    PlistNode::List list;
    size_t height = 0;
    for (const Value& member : members) {
      const Encoded encoded = encode(member, depth + 1);
      if (encoded.uid == 0) continue;
      height = std::max(height, encoded.height);
      list.members.push_back(referenceTo(encoded));
    }
    PlistNode::Map map;
    addEntry(map, kMembersKey, node({std::move(list)}));
    return objectWithClass(std::move(map), std::move(classNames), height + 1);
  }

  Encoded encodeDictionary(const Dictionary& dictionary, size_t depth) {
    PlistNode::List keys;
    PlistNode::List values;
    size_t height = 0;
    for (const auto& [key, value] : dictionary) {
      const Encoded encoded = encode(value, depth + 1);
      if (encoded.uid == 0) continue;
      keys.members.push_back(referenceTo(encodeText(key)));
      height = std::max(height, encoded.height);
      values.members.push_back(referenceTo(encoded));
    }
    PlistNode::Map map;
    addEntry(map, kKeysKey, node({std::move(keys)}));
    addEntry(map, kMembersKey, node({std::move(values)}));
    return objectWithClass(std::move(map), {"NSDictionary"}, height + 1);
  }

  Encoded encodeOwnObject(const ArchivedObject& object, size_t depth) {
    PlistNode::Map map;
    size_t height = 0;
    for (const auto& [key, value] : object.fields) {
      if (value.number() && isInline(object, key)) {
        addEntry(map, escapedKey(key), node(inlineNumber(*value.number())));
        continue;
      }
      const Encoded encoded = encode(value, depth + 1);
      if (encoded.uid == 0) continue;
      height = std::max(height, encoded.height);
      addEntry(map, escapedKey(key), referenceTo(encoded));
    }
    return objectWithClass(std::move(map), object.classNames, height + 1);
  }

  bool isInline(const ArchivedObject& object, std::string_view key) const {
    return std::any_of(m_inlineFields.begin(), m_inlineFields.end(), [&](const InlineFields& fields) {
      const bool isOfClass = !object.classNames.empty() && object.classNames.front() == fields.className;
      return isOfClass && std::find(fields.keys.begin(), fields.keys.end(), key) != fields.keys.end();
    });
  }

  static PlistNode inlineNumber(const Number& number) {
    const auto* real = std::get_if<double>(&number.value);
    if (!real) return {Value(number)};
    return {PlistNode::Real32{static_cast<float>(*real)}};
  }

  std::span<const InlineFields> m_inlineFields;  // borrowed
  PlistGraph m_graph;
  std::map<Bytes, uint32_t> m_nodes;  // by their bytes in the file
  PlistNode::List m_objects;
  std::unordered_map<uint32_t, uint64_t> m_uidByNode;
  std::map<std::pair<const void*, bool>, Encoded> m_containers;
  bool m_hasFailed = false;
};

std::optional<PlistGraph> parsedGraph(std::span<const std::byte> archive) {
  const bool isBinary = !archive.empty() && archive.front() == std::byte{'b'};
  return isBinary ? parseBinaryPropertyList(archive) : parseXMLPropertyListGraph(archive);
}

}  // namespace

Value unarchivedRoot(std::span<const std::byte> archive, std::string_view rootKey, const ArchivedObjectFilter& admits,
                     ArchivedSets sets) {
  const auto graph = parsedGraph(archive);
  return graph ? ArchiveReader(*graph, archive.size(), admits, sets).root(rootKey) : Value();
}

Bytes archivedRoot(const Value& root, std::string_view rootKey) {
  return archivedRoot(root, rootKey, {});
}

Bytes archivedRoot(const Value& root, std::string_view rootKey, std::span<const InlineFields> inlineFields) {
  return ArchiveWriter(inlineFields).write(root, rootKey);
}

}  // namespace vesk
