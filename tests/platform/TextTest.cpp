#include "platform/Text.h"

#include "support/TestEnvironment.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <clocale>
#include <cmath>
#include <limits>

using namespace vesk;

namespace {

constexpr int64_t kLargest = std::numeric_limits<int64_t>::max();
constexpr int64_t kSmallest = std::numeric_limits<int64_t>::min();

int sign(int order) {
  return (order > 0) - (order < 0);
}

// Texts whose characters lie close to where the orders of UTF-8 and UTF-16 part.
rc::Gen<std::u16string> textsAroundSurrogates() {
  const auto character =
      rc::gen::element<std::u16string>(u"a", u"b", u"é", u"\uD7FF", u"\uE000", u"\uFFFD", u"\U00010000", u"\U0010FFFF");
  return rc::gen::map(rc::gen::container<std::vector<std::u16string>>(character), [](const auto& characters) {
    std::u16string all;
    for (const auto& one : characters) all += one;
    return all;
  });
}

std::string utf8From(const std::u16string& units) {
  std::string result;
  for (size_t i = 0; i < units.size(); ++i) {
    uint32_t character = units[i];
    const bool isPair = character >= 0xD800 && character < 0xDC00;
    if (isPair) character = 0x10000 + ((character - 0xD800) << 10) + (units[++i] - 0xDC00u);
    if (character < 0x80) {
      result += static_cast<char>(character);
      continue;
    }
    const int tail = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    static constexpr unsigned kLead[] = {0, 0xC0, 0xE0, 0xF0};
    result += static_cast<char>(kLead[tail] | character >> (6 * tail));
    for (int k = tail - 1; k >= 0; --k) result += static_cast<char>(0x80 | (character >> (6 * k) & 0x3F));
  }
  return result;
}

}  // namespace

RC_GTEST_PROP(Text, CodeUnitOrderIsThatOfUTF16, ()) {
  const auto left = *textsAroundSurrogates();
  const auto right = *textsAroundSurrogates();
  RC_ASSERT(sign(compareCodeUnits(utf8From(left), utf8From(right))) == sign(left.compare(right)));
  RC_ASSERT(text::toUTF16(utf8From(left)) == left);
  RC_ASSERT(text::utf16Length(utf8From(left)) == left.size());
}

TEST(Text, IntegersAreReadFromTheFrontAndSaturate) {
  struct Case {
    std::string text;
    int64_t value;
  };
  for (const auto& [text, value] :
       {Case{"120 bpm", 120}, Case{" \t\n-7", -7}, Case{"+5", 5}, Case{"", 0}, Case{"bpm 120", 0}, Case{"- 5", 0},
        Case{"--5", 0}, Case{"1e3", 1}, Case{"0x1F", 0}, Case{"007", 7}, Case{"9223372036854775807", kLargest},
        Case{"9223372036854775808", kLargest}, Case{"-9223372036854775808", kSmallest},
        Case{"-9223372036854775809", kSmallest}, Case{std::string(400, '9'), kLargest}}) {
    EXPECT_EQ(text::integerValue(text), value) << text;
  }
}

TEST(Text, IntegersWithABaseAreReadAsInC) {
  struct Case {
    std::string text;
    int64_t value;
  };
  for (const auto& [text, value] :
       {Case{"0x1Fz", 31}, Case{"-0X10", -16}, Case{"017", 15}, Case{"08", 0}, Case{"17", 17}, Case{"0xg", 0},
        Case{"0x", 0}, Case{"0x+1", 0}, Case{"", 0}, Case{"0xFFFFFFFFFFFFFFFF", kLargest}}) {
    EXPECT_EQ(text::integerValueDetectingBase(text), value) << text;
  }
}

TEST(Text, DecimalsAreReadFromTheFrontWhateverTheLocale) {
  struct Case {
    std::string text;
    double value;
  };
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  // Where the system has a locale with decimal commas, it must not change a thing.
  std::setlocale(LC_ALL, "de_DE.UTF-8");
  for (const auto& [text, value] :
       {Case{" 101.7bpm", 101.7}, Case{"+.5", 0.5}, Case{"-2.", -2}, Case{"1,5", 1}, Case{"1e3x", 1000}, Case{"1e", 1},
        Case{".", 0}, Case{"e5", 0}, Case{"inf", 0}, Case{"nan", 0}, Case{"0x10", 0}, Case{"1e999", kInfinity},
        Case{"-1e999", -kInfinity}, Case{"1e-999", 0}, Case{std::string(400, '9'), kInfinity},
        Case{"0." + std::string(400, '0') + "1", 0}, Case{"0." + std::string(400, '0') + "1e900", kInfinity},
        Case{std::string(400, '9') + "e-900", 0}}) {
    EXPECT_EQ(text::doubleValue(text), value) << text;
  }
  std::setlocale(LC_ALL, "C");
}

TEST(Text, IllFormedUTF8IsFoundAndReplaced) {
  struct Case {
    std::string bytes;
    bool isValid;
    std::string shown;
  };
  const std::string kMark = "\xEF\xBF\xBD";
  for (const auto& [bytes, isValid, shown] : {Case{"Tök", true, "Tök"}, Case{"a\xFF", false, "a" + kMark},
                                              Case{"\xC0\x80", false, kMark + kMark},              // overlong
                                              Case{"\xED\xA0\x80", false, kMark + kMark + kMark},  // a lone surrogate
                                              Case{"\xE2\x82", false, kMark}}) {                   // cut off
    EXPECT_EQ(text::isValidUTF8(bytes), isValid) << shown;
    EXPECT_EQ(text::lossyUTF8(bytes), shown);
  }
  EXPECT_EQ(text::utf8FromLatin1("T\xF6k"), "Tök");
}

TEST(Text, CompositionChangesOnlyWhatIsText) {
  EXPECT_EQ(text::precomposed("Cafe\u0301"), "Caf\u00E9");
  EXPECT_EQ(text::precomposed("e\u0301\xFF"), "e\u0301\xFF");  // a file name in some other encoding
}

TEST(Text, CaseIsFoldedSimplyCharacterByCharacter) {
  EXPECT_TRUE(text::equalIgnoringCase("ΣΑΣ", "σας"));
  EXPECT_FALSE(text::equalIgnoringCase("Straße", "STRASSE"));
  EXPECT_FALSE(text::equalIgnoringCase("\xFF", "\xFE"));
  EXPECT_FALSE(text::equalIgnoringCase("ab", "abc"));
  EXPECT_LT(text::caseInsensitiveCompare("apple", "Banana"), 0);
  EXPECT_LT(text::caseInsensitiveCompare("\U00010000", "\uE000"), 0);
}

TEST(Text, OrderForPeopleFollowsTheLocaleOfTheEnvironment) {
  const auto environment = TestEnvironment::install();
  EXPECT_LT(text::localizedCompare("a", "B"), 0);
  EXPECT_LT(text::localizedCompare("ä", "z"), 0);
  EXPECT_LT(text::localizedCompare(u"ä", u"z"), 0);
  environment->setLocale("sv_SE");
  EXPECT_GT(text::localizedCompare("ä", "z"), 0);
  EXPECT_GT(text::localizedCompare(u"ä", u"z"), 0);
  environment->setLocale("tr_TR");
  EXPECT_EQ(text::uppercase("piano"), "PİANO");
  EXPECT_EQ(text::lowercase("PIANO É"), "piano é");  // never Turkish
}

TEST(Text, ChineseBecomesLatin) {
  EXPECT_EQ(text::latinFromMandarin("中文"), "zhōng wén");
  EXPECT_EQ(text::withoutDiacritics("zhōng wén Ångström"), "zhong wen Angstrom");
}

TEST(Text, TrimmingTakesEveryKindOfBlankOffBothEnds) {
  EXPECT_EQ(text::trimmed("\u3000\u00A0\r\n a b \t\u2028"), "a b");
  EXPECT_EQ(text::trimmed(" \n"), "");
  EXPECT_EQ(text::trimmed("\xFFx "), "\xFFx");
  EXPECT_EQ(text::trimmedNULs(std::string_view("\0a\0b\0\0", 6)), std::string_view("a\0b", 3));
  EXPECT_EQ(text::trimmedNULs(std::string_view("\0", 1)), "");
}

TEST(Text, PartsKeepWhatIsEmpty) {
  EXPECT_EQ(text::split("a,,b,", ','), (std::vector<std::string>{"a", "", "b", ""}));
  EXPECT_EQ(text::split("", ','), std::vector<std::string>{""});
  EXPECT_EQ(text::joined({"b", "", "a"}, ","), ",a,b");
  EXPECT_EQ(text::replacingAll("aaa", "aa", "a"), "aa");
}
