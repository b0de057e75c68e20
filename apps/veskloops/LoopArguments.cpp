#include "LoopArguments.h"

#include "Arguments.h"
#include "Failure.h"

#include <fmt/format.h>

namespace {

LCLoopReference referenceFor(const std::string& text) {
  if (text.starts_with("id:")) {
    const auto id = decimalNumber(std::string_view(text).substr(3));
    if (!id) throw usageFailure(fmt::format("\"{}\" is not the id of a loop", text), "Ids look like id:-123.");
    return LCLoopReference::ofId(*id);
  }
  if (text.starts_with("file:")) {
    const auto url = vesk::URL::fromString(text);
    if (!url) throw usageFailure(fmt::format("\"{}\" is not a file URL", text), "In URLs a blank is written %20.");
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
