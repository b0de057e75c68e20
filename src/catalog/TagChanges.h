// What a list of changes makes of a loop record, which words it may bring, and whether a record that was read is the
// one that was wanted. Pure functions on records; the words are those of the taxonomy. Give up by throwing a
// TagRefusal.
#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "catalog/TagRefusal.h"
#include "VeskLoopManagement/catalog/LCTagEdit.h"
#include "VeskLoopManagement/model/LCFileData.h"
#include "VeskLoopManagement/model/LCTagField.h"
#include "VeskLoopManagement/platform/audiofile/AudioFileLayout.h"

namespace lc {

// A record with changes made to it, and the fields that are to be written: those with another tag than before, and
// those given whose words may have come from the path.
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
