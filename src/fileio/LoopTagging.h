// Puts single tags into an opened audio file, each into its chunk and each chunk from the bytes that are there:
// reserved bytes, other comments, other versions and entries that nobody here knows stay. Only edits in memory; the
// caller looks at the result (AudioFileEdit::preview) and commits. Pure but for the file that it edits; nothing throws.
#pragma once

#include <optional>
#include <span>
#include <string>

#include "platform/audiofile/AudioFileEdit.h"
#include "VeskLoopManagement/model/LCFileData.h"
#include "VeskLoopManagement/model/LCTagField.h"

namespace lc {

// Gives each of `fields` the value that it has in `wanted`, a copy of the file's parsed record with the changes made; a
// tag that `wanted` has not is removed with what it stands in, or emptied where that has fixed places. Where the file
// had no search tags and gets its first, those that its record took from the path are written with it. nullopt when
// the edits are made; else why not, for a person; the file then holds some of them and must be thrown away.
std::optional<std::string> editTags(vesk::AudioFileEdit& file, const LCFileData& wanted,
                                    std::span<const LCTagField> fields);

// The record that the file would have with its edits, at `url`; nullopt with a reason when they cannot be written.
std::optional<LCFileData> recordWithEdits(const vesk::AudioFileEdit& file, const vesk::URL& url, std::string& reason);

}  // namespace lc
