// Paths as texts, and the few questions to the file system that the library asks. A path is a sequence of bytes;
// nothing here requires UTF-8 or changes its normalisation. Safe on any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesk::path {

// The part after the last "/", trailing "/" ignored; "/" for the root, "" for "".
std::string lastComponent(std::string_view path);
// "/" first for an absolute path, then each component; empty components are dropped.
std::vector<std::string> components(std::string_view path);
// The text after the last "." of the last component when it is non-empty, holds no blank and the dot is not the
// component's first character; else "".
std::string extension(std::string_view path);
std::string lowercaseExtension(std::string_view path);  // A to Z only
std::string deletingExtension(std::string_view path);   // without ".ext"; unchanged where extension() is ""
std::string deletingLastComponent(std::string_view path);
std::string appending(std::string_view folder, std::string_view component);

bool exists(const std::string& path);       // links are followed
bool isDirectory(const std::string& path);  // links are followed
bool isDeadLink(const std::string& path);   // a link that leads to nothing, or in a circle
// Links resolved as far as the path exists; what does not exist is appended as it stands. Never fails.
std::string resolvingSymlinks(const std::string& path);
// Creates `path` with all folders above it. True when it is a folder afterwards; else `error` (may be null) gets the
// reason.
bool createDirectories(const std::string& path, std::string* error = nullptr);
// Every file and folder below `folder`, as paths relative to it, folders before what they hold, sorted by bytes within
// a folder. Links to folders are listed but not entered. Companion files ("._…") and the folders ".AppleDouble" and
// "__MACOSX" are left out with all they hold. Empty when `folder` cannot be read.
std::vector<std::string> subpaths(const std::string& folder);
// "~" and "~/…" replaced by the home folder of the environment.
std::string expandingTilde(std::string_view path);
// The file's bytes, or nullopt when it cannot be read or is larger than `limit` bytes.
std::optional<std::string> readFile(const std::string& path, size_t limit = size_t{1} << 30);
// Written to a sibling and renamed, so that a reader sees the old or the new contents. False when anything failed.
bool writeFileAtomically(const std::string& path, std::string_view contents);

}  // namespace vesk::path
