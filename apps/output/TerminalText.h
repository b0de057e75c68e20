// Text as a terminal shows it. Pure functions on UTF-8; ill-formed bytes count and show as U+FFFD.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Control characters replaced by U+FFFD, so that a file's name cannot steer the terminal.
std::string printable(std::string_view text);
// The same with line ends left in place.
std::string printableLines(std::string_view text);
// Only tabs, line ends and other control characters replaced by U+FFFD, everything else as it is, ill-formed bytes,
// too: for a field of a line that a script reads.
std::string onOneLine(std::string_view text);
// Columns that the text takes: wide characters two, combining ones none.
size_t displayWidth(std::string_view text);
// At most `width` columns; what is cut out stands as "…", not at the end, where the numbers of variants are.
std::string cutToWidth(std::string_view text, size_t width);
// The same for a path, of which the end tells most and keeps the most.
std::string cutPathToWidth(std::string_view path, size_t width);
// Cut or filled with blanks to exactly `width` columns.
std::string paddedToWidth(std::string_view text, size_t width);
std::string paddedLeftToWidth(std::string_view text, size_t width);
// Broken at blanks into lines of at most `width` columns; a longer word stands on a line of its own.
std::vector<std::string> wrappedToWidth(std::string_view text, size_t width);
