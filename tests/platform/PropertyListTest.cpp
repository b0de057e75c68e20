#include "platform/PropertyList.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace vesk;

namespace {

std::string plist(const std::string& content) {
  return "<plist version=\"1.0\">" + content + "</plist>";
}

std::string repeated(const std::string& part, size_t count) {
  std::string result;
  for (size_t i = 0; i < count; ++i) result += part;
  return result;
}

Bytes bytesOf(std::string_view text) {
  const auto* data = reinterpret_cast<const std::byte*>(text.data());
  return {data, data + text.size()};
}

}  // namespace

TEST(Number, ConversionsSaturateAndCutTowardsZero) {
  constexpr int64_t kLargest = std::numeric_limits<int64_t>::max();
  constexpr int64_t kSmallest = std::numeric_limits<int64_t>::min();
  struct Case {
    double real;
    int64_t integer;
  };
  for (const auto& [real, integer] : {Case{-2.9, -2}, Case{9223372036854775808.0, kLargest}, Case{1e300, kLargest},
                                      Case{-9223372036854775808.0, kSmallest}, Case{-1e300, kSmallest}, Case{NAN, 0}}) {
    EXPECT_EQ(Number{real}.integerValue(), integer) << real;
  }
  EXPECT_EQ(Number{true}.integerValue(), 1);
  EXPECT_TRUE(Number{0.25}.boolValue());
  EXPECT_FALSE(Number{-0.0}.boolValue());
}

TEST(XMLPropertyList, IsWrittenAsOthersWriteIt) {
  const Value value = Dictionary{{"b", Array{1, -2.5, true, Date{0.75}, Dictionary{}, Array{}}},
                                 {"a&<>", "x\r\n\ty & z"},
                                 {"\U00010000", bytesOf("abcd")},
                                 {"\uFFFD", ""}};
  const std::string xml = xmlPropertyList(value);
  EXPECT_EQ(
      xml,
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
      "<plist version=\"1.0\">\n"
      "<dict>\n"
      "\t<key>a&amp;&lt;&gt;</key>\n"
      "\t<string>x&#13;\n\ty &amp; z</string>\n"
      "\t<key>b</key>\n"
      "\t<array>\n"
      "\t\t<integer>1</integer>\n"
      "\t\t<real>-2.5</real>\n"
      "\t\t<true/>\n"
      "\t\t<date>2001-01-01T00:00:00Z</date>\n"
      "\t\t<dict/>\n"
      "\t\t<array/>\n"
      "\t</array>\n"
      "\t<key>\U00010000</key>\n"
      "\t<data>\n"
      "\tYWJjZA==\n"
      "\t</data>\n"
      "\t<key>\uFFFD</key>\n"
      "\t<string></string>\n"
      "</dict>\n"
      "</plist>\n");
  EXPECT_EQ(xmlPropertyList(valueFromXMLPropertyList(xml)), xml);
}

TEST(XMLPropertyList, EveryKindComesBack) {
  Bytes allBytes;
  for (int i = 0; i < 256; ++i) allBytes.push_back(static_cast<std::byte>(i));
  for (const Value& value :
       {Value(std::numeric_limits<int64_t>::min()), Value(std::numeric_limits<int64_t>::max()), Value(0.1),
        Value(-1e-320), Value(std::numeric_limits<double>::infinity()),
        Value(Date{-62167219200.0 + 978307200.0 - 978307200.0}), Value(Date{-86401}), Value(Date{252423993599}),
        Value(allBytes), Value(Bytes{}), Value(false), Value(" a "), Value(Array{Array{}, Dictionary{{"", 1}}})}) {
    EXPECT_EQ(valueFromXMLPropertyList(xmlPropertyList(value)), value) << xmlPropertyList(value);
  }
}

TEST(XMLPropertyList, FormsOfOtherWritersAreAccepted) {
  struct Case {
    std::string content;
    Value value;
  };
  for (const auto& [content, value] :
       {Case{"<integer> +12\n</integer>", 12}, Case{"<integer>-0x10</integer>", -16},
        Case{"<integer>18446744073709551615</integer>", 18446744073709551615.0}, Case{"<real>+1e3</real>", 1000.0},
        Case{"<real>1e999</real>", std::numeric_limits<double>::infinity()}, Case{"<true></true>", true},
        Case{"<string><![CDATA[<&]]>&#x266A;</string>", "<&♪"},
        Case{"<data>A P\n8=</data>", bytesOf(std::string("\0\xFF", 2))},
        Case{"<!-- note --><date>2004-02-29T23:59:59Z</date>", Date{99791999}},
        Case{"<dict><key>a</key><true/><key>a</key><false/></dict>", Dictionary{{"a", false}}}}) {
    EXPECT_EQ(valueFromXMLPropertyList(plist(content)), value) << content;
  }
}

TEST(XMLPropertyList, WhatIsNoPropertyListIsNil) {
  for (const std::string& xml : {std::string(),
                                 std::string("<plist"),
                                 plist(""),
                                 plist("<string>a</string>") + "x",
                                 plist("<string>a</string><true/>"),
                                 std::string("<dict/>"),
                                 plist("<plist><true/></plist>"),
                                 plist("text"),
                                 plist("<null/>"),
                                 plist("<dict><true/></dict>"),
                                 plist("<dict><key>a</key></dict>"),
                                 plist("<dict><key>a</key><key>b</key></dict>"),
                                 plist("<array><key>a</key></array>"),
                                 plist("<string><true/></string>"),
                                 plist("<integer></integer>"),
                                 plist("<integer>1.5</integer>"),
                                 plist("<integer>18446744073709551616</integer>"),
                                 plist("<integer>1 2</integer>"),
                                 plist("<real>1,5</real>"),
                                 plist("<date>2001-02-29T00:00:00Z</date>"),
                                 plist("<date>2001-02-03</date>"),
                                 plist("<data>*</data>"),
                                 plist("<string>&none;</string>"),
                                 plist("<string>\xFF</string>"),
                                 plist("<true>a</true>")}) {
    EXPECT_TRUE(valueFromXMLPropertyList(xml).isNil()) << xml;
  }
}

TEST(XMLPropertyList, EntitiesOfItsOwnAreRefused) {
  const std::string bomb =
      "<!DOCTYPE plist [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;\">]>" + plist("<string>&b;</string>");
  EXPECT_TRUE(valueFromXMLPropertyList(bomb).isNil());
  EXPECT_TRUE(valueFromXMLPropertyList("<!DOCTYPE plist [<!ENTITY a SYSTEM \"/etc/hostname\">]>" +
                                       plist("<string>&a;</string>"))
                  .isNil());
  EXPECT_TRUE(valueFromXMLPropertyList("<!DOCTYPE plist SYSTEM \"none.dtd\">" + plist("<string>&a;</string>")).isNil());
}

TEST(XMLPropertyList, DepthIsBounded) {
  const auto nested = [](size_t depth) { return plist(repeated("<array>", depth) + repeated("</array>", depth)); };
  const Value deepest = valueFromXMLPropertyList(nested(512));
  EXPECT_FALSE(deepest.isNil());
  EXPECT_NE(xmlPropertyList(deepest), "");
  EXPECT_EQ(xmlPropertyList(Array{deepest}), "");
  EXPECT_TRUE(valueFromXMLPropertyList(nested(513)).isNil());
  EXPECT_TRUE(valueFromXMLPropertyList("<plist>" + repeated("<dict><key>a</key>", 100000)).isNil());
}

TEST(XMLPropertyList, WhatXMLCannotHoldIsNotWritten) {
  for (const Value& value :
       {Value(), Value("\x01"), Value("\uFFFF"), Value("\xFF"), Value(Dictionary{{"\x02", 1}}),
        Value(Array{Value(Value::Null{})}), Value(Value::URLText{"file:///a"}), Value(Date{1e300})}) {
    EXPECT_EQ(xmlPropertyList(value), "");
  }
}
