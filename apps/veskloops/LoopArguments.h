// LOOP arguments: a path, a file URL, "id:" with the loop's number, or a file name or its beginning.
#pragma once

#include "VeskLoopManagement/catalog/LCCatalog.h"

#include <string>

// Throws a usage failure for a number or URL that is none.
LCLoopReference loopArgument(const std::string& text);
