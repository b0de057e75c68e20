#include "FileFailures.h"

#include "English.h"
#include "VeskLoopManagement/platform/Text.h"

#include <fmt/format.h>

namespace {

constexpr size_t kMostGroupsInWords = 5;

std::string problemInWords(LCFileProblem problem) {
  switch (problem) {
    case LCFileProblem::notFound:
      return "not found";
    case LCFileProblem::unsupported:
      return "not a kind of file that can be read";
    case LCFileProblem::destinationExists:
      return "another file is already there";
    case LCFileProblem::copyFailed:
      return "could not be copied";
    case LCFileProblem::databaseRefused:
      return "could not be written to the database";
    case LCFileProblem::unreadable:
    case LCFileProblem::malformed:
      break;
  }
  return lc::fileProblemName(problem);
}

}  // namespace

JSON jsonOfFileFailure(const LCFileFailure& failure) {
  JSON object = {{"path", vesk::text::lossyUTF8(failure.path)}};
  if (!vesk::text::isValidUTF8(failure.path)) object["pathIsExact"] = false;
  object["reason"] = lc::fileProblemName(failure.problem);
  object["detail"] = failure.detail.empty() ? problemInWords(failure.problem) : failure.detail;
  return object;
}

std::string fileFailureText(const LCFileFailure& failure) {
  const std::string text = fmt::format("{}: {}", failure.path, problemInWords(failure.problem));
  return failure.detail.empty() ? text : fmt::format("{} ({})", text, failure.detail);
}

JSON jsonOfIdentityGroups(const LCIdentityGroups& groups) {
  JSON lists = JSON::array();
  for (const auto& [loopId, paths] : groups.pathsOfLoop) {
    JSON& list = lists.emplace_back(JSON::array());
    for (const auto& path : paths) list.push_back(vesk::text::lossyUTF8(path));
  }
  return lists;
}

std::string identityGroupsText(const LCIdentityGroups& groups) {
  if (groups.pathsOfLoop.empty()) return {};
  std::string text = fmt::format("{} found in several files; the database keeps the last one of each",
                                 counted(std::ssize(groups.pathsOfLoop), "loop"));
  size_t shown = 0;
  for (const auto& [loopId, paths] : groups.pathsOfLoop) {
    if (++shown > kMostGroupsInWords) break;
    text += "\n  " + fmt::format("{}", fmt::join(paths, "\n  = "));
  }
  if (groups.pathsOfLoop.size() > kMostGroupsInWords) text += "\n  … and more, which --json lists";
  return text;
}
