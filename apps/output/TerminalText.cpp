#include "TerminalText.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>

namespace {

constexpr UChar32 kReplacement = 0xFFFD;
constexpr UChar32 kNone = -1;  // no code point
constexpr std::string_view kEllipsis = "…";

// The code point at `offset`, which moves behind it.
UChar32 nextCodePoint(std::string_view text, size_t& offset) {
  auto index = static_cast<int64_t>(offset);
  const auto length = static_cast<int64_t>(text.size());
  UChar32 codePoint = 0;
  U8_NEXT(text.data(), index, length, codePoint);
  offset = static_cast<size_t>(index);
  return codePoint < 0 ? kReplacement : codePoint;
}

void append(std::string& text, UChar32 codePoint) {
  char bytes[U8_MAX_LENGTH];
  int32_t length = 0;
  U8_APPEND_UNSAFE(bytes, length, codePoint);
  text.append(bytes, static_cast<size_t>(length));
}

bool isControl(UChar32 codePoint) {
  // Directional marks are of the format category and could swap what stands around a name.
  const auto category = u_charType(codePoint);
  return category == U_CONTROL_CHAR || category == U_FORMAT_CHAR || category == U_LINE_SEPARATOR ||
         category == U_PARAGRAPH_SEPARATOR;
}

std::string withoutControls(std::string_view text, UChar32 spared) {
  std::string result;
  for (size_t offset = 0; offset < text.size();) {
    const UChar32 codePoint = nextCodePoint(text, offset);
    append(result, isControl(codePoint) && codePoint != spared ? kReplacement : codePoint);
  }
  return result;
}

size_t columnsOf(UChar32 codePoint) {
  const auto category = u_charType(codePoint);
  if (category == U_NON_SPACING_MARK || category == U_ENCLOSING_MARK) return 0;
  const int width = u_getIntPropertyValue(codePoint, UCHAR_EAST_ASIAN_WIDTH);
  return width == U_EA_FULLWIDTH || width == U_EA_WIDE ? 2 : 1;
}

// The longest beginning and the longest end of `text` that take at most `width` columns.
std::string_view beginningOfWidth(std::string_view text, size_t width) {
  size_t end = 0;
  size_t columns = 0;
  for (size_t offset = 0; offset < text.size(); end = offset) {
    columns += columnsOf(nextCodePoint(text, offset));
    if (columns > width) break;
  }
  return text.substr(0, end);
}

std::string_view endOfWidth(std::string_view text, size_t width) {
  size_t columns = displayWidth(text);
  size_t start = 0;
  while (columns > width) columns -= columnsOf(nextCodePoint(text, start));
  return text.substr(start);
}

// With the last `endWidth` columns of the text.
std::string cutBeforeEnd(std::string_view text, size_t width, size_t endWidth) {
  if (displayWidth(text) <= width) return std::string(text);
  if (width == 0) return {};
  const std::string_view end = endOfWidth(text, endWidth);
  const std::string_view beginning = beginningOfWidth(text, width - 1 - displayWidth(end));
  return std::string(beginning).append(kEllipsis).append(end);
}

}  // namespace

std::string printable(std::string_view text) {
  return withoutControls(text, kNone);
}

std::string printableLines(std::string_view text) {
  return withoutControls(text, '\n');
}

std::string onOneLine(std::string_view text) {
  std::string result;
  for (size_t offset = 0; offset < text.size();) {
    const size_t start = offset;
    const auto category = u_charType(nextCodePoint(text, offset));
    if (category == U_CONTROL_CHAR || category == U_LINE_SEPARATOR || category == U_PARAGRAPH_SEPARATOR) {
      append(result, kReplacement);
    } else {
      result.append(text.substr(start, offset - start));
    }
  }
  return result;
}

size_t displayWidth(std::string_view text) {
  size_t columns = 0;
  for (size_t offset = 0; offset < text.size();) columns += columnsOf(nextCodePoint(text, offset));
  return columns;
}

std::string cutToWidth(std::string_view text, size_t width) {
  constexpr size_t kLongestEnd = 10;
  return cutBeforeEnd(text, width, std::min(width / 3, kLongestEnd));
}

std::string cutPathToWidth(std::string_view path, size_t width) {
  return cutBeforeEnd(path, width, width - width / 3 - std::min<size_t>(width, 1));
}

std::string paddedToWidth(std::string_view text, size_t width) {
  std::string result = cutToWidth(text, width);
  result.append(width - displayWidth(result), ' ');
  return result;
}

std::string paddedLeftToWidth(std::string_view text, size_t width) {
  const std::string cut = cutToWidth(text, width);
  return std::string(width - displayWidth(cut), ' ') + cut;
}

std::vector<std::string> wrappedToWidth(std::string_view text, size_t width) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const size_t blank = text.find(' ');
    const std::string_view word = text.substr(0, blank);
    text.remove_prefix(blank == std::string_view::npos ? text.size() : blank + 1);
    if (word.empty()) continue;
    if (lines.empty() || displayWidth(lines.back()) + 1 + displayWidth(word) > width) {
      lines.emplace_back(word);
    } else {
      lines.back().append(" ").append(word);
    }
  }
  return lines;
}
