// Content packages as text and as JSON.
#pragma once

#include "Output.h"
#include "VeskLoopManagement/catalog/LCCatalogLoop.h"

#include <span>

JSON jsonOfPackage(const LCPackage& package);

// On a terminal a table, else a line of fields between tabs for each: identifier, name, manufacturer, "virtual" or
// nothing, loops.
void printPackages(Output& output, std::span<const LCPackage> packages);
// On a terminal a line for each of a package's properties, else as above.
void printPackagesInDetail(Output& output, std::span<const LCPackage> packages);
