#include "VeskLoopManagement/platform/PropertyList.h"

#include "support/AudioFixture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace vesk;
using fixture::bytesOf;

namespace {

// A list without braces, which takes few lines.
template <typename... Text>
std::vector<std::string> texts(const Text&... text) {
  return {text...};
}

const auto plist = [](const std::string& content) { return "<plist version=\"1.0\">" + content + "</plist>"; };

std::string repeated(const std::string& part, size_t count) {
  std::string result;
  for (size_t i = 0; i < count; ++i) result += part;
  return result;
}

}  // namespace

TEST(Number, ConversionsSaturateAndCutTowardsZero) {
  using Limits = std::numeric_limits<int64_t>;
  for (const auto& [real, integer] : {std::pair(-2.9, int64_t{-2}), std::pair(9223372036854775808.0, Limits::max()),
                                      std::pair(1e300, Limits::max()), std::pair(-9223372036854775808.0, Limits::min()),
                                      std::pair(-1e300, Limits::min()), std::pair(std::nan(""), int64_t{0})}) {
    EXPECT_EQ(Number{real}.integerValue(), integer) << real;
  }
}

TEST(XMLPropertyList, IsWrittenAsOthersWriteIt) {
  // Keys in code-unit order, tabs for depth, a carriage return as a reference.
  const Value value = Dictionary{
      {"b", Array{1, -2.5, true, Date{0.75}, Dictionary{}}}, {"\U00010000", bytesOf("abcd")}, {"\uFFFD", "x\r& z"}};
  const std::string xml = xmlPropertyList(value);
  EXPECT_EQ(xml,
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
            "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">\n<dict>\n"
            "\t<key>b</key>\n\t<array>\n\t\t<integer>1</integer>\n\t\t<real>-2.5</real>\n\t\t<true/>\n"
            "\t\t<date>2001-01-01T00:00:00Z</date>\n\t\t<dict/>\n\t</array>\n"
            "\t<key>\U00010000</key>\n\t<data>\n\tYWJjZA==\n\t</data>\n"
            "\t<key>\uFFFD</key>\n\t<string>x&#13;&amp; z</string>\n</dict>\n</plist>\n");
  EXPECT_EQ(xmlPropertyList(valueFromXMLPropertyList(xml)), xml);
}

TEST(XMLPropertyList, FormsOfOtherWritersAreAccepted) {
  using Case = std::pair<std::string, Value>;
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
  for (const auto& content :
       texts("", "<string>a</string><true/>", "<plist><true/></plist>", "text", "<null/>", "<dict><true/></dict>",
             "<dict><key>a</key></dict>", "<dict><key>a</key><key>b</key></dict>", "<array><key>a</key></array>",
             "<string><true/></string>", "<integer></integer>", "<integer>1.5</integer>", "<integer>1 2</integer>",
             "<integer>18446744073709551616</integer>", "<real>1,5</real>", "<date>2001-02-29T00:00:00Z</date>",
             "<date>2001-02-03</date>", "<data>*</data>", "<string>&none;</string>", "<string>\xFF</string>")) {
    EXPECT_TRUE(valueFromXMLPropertyList(plist(content)).isNil()) << content;
  }
  const std::string naming = plist("<string>&b;</string>");
  for (const auto& xml : texts("", "<plist", "<dict/>", plist("<true/>") + "x",
                               "<!DOCTYPE plist [<!ENTITY a \"aa\"><!ENTITY b \"&a;&a;\">]>" + naming,
                               "<!DOCTYPE plist [<!ENTITY b SYSTEM \"/etc/hostname\">]>" + naming,
                               "<!DOCTYPE plist SYSTEM \"none.dtd\">" + naming)) {
    EXPECT_TRUE(valueFromXMLPropertyList(xml).isNil()) << xml;
  }
}

TEST(XMLPropertyList, DepthIsBoundedForReaderAndWriter) {
  const auto nested = [](size_t depth) { return plist(repeated("<array>", depth) + repeated("</array>", depth)); };
  const Value deepest = valueFromXMLPropertyList(nested(512));
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
