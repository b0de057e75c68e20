// Lists of loops that are no result of a search: the members of a family, and loops that were marked.
#pragma once

#include "Output.h"
#include "VeskLoopManagement/catalog/LCCatalog.h"

#include <cstdint>
#include <span>
#include <string_view>

JSON jsonOfMember(const LCCatalogLoop& member, int64_t givenId);
// For a terminal, the given loop marked.
void printFamilyTable(Output& output, std::span<const LCCatalogLoop> members, int64_t givenId);
// For scripts, a path with `end` behind for each, the given loop's first.
void printFamilyPaths(Output& output, std::span<const LCCatalogLoop> members, int64_t givenId, std::string_view end);

JSON jsonOfMarkedLoop(const LCMarkedLoop& loop);
// On a terminal a table, else for each a line of its exact path and, between tabs, favourite, rating and comment.
void printMarkedLoops(Output& output, std::span<const LCMarkedLoop> loops);
