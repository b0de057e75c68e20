#include "catalog/TagRefusal.h"

namespace {

using vesk::WriteError;

LCTagProblem problemOf(WriteError error) {
  switch (error) {
    case WriteError::notFound:
      return LCTagProblem::notFound;
    case WriteError::notReadable:
    case WriteError::malformed:
      return LCTagProblem::unreadable;
    case WriteError::notAudio:
    case WriteError::noChunks:
      return LCTagProblem::unsupported;
    case WriteError::irregular:
      return LCTagProblem::irregular;
    case WriteError::readOnly:
    case WriteError::readOnlyFolder:
      return LCTagProblem::readOnly;
    case WriteError::hardLinked:
      return LCTagProblem::hasOtherNames;
    case WriteError::ownerNotKept:
      return LCTagProblem::ownerNotKept;
    case WriteError::changedMeanwhile:
      return LCTagProblem::changed;
    case WriteError::tooLarge:
    case WriteError::notReadBack:
      return LCTagProblem::notCarried;
    case WriteError::none:
    case WriteError::noSpace:
    case WriteError::brokenOff:
    case WriteError::notSynced:
    case WriteError::system:
      break;
  }
  return LCTagProblem::writeFailed;
}

}  // namespace

std::string lc::withoutPath(const std::string& message, const std::string& path) {
  const std::string prefix = path + ": ";
  return message.starts_with(prefix) ? message.substr(prefix.size()) : message;
}

lc::TagRefusal lc::refusalOf(const vesk::WriteFailure& failure, const std::string& path) {
  return {problemOf(failure.error), withoutPath(failure.message, path)};
}

vesk::ReplaceOptions lc::replaceOptions(const LCTagOptions& options) {
  return {
      .copyBack = options.copiesBack ? vesk::CopyBack::whereNeeded : vesk::CopyBack::never,
      .modificationTime = options.keepsModificationTime ? vesk::ModificationTime::kept : vesk::ModificationTime::now};
}
