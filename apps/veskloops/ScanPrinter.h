// Prints what a scan tells while it runs: its progress, failures as items of the list that is open, messages. An
// interruption ends it. Borrows the output.
#pragma once

#include "Progress.h"
#include "VeskLoopManagement/catalog/LCLibraryScan.h"

#include <string>

class Output;

class ScanPrinter : public LCScanObserver {
 public:
  explicit ScanPrinter(Output& output) : m_output(output), m_progress(output) {}

  bool wantsTotals() override { return m_progress.isShown(); }
  void phaseBegan(LCScanPhase phase, std::optional<int64_t> total) override;
  void phaseEnded(LCScanPhase) override { m_progress.end(); }
  void advanced(int64_t done, const std::string& path) override { m_progress.step(done, path); }
  void fileFailed(const LCFileFailure& failure) override;
  void noted(const std::string& text) override;
  void warned(const std::string& text, const std::string& nextStep) override;
  bool shouldContinue() override;

 private:
  Output& m_output;
  Progress m_progress;
};
