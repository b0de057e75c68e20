// What a list of changes makes of a loop record, which words it may bring, and whether a record that was read is the one
// that was wanted. Pure functions on records; the words are those of the taxonomy. Give up by throwing a TagRefusal.
#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "VeskLoopManagement/catalog/LCTagEdit.h"
#include "VeskLoopManagement/model/LCFileData.h"
#include "VeskLoopManagement/model/LCTagField.h"
#include "VeskLoopManagement/platform/audiofile/AudioFileLayout.h"

namespace lc {

// Why a file is left as it is. Caught where the file's report is made.
struct TagRefusal {
  LCTagProblem problem = LCTagProblem::writeFailed;
  std::string detail;
  std::vector<std::string> nearNames = {};
};

// A record with changes made to it. `fields` are those that were named and those that changed with them, in the order
// of lc::tagFields().
struct WantedTags {
  LCFileData record;
  std::vector<LCTagField> fields;
};
WantedTags wantedTags(const LCFileData& record, std::span<const LCTagChange> changes);

// Every word that is new to the file must be a known one of its kind.
void requireKnownKeywords(const LCFileData& record, const WantedTags& wanted);
// Of an instrument whose new kind is one of another instrument: a sentence that says so.
std::optional<std::string> remarkOnInstrument(const LCFileData& record, const WantedTags& wanted);

// `found` must have the wanted tags, and be in all else as `record`; what follows from tags may have changed with them.
void requireCarried(const LCFileData& record, const WantedTags& wanted, const LCFileData& found,
                    vesk::ContainerKind kind);
// Whether both were read from the same file contents; a number that is none is like itself.
bool areSameRecords(const LCFileData& left, const LCFileData& right);

// The tags that differ, by name, with the tempo that follows from them.
std::map<std::string, LCTagFieldChange> fieldChanges(const LCFileData& before, const LCFileData& after);

}  // namespace lc
