#include "Signals.h"

#include "Failure.h"

#include <unistd.h>

#include <atomic>
#include <csignal>

namespace {

std::atomic<int> arrivedSignal{0};
static_assert(std::atomic<int>::is_always_lock_free, "the handler may use nothing that locks");

void noteSignal(int number) {
  if (arrivedSignal.exchange(number) != 0) _exit(kExitSignalBase + number);
}

// A signal that our parent had ignored stays ignored, as for a job in the background.
void replaceHandler(int signalNumber, void (*handler)(int)) {
  struct sigaction present {};
  sigaction(signalNumber, nullptr, &present);
  if (present.sa_handler == SIG_IGN) return;
  struct sigaction action {};
  action.sa_handler = handler;  // no SA_RESTART: waiting for a list on standard input ends, too
  sigemptyset(&action.sa_mask);
  sigaction(signalNumber, &action, nullptr);
}

}  // namespace

InterruptionGuard::InterruptionGuard() {
  replaceHandler(SIGINT, noteSignal);
  replaceHandler(SIGTERM, noteSignal);
}

InterruptionGuard::~InterruptionGuard() {
  replaceHandler(SIGINT, SIG_DFL);
  replaceHandler(SIGTERM, SIG_DFL);
}

int InterruptionGuard::signalNumber() {
  return arrivedSignal.load();
}
