// LOOP arguments: a path, a file URL or "id:" with the loop's number.
#pragma once

#include "Arguments.h"
#include "Failure.h"
#include "LoopRows.h"
#include "VeskLoopManagement/platform/URL.h"

#include <cstdint>
#include <optional>
#include <string>

struct LoopArgument {
  std::string text;               // as it was given
  std::optional<int64_t> loopId;  // of "id:…"
  std::optional<vesk::URL> url;   // of everything else; as of a file
  std::string path() const { return url ? url->path() : std::string(); }
};

// Throws a usage failure for a number or URL that is none.
LoopArgument loopArgument(const std::string& text);
// The row that the argument names.
std::optional<LoopPlace> findPlace(LoopRows& rows, const LoopArgument& argument);
// "no such loop", with near names when `rows` is given.
Failure unknownLoop(const LoopArgument& argument, LoopRows* rows);

// The row of the package that `word` names by identifier or name; throws "not found" with near names, or a usage
// failure when several packages have this name.
CrateRow requiredCrate(LoopRows& rows, const std::string& word);
std::optional<CrateRow> findCrate(LoopRows& rows, const std::string& word);
