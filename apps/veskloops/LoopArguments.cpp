#include "LoopArguments.h"

#include "platform/Path.h"
#include "Similarity.h"
#include "VeskLoopManagement/platform/Text.h"

#include <fmt/format.h>

#include <charconv>

namespace {

std::optional<int64_t> decimalNumber(std::string_view text) {
  int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return number;
}

}  // namespace

LoopArgument loopArgument(const std::string& text) {
  LoopArgument argument{.text = text};
  if (text.starts_with("id:")) {
    argument.loopId = decimalNumber(std::string_view(text).substr(3));
    if (!argument.loopId) throw usageFailure(fmt::format("\"{}\" is no loop id", text), "Ids look like id:-123.");
    return argument;
  }
  if (text.starts_with("file:")) {
    argument.url = vesk::URL::fromString(text);
    if (!argument.url) throw usageFailure(fmt::format("\"{}\" is no file URL", text), "Blanks stand as %20 in URLs.");
    return argument;
  }
  argument.url = vesk::URL::fileURLWithPath(absolutePath(text), false);
  return argument;
}

std::optional<LoopPlace> findPlace(LoopRows& rows, const LoopArgument& argument) {
  return argument.loopId ? rows.placeWithId(*argument.loopId) : rows.placeWithURL(*argument.url);
}

Failure unknownLoop(const LoopArgument& argument, LoopRows* rows) {
  Failure failure{.code = kExitNotFound, .kind = "notFound", .message = "no such loop", .subject = argument.text};
  if (rows != nullptr && argument.url)
    failure.suggestions = rows->namesLike(vesk::path::lastComponent(argument.path()));
  return failure;
}

std::optional<CrateRow> findCrate(LoopRows& rows, const std::string& word) {
  const auto crates = rows.crates();
  for (const auto& crate : crates) {
    if (crate.identifier == word) return crate;
  }
  std::optional<CrateRow> found;
  for (const auto& crate : crates) {
    if (!vesk::text::equalIgnoringCase(crate.name, word)) continue;
    if (found) {
      throw usageFailure(fmt::format("several packages are called \"{}\"", word),
                         fmt::format("Use an identifier, such as {} or {}.", found->identifier, crate.identifier));
    }
    found = crate;
  }
  return found;
}

CrateRow requiredCrate(LoopRows& rows, const std::string& word) {
  if (auto crate = findCrate(rows, word)) return *crate;
  SimilarNames similar(word);
  for (const auto& crate : rows.crates()) similar.consider(crate.name);
  throw Failure{.code = kExitNotFound,
                .kind = "notFound",
                .message = "no such package",
                .subject = word,
                .suggestions = similar.best(),
                .nextStep = "veskloops crates lists the packages."};
}
