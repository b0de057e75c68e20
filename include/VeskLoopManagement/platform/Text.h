// Text helpers shared by every layer. All text is UTF-8 in std::string unless a name says otherwise.
// Free functions without state, safe on any thread. None of them depends on the process locale; what a *person's*
// language decides (collation, upper-casing for display) goes through ICU with the locale of vesk::Environment.
#pragma once

#include "VeskLoopManagement/LCExport.h"

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
LC_EXPORT int compareCodeUnits(std::string_view left, std::string_view right);

struct CodeUnitLess {
  using is_transparent = void;
  bool operator()(std::string_view left, std::string_view right) const { return compareCodeUnits(left, right) < 0; }
};

// A set of texts whose enumeration is the same on every run.
using StringSet = std::set<std::string, CodeUnitLess>;

namespace text {

LC_EXPORT bool isValidUTF8(std::span<const std::byte> bytes);
LC_EXPORT bool isValidUTF8(std::string_view bytes);
LC_EXPORT bool isASCII(std::string_view value);
// The longest part from the front of `value` that has at most `size` bytes and does not end inside a UTF-8 character.
LC_EXPORT std::string_view cut(std::string_view value, size_t size);
// Bytes read as ISO 8859-1, as UTF-8.
LC_EXPORT std::string utf8FromLatin1(std::string_view bytes);
// Every ill-formed sequence replaced by U+FFFD, for showing to people.
LC_EXPORT std::string lossyUTF8(std::string_view bytes);
// UTF-16 code units of a UTF-8 text: the unit in which lengths of texts are counted.
LC_EXPORT size_t utf16Length(std::string_view value);
// As UTF-16, for collations; ill-formed sequences become U+FFFD.
LC_EXPORT std::u16string toUTF16(std::string_view value);

LC_EXPORT std::string precomposed(std::string_view value);        // Unicode NFC; ill-formed UTF-8 comes back unchanged
LC_EXPORT std::string lowercase(std::string_view value);          // full Unicode lower case, root locale
LC_EXPORT std::string uppercase(std::string_view value);          // full Unicode upper case, locale of the environment
LC_EXPORT std::string asciiLowercase(std::string_view value);     // A to Z only
LC_EXPORT std::string latinFromMandarin(std::string_view value);  // ICU "Han-Latin"
LC_EXPORT std::string withoutDiacritics(std::string_view value);
LC_EXPORT bool equalIgnoringCase(std::string_view left, std::string_view right);  // after simple case folding

// Order for people: ICU collation in the locale of the environment. Negative, 0 or positive.
LC_EXPORT int localizedCompare(std::string_view left, std::string_view right);
LC_EXPORT int localizedCompare(std::u16string_view left, std::u16string_view right);
// Order by simple case folding, code unit by code unit.
LC_EXPORT int caseInsensitiveCompare(std::string_view left, std::string_view right);

// Leading white space, an optional sign, digits; the rest is ignored. No digits: 0. Saturates at the ends of the range.
LC_EXPORT int64_t integerValue(std::string_view value);
// The same for decimal fractions ("." only) with an optional exponent.
LC_EXPORT double doubleValue(std::string_view value);
// As strtoll with base 0: "0x" hexadecimal, leading 0 octal, else decimal; 0 when there is no number.
LC_EXPORT int64_t integerValueDetectingBase(std::string_view value);

LC_EXPORT std::string trimmed(std::string_view value);      // Unicode white space and line ends off both ends
LC_EXPORT std::string trimmedNULs(std::string_view value);  // U+0000 off both ends
LC_EXPORT std::vector<std::string> split(std::string_view value,
                                         char separator);  // always at least one part; parts may be empty
LC_EXPORT std::string joined(const StringSet& parts, std::string_view separator);
LC_EXPORT std::string replacingAll(std::string_view value, std::string_view what,
                                   std::string_view with);  // `what` not empty

}  // namespace text
}  // namespace vesk
