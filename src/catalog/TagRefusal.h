// Why a file is left as it is, thrown by the steps that change it, so that each reads as if nothing could fail, and
// caught where the file's report is made. Nothing of it leaves the library.
#pragma once

#include <string>
#include <vector>

#include "platform/FileReplacement.h"
#include "VeskLoopManagement/catalog/LCTagEdit.h"

namespace lc {

struct TagRefusal {
  LCTagProblem problem = LCTagProblem::writeFailed;
  std::string detail;  // for people, without the path
  std::vector<std::string> nearNames = {};
};

// In the words of a report; the message may begin with `path`.
TagRefusal refusalOf(const vesk::WriteFailure& failure, const std::string& path);
std::string withoutPath(const std::string& message, const std::string& path);

// Does the steps of one file; what they throw goes into the report.
template <typename Steps>
void tryTo(LCTagReport& report, Steps steps) {
  try {
    steps();
  } catch (TagRefusal& refusal) {
    report.problem = refusal.problem;
    report.detail = std::move(refusal.detail);
    report.nearNames = std::move(refusal.nearNames);
  }
}

vesk::ReplaceOptions replaceOptions(const LCTagOptions& options);

}  // namespace lc
