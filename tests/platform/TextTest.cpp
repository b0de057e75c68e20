#include "VeskLoopManagement/platform/Text.h"

#include "support/TestEnvironment.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <unicode/unistr.h>

#include <clocale>
#include <limits>
#include <tuple>

using namespace vesk;

namespace {

constexpr int64_t kLargest = std::numeric_limits<int64_t>::max(), kSmallest = std::numeric_limits<int64_t>::min();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
using Integer = std::pair<std::string, int64_t>;
using Real = std::pair<std::string, double>;

}  // namespace

// Of characters close to where the orders of UTF-8 and UTF-16 part.
RC_GTEST_PROP(Text, CodeUnitOrderIsThatOfUTF16, ()) {
  const auto some = [] {
    const auto text = *rc::gen::container<std::u32string>(
        rc::gen::element<char32_t>('a', U'é', 0xD7FF, 0xE000, 0xFFFD, 0x10000, 0x10FFFF));
    return icu::UnicodeString::fromUTF32(reinterpret_cast<const UChar32*>(text.data()), std::ssize(text));
  };
  const auto units = some(), otherUnits = some();
  std::string left, right;
  units.toUTF8String(left), otherUnits.toUTF8String(right);
  RC_ASSERT(text::toUTF16(left) == std::u16string(units.getBuffer(), units.length()));
  RC_ASSERT(text::utf16Length(left) == static_cast<size_t>(units.length()));
  RC_ASSERT((compareCodeUnits(left, right) < 0) == (units.compare(otherUnits) < 0));
  RC_ASSERT((compareCodeUnits(left, right) == 0) == (left == right));
}

TEST(Text, IntegersAreReadFromTheFrontAndSaturate) {
  for (const auto& [text, value] :
       {Integer{"120 bpm", 120}, Integer{" \t\n-7", -7}, Integer{"+5", 5}, Integer{"", 0}, Integer{"bpm 120", 0},
        Integer{"- 5", 0}, Integer{"--5", 0}, Integer{"0x1F", 0}, Integer{"007", 7},
        Integer{"9223372036854775807", kLargest}, Integer{"9223372036854775808", kLargest},
        Integer{"-9223372036854775809", kSmallest}, Integer{std::string(400, '9'), kLargest}}) {
    EXPECT_EQ(text::integerValue(text), value) << text;
  }
  for (const auto& [text, value] :
       {Integer{"0x1Fz", 31}, Integer{"-0X10", -16}, Integer{"017", 15}, Integer{"08", 0}, Integer{"17", 17},
        Integer{"0xg", 0}, Integer{"0x+1", 0}, Integer{"", 0}, Integer{"0xFFFFFFFFFFFFFFFF", kLargest}}) {
    EXPECT_EQ(text::integerValueDetectingBase(text), value) << text;
  }
}

TEST(Text, DecimalsAreReadFromTheFrontWhateverTheLocale) {
  // Where the system has a locale with decimal commas, it must not change a thing.
  std::setlocale(LC_ALL, "de_DE.UTF-8");
  for (const auto& [text, value] :
       {Real{" 101.7bpm", 101.7}, Real{"+.5", 0.5}, Real{"-2.", -2}, Real{"1,5", 1}, Real{"1e3x", 1000}, Real{"1e", 1},
        Real{".", 0}, Real{"e5", 0}, Real{"inf", 0}, Real{"nan", 0}, Real{"0x10", 0}, Real{"1e999", kInfinity},
        Real{"-1e999", -kInfinity}, Real{"1e-999", 0}, Real{std::string(400, '9'), kInfinity},
        Real{"0." + std::string(400, '0') + "1e900", kInfinity}, Real{std::string(400, '9') + "e-900", 0}}) {
    EXPECT_EQ(text::doubleValue(text), value) << text;
  }
  std::setlocale(LC_ALL, "C");
}

TEST(Text, IllFormedUTF8IsFoundAndReplaced) {
  for (const auto& [bytes, isValid, shown] :
       {std::tuple("Tök", true, "Tök"), std::tuple("a\xFF", false, "a\uFFFD"),
        std::tuple("\xC0\x80", false, "\uFFFD\uFFFD"),            // overlong
        std::tuple("\xED\xA0\x80", false, "\uFFFD\uFFFD\uFFFD"),  // a lone surrogate
        std::tuple("\xE2\x82", false, "\uFFFD")}) {               // cut off
    EXPECT_EQ(text::isValidUTF8(std::string_view(bytes)), isValid) << shown;
    EXPECT_EQ(text::lossyUTF8(bytes), shown);
  }
  EXPECT_EQ(text::precomposed("Cafe\u0301"), "Caf\u00E9");
  EXPECT_EQ(text::precomposed("e\u0301\xFF"), "e\u0301\xFF");  // a file name in some other encoding
}

TEST(Text, CaseIsFoldedSimplyCharacterByCharacter) {
  EXPECT_TRUE(text::equalIgnoringCase("ΣΑΣ", "σας"));
  EXPECT_FALSE(text::equalIgnoringCase("Straße", "STRASSE"));
  EXPECT_FALSE(text::equalIgnoringCase("\xFF", "\xFE"));
  EXPECT_LT(text::caseInsensitiveCompare("apple", "Banana"), 0);
  EXPECT_LT(text::caseInsensitiveCompare("\U00010000", "\uE000"), 0);
}

TEST(Text, OrderForPeopleFollowsTheLocaleOfTheEnvironment) {
  const auto environment = TestEnvironment::install();
  EXPECT_LT(text::localizedCompare("a", "B"), 0);
  EXPECT_LT(text::localizedCompare(u"ä", u"z"), 0);
  environment->setLocale("sv_SE");
  EXPECT_GT(text::localizedCompare("ä", "z"), 0);
  EXPECT_GT(text::localizedCompare(u"ä", u"z"), 0);
  environment->setLocale("tr_TR");
  EXPECT_EQ(text::uppercase("piano"), "PİANO");
  EXPECT_EQ(text::lowercase("PIANO É"), "piano é");  // never Turkish
}

TEST(Text, TrimmingTakesEveryKindOfBlankOffBothEnds) {
  EXPECT_EQ(text::trimmed("\u3000\u00A0\r\n a b \t\u2028"), "a b");
  EXPECT_EQ(text::trimmed(" \n"), "");
  EXPECT_EQ(text::trimmed("\xFFx "), "\xFFx");
  EXPECT_EQ(text::trimmedNULs(std::string_view("\0a\0b\0\0", 6)), std::string_view("a\0b", 3));
}
