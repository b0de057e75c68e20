// Text helpers shared by every layer. All text is UTF-8 in std::string unless a name says otherwise.
// Free functions without state, safe on any thread. None of them depends on the process locale; what a *person's*
// language decides (collation, upper-casing for display) goes through ICU with the locale of vesk::Environment.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vesk {

// Orders UTF-8 texts by their UTF-16 code units, the order in which keywords enter a loop's identity. It differs from
// byte order only where one text has a character above U+FFFF and the other one of U+E000 to U+FFFF at the same place.
int compareCodeUnits(std::string_view left, std::string_view right);

struct CodeUnitLess {
  using is_transparent = void;
  bool operator()(std::string_view left, std::string_view right) const { return compareCodeUnits(left, right) < 0; }
};

// A set of texts whose enumeration is the same on every run.
using StringSet = std::set<std::string, CodeUnitLess>;

namespace text {

bool isValidUTF8(std::span<const std::byte> bytes);
bool isValidUTF8(std::string_view bytes);
bool isASCII(std::string_view value);
// Bytes read as ISO 8859-1, as UTF-8.
std::string utf8FromLatin1(std::string_view bytes);
// Every ill-formed sequence replaced by U+FFFD, for showing to people.
std::string lossyUTF8(std::string_view bytes);
// UTF-16 code units of a UTF-8 text: the unit in which lengths of texts are counted.
size_t utf16Length(std::string_view value);
// As UTF-16, for collations; ill-formed sequences become U+FFFD.
std::u16string toUTF16(std::string_view value);

std::string precomposed(std::string_view value);        // Unicode NFC; ill-formed UTF-8 comes back unchanged
std::string lowercase(std::string_view value);          // full Unicode lower case, root locale
std::string uppercase(std::string_view value);          // full Unicode upper case, locale of the environment
std::string asciiLowercase(std::string_view value);     // A to Z only
std::string latinFromMandarin(std::string_view value);  // ICU "Han-Latin"
std::string withoutDiacritics(std::string_view value);
bool equalIgnoringCase(std::string_view left, std::string_view right);  // after simple case folding

// Order for people: ICU collation in the locale of the environment. Negative, 0 or positive.
int localizedCompare(std::string_view left, std::string_view right);
int localizedCompare(std::u16string_view left, std::u16string_view right);
// Order by simple case folding, code unit by code unit.
int caseInsensitiveCompare(std::string_view left, std::string_view right);

// Leading white space, an optional sign, digits; the rest is ignored. No digits: 0. Saturates at the ends of the range.
int64_t integerValue(std::string_view value);
// The same for decimal fractions ("." only) with an optional exponent.
double doubleValue(std::string_view value);
// As strtoll with base 0: "0x" hexadecimal, leading 0 octal, else decimal; 0 when there is no number.
int64_t integerValueDetectingBase(std::string_view value);

std::string trimmed(std::string_view value);      // Unicode white space and line ends off both ends
std::string trimmedNULs(std::string_view value);  // U+0000 off both ends
std::vector<std::string> split(std::string_view value, char separator);  // always at least one part; parts may be empty
std::string joined(const StringSet& parts, std::string_view separator);
std::string replacingAll(std::string_view value, std::string_view what, std::string_view with);  // `what` not empty

}  // namespace text
}  // namespace vesk
