// The program's JSON objects. Numbers stand under the names that the database and the record use; what is unknown is
// absent. Paths are UTF-8; one that is not gets U+FFFD and "pathIsExact": false, and its URL is exact.
#pragma once

#include "LoopRows.h"
#include "Output.h"
#include "VeskLoopManagement/model/LCFileData.h"
#include "VeskLoopManagement/platform/audiofile/AudioFile.h"

#include <string>
#include <string_view>

// The path behind a stored URL; the text itself when it is no URL.
std::string pathOfURLText(const std::string& urlText);
// Adds "path", "pathIsExact" where it is needed, and "url".
void addPath(JSON& object, const std::string& path, std::string_view urlText);

JSON jsonOfRow(const LoopRow& row);
// Every field of the record under its own name; bytes in base 64.
JSON jsonOfRecord(const LCFileData& record);
JSON jsonOfChunks(const vesk::AudioFile& file);
