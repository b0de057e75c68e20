#include "Failure.h"

namespace {

int exitCodeFor(LCFailureKind kind) {
  switch (kind) {
    case LCFailureKind::notFound:
    case LCFailureKind::ambiguous:
      return kExitNotFound;
    case LCFailureKind::invalidRequest:
      return kExitUsage;
    case LCFailureKind::resultOutdated:
      return kExitFailed;
    default:
      return kExitDatabase;
  }
}

std::string nextStepFor(const LCFailure& failure) {
  switch (failure.kind) {
    case LCFailureKind::databaseMissing:
      return "Index a folder first: veskloops index FOLDER. Or name another file with --database.";
    case LCFailureKind::databaseDamaged:
      return "Index your folders again: veskloops index FOLDER puts the damaged file aside and starts a new one.";
    case LCFailureKind::databaseOlder:
      return "Index your folders again: veskloops index FOLDER.";
    case LCFailureKind::databaseNewer:
      return "Use that version, or name another file with --database.";
    case LCFailureKind::databaseForeign:
      return "Name another file with --database.";
    default:
      return failure.nextStep;
  }
}

}  // namespace

Failure failureFrom(const LCFailure& failure) {
  return {.code = exitCodeFor(failure.kind),
          .kind = lc::failureKindName(failure.kind),
          .message = failure.message,
          .subject = failure.subject,
          .suggestions = failure.nearNames,
          .isAmbiguous = failure.kind == LCFailureKind::ambiguous,
          .nextStep = nextStepFor(failure)};
}

Failure failureFrom(const LCFailure& failure, const std::string& other) {
  Failure told = failureFrom(failure);
  if (!other.empty() && failure.subject == other) told.nextStep = failure.nextStep;
  return told;
}
