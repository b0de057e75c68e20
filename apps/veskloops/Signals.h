// SIGINT and SIGTERM for commands that write. The first one asks the command to come to an end; a second one ends the
// process at once. The flag behind this is the program's only global state.
#pragma once

#include <cstdint>

// While one lives, SIGINT and SIGTERM are noted instead of ending the process.
class InterruptionGuard {
 public:
  InterruptionGuard();
  InterruptionGuard(const InterruptionGuard&) = delete;
  InterruptionGuard& operator=(const InterruptionGuard&) = delete;
  ~InterruptionGuard();

  static bool isInterrupted() { return signalNumber() != 0; }
  static int signalNumber();  // of the signal that arrived; 0 for none
};
