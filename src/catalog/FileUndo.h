// Gives a file the bytes back that it had before its tags were edited: those beside the audio come from the journal,
// the audio from the file as it is. Only a file that is as the edit left it is touched; one that has its former bytes
// already needs nothing. One thread; nothing throws.
#pragma once

#include "catalog/TagJournal.h"
#include "VeskLoopManagement/catalog/LCTagEdit.h"

namespace lc {

// The entry is marked as undone. Of `options` those that LCTagRun::undo() names count.
LCTagReport undoFile(const JournalEntry& entry, const LCTagOptions& options, TagJournal& journal);

// Whether the edit of a pending entry never came to its file: it is as it was, or a later edit found it so.
bool wasNeverWritten(const JournalEntry& entry, TagJournal& journal);

}  // namespace lc
