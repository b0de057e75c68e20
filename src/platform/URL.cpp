#include "VeskLoopManagement/platform/URL.h"

#include "platform/Path.h"
#include "VeskLoopManagement/platform/Text.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <vector>

namespace vesk {

namespace {

constexpr std::string_view kFileScheme = "file://";

bool isLetter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

bool standsAsItIs(char c) {
  static constexpr std::string_view kMarks = "-._~/!$&'()*+,:=@";
  return isLetter(c) || isDigit(c) || kMarks.find(c) != std::string_view::npos;
}

// The value of a hexadecimal digit, or -1.
int hexValue(char c) {
  if (isDigit(c)) return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// The byte of the "%XX" at `position`, or -1 when there is none.
int encodedByte(std::string_view text, size_t position) {
  if (text.size() - position < 3 || text[position] != '%') return -1;
  const int high = hexValue(text[position + 1]);
  const int low = hexValue(text[position + 2]);
  return high < 0 || low < 0 ? -1 : high * 16 + low;
}

// The length of "file:", "https:" and the like at the front, 0 when there is none.
size_t schemeLength(std::string_view text) {
  const size_t colon = text.find(':');
  if (colon == std::string_view::npos || !isLetter(text[0])) return 0;
  const std::string_view scheme = text.substr(0, colon);
  const bool isScheme = std::all_of(scheme.begin(), scheme.end(), [](char c) {
    return isLetter(c) || isDigit(c) || c == '+' || c == '-' || c == '.';
  });
  return isScheme ? colon + 1 : 0;
}

// A URL taken apart; the pieces put together again are the text.
struct URLParts {
  std::string_view scheme;     // with its ":"
  std::string_view authority;  // with its "//"
  std::string_view path;
  std::string_view query;     // with its "?"
  std::string_view fragment;  // with its "#"
};

URLParts partsOf(std::string_view text) {
  URLParts parts;
  const auto take = [&text](size_t length) {
    const std::string_view taken = text.substr(0, length);
    text.remove_prefix(taken.size());
    return taken;
  };
  // One comparison for each character: find_first_of() asks for each by a call.
  const auto endsPath = [](char c) { return c == '?' || c == '#'; };
  const auto endsAuthority = [&](char c) { return c == '/' || endsPath(c); };
  const auto lengthUntil = [&text](size_t from, const auto& isEnd) {
    return static_cast<size_t>(std::find_if(text.begin() + static_cast<ptrdiff_t>(from), text.end(), isEnd) -
                               text.begin());
  };
  parts.scheme = take(schemeLength(text));
  if (text.starts_with("//")) parts.authority = take(lengthUntil(2, endsAuthority));
  parts.path = take(lengthUntil(0, endsPath));
  parts.query = take(text.find('#'));
  parts.fragment = text;
  return parts;
}

// "." and ".." taken out of an absolute path.
std::string withoutDotSegments(std::string_view path) {
  std::vector<std::string> kept;
  const std::vector<std::string> segments = text::split(path, '/');
  for (size_t i = 0; i < segments.size(); ++i) {
    const bool isDots = segments[i] == "." || segments[i] == "..";
    if (segments[i] == ".." && kept.size() > 1) kept.pop_back();
    if (!isDots) kept.push_back(segments[i]);
    if (isDots && i + 1 == segments.size()) kept.emplace_back();
  }
  std::string result;
  for (size_t i = 0; i < kept.size(); ++i) result += (i == 0 ? "" : "/") + kept[i];
  return result;
}

// The path of `relative`, which is not empty, below the folder of `base`.
std::string joinedPath(const URLParts& base, std::string_view relative) {
  if (relative.starts_with('/')) return withoutDotSegments(relative);
  const size_t slash = base.path.rfind('/');
  const std::string_view folder = slash == std::string_view::npos ? "/" : base.path.substr(0, slash + 1);
  return withoutDotSegments(std::string(folder) + std::string(relative));
}

std::string absolutePath(std::string_view path) {
  if (path.starts_with('/')) return std::string(path);
  std::error_code error;
  const std::string folder = std::filesystem::current_path(error).string();
  return path::appending(error ? "/" : folder, path);
}

}  // namespace

std::string percentEncodedPath(std::string_view path) {
  static constexpr std::string_view kHexDigits = "0123456789ABCDEF";
  std::string result;
  result.reserve(path.size());
  for (const char c : path) {
    if (standsAsItIs(c)) {
      result += c;
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    result += {'%', kHexDigits[byte >> 4], kHexDigits[byte & 0xF]};
  }
  return result;
}

std::string percentDecoded(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const size_t plain = std::min(text.find('%'), text.size());
    result += text.substr(0, plain);
    text.remove_prefix(plain);
    if (text.empty()) break;
    const int byte = encodedByte(text, 0);
    result += byte < 0 ? '%' : static_cast<char>(byte);
    text.remove_prefix(byte < 0 ? 1 : 3);
  }
  return result;
}

std::string joinedURLText(std::string_view base, std::string_view relative) {
  const URLParts near = partsOf(relative);
  if (base.empty() || !near.scheme.empty()) return std::string(relative);
  const URLParts far = partsOf(base);
  std::string result(far.scheme);
  if (!near.authority.empty()) return result.append(relative);
  result += far.authority;
  if (!near.path.empty()) return result.append(joinedPath(far, near.path)).append(near.query).append(near.fragment);
  return result.append(far.path).append(near.query.empty() ? far.query : near.query).append(near.fragment);
}

std::optional<URL> URL::fromString(std::string_view absoluteString) {
  if (absoluteString.empty()) return std::nullopt;
  for (size_t i = 0; i < absoluteString.size(); ++i) {
    const auto byte = static_cast<unsigned char>(absoluteString[i]);
    if (byte <= 0x20 || byte == 0x7F) return std::nullopt;
    if (byte == '%' && encodedByte(absoluteString, i) < 0) return std::nullopt;
  }
  return URL(std::string(absoluteString));
}

URL URL::fileURLWithPath(std::string_view path) {
  const std::string absolute = absolutePath(path);
  return fileURLWithPath(absolute, absolute.ends_with('/') || path::isDirectory(absolute));
}

URL URL::fileURLWithPath(std::string_view path, bool isDirectory) {
  std::string absolute = absolutePath(path);
  if (isDirectory && !absolute.ends_with('/')) absolute += '/';
  while (!isDirectory && absolute.size() > 1 && absolute.back() == '/') absolute.pop_back();
  return URL(std::string(kFileScheme) + percentEncodedPath(absolute));
}

std::string URL::path() const {
  std::string decoded = percentDecoded(partsOf(m_text).path);
  while (decoded.size() > 1 && decoded.back() == '/') decoded.pop_back();
  return decoded;
}

std::string URL::lastPathComponent() const {
  return path::lastComponent(path());
}

std::string URL::pathExtension() const {
  return path::extension(path());
}

URL URL::appendingPathComponent(std::string_view component) const {
  std::string text = m_text;
  if (!text.ends_with('/')) text += '/';
  text += percentEncodedPath(component);
  URL result(std::move(text));
  if (!result.m_text.ends_with('/') && path::isDirectory(result.path())) result.m_text += '/';
  return result;
}

}  // namespace vesk
