#include "LoopArguments.h"

#include "Arguments.h"
#include "Failure.h"

#include <fmt/format.h>

#include <charconv>

namespace {

std::optional<int64_t> decimalNumber(std::string_view text) {
  int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return number;
}

LCLoopReference referenceFor(const std::string& text) {
  if (text.starts_with("id:")) {
    const auto id = decimalNumber(std::string_view(text).substr(3));
    if (!id) throw usageFailure(fmt::format("\"{}\" is no loop id", text), "Ids look like id:-123.");
    return LCLoopReference::ofId(*id);
  }
  if (text.starts_with("file:")) {
    const auto url = vesk::URL::fromString(text);
    if (!url) throw usageFailure(fmt::format("\"{}\" is no file URL", text), "Blanks stand as %20 in URLs.");
    return LCLoopReference::ofURL(*url);
  }
  LCLoopReference reference = LCLoopReference::ofPath(absolutePath(text));
  if (text.find('/') == std::string::npos) reference.name = text;
  return reference;
}

}  // namespace

LCLoopReference loopArgument(const std::string& text) {
  LCLoopReference reference = referenceFor(text);
  reference.text = text;
  return reference;
}
