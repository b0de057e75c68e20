#include "English.h"

#include <fmt/format.h>

std::string counted(int64_t count, std::string_view noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

std::string quotedChoices(std::span<const std::string> choices) {
  std::string text;
  for (size_t index = 0; index < choices.size(); ++index) {
    if (index > 0) text += index + 1 == choices.size() ? " or " : ", ";
    text += fmt::format("\"{}\"", choices[index]);
  }
  return text;
}
