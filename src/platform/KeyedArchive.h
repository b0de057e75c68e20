// Keyed archives in a binary property list: the publicly documented layout ("$archiver", "$top", "$objects"), read and
// written. Decoding takes untrusted bytes: it answers nil in linear time for anything malformed, never throws, never
// recurses without a bound and allocates nothing whose size is not backed by bytes that are there. Objects are decoded
// once and shared. Nil comes also of objects that hold each other in a circle, of more than 512 levels, and of so many
// shared references that the value, written out as a tree, would be far larger than the archive; whoever gets a value
// may walk over it. Safe on any thread.
#pragma once

#include <functional>
#include <initializer_list>
#include <span>
#include <string_view>

#include "VeskLoopManagement/platform/PropertyList.h"

namespace vesk {

// Says which objects of own classes an archive may hold. Arrays, dictionaries, strings, numbers, dates, data, URLs and
// nulls are always admitted, and so are boxed values ("NSValue"), which come back as objects. Empty: no own classes at
// all. An object that is not admitted makes the whole archive decode to nil.
using ArchivedObjectFilter = std::function<bool(const ArchivedObject&)>;

// Whether an archive may hold sets; one that may not decodes to nil when it does.
enum class ArchivedSets { refused, admitted };

// The object stored under `rootKey` ("root", "rootDict") of the archive; nil when there is none or the archive is
// malformed. Mutable strings, data and containers come back as their plain kinds.
Value unarchivedRoot(std::span<const std::byte> archive, std::string_view rootKey,
                     const ArchivedObjectFilter& admits = {}, ArchivedSets sets = ArchivedSets::admitted);

// The archive of `root` under `rootKey`. Whatever is equal is stored once, so equal values give equal bytes. Nil inside
// of containers is left out. Empty when `root` is deeper than 512 levels. An ArchivedObject is written under its class
// names, its fields behind references.
Bytes archivedRoot(const Value& root, std::string_view rootKey);

// Fields of an ArchivedObject written by a coder's scalar operations stand inline in the object's dictionary. A field
// is inline when its key is listed here; a real among them is written with 4 bytes.
struct InlineFields {
  std::string_view className;
  std::initializer_list<std::string_view> keys;
};
Bytes archivedRoot(const Value& root, std::string_view rootKey, std::span<const InlineFields> inlineFields);

}  // namespace vesk
