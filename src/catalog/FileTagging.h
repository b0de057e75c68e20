// Changes the tags of one file and tells what became of it: reads it, makes the changes to a copy of its record, edits
// the chunks in memory, parses the result, notes the old bytes in the journal, replaces the file, and reads it again.
// What stands in the way is in the report. One thread; nothing throws.
#pragma once

#include "catalog/TagJournal.h"
#include "VeskLoopManagement/catalog/LCTagEdit.h"

namespace lc {

// `run` is null in a dry run; all are borrowed for the call.
LCTagReport tagFile(const LCTagEdit& edit, const LCTagOptions& options, JournaledRun* run);

}  // namespace lc
