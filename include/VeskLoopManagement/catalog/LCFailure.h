// What the catalog answers when something cannot be done: a kind for programs, a message and a next step for people.
// Plain values; nothing is thrown.
#pragma once

#include "VeskLoopManagement/LCExport.h"

#include <string>
#include <utility>
#include <variant>
#include <vector>

enum class LCFailureKind {
  databaseMissing,     // there is no loop database at that place
  databaseLocked,      // another program keeps it locked for longer than we wait
  databaseDamaged,     // its contents cannot be trusted
  databaseForeign,     // a file that is not empty and never was a loop database; it is left untouched
  databaseNewer,       // made by a later version of this library
  databaseOlder,       // lacks columns that this version reads
  databaseUnopenable,  // the system does not let us open or make it
  databaseRefused,     // a statement failed for another reason
  notFound,            // a named loop, keyword, package, file or folder does not exist
  ambiguous,           // a name stands for several
  invalidRequest,      // what was asked for makes no sense; nothing was done
  resultOutdated,      // the held result is gone: search again
};

// The kind as it is spelled in JSON: by its own name, but "database" for `databaseRefused` and "usage" for
// `invalidRequest`.
namespace lc {
LC_EXPORT std::string failureKindName(LCFailureKind kind);
}

struct LCFailure {
  LCFailureKind kind = LCFailureKind::databaseRefused;
  std::string message = {};  // for people, without a full stop
  std::string subject = {};  // what it is about, as it was given: a path, a name
  // Known names that may have been meant, the most similar one first. Of `ambiguous`: paths or identifiers of those
  // that the name stands for; of many the first ones.
  std::vector<std::string> nearNames = {};
  std::string nextStep = {};  // a sentence that says what to do about it; may be empty
  bool operator==(const LCFailure&) const = default;
};

// A value, or the failure that stands in its place. `if (!outcome) return outcome.failure();`
template <typename T>
class [[nodiscard]] LCOutcome {
 public:
  LCOutcome(T value) : m_content(std::move(value)) {}
  LCOutcome(LCFailure failure) : m_content(std::move(failure)) {}

  explicit operator bool() const { return m_content.index() == 0; }
  // Ask only when the outcome is true.
  T& operator*() & { return std::get<0>(m_content); }
  const T& operator*() const& { return std::get<0>(m_content); }
  T&& operator*() && { return std::get<0>(std::move(m_content)); }
  T* operator->() { return &std::get<0>(m_content); }
  const T* operator->() const { return &std::get<0>(m_content); }
  // Ask only when the outcome is false.
  const LCFailure& failure() const { return std::get<1>(m_content); }

 private:
  std::variant<T, LCFailure> m_content;
};
