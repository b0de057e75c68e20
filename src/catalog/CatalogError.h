// How the inside of the catalog gives up: by throwing, so that every step reads as if nothing could fail. The face
// catches it once, in outcomeOf(), and answers the failure; nothing of it ever leaves the library.
#pragma once

#include "VeskLoopManagement/catalog/LCFailure.h"

#include <string>
#include <utility>

class LCStatement;
struct sqlite3;

namespace lc {

struct CatalogError {
  LCFailure failure;
};

// What an SQLite result code means for a person.
LCFailure databaseFailure(int sqliteStatus, std::string subject = {});
int lastStatusOf(sqlite3* connection);  // of the connection's last call
// Throws when the statement, stepped to its last row, did not run to its end.
void requireSuccess(const LCStatement& statement);

// What `work` answers, or the failure that it throws.
template <typename Work>
auto outcomeOf(Work work) -> LCOutcome<decltype(work())> {
  try {
    return work();
  } catch (CatalogError& error) {
    return std::move(error.failure);
  }
}

}  // namespace lc
