#include "VeskLoopManagement/catalog/LCFailure.h"

std::string lc::failureKindName(LCFailureKind kind) {
  switch (kind) {
    case LCFailureKind::databaseMissing:
      return "databaseMissing";
    case LCFailureKind::databaseLocked:
      return "databaseLocked";
    case LCFailureKind::databaseDamaged:
      return "databaseDamaged";
    case LCFailureKind::databaseForeign:
      return "databaseForeign";
    case LCFailureKind::databaseNewer:
      return "databaseNewer";
    case LCFailureKind::databaseOlder:
      return "databaseOlder";
    case LCFailureKind::databaseUnopenable:
      return "databaseUnopenable";
    case LCFailureKind::databaseRefused:
      return "database";
    case LCFailureKind::notFound:
      return "notFound";
    case LCFailureKind::ambiguous:
      return "ambiguous";
    case LCFailureKind::invalidRequest:
      return "usage";
    case LCFailureKind::resultOutdated:
      return "resultOutdated";
  }
  return "failed";
}
