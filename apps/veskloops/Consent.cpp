#include "Consent.h"

#include "Failure.h"
#include "Output.h"

#include <fmt/format.h>

void requireConsent(Output& output, const std::string& what, const std::string& rest) {
  if (!output.canAsk()) {
    throw usageFailure(fmt::format("{} would be taken out of the database", what),
                       "Say --yes to do it, or --dry-run to see which.");
  }
  if (!output.confirm(fmt::format("Take {} out of the database? {}", what, rest))) {
    throw Failure{.code = kExitFailed, .kind = "declined", .message = "nothing was taken out"};
  }
}
