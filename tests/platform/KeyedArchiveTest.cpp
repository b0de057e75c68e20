#include "platform/KeyedArchive.h"

#include "platform/BinaryPropertyList.h"
#include "platform/Path.h"
#include "support/AudioFixture.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <limits>

using namespace vesk;
using fixture::bytesFromHex;
using fixture::bytesOf;
using Texts = std::vector<std::string>;

namespace {

const ArchivedObjectFilter kAdmitsAll = [](const ArchivedObject&) { return true; };

// A binary property list of these objects, given as hex, with references of one byte and offsets of four. The first is
// the root.
Bytes plistFile(const Texts& objects) {
  fixture::Builder file, table;
  file.text("bplist00");
  for (const std::string& object : objects) {
    table.u32be(static_cast<uint32_t>(file.bytes.size()));
    file.raw(bytesFromHex(object));
  }
  const size_t tableOffset = file.bytes.size();
  return file.raw(table.bytes).zeros(6).u8(4).u8(1).u64be(objects.size()).u64be(0).u64be(tableOffset).bytes;
}

const auto uid = [](int value) { return Value(Dictionary{{"CF$UID", value}}); };
// An archive in the XML form with these objects after "$null"; the root is UID 1.
Bytes archiveOf(Array objects) {
  objects.insert(objects.begin(), "$null");
  return bytesOf(xmlPropertyList(Dictionary{{"$objects", objects}, {"$top", Dictionary{{"root", uid(1)}}}}));
}

// An object of the class at UID 2, or at another one.
Value object(Dictionary fields, int classUID = 2) {
  fields["$class"] = uid(classUID);
  return fields;
}
const auto classNamed = [](const char* name) { return Value(Dictionary{{"$classname", name}}); };
Value listOf(const std::vector<int>& uids) {
  Array list;
  for (const int each : uids) list.push_back(uid(each));
  return list;
}
const auto containerOf = [](const std::vector<int>& members) { return object({{"NS.objects", listOf(members)}}); };
Value dictionaryOf(const std::vector<int>& keys, const std::vector<int>& values) {
  return object({{"NS.keys", listOf(keys)}, {"NS.objects", listOf(values)}});
}

std::string outputOf(const std::string& command) {
  std::string output;
  FILE* pipe = ::popen(command.c_str(), "r");
  if (!pipe) return output;
  for (int c = 0; (c = std::fgetc(pipe)) != EOF;) output += static_cast<char>(c);
  ::pclose(pipe);
  return output;
}

// Made by another program: a mutable dictionary with a number, an array of one object, a date, a URL below another one,
// and mutable data under a key that is not ASCII.
const Bytes kForeignArchive = bytesOf(path::readFile(TEST_DATA_DIR "/of-another-archiver.archive").value_or(""));

Value nestedArrays(size_t depth) {
  Value value = Array{};
  for (size_t i = 1; i < depth; ++i) value = Array{value};
  return value;
}

Value everyKind() {
  auto object = std::make_shared<ArchivedObject>();
  object->classNames = {"LCSomething", "NSObject"};
  object->fields = {{"typeV1", 2}, {"doubleValueV1", 0.1}, {"oddV1", 0.1},
                    {"$odd", "x"}, {"$$odder", true},      {"name", "Drums"}};
  return Dictionary{{"", ""},
                    {"$null", "$null"},
                    {"♪\U0001F3B5", std::string(70000, 'x') + "♪"},
                    {"numbers", Array{0, 1, 255, 256, 65536, int64_t{1} << 32, -1, std::numeric_limits<int64_t>::min(),
                                      true, false, 1.0, -0.1}},
                    {"set", Value::Set{std::make_shared<const Array>(Array{"b", "a"})}},
                    {"date", Date{-0.5}},
                    {"url", Value::URLText{"file:///a%20b"}},
                    {"null", Value::Null{}},
                    {"data", bytesOf(std::string("\0\xFF", 2))},
                    {"object", std::shared_ptr<const ArchivedObject>(object)},
                    {"empty", Array{Dictionary{}, Array{}, Bytes{}}}};
}

Value many() {
  Array texts;
  for (size_t length = 0; length < 300; ++length) texts.emplace_back(std::string(length, 'x') + "é");
  return texts;
}

}  // namespace

TEST(KeyedArchive, ArchivesOfOtherProgramsAreRead) {
  const auto info = std::make_shared<const ArchivedObject>(ArchivedObject{
      {"XYMetaInfo", "NSObject"}, {{"doubleValueV1", 0.5}, {"integerValueV1", -3}, {"typeV1", 2}}});  // nil is absent
  EXPECT_EQ(unarchivedRoot(kForeignArchive, "rootDict", kAdmitsAll),
            Value(Dictionary{{"Version", 1},
                             {"When", Date{694224000.5}},
                             {"Where", Value::URLText{"file:///L/a%20b.caf"}},
                             {"Rauschen ♪", bytesFromHex("00 01 FF")},
                             {"MetaInfo", Array{info}}}));
  EXPECT_TRUE(unarchivedRoot(kForeignArchive, "root", kAdmitsAll).isNil());
}

TEST(KeyedArchive, WhatWasWrittenComesBackButForNil) {
  for (const Value& root : {everyKind(), many(), Value("text"), Value(1), Value(), nestedArrays(512)}) {
    EXPECT_EQ(unarchivedRoot(archivedRoot(root, "$root"), "$root", kAdmitsAll), root);
  }
  EXPECT_TRUE(archivedRoot(nestedArrays(513), "root").empty());
  const Value written = Dictionary{{"a", Array{1, Value(), 2}}, {"b", Value()}};
  EXPECT_EQ(unarchivedRoot(archivedRoot(written, "root"), "root"), Value(Dictionary{{"a", Array{1, 2}}}));
}

// The script prints what the scalars of a coder look like with "inline", whatever goes through a reference without.
TEST(KeyedArchive, OtherDecodersReadOurs) {
  if (outputOf("command -v python3").empty()) GTEST_SKIP() << "no python3";
  const TemporaryFolder folder;
  const InlineFields coders[] = {{"LCSomething", {"name", "oddV1", "typeV1"}}};
  folder.addFile("archive", archivedRoot(Array{everyKind(), many()}, "rootDict", coders));
  EXPECT_EQ(outputOf("python3 " TEST_DATA_DIR "/show-archive.py " + folder.path("archive")),
            "[('', ''), ('$null', '$null'), ('data', b'\\x00\\xff'), ('date', {'NS.time': ('inline', -0.5)}), "
            "('empty', ('NSArray', [{}, ('NSArray', []), b''])), ('null', {}), ('numbers', ('NSArray', "
            "[0, 1, 255, 256, 65536, 4294967296, -1, -9223372036854775808, True, False, 1.0, -0.1])), "
            "('object', {'$$$odder': True, '$$odd': 'x', 'doubleValueV1': 0.1, 'name': 'Drums', "
            "'oddV1': ('inline', 0.10000000149011612), 'typeV1': ('inline', 2)}), "
            "('set', ('NSSet', ['b', 'a'])), ('url', {'NS.base': '$null', 'NS.relative': 'file:///a%20b'}), "
            "('\\u266a\\U0001f3b5', '\\u266a')]\n");
}

TEST(KeyedArchive, OlderAndOddFormsAreAccepted) {
  const Bytes older =
      archiveOf({object({{"NS.key.0", uid(3)}, {"NS.object.0", uid(4)}}), classNamed("NSMutableDictionary"),
                 object({{"NS.string", "k"}}, 5), 1.0, classNamed("NSMutableString")});
  EXPECT_EQ(unarchivedRoot(older, "root"), Value(Dictionary{{"k", 1.0}}));
  const Bytes boxed = archiveOf({object({{"NS.special", 4}}), classNamed("NSValue")});
  EXPECT_TRUE(unarchivedRoot(boxed, "root").object());
}

TEST(KeyedArchive, MalformedObjectsMakeItNil) {
  const Value array = classNamed("NSArray"), dictionary = classNamed("NSDictionary");
  using Case = std::pair<const char*, Array>;
  for (const auto& [why, objects] :
       {Case{"holds itself", {containerOf({1}), array}},
        Case{"a circle of two", {containerOf({3}), array, containerOf({1})}},
        Case{"UID out of range", {containerOf({9}), array}}, Case{"nil in an array", {containerOf({0}), array}},
        Case{"no class", {Dictionary{{"NS.objects", Array{}}}}}, Case{"its class is a text", {containerOf({}), "text"}},
        Case{"an object that is not admitted", {containerOf({}), classNamed("NSUUID")}},
        Case{"a bare array", {Value(Array{})}}, Case{"a bare reference", {uid(2), true}},
        Case{"a number for a list", {object({{"NS.objects", true}}), array}},
        Case{"a member that is a list", {object({{"NS.objects", Array{Value(Array{})}}}), array}},
        Case{"more keys than values", {dictionaryOf({3}, {}), dictionary, "text"}},
        Case{"a key that is no text", {dictionaryOf({3}, {3}), dictionary, true}},
        Case{"a date without time", {object({}), classNamed("NSDate")}},
        Case{"text that is data", {object({{"NS.string", Bytes{}}}), classNamed("NSString")}},
        Case{"a URL below a text",
             {object({{"NS.base", uid(3)}, {"NS.relative", uid(3)}}), classNamed("NSURL"), "text"}}}) {
    const auto admits = [](const ArchivedObject& own) { return own.classNames.front() != "NSUUID"; };
    ASSERT_FALSE(archiveOf(objects).empty()) << why;
    EXPECT_TRUE(unarchivedRoot(archiveOf(objects), "root", admits).isNil()) << why;
  }
}

TEST(KeyedArchive, SharedObjectsStaySharedAndBombsAreNil) {
  // Each array holds the next one twice, so that the tree doubles with every level.
  const auto doubling = [](int levels) {
    Array objects = {containerOf({3, 3}), classNamed("NSArray")};
    for (int next = 4; next < levels + 3; ++next) objects.push_back(containerOf({next, next}));
    objects.push_back(containerOf({}));
    return archiveOf(objects);
  };
  const Value shared = unarchivedRoot(doubling(8), "root");
  ASSERT_TRUE(shared.array() && shared.array()->size() == 2);
  EXPECT_EQ(shared.array()->front().array(), shared.array()->back().array());
  EXPECT_TRUE(unarchivedRoot(doubling(100), "root").isNil());

  // One large text, named many times.
  const auto holding = [](size_t times) {
    return archiveOf({containerOf(std::vector<int>(times, 3)), classNamed("NSArray"), std::string(1000000, 'x')});
  };
  EXPECT_FALSE(unarchivedRoot(holding(4), "root").isNil());
  EXPECT_TRUE(unarchivedRoot(holding(20000), "root").isNil());
}

TEST(KeyedArchive, DepthIsBoundedInWhateverOrderItIsFound) {
  // Every array holds the next; the root names the middle one first, so that no way down is longer than half of it.
  const auto chainOf = [](int length) {
    Array objects = {containerOf({3 + length / 2, 3}), classNamed("NSArray")};
    for (int next = 4; next <= length + 2; ++next) objects.push_back(containerOf({next}));
    objects.push_back(containerOf({}));
    return archiveOf(objects);
  };
  EXPECT_FALSE(unarchivedRoot(chainOf(511), "root").isNil());
  EXPECT_TRUE(unarchivedRoot(chainOf(512), "root").isNil());
}

// Those that our writer does not use.
TEST(BinaryPropertyList, OddFormsOfObjectsAreRead) {
  using Case = std::pair<std::string, Value>;
  for (const auto& [hex, value] :
       {Case{"14 0000000000000000 FFFFFFFFFFFFFFFF", 18446744073709551615.0},
        Case{"14 FFFFFFFFFFFFFFFF FFFFFFFFFFFFFFFE", -2}, Case{"12 FFFFFFFF", int64_t{4294967295}},
        Case{"00", Value::Null{}}, Case{"61 D83C", "\uFFFD"}, Case{"5F 10 02 6162", "ab"}}) {
    const auto graph = parseBinaryPropertyList(plistFile({hex}));
    ASSERT_TRUE(graph) << hex;
    EXPECT_EQ(std::get<Value>(graph->nodes[0].content), value) << hex;
  }
}

TEST(BinaryPropertyList, LyingFilesAreRefused) {
  const Bytes good = plistFile({"A1 01", "08"});
  ASSERT_TRUE(parseBinaryPropertyList(good));
  const auto with = [](Bytes file, size_t fromEnd, std::string_view hex) {
    const Bytes bytes = bytesFromHex(hex);
    std::copy(bytes.begin(), bytes.end(), file.end() - static_cast<ptrdiff_t>(fromEnd));
    return file;
  };
  using Case = std::pair<const char*, Bytes>;
  for (const auto& [why, file] :
       {Case{"reference out of range", plistFile({"A1 02", "08"})},
        Case{"array longer than the file", plistFile({"AF 13 4000000000000000"})},
        Case{"negative length", plistFile({"5F 13 FFFFFFFFFFFFFFFF"})},
        Case{"length that is no integer", plistFile({"5F 22 00000000"})},
        Case{"text reaching into the table", plistFile({"55 616263"})},
        Case{"dictionary whose key is no text", plistFile({"D1 01 01", "08"})}, Case{"unknown kind", plistFile({"70"})},
        Case{"ill-formed text", plistFile({"51 FF"})},
        Case{"UID above 64 bits", plistFile({"8F 0000000000000000 0000000000000000"})},
        Case{"no magic", with(good, good.size(), "00")}, Case{"huge object count", with(good, 24, "2000000000000000")},
        Case{"no objects", with(good, 24, "0000000000000000")},
        Case{"root out of range", with(good, 16, "0000000000000002")},
        Case{"table behind the end", with(good, 8, "0000000000000033")},
        Case{"table in the magic", with(good, 8, "0000000000000000")}, Case{"offsets of 0 bytes", with(good, 26, "00")},
        Case{"references of 9 bytes", with(good, 25, "09")}, Case{"offset in the table", with(good, 40, "0000000B")},
        Case{"two objects in the same bytes", with(plistFile({"58 6162636465666768", "08"}), 36, "00000008")}}) {
    EXPECT_FALSE(parseBinaryPropertyList(file)) << why;
  }
}
