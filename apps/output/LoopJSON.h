// Loops, records and files as JSON. Numbers stand under the names that the database and the record use.
#pragma once

#include "JSON.h"
#include "VeskLoopManagement/catalog/LCCatalogLoop.h"
#include "VeskLoopManagement/model/LCFileData.h"
#include "VeskLoopManagement/platform/audiofile/AudioFile.h"

JSON jsonOfLoop(const LCCatalogLoop& loop);
// "id", and the path as addPath() has it.
JSON jsonOfPlace(const LCLoopPlace& place);
// Every field of the record under its own name; bytes in base 64.
JSON jsonOfRecord(const LCFileData& record);
JSON jsonOfChunks(const vesk::AudioFile& file);
