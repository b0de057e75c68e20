// Parts of English sentences. Pure functions.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

// "1 loop", "0 loops", "2 loops".
std::string counted(int64_t count, std::string_view noun);
// "a, b and c"
std::string listed(std::span<const std::string> words, std::string_view conjunction);
// "a", "b" or "c", each between quotation marks.
std::string quotedChoices(std::span<const std::string> choices);
