// The tags of a loop that stand in its file and that a person may change, one by one, in the words of people: "Jazz",
// "4/4", "F#", "minor", "Dry, Grooving". Names and texts only; which container can hold what is not decided here.
// Plain functions on loop records.
#pragma once

#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/model/LCFileData.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

enum class LCTagField {
  title,
  author,
  copyright,
  comment,  // the file's own, not the user's mark
  instrument,
  subInstrument,
  genre,
  descriptors,
  collection,
  theme,
  beats,
  key,  // the root note
  scale,
  signature,
  fileType,  // "loop" or "one-shot"
  integratedLoudness,
  truePeak,
  targetLoudness,
  iconId,
  preferFileName,
  patchInfo,
};

namespace lc {

LC_EXPORT std::span<const LCTagField> tagFields();  // all, in the order above

// "genre"; every field has one short name, and those that stand alone in a record answer to the record's, too
// ("genreTag"). Upper and lower case count.
LC_EXPORT std::string_view tagFieldName(LCTagField field);
LC_EXPORT std::optional<LCTagField> tagFieldFromName(std::string_view name);

// The tag as people write it; nullopt when the record has none: nil, empty, a number that says "unknown".
LC_EXPORT std::optional<std::string> tagText(const LCFileData& record, LCTagField field);

// Sets the tag from such a text, with blanks around it taken off. A key may name the scale, too ("Am"), and a key of
// the note that the record has already leaves its octave; a number is a MIDI note. Descriptors are separated by ",".
// Scale and file type may be given as the numbers of the record. nullopt when it is set, else what is wrong with the
// text, a sentence.
LC_EXPORT std::optional<std::string> setTagText(LCFileData& record, LCTagField field, std::string_view text);

LC_EXPORT void clearTag(LCFileData& record, LCTagField field);

// Whether both have the same tag, or both none.
LC_EXPORT bool haveSameTag(const LCFileData& left, const LCFileData& right, LCTagField field);

}  // namespace lc
