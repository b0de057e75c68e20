#include "VeskLoopManagement/platform/Text.h"

#include "VeskLoopManagement/platform/Environment.h"

#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/coll.h>
#include <unicode/normalizer2.h>
#include <unicode/translit.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <memory>

namespace vesk {

namespace {

// UTF-16 spells characters above U+FFFF with units below U+E000, so the lead bytes of U+E000 to U+FFFF come last of
// all.
int codeUnitRank(unsigned char byte) {
  return byte == 0xEE || byte == 0xEF ? byte + 0x100 : byte;
}

}  // namespace

int compareCodeUnits(std::string_view left, std::string_view right) {
  const size_t common = std::min(left.size(), right.size());
  const auto difference = std::mismatch(left.begin(), left.begin() + common, right.begin());
  if (difference.first != left.begin() + common) {
    const int leftRank = codeUnitRank(static_cast<unsigned char>(*difference.first));
    const int rightRank = codeUnitRank(static_cast<unsigned char>(*difference.second));
    return leftRank < rightRank ? -1 : 1;
  }
  if (left.size() == right.size()) return 0;
  return left.size() < right.size() ? -1 : 1;
}

namespace text {

namespace {

constexpr UChar32 kReplacement = 0xFFFD;
constexpr std::string_view kASCIIWhiteSpace = " \t\n\v\f\r";

// Walks over UTF-8 text one character at a time; -1 stands for an ill-formed sequence, which is passed over as a whole.
class CharacterReader {
 public:
  explicit CharacterReader(std::string_view value) : m_value(value) {}
  bool atEnd() const { return m_position >= static_cast<int32_t>(m_value.size()); }
  int32_t position() const { return m_position; }
  UChar32 next() {
    UChar32 character = 0;
    const auto* bytes = reinterpret_cast<const uint8_t*>(m_value.data());
    const auto length = static_cast<int32_t>(m_value.size());
    U8_NEXT(bytes, m_position, length, character);
    return character;
  }
  // As next(), after simple case folding. An ill-formed sequence counts byte by byte, each byte equal to itself only.
  UChar32 nextFolded() {
    const int32_t start = m_position;
    const UChar32 character = next();
    if (character >= 0) return u_foldCase(character, U_FOLD_CASE_DEFAULT);
    m_position = start + 1;
    return UCHAR_MAX_VALUE + 1 + static_cast<unsigned char>(m_value[static_cast<size_t>(start)]);
  }

 private:
  std::string_view m_value;
  int32_t m_position = 0;
};

void appendCharacter(std::string& result, UChar32 character) {
  uint8_t bytes[U8_MAX_LENGTH];
  int32_t length = 0;
  U8_APPEND_UNSAFE(bytes, length, character);
  result.append(reinterpret_cast<const char*>(bytes), static_cast<size_t>(length));
}

std::string utf8FromICU(const icu::UnicodeString& value) {
  std::string result;
  value.toUTF8String(result);
  return result;
}

icu::StringPiece pieceOf(std::string_view value) {
  return {value.data(), static_cast<int32_t>(value.size())};
}

// The collator of the environment's locale, made again when the locale changes. Null when ICU has no collation data.
const icu::Collator* collatorOfThisThread() {
  thread_local std::unique_ptr<icu::Collator> collator;
  thread_local std::string collatorLocale;
  std::string locale = Environment::shared().localeIdentifier();
  if (collator && locale == collatorLocale) return collator.get();
  UErrorCode status = U_ZERO_ERROR;
  const icu::Locale icuLocale = locale.empty() ? icu::Locale::getRoot() : icu::Locale(locale.c_str());
  collator.reset(icu::Collator::createInstance(icuLocale, status));
  if (U_FAILURE(status)) collator.reset();
  collatorLocale = std::move(locale);
  return collator.get();
}

// ICU's rules for Han to Latin take long to load, so each thread keeps its own. Null when ICU has no such data.
const icu::Transliterator* hanLatinOfThisThread() {
  thread_local std::unique_ptr<icu::Transliterator> transliterator;
  thread_local bool wasTried = false;
  if (!wasTried) {
    wasTried = true;
    UErrorCode status = U_ZERO_ERROR;
    transliterator.reset(icu::Transliterator::createInstance("Han-Latin", UTRANS_FORWARD, status));
    if (U_FAILURE(status)) transliterator.reset();
  }
  return transliterator.get();
}

// The order of two characters in UTF-16, where those above U+FFFF come before U+E000.
int compareAsCodeUnits(UChar32 left, UChar32 right) {
  const auto rank = [](UChar32 character) {
    return character >= 0xE000 && character <= 0xFFFF ? character + 0x200000 : character;
  };
  if (left == right) return 0;
  return rank(left) < rank(right) ? -1 : 1;
}

struct SignedText {
  bool isNegative = false;
  std::string_view digits;  // what follows white space and sign
};

SignedText withoutSign(std::string_view value) {
  const size_t start = value.find_first_not_of(kASCIIWhiteSpace);
  if (start == std::string_view::npos) return {};
  value.remove_prefix(start);
  const bool hasSign = value.front() == '-' || value.front() == '+';
  const bool isNegative = value.front() == '-';
  if (hasSign) value.remove_prefix(1);
  return {isNegative, value};
}

int64_t saturatedInteger(const SignedText& number, int base) {
  uint64_t magnitude = 0;
  const auto result =
      std::from_chars(number.digits.data(), number.digits.data() + number.digits.size(), magnitude, base);
  if (result.ec == std::errc::invalid_argument) return 0;
  constexpr uint64_t kLargest = std::numeric_limits<int64_t>::max();
  const bool isTooLarge = result.ec == std::errc::result_out_of_range || magnitude > kLargest;
  if (number.isNegative) {
    return isTooLarge ? std::numeric_limits<int64_t>::min() : -static_cast<int64_t>(magnitude);
  }
  return isTooLarge ? std::numeric_limits<int64_t>::max() : static_cast<int64_t>(magnitude);
}

bool isDigit(char character) {
  return character >= '0' && character <= '9';
}

bool isHexDigit(char character) {
  return isDigit(character) || (character >= 'a' && character <= 'f') || (character >= 'A' && character <= 'F');
}

bool startsWithDecimal(std::string_view digits) {
  if (digits.empty()) return false;
  if (isDigit(digits[0])) return true;
  return digits[0] == '.' && digits.size() > 1 && isDigit(digits[1]);
}

// Whether a decimal that a double cannot hold is too large; if not, it is too close to zero. `decimal` begins with a
// digit or with "." and a digit.
bool isBeyondLargestDouble(std::string_view decimal) {
  const size_t end = std::min(decimal.find_first_not_of("0123456789."), decimal.size());
  const std::string_view mantissa = decimal.substr(0, end);
  const size_t point = std::min(mantissa.find('.'), mantissa.size());
  const size_t firstDigit = mantissa.find_first_not_of("0.");
  if (firstDigit == std::string_view::npos) return false;
  const auto magnitude = static_cast<int64_t>(point) - static_cast<int64_t>(firstDigit);
  const bool hasExponent = end < decimal.size() && (decimal[end] == 'e' || decimal[end] == 'E');
  const int64_t exponent = hasExponent ? integerValue(decimal.substr(end + 1)) : 0;
  return exponent > -magnitude;
}

}  // namespace

bool isValidUTF8(std::string_view bytes) {
  if (isASCII(bytes)) return true;
  CharacterReader reader{bytes};
  while (!reader.atEnd()) {
    if (reader.next() < 0) return false;
  }
  return true;
}

bool isValidUTF8(std::span<const std::byte> bytes) {
  return isValidUTF8(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

std::string_view cut(std::string_view value, size_t size) {
  if (value.size() <= size) return value;
  constexpr size_t kMostContinuations = 3;  // more of them are no UTF-8
  const auto continues = [&](size_t at) { return (static_cast<unsigned char>(value[at]) & 0xC0) == 0x80; };
  size_t end = size;
  while (end > 0 && size - end <= kMostContinuations && continues(end)) --end;
  return value.substr(0, size - end <= kMostContinuations ? end : size);
}

bool isASCII(std::string_view value) {
  return std::all_of(value.begin(), value.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::string utf8FromLatin1(std::string_view bytes) {
  std::string result;
  result.reserve(bytes.size());
  for (const char byte : bytes) appendCharacter(result, static_cast<unsigned char>(byte));
  return result;
}

std::string lossyUTF8(std::string_view bytes) {
  std::string result;
  result.reserve(bytes.size());
  CharacterReader reader{bytes};
  while (!reader.atEnd()) {
    const UChar32 character = reader.next();
    appendCharacter(result, character < 0 ? kReplacement : character);
  }
  return result;
}

size_t utf16Length(std::string_view value) {
  size_t length = 0;
  CharacterReader reader{value};
  while (!reader.atEnd()) length += reader.next() > 0xFFFF ? 2 : 1;
  return length;
}

std::u16string toUTF16(std::string_view value) {
  const icu::UnicodeString converted = icu::UnicodeString::fromUTF8(pieceOf(value));
  return {converted.getBuffer(), static_cast<size_t>(converted.length())};
}

std::string precomposed(std::string_view value) {
  if (isASCII(value) || !isValidUTF8(value)) return std::string(value);
  UErrorCode status = U_ZERO_ERROR;
  const icu::Normalizer2* composer = icu::Normalizer2::getNFCInstance(status);
  if (U_FAILURE(status)) return std::string(value);
  std::string result;
  icu::StringByteSink<std::string> sink(&result);
  composer->normalizeUTF8(0, pieceOf(value), sink, nullptr, status);
  return U_SUCCESS(status) ? result : std::string(value);
}

std::string lowercase(std::string_view value) {
  if (isASCII(value)) return asciiLowercase(value);
  return utf8FromICU(icu::UnicodeString::fromUTF8(pieceOf(value)).toLower(icu::Locale::getRoot()));
}

std::string uppercase(std::string_view value) {
  const icu::Locale locale(Environment::shared().localeIdentifier().c_str());
  return utf8FromICU(icu::UnicodeString::fromUTF8(pieceOf(value)).toUpper(locale));
}

std::string asciiLowercase(std::string_view value) {
  std::string result(value);
  for (char& character : result) {
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
  }
  return result;
}

std::string latinFromMandarin(std::string_view value) {
  const icu::Transliterator* transliterator = isASCII(value) ? nullptr : hanLatinOfThisThread();
  if (!transliterator) return std::string(value);
  icu::UnicodeString converted = icu::UnicodeString::fromUTF8(pieceOf(value));
  transliterator->transliterate(converted);
  return utf8FromICU(converted);
}

std::string withoutDiacritics(std::string_view value) {
  if (isASCII(value)) return std::string(value);
  UErrorCode status = U_ZERO_ERROR;
  const icu::Normalizer2* decomposer = icu::Normalizer2::getNFDInstance(status);
  const icu::Normalizer2* composer = icu::Normalizer2::getNFCInstance(status);
  if (U_FAILURE(status)) return std::string(value);
  const icu::UnicodeString decomposed = decomposer->normalize(icu::UnicodeString::fromUTF8(pieceOf(value)), status);
  icu::UnicodeString kept;
  for (int32_t i = 0; i < decomposed.length(); i = decomposed.moveIndex32(i, 1)) {
    const UChar32 character = decomposed.char32At(i);
    if (u_charType(character) != U_NON_SPACING_MARK) kept.append(character);
  }
  const icu::UnicodeString composed = composer->normalize(kept, status);
  return U_SUCCESS(status) ? utf8FromICU(composed) : std::string(value);
}

bool equalIgnoringCase(std::string_view left, std::string_view right) {
  return caseInsensitiveCompare(left, right) == 0;
}

int caseInsensitiveCompare(std::string_view left, std::string_view right) {
  CharacterReader leftReader{left};
  CharacterReader rightReader{right};
  while (!leftReader.atEnd() && !rightReader.atEnd()) {
    const int order = compareAsCodeUnits(leftReader.nextFolded(), rightReader.nextFolded());
    if (order != 0) return order;
  }
  if (leftReader.atEnd() && rightReader.atEnd()) return 0;
  return leftReader.atEnd() ? -1 : 1;
}

int localizedCompare(std::string_view left, std::string_view right) {
  const icu::Collator* collator = collatorOfThisThread();
  if (!collator) return compareCodeUnits(left, right);
  UErrorCode status = U_ZERO_ERROR;
  return collator->compareUTF8(pieceOf(left), pieceOf(right), status);
}

int localizedCompare(std::u16string_view left, std::u16string_view right) {
  const icu::Collator* collator = collatorOfThisThread();
  if (!collator) return left.compare(right);
  UErrorCode status = U_ZERO_ERROR;
  return collator->compare(left.data(), static_cast<int32_t>(left.size()), right.data(),
                           static_cast<int32_t>(right.size()), status);
}

int64_t integerValue(std::string_view value) {
  return saturatedInteger(withoutSign(value), 10);
}

double doubleValue(std::string_view value) {
  const SignedText number = withoutSign(value);
  if (!startsWithDecimal(number.digits)) return 0;
  double magnitude = 0;
  const auto result = std::from_chars(number.digits.data(), number.digits.data() + number.digits.size(), magnitude);
  if (result.ec == std::errc::result_out_of_range) {
    magnitude = isBeyondLargestDouble(number.digits) ? std::numeric_limits<double>::infinity() : 0;
  }
  return number.isNegative ? -magnitude : magnitude;
}

int64_t integerValueDetectingBase(std::string_view value) {
  SignedText number = withoutSign(value);
  const std::string_view digits = number.digits;
  const bool isHexadecimal =
      digits.size() > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X') && isHexDigit(digits[2]);
  if (isHexadecimal) {
    number.digits.remove_prefix(2);
    return saturatedInteger(number, 16);
  }
  const bool isOctal = !digits.empty() && digits[0] == '0';
  return saturatedInteger(number, isOctal ? 8 : 10);
}

std::string trimmed(std::string_view value) {
  CharacterReader reader{value};
  size_t start = value.size();
  size_t end = value.size();
  bool sawText = false;
  while (!reader.atEnd()) {
    const auto position = static_cast<size_t>(reader.position());
    const UChar32 character = reader.next();
    if (character >= 0 && u_isUWhiteSpace(character)) continue;
    if (!sawText) start = position;
    sawText = true;
    end = static_cast<size_t>(reader.position());
  }
  return std::string(value.substr(start, end - start));
}

std::string trimmedNULs(std::string_view value) {
  const size_t start = value.find_first_not_of('\0');
  if (start == std::string_view::npos) return {};
  return std::string(value.substr(start, value.find_last_not_of('\0') - start + 1));
}

std::vector<std::string> split(std::string_view value, char separator) {
  std::vector<std::string> parts;
  size_t start = 0;
  for (size_t end = value.find(separator); end != std::string_view::npos; end = value.find(separator, start)) {
    parts.emplace_back(value.substr(start, end - start));
    start = end + 1;
  }
  parts.emplace_back(value.substr(start));
  return parts;
}

std::string joined(const StringSet& parts, std::string_view separator) {
  std::string result;
  for (const std::string& part : parts) {
    if (&part != &*parts.begin()) result += separator;
    result += part;
  }
  return result;
}

std::string replacingAll(std::string_view value, std::string_view what, std::string_view with) {
  std::string result;
  size_t start = 0;
  for (size_t found = value.find(what); found != std::string_view::npos; found = value.find(what, start)) {
    result += value.substr(start, found - start);
    result += with;
    start = found + what.size();
  }
  result += value.substr(start);
  return result;
}

}  // namespace text
}  // namespace vesk
