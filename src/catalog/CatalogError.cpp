#include "catalog/CatalogError.h"

#include "VeskLoopManagement/database/LCStatement.h"

#include <fmt/format.h>
#include <sqlite3.h>

LCFailure lc::databaseFailure(int sqliteStatus, std::string subject) {
  switch (sqliteStatus & 0xFF) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return {.kind = LCFailureKind::databaseLocked,
              .message = "the loop database is in use by another program",
              .subject = std::move(subject),
              .nextStep = "Try again when that one is done."};
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return {.kind = LCFailureKind::databaseDamaged,
              .message = "the loop database is damaged",
              .subject = std::move(subject),
              .nextStep = "Scan your folders again: the damaged file is put aside and a new one made."};
    default:
      return {.kind = LCFailureKind::databaseRefused,
              .message = fmt::format("the loop database cannot be used ({})", sqlite3_errstr(sqliteStatus)),
              .subject = std::move(subject)};
  }
}

int lc::lastStatusOf(sqlite3* connection) {
  return sqlite3_extended_errcode(connection);
}

void lc::requireSuccess(const LCStatement& statement) {
  if (!statement.succeeded()) throw CatalogError{databaseFailure(statement.lastStatus())};
}
