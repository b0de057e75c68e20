// Why a command cannot go on. Thrown by the program's own code, never by the library, and caught once, in main().
#pragma once

#include "VeskLoopManagement/catalog/LCFailure.h"

#include <string>
#include <utility>
#include <vector>

// What the program answers its caller.
enum ExitCode : int {
  kExitDone = 0,
  kExitFailed = 1,
  kExitUsage = 2,  // nothing was done
  kExitNotFound = 3,
  kExitSomeFilesFailed = 4,  // the rest was done
  kExitDatabase = 5,
  kExitSignalBase = 128,  // plus the signal's number
};

struct Failure {
  int code = kExitFailed;
  std::string kind;                           // for programs: "notFound", "databaseLocked", …
  std::string message;                        // for people, without a full stop
  std::string subject = {};                   // what was asked for, as it was given
  std::vector<std::string> suggestions = {};  // near names, best first
  bool isAmbiguous = false;                   // then they are all that the subject stands for, or the first of them
  std::string nextStep = {};                  // what to do about it
};

inline Failure usageFailure(std::string message, std::string nextStep = {}) {
  return Failure{.code = kExitUsage, .kind = "usage", .message = std::move(message), .nextStep = std::move(nextStep)};
}

// The library's failure with this program's exit code, and with its commands in the next step.
Failure failureFrom(const LCFailure& failure);
// The same, but a failure about the database `other`, which is not the program's own, keeps the library's next step: no
// command of this program puts that file right.
Failure failureFrom(const LCFailure& failure, const std::string& other);

// The value, or its failure thrown.
template <typename T>
T valueOf(LCOutcome<T> outcome) {
  if (!outcome) throw failureFrom(outcome.failure());
  return *std::move(outcome);
}
template <typename T>
T valueOf(LCOutcome<T> outcome, const std::string& other) {
  if (!outcome) throw failureFrom(outcome.failure(), other);
  return *std::move(outcome);
}
