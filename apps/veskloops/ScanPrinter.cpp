#include "ScanPrinter.h"

#include "FileFailures.h"
#include "Output.h"
#include "Signals.h"

namespace {

std::string_view phaseWord(LCScanPhase phase) {
  switch (phase) {
    case LCScanPhase::counting:
      return "scan";
    case LCScanPhase::indexing:
      return "index";
    case LCScanPhase::finishing:
      break;
  }
  return "finish";
}

}  // namespace

void ScanPrinter::phaseBegan(LCScanPhase phase, std::optional<int64_t> total) {
  m_progress.begin(phaseWord(phase), total);
}

void ScanPrinter::fileFailed(const LCFileFailure& failure) {
  m_output.error(fileFailureText(failure));
  m_output.item(jsonOfFileFailure(failure), "failure");
}

void ScanPrinter::noted(const std::string& text) {
  m_output.comment(text);
}

void ScanPrinter::warned(const std::string& text, const std::string& nextStep) {
  m_output.warning(text, nextStep);
}

bool ScanPrinter::shouldContinue() {
  return !InterruptionGuard::isInterrupted();
}
