#include "platform/KeyedArchive.h"

#include "platform/BinaryPropertyList.h"
#include "support/AudioFixture.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>

using namespace vesk;
using fixture::bytesFromHex;
using fixture::bytesOf;

namespace {

bool admitsAll(const ArchivedObject&) {
  return true;
}

// A big-endian number of `size` bytes.
std::string number(uint64_t value, size_t size) {
  std::string result;
  for (size_t i = size; i > 0; --i) result += static_cast<char>(value >> (8 * (i - 1)) & 0xFF);
  return result;
}

// A file of these objects as they stand, with references of one byte and offsets of four. The first is the root.
std::string plistFile(const std::vector<std::string>& objects) {
  std::string file = "bplist00";
  std::string table;
  for (const std::string& object : objects) {
    table += number(file.size(), 4);
    file += object;
  }
  const size_t tableOffset = file.size();
  return file + table + number(0, 6) + number(4, 1) + number(1, 1) + number(objects.size(), 8) + number(0, 8) +
         number(tableOffset, 8);
}

// An archive in the XML form with these elements after "$null"; the root is UID 1.
Bytes archiveOf(const std::vector<std::string>& objects) {
  std::string xml = "<plist><dict><key>$objects</key><array><string>$null</string>";
  for (const std::string& object : objects) xml += object;
  return bytesOf(xml +
                 "</array><key>$top</key><dict><key>root</key><dict><key>CF$UID</key><integer>1</integer></dict></dict>"
                 "</dict></plist>");
}

std::string uid(int value) {
  return "<dict><key>CF$UID</key><integer>" + std::to_string(value) + "</integer></dict>";
}

std::string classNamed(const std::string& name) {
  return "<dict><key>$classname</key><string>" + name + "</string></dict>";
}

// An object of the class at UID 2.
std::string object(const std::string& fields) {
  return "<dict><key>$class</key>" + uid(2) + fields + "</dict>";
}

std::string field(const std::string& key, const std::string& value) {
  return "<key>" + key + "</key>" + value;
}

std::string references(const std::vector<int>& uids) {
  std::string list;
  for (const int each : uids) list += uid(each);
  return "<array>" + list + "</array>";
}

std::string containerOf(const std::vector<int>& members) {
  return object(field("NS.objects", references(members)));
}

std::string fileWith(const TemporaryFolder& folder, const Bytes& bytes) {
  return folder.addFile("archive", {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

std::string outputOf(const std::string& command) {
  std::string output;
  FILE* pipe = ::popen(command.c_str(), "r");
  if (!pipe) return output;
  char piece[4096];
  for (size_t count = 0; (count = std::fread(piece, 1, sizeof piece, pipe)) > 0;) output.append(piece, count);
  ::pclose(pipe);
  return output;
}

bool hasTool(const std::string& name) {
  return !outputOf("command -v " + name).empty();
}

// Made by another program: a mutable dictionary with a number, an array of one object, a date, a URL below another one,
// and mutable data under a key that is not ASCII.
const Bytes& foreignArchive() {
  static const Bytes bytes = bytesFromHex(
      "62706c6973743030d4010203040506585b5924617263686976657258246f626a656374735424746f70582476657273696f6e5f100f4e53"
      "4b657965644172636869766572af1016070819202122232425262a2d373b3e3f45484c4f535755246e756c6cd3090a0b0c0d135624636c"
      "617373574e532e6b6579735a4e532e6f626a656374738002a50e0f10111280038004800580068007a5141516171880088009800c800f80"
      "11d21a1b1c1d5824636c61737365735a24636c6173736e616d65a31d1e1f5f10134e534d757461626c6544696374696f6e6172795c4e53"
      "44696374696f6e617279584e534f626a6563745756657273696f6e584d657461496e666f545768656e5557686572656a00520061007500"
      "73006300680065006e0020266a1001d2090b2728800aa129800bd21a1b2b2ca22c1f574e534172726179d5092e2f303132333435365d64"
      "6f75626c6556616c756556315e696e746567657256616c756556315d737472696e6756616c75655631567479706556318012233fe00000"
      "0000000013fffffffffffffffd80001002d20938393a574e532e74696d65800d2341c4b08240400000d21a1b3c3da23d1f564e53446174"
      "655961253230622e636166d3094041424344574e532e626173655b4e532e72656c617469766580108013800ed21a1b4647a2471f554e53"
      "55524cd209494a4b574e532e646174618014430001ffd21a1b4d4ea24e1f5a58594d657461496e666fd3094041505152801080008015d2"
      "1a1b5455a355561f5d4e534d757461626c6544617461564e53446174615a66696c653a2f2f2f4c2fd1595a58726f6f7444696374800112"
      "000186a000080011001b0024002900320044005d0063006a0071007900840086008c008e0090009200940096009c009e00a000a200a400"
      "a600ab00b400bf00c300d900e600ef00f701000105010b0120012201270129012b012d01320135013d0148015601650173017a017c0185"
      "018e019001920197019f01a101aa01af01b201b901c301ca01d201de01e001e201e401e901ec01f201f701ff02010205020a020d021802"
      "1f022102230225022a022e023c0243024e0251025a025c0000000000000201000000000000005c00000000000000000000000000000261");
  return bytes;
}

Value nestedArrays(size_t depth) {
  Value value = Array{};
  for (size_t i = 1; i < depth; ++i) value = Array{value};
  return value;
}

Value everyKind() {
  auto object = std::make_shared<ArchivedObject>();
  object->classNames = {"LCSomething", "NSObject"};
  object->fields = {{"typeV1", 2}, {"doubleValueV1", 0.1}, {"$odd", "x"}, {"$$odder", true}, {"name", "Drums"}};
  return Dictionary{{"", ""},
                    {"$null", "$null"},
                    {"♪\U0001F3B5", std::string(70000, 'x') + "♪"},
                    {"numbers", Array{0, 255, 256, 65536, int64_t{1} << 32, -1, std::numeric_limits<int64_t>::min(),
                                      true, false, 1.0, -0.1}},
                    {"set", Value::Set{std::make_shared<const Array>(Array{"b", "a"})}},
                    {"date", Date{-0.5}},
                    {"url", Value::URLText{"file:///a%20b"}},
                    {"null", Value::Null{}},
                    {"data", bytesOf(std::string("\0\xFF", 2))},
                    {"object", std::shared_ptr<const ArchivedObject>(object)},
                    {"empty", Array{Dictionary{}, Array{}, Bytes{}}}};
}

}  // namespace

TEST(KeyedArchive, ArchivesOfOtherProgramsAreRead) {
  const Value root = unarchivedRoot(foreignArchive(), "rootDict", admitsAll);
  const Dictionary* dictionary = root.dictionary();
  ASSERT_TRUE(dictionary);
  EXPECT_EQ(dictionary->size(), 5u);
  EXPECT_EQ(valueForKey(dictionary, "Version"), Value(1));
  EXPECT_EQ(valueForKey(dictionary, "When"), Value(Date{694224000.5}));
  EXPECT_EQ(valueForKey(dictionary, "Where"), Value(Value::URLText{"file:///L/a%20b.caf"}));
  EXPECT_EQ(valueForKey(dictionary, "Rauschen ♪"), Value(bytesOf(std::string("\0\x01\xFF", 3))));
  const Value infos = valueForKey(dictionary, "MetaInfo");
  ASSERT_TRUE(infos.array() && infos.array()->size() == 1);
  const ArchivedObject* info = infos.array()->front().object();
  ASSERT_TRUE(info);
  EXPECT_EQ(info->classNames.front(), "XYMetaInfo");
  EXPECT_EQ(info->fields,
            (Dictionary{{"doubleValueV1", 0.5}, {"integerValueV1", -3}, {"typeV1", 2}}));  // nil is absent
  EXPECT_TRUE(unarchivedRoot(foreignArchive(), "root", admitsAll).isNil());
}

TEST(KeyedArchive, WhatWasWrittenComesBack) {
  for (const Value& root : {everyKind(), Value("text"), Value(1), Value(), nestedArrays(512)}) {
    const Bytes archive = archivedRoot(root, "$root");
    EXPECT_EQ(unarchivedRoot(archive, "$root", admitsAll), root);
  }
  EXPECT_TRUE(archivedRoot(nestedArrays(513), "root").empty());
}

TEST(KeyedArchive, EqualValuesGiveEqualBytesHoweverTheyShare) {
  const Value inner = Array{"a", 1};
  EXPECT_EQ(archivedRoot(Array{inner, inner}, "root"), archivedRoot(Array{Array{"a", 1}, Array{"a", 1}}, "root"));
  EXPECT_NE(archivedRoot(Array{1}, "root"), archivedRoot(Array{1.0}, "root"));
  EXPECT_NE(archivedRoot(Array{1}, "root"), archivedRoot(Array{true}, "root"));
}

TEST(KeyedArchive, NilIsLeftOutOfContainers) {
  const Value written = Dictionary{{"a", Array{1, Value(), 2}}, {"b", Value()}};
  EXPECT_EQ(unarchivedRoot(archivedRoot(written, "root"), "root"), Value(Dictionary{{"a", Array{1, 2}}}));
}

TEST(KeyedArchive, ObjectsThatAreNotAdmittedMakeItNil) {
  const auto admitsOthers = [](const ArchivedObject& object) { return object.classNames.front() != "LCSomething"; };
  EXPECT_TRUE(unarchivedRoot(archivedRoot(everyKind(), "root"), "root").isNil());
  EXPECT_TRUE(unarchivedRoot(archivedRoot(everyKind(), "root"), "root", admitsOthers).isNil());
}

TEST(KeyedArchive, OtherDecodersReadOurs) {
  if (!hasTool("python3")) GTEST_SKIP() << "no python3";
  const TemporaryFolder folder;
  const std::string file = fileWith(folder, archivedRoot(everyKind(), "rootDict"));
  const std::string script = folder.addFile("decode.py", R"(
import plistlib, sys
archive = plistlib.load(open(sys.argv[1], "rb"))
objects = archive["$objects"]
assert archive["$version"] == 100000 and archive["$archiver"] == "NSKeyedArchiver" and objects[0] == "$null"
def value(uid):
    o = objects[uid.data]
    if isinstance(o, dict) and "NS.string" in o: return o["NS.string"]
    if not isinstance(o, dict): return o[-1] if isinstance(o, str) and len(o) > 100 else o
    names = objects[o["$class"].data]["$classes"]
    assert names[-1] == "NSObject" and names[0] == objects[o["$class"].data]["$classname"]
    if "NS.keys" in o: return {value(k): value(v) for k, v in zip(o["NS.keys"], o["NS.objects"])}
    if "NS.objects" in o: return (names[0], [value(v) for v in o["NS.objects"]])
    return {k: value(v) if isinstance(v, plistlib.UID) else v for k, v in sorted(o.items()) if k != "$class"}
print(ascii(sorted(value(archive["$top"]["rootDict"]).items())))
)");
  EXPECT_EQ(
      outputOf("python3 " + script + " " + file),
      "[('', ''), ('$null', '$null'), ('data', b'\\x00\\xff'), ('date', {'NS.time': -0.5}), "
      "('empty', ('NSArray', [{}, ('NSArray', []), b''])), ('null', {}), "
      "('numbers', ('NSArray', [0, 255, 256, 65536, 4294967296, -1, -9223372036854775808, True, False, 1.0, -0.1])), "
      "('object', {'$$$odder': True, '$$odd': 'x', 'doubleValueV1': 0.1, 'name': 'Drums', 'typeV1': 2}), "
      "('set', ('NSSet', ['b', 'a'])), ('url', {'NS.base': '$null', 'NS.relative': 'file:///a%20b'}), "
      "('\\u266a\\U0001f3b5', '\\u266a')]\n");
}

TEST(KeyedArchive, ScalarsOfACoderStandInline) {
  const Value root = std::make_shared<const ArchivedObject>(
      ArchivedObject{{"LCSomething"}, {{"d", 0.1}, {"i", 3}, {"b", true}, {"s", "text"}, {"n", 0.1}}});
  const InlineFields fields[] = {{"LCSomething", {"d", "i", "b", "s"}}};
  const Bytes archive = archivedRoot(root, "root", fields);
  const auto graph = parseBinaryPropertyList(archive);
  ASSERT_TRUE(graph);
  std::map<std::string, bool> isInline;
  for (const PlistNode& node : graph->nodes) {
    const auto* map = std::get_if<PlistNode::Map>(&node.content);
    if (!map || map->entries.size() != 6) continue;
    for (const auto& [key, value] : map->entries) {
      isInline[*std::get<Value>(graph->nodes[key].content).string()] =
          !std::holds_alternative<PlistUID>(graph->nodes[value].content);
    }
  }
  EXPECT_EQ(isInline, (std::map<std::string, bool>{
                          {"$class", false}, {"b", true}, {"d", true}, {"i", true}, {"n", false}, {"s", false}}));
  const Value read = unarchivedRoot(archive, "root", admitsAll);
  ASSERT_TRUE(read.object());
  EXPECT_EQ(valueForKey(&read.object()->fields, "d"), Value(double{0.1f}));  // four bytes
  EXPECT_EQ(valueForKey(&read.object()->fields, "n"), Value(0.1));
}

TEST(KeyedArchive, OlderAndOddFormsAreAccepted) {
  const std::string oldDictionary = object(field("NS.key.0", uid(3)) + field("NS.object.0", uid(4)));
  const std::string mutableText =
      "<dict>" + field("$class", uid(5)) + field("NS.string", "<string>k</string>") + "</dict>";
  EXPECT_EQ(unarchivedRoot(archiveOf({oldDictionary, classNamed("NSMutableDictionary"), mutableText, "<real>1</real>",
                                      classNamed("NSMutableString")}),
                           "root"),
            Value(Dictionary{{"k", 1.0}}));
  const std::string boxed = object(field("NS.special", "<integer>4</integer>"));
  EXPECT_TRUE(unarchivedRoot(archiveOf({boxed, classNamed("NSValue")}), "root").object());
}

TEST(KeyedArchive, URLsAreJoinedToTheirBase) {
  struct Case {
    std::string base;
    std::string relative;
    std::string joined;
  };
  for (const auto& [base, relative, joined] :
       {Case{"file:///a/b", "c", "file:///a/c"}, Case{"file:///a/b/", "../c.caf", "file:///a/c.caf"},
        Case{"file:///a", "../../c", "file:///c"}, Case{"file:///a/b", "/c/./d/..", "file:///c/"},
        Case{"file:///a/b", "http://h/x", "http://h/x"}, Case{"http://h", "x", "http://h/x"},
        Case{"http://h/a?q", "", "http://h/a?q"}, Case{"http://h/a", "//g/b", "http://g/b"},
        Case{"http://h/a/b?q", "?r", "http://h/a/b?r"}, Case{"http://h/a?q#f", "#g", "http://h/a?q#g"},
        Case{"", "a", "a"}}) {
    const auto url = [](int baseUID, int relativeUID) {
      return object(field("NS.base", uid(baseUID)) + field("NS.relative", uid(relativeUID)));
    };
    const auto text = [](const std::string& content) { return "<string>" + content + "</string>"; };
    const auto archive = archiveOf({url(3, 4), classNamed("NSURL"), url(0, 5), text(relative), text(base)});
    EXPECT_EQ(unarchivedRoot(archive, "root"), Value(Value::URLText{joined}));
  }
}

TEST(KeyedArchive, MalformedObjectsMakeItNil) {
  const std::string array = classNamed("NSArray");
  const std::string dictionary = classNamed("NSDictionary");
  struct Case {
    std::string why;
    std::vector<std::string> objects;
  };
  for (const auto& [why, objects] : {
           Case{"holds itself", {containerOf({1}), array}},
           Case{"a circle of two", {containerOf({3}), array, containerOf({1})}},
           Case{"UID out of range", {containerOf({9}), array}},
           Case{"nil in an array", {containerOf({0}), array}},
           Case{"no class", {"<dict>" + field("NS.objects", "<array/>") + "</dict>"}},
           Case{"its class is a text", {containerOf({}), "<string>NSArray</string>"}},
           Case{"unknown class", {containerOf({}), classNamed("NSUUID")}},
           Case{"a bare array", {"<array/>"}},
           Case{"a bare reference", {uid(2), "<true/>"}},
           Case{"a number for a list", {object(field("NS.objects", "<true/>")), array}},
           Case{"a member that is a list", {object(field("NS.objects", "<array><array/></array>")), array}},
           Case{"more keys than values",
                {object(field("NS.objects", "<array/>") + field("NS.keys", references({3}))), dictionary,
                 "<string>k</string>"}},
           Case{"a key that is no text",
                {object(field("NS.objects", references({3})) + field("NS.keys", references({3}))), dictionary,
                 "<true/>"}},
           Case{"a date without time", {object(""), classNamed("NSDate")}},
           Case{"text that is data", {object(field("NS.string", "<data/>")), classNamed("NSString")}},
           Case{"a URL below a text",
                {object(field("NS.base", uid(3)) + field("NS.relative", uid(3))), classNamed("NSURL"),
                 "<string>a</string>"}},
       }) {
    EXPECT_TRUE(unarchivedRoot(archiveOf(objects), "root",
                               [](const ArchivedObject& own) { return own.classNames.front() != "NSUUID"; })
                    .isNil())
        << why;
  }
}

TEST(KeyedArchive, SharedObjectsStaySharedAndBombsAreNil) {
  // Each array holds the next one twice, so that the tree doubles with every level.
  const auto doubling = [](int levels) {
    std::vector<std::string> objects = {containerOf({3, 3}), classNamed("NSArray")};
    for (int next = 4; next < levels + 3; ++next) objects.push_back(containerOf({next, next}));
    objects.push_back(containerOf({}));
    return archiveOf(objects);
  };
  const Value shared = unarchivedRoot(doubling(8), "root");
  ASSERT_TRUE(shared.array() && shared.array()->size() == 2);
  EXPECT_EQ(shared.array()->front().array(), shared.array()->back().array());
  EXPECT_TRUE(unarchivedRoot(doubling(100), "root").isNil());
}

TEST(KeyedArchive, OneLargeTextNamedManyTimesIsNil) {
  const std::string text = "<string>" + std::string(1000000, 'x') + "</string>";
  const auto holding = [&text](size_t times) {
    return archiveOf({containerOf(std::vector<int>(times, 3)), classNamed("NSArray"), text});
  };
  EXPECT_FALSE(unarchivedRoot(holding(4), "root").isNil());
  EXPECT_TRUE(unarchivedRoot(holding(20000), "root").isNil());
}

TEST(KeyedArchive, DepthIsBoundedInWhateverOrderItIsFound) {
  // Every array holds the one after it. The root names the middle one first, so that no way down is longer than half of
  // it.
  const auto chainOf = [](int length) {
    std::vector<std::string> objects = {containerOf({3 + length / 2, 3}), classNamed("NSArray")};
    for (int next = 4; next <= length + 2; ++next) objects.push_back(containerOf({next}));
    objects.push_back(containerOf({}));
    return archiveOf(objects);
  };
  EXPECT_FALSE(unarchivedRoot(chainOf(511), "root").isNil());
  EXPECT_TRUE(unarchivedRoot(chainOf(512), "root").isNil());
}

TEST(KeyedArchive, DamagedArchivesAreHarmless) {
  const Bytes& whole = foreignArchive();
  for (size_t size = 0; size < whole.size(); ++size) {
    EXPECT_TRUE(unarchivedRoot(std::span(whole).first(size), "rootDict", admitsAll).isNil()) << size;
  }
  size_t nilCount = 0;
  for (size_t position = 0; position < whole.size(); ++position) {
    for (const int change : {0x01, 0x0F, 0x10, 0x80, 0xFF}) {
      Bytes changed = whole;
      changed[position] ^= static_cast<std::byte>(change);
      nilCount += unarchivedRoot(changed, "rootDict", admitsAll).isNil();
    }
  }
  EXPECT_GT(nilCount, whole.size());
}

TEST(BinaryPropertyList, EveryKindOfObjectIsRead) {
  struct Case {
    std::string object;
    Value value;
  };
  using namespace std::string_literals;
  for (const auto& [object, value] :
       {Case{"\x10\xFF", 255}, Case{"\x11\xFF\xFF", 65535}, Case{"\x12\xFF\xFF\xFF\xFF", int64_t{4294967295}},
        Case{"\x13" + number(~uint64_t{0}, 8), -1},
        Case{"\x14" + number(0, 8) + number(~uint64_t{0}, 8), 18446744073709551615.0},
        Case{"\x14" + number(~uint64_t{0}, 8) + number(~uint64_t{1}, 8), -2}, Case{"\x22\x3F\x80\0\0"s, 1.0},
        Case{"\x23\xBF\xF0\0\0\0\0\0\0"s, -1.0}, Case{"\x33\x3F\xF0\0\0\0\0\0\0"s, Date{1}}, Case{"\0"s, Value::Null{}},
        Case{"\x08", false}, Case{"\x09", true},
        Case{"\x53"
             "abc",
             "abc"},
        Case{"\x62\xD8\x3C\xDF\xB5", "\U0001F3B5"}, Case{"\x61\xD8\x3C", "\uFFFD"},
        Case{"\x42\0\xFF"s, bytesOf("\0\xFF"s)},
        Case{"\x5F\x10\x02"
             "ab",
             "ab"}}) {
    const auto graph = parseBinaryPropertyList(bytesOf(plistFile({object})));
    ASSERT_TRUE(graph) << object;
    ASSERT_TRUE(std::holds_alternative<Value>(graph->nodes[0].content));
    EXPECT_EQ(std::get<Value>(graph->nodes[0].content), value) << object;
  }
}

TEST(BinaryPropertyList, LyingFilesAreRefused) {
  using namespace std::string_literals;
  const std::string good = plistFile({"\xA1\x01", "\x08"});
  ASSERT_TRUE(parseBinaryPropertyList(bytesOf(good)));
  const auto with = [](std::string file, size_t fromEnd, const std::string& bytes) {
    return file.replace(file.size() - fromEnd, bytes.size(), bytes);
  };
  struct Case {
    std::string why;
    std::string file;
  };
  for (const auto& [why, file] : {
           Case{"reference out of range", plistFile({"\xA1\x02", "\x08"})},
           Case{"array longer than the file", plistFile({"\xAF\x13" + number(uint64_t{1} << 62, 8)})},
           Case{"negative length", plistFile({"\x5F\x13" + number(~uint64_t{0}, 8)})},
           Case{"length that is no integer", plistFile({"\x5F\x22\0\0\0\0"s})},
           Case{"text reaching into the table", plistFile({"\x55"
                                                           "abc"})},
           Case{"dictionary whose key is no text", plistFile({"\xD1\x01\x01", "\x08"})},
           Case{"unknown kind", plistFile({"\x70"})},
           Case{"ill-formed text", plistFile({"\x51\xFF"})},
           Case{"UID above 64 bits", plistFile({"\x8F" + number(0, 8) + number(0, 8)})},
           Case{"no magic", "bplist99" + good.substr(8)},
           Case{"huge object count", with(good, 24, number(uint64_t{1} << 61, 8))},
           Case{"no objects", with(good, 24, number(0, 8))},
           Case{"root out of range", with(good, 16, number(2, 8))},
           Case{"table behind the end", with(good, 8, number(good.size(), 8))},
           Case{"table in the magic", with(good, 8, number(0, 8))},
           Case{"offsets of 0 bytes", with(good, 26, number(0, 1))},
           Case{"references of 9 bytes", with(good, 25, number(9, 1))},
           Case{"offset in the table", with(good, 40, number(11, 4))},
           Case{"two objects in the same bytes", with(plistFile({"\x58"
                                                                 "abcdefgh",
                                                                 "\x08"}),
                                                      36, number(8, 4))},
       }) {
    EXPECT_FALSE(parseBinaryPropertyList(bytesOf(file))) << why;
  }
}

TEST(BinaryPropertyList, PlistutilReadsOurs) {
  if (!hasTool("plistutil")) GTEST_SKIP() << "no plistutil";
  PlistGraph graph;
  PlistNode::List list;
  for (uint32_t i = 1; i <= 300; ++i) list.members.push_back(i);
  graph.nodes.push_back({list});
  for (int i = 1; i <= 300; ++i) graph.nodes.push_back({Value(std::string(static_cast<size_t>(i), 'x') + "é")});
  const TemporaryFolder folder;
  const std::string xml = outputOf("plistutil -f xml -i " + fileWith(folder, writeBinaryPropertyList(graph)));
  const Value read = valueFromXMLPropertyList(xml);
  ASSERT_TRUE(read.array() && read.array()->size() == 300);
  EXPECT_EQ(read.array()->back(), Value(std::string(300, 'x') + "é"));
}
