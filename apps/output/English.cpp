#include "English.h"

#include <fmt/format.h>

#include <vector>

std::string counted(int64_t count, std::string_view noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

std::string listed(std::span<const std::string> words, std::string_view conjunction) {
  std::string text;
  for (size_t index = 0; index < words.size(); ++index) {
    if (index > 0) text += index + 1 == words.size() ? fmt::format(" {} ", conjunction) : ", ";
    text += words[index];
  }
  return text;
}

std::string quotedChoices(std::span<const std::string> choices) {
  std::vector<std::string> quoted;
  for (const auto& choice : choices) quoted.push_back(fmt::format("\"{}\"", choice));
  return listed(quoted, "or");
}
