// Binary property lists ("bplist00"), the container of keyed archives. The reader hands out the flat object table, so
// that an archive's references cost nothing until they are followed; budgets make hostile input harmless. Safe on any
// thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <variant>
#include <vector>

#include "VeskLoopManagement/platform/PropertyList.h"

namespace vesk {

struct PlistUID {
  uint64_t value = 0;
  bool operator==(const PlistUID&) const = default;
};

// One object of the table. Containers refer to other objects by their index in the table.
struct PlistNode {
  struct List {
    std::vector<uint32_t> members;
    bool isSet = false;
  };
  struct Map {
    std::vector<std::pair<uint32_t, uint32_t>> entries;  // key, value
  };
  struct Real32 {  // a real that is written with 4 bytes; the reader answers every real as a Value
    float value = 0;
  };
  std::variant<Value, PlistUID, List, Map, Real32> content;  // Value: null, number, date, bytes or string
};

// More objects than any archive of ours holds. Keeps what a large hostile payload takes in memory small.
constexpr size_t kPlistObjectLimit = 1'000'000;

struct PlistGraph {
  std::vector<PlistNode> nodes;
  uint32_t root = 0;
};

// nullopt when malformed: an index out of range, an object outside the file, a size that is not there, a key that is no
// text, or too many objects. Reads each object once; objects may not share bytes, so that all they hold
// together is bounded by the size of `bytes`. References may form circles.
std::optional<PlistGraph> parseBinaryPropertyList(std::span<const std::byte> bytes);
// The same graph from an XML property list in which {CF$UID: n} dictionaries stand for UIDs.
std::optional<PlistGraph> parseXMLPropertyListGraph(std::span<const std::byte> bytes);

// Writes the graph; `nodes` are written in their order.
Bytes writeBinaryPropertyList(const PlistGraph& graph);
// One node as it stands in the file, each reference in it taking `referenceSize` bytes. Different nodes have different
// bytes.
void appendPlistNode(Bytes& bytes, const PlistNode& node, size_t referenceSize);

}  // namespace vesk
