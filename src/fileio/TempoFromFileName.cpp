#include "fileio/TempoFromFileName.h"

#include "VeskLoopManagement/platform/Text.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <cstddef>

namespace {

struct CodePoint {
  UChar32 value = -1;  // negative at the end and for bytes that are no UTF-8
  size_t end = 0;      // offset behind it
};

CodePoint codePointAt(std::string_view text, size_t position) {
  if (position >= text.size()) return {.value = -1, .end = position};
  UChar32 value = 0;
  U8_NEXT(text.data(), position, text.size(), value);
  return {.value = value, .end = position};
}

bool isDigit(UChar32 value) {
  return value >= 0 && u_charType(value) == U_DECIMAL_DIGIT_NUMBER;
}

size_t endOfDigits(std::string_view text, size_t position) {
  for (;;) {
    const CodePoint next = codePointAt(text, position);
    if (!isDigit(next.value)) return position;
    position = next.end;
  }
}

// Behind "bpm" and the one white-space character that may stand before it.
std::optional<size_t> endOfUnit(std::string_view text, size_t position) {
  const CodePoint next = codePointAt(text, position);
  if (next.value >= 0 && u_isUWhiteSpace(next.value)) position = next.end;
  if (vesk::text::asciiLowercase(text.substr(position, 3)) != "bpm") return std::nullopt;
  return position + 3;
}

}  // namespace

// What follows a number decides alone whether there is a match, and no shorter part of the same digits could match
// instead. So each run of digits is read at most twice: as a number of its own and as the decimals of the number before
// it.
std::optional<std::string_view> lc::findTempoText(std::string_view fileName) {
  size_t position = 0;
  while (position < fileName.size()) {
    const size_t digitsEnd = endOfDigits(fileName, position);
    if (digitsEnd == position) {
      position = codePointAt(fileName, position).end;
      continue;
    }
    const bool hasPoint = digitsEnd < fileName.size() && fileName[digitsEnd] == '.';
    const size_t numberEnd = hasPoint ? endOfDigits(fileName, digitsEnd + 1) : digitsEnd;
    if (const auto end = endOfUnit(fileName, numberEnd)) return fileName.substr(position, *end - position);
    position = digitsEnd;
  }
  return std::nullopt;
}

std::optional<float> lc::findTempoInFileName(std::string_view fileName) {
  const auto found = lc::findTempoText(fileName);
  if (!found) return std::nullopt;
  return static_cast<float>(vesk::text::doubleValue(*found));
}
