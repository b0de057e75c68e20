// Changes of tags as JSON: what is read from people's files, and what became of loop files. Pure functions.
#pragma once

#include "JSON.h"
#include "VeskLoopManagement/catalog/LCTagEdit.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What a JSON text asks for. Entries with a path come from lists as info --json ("files") and search --json ("loops")
// print them; the entry of a single object of fields has none.
struct TagsFromJSON {
  std::vector<LCTagEdit> edits;
  std::string problem;  // a sentence; empty when the text could be read
};
// Fields that are no tags, such as the tempo or the user's comment on a loop, are passed over; in a single object they
// are a problem. null and what says "unknown" clear a field.
TagsFromJSON tagsFromJSON(std::string_view text);

JSON jsonOfTagReport(const LCTagReport& report);
JSON jsonOfTagHistoryEntry(const LCTagHistoryEntry& entry);
JSON jsonOfTagFields(const std::map<std::string, LCTagFieldChange>& fields);

// "genre: Funk → Jazz", "title: – → Intro".
std::string tagFieldChangeText(const std::string& name, const LCTagFieldChange& change);
