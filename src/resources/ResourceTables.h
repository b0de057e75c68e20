// Name lists that belong to content, not to code. Each is a text file in this folder, one name a line, compiled into
// the library; each set is built once, thread-safely, and lives until the process ends. Names compare exactly.
#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "VeskLoopManagement/platform/Text.h"

namespace lc::resources {

const vesk::StringSet& topperFilenames();                // topper-filenames.txt: full names with extension
const vesk::StringSet& topperRepairFilenames();          // topper-repair-filenames.txt: toppers that do not tell it
const vesk::StringSet& trackStackFilenames();            // track-stack-filenames.txt: their files do not tell it
const vesk::StringSet& legacyCrateIdentifierSuffixes();  // legacy-crates.txt: what follows the prefix, from its "."

// instrument-icons.txt: keyword of an instrument type or sub-type → name of its icon.
const std::map<std::string, std::string>& instrumentIconNames();

// Exact comparison with an entry of track-stack-filenames.txt.
bool isTrackStackLoopWithMissingInfo(std::string_view fileName);
// The prefix of content identifiers, without a final ".".
std::string_view contentIdentifierPrefix();

}  // namespace lc::resources
