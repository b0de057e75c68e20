#include "search/LocalizedLike.h"

#include <sqlite3.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <memory>
#include <new>

namespace {

constexpr char kFunctionName[] = "LC_LOCALIZED_LIKE";
constexpr int kLongestPatternInBytes = 50000;

// The code point at `position`, which moves behind it. `position` must lie inside the text.
int32_t nextCodePoint(std::string_view text, size_t& position) {
  const auto first = static_cast<unsigned char>(text[position]);
  if (first < 0x80) {
    ++position;
    return first;
  }
  int32_t codePoint = 0;
  U8_NEXT_OR_FFFD(text.data(), position, text.size(), codePoint);
  return codePoint;
}

int32_t folded(int32_t codePoint) {
  if (codePoint < 0x80) return codePoint >= 'A' && codePoint <= 'Z' ? codePoint + ('a' - 'A') : codePoint;
  return u_foldCase(codePoint, U_FOLD_CASE_DEFAULT);
}

std::string_view upToNUL(std::string_view text) {
  return text.substr(0, text.find('\0'));
}

std::string_view textOf(sqlite3_value* value) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
  if (!text) return {};
  return {text, static_cast<size_t>(sqlite3_value_bytes(value))};
}

void destroyPattern(void* pattern) {
  delete static_cast<lc::LocalizedLikePattern*>(pattern);
}

// nullopt when the text is not exactly one character.
std::optional<int32_t> singleCharacter(std::string_view text) {
  if (text.empty()) return std::nullopt;
  size_t position = 0;
  const int32_t character = nextCodePoint(text, position);
  return position == text.size() ? std::optional(character) : std::nullopt;
}

void localizedLike(sqlite3_context* context, int argumentCount, sqlite3_value** arguments) {
  if (sqlite3_value_bytes(arguments[0]) > kLongestPatternInBytes) {
    sqlite3_result_error(context, "LIKE or GLOB pattern too complex", -1);
    return;
  }
  std::optional<int32_t> escape;
  if (argumentCount == 3) {
    if (sqlite3_value_type(arguments[2]) == SQLITE_NULL) return;
    escape = singleCharacter(textOf(arguments[2]));
    if (!escape) {
      sqlite3_result_error(context, "ESCAPE expression must be a single character", -1);
      return;
    }
  }
  const bool hasNull =
      sqlite3_value_type(arguments[0]) == SQLITE_NULL || sqlite3_value_type(arguments[1]) == SQLITE_NULL;
  if (hasNull) return;

  // A pattern that is the same in every row is compiled once and kept by SQLite.
  const std::string_view value = textOf(arguments[1]);
  const auto* kept = static_cast<const lc::LocalizedLikePattern*>(sqlite3_get_auxdata(context, 0));
  if (kept && kept->escape() == escape) {
    sqlite3_result_int(context, kept->matches(value) ? 1 : 0);
    return;
  }
  auto pattern = std::make_unique<lc::LocalizedLikePattern>(textOf(arguments[0]), escape);
  sqlite3_result_int(context, pattern->matches(value) ? 1 : 0);
  sqlite3_set_auxdata(context, 0, pattern.release(), destroyPattern);
}

void localizedLikeCallback(sqlite3_context* context, int argumentCount, sqlite3_value** arguments) {
  try {
    localizedLike(context, argumentCount, arguments);
  } catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(context);
  }
}

}  // namespace

lc::LocalizedLikePattern::LocalizedLikePattern(std::string_view pattern, std::optional<int32_t> escape)
    : m_escape(escape) {
  const std::string_view text = upToNUL(pattern);
  bool isLiteral = false;
  for (size_t position = 0; position < text.size();) {
    const int32_t codePoint = nextCodePoint(text, position);
    if (!isLiteral && codePoint == escape) {
      isLiteral = true;
      continue;
    }
    if (!isLiteral && codePoint == '%') {
      m_elements.push_back(kAnyRun);
    } else if (!isLiteral && codePoint == '_') {
      m_elements.push_back(kAnyOne);
    } else {
      m_elements.push_back(folded(codePoint));
    }
    isLiteral = false;
  }
}

bool lc::LocalizedLikePattern::matches(std::string_view value) const {
  const std::string_view text = upToNUL(value);
  size_t position = 0;       // in text
  size_t element = 0;        // in m_elements
  size_t afterRun = 0;       // the element behind the last "%" met, or 0
  size_t endOfRunTaken = 0;  // where in the text that "%" stops taking for now
  while (position < text.size()) {
    if (element < m_elements.size() && m_elements[element] == kAnyRun) {
      afterRun = ++element;
      endOfRunTaken = position;
      if (afterRun == m_elements.size()) return true;
      continue;
    }
    if (element < m_elements.size()) {
      size_t next = position;
      const int32_t codePoint = folded(nextCodePoint(text, next));
      if (m_elements[element] == kAnyOne || m_elements[element] == codePoint) {
        ++element;
        position = next;
        continue;
      }
    }
    if (afterRun == 0) return false;
    nextCodePoint(text, endOfRunTaken);  // the "%" takes one character more
    position = endOfRunTaken;
    element = afterRun;
  }
  while (element < m_elements.size() && m_elements[element] == kAnyRun) ++element;
  return element == m_elements.size();
}

bool lc::registerLocalizedLike(sqlite3* connection) {
  constexpr int kFlags = SQLITE_UTF8 | SQLITE_DETERMINISTIC;
  for (const int argumentCount : {2, 3}) {
    const int status = sqlite3_create_function(connection, kFunctionName, argumentCount, kFlags, nullptr,
                                               localizedLikeCallback, nullptr, nullptr);
    if (status != SQLITE_OK) return false;
  }
  return true;
}
