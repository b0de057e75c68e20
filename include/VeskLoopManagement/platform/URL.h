// A file URL (RFC 8089) as the database stores it: the text itself is the identity. A plain value, safe on any thread.
// Made from a path, the bytes A-Z a-z 0-9 - . _ ~ / ! $ & ' ( ) * + , : = @ stand as they are and every other byte is
// written as uppercase %XX; nothing is normalised, and the URL of a folder ends in "/".
#pragma once

#include "VeskLoopManagement/LCExport.h"

#include <compare>
#include <optional>
#include <string>
#include <string_view>

namespace vesk {

class LC_EXPORT URL {
 public:
  // nullopt for texts that are no URL: empty, with blanks or control characters, or with a broken %XX.
  static std::optional<URL> fromString(std::string_view absoluteString);
  // Looks at the file system to learn whether the path is an existing folder (then the text ends in "/").
  // A relative path is taken below the working directory.
  static URL fileURLWithPath(std::string_view path);
  static URL fileURLWithPath(std::string_view path, bool isDirectory);

  const std::string& absoluteString() const { return m_text; }
  std::string path() const;               // percent-decoded bytes, without a trailing "/" (but "/" for the root)
  std::string lastPathComponent() const;  // of path()
  std::string pathExtension() const;      // of path()
  // A URL of the component below this one; asks the file system whether that is a folder.
  URL appendingPathComponent(std::string_view component) const;

  auto operator<=>(const URL&) const = default;

 private:
  explicit URL(std::string text) : m_text(std::move(text)) {}
  std::string m_text;
};

// The path's bytes as they stand in a file URL.
LC_EXPORT std::string percentEncodedPath(std::string_view path);
// Every valid %XX replaced by its byte; what is not valid stays.
LC_EXPORT std::string percentDecoded(std::string_view text);
// The absolute text of `relative` as seen from `base` (RFC 3986, section 5.2); `relative` itself when `base` is empty.
LC_EXPORT std::string joinedURLText(std::string_view base, std::string_view relative);

}  // namespace vesk
