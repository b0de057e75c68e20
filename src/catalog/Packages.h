// Making and removing content packages, each on a connection of its own. Throws CatalogErrors.
#pragma once

#include "catalog/LoopRows.h"
#include "VeskLoopManagement/catalog/LCCatalog.h"

#include <span>
#include <string>
#include <vector>

namespace lc {

// What would be written for it. Throws when it has no name, or when its name or identifier is taken.
LCPackage packageFor(const LCNewPackage& package, LoopRows& rows);

void writePackage(const LCPackage& package, const std::string& databaseFile);  // one that exists stays as it is
void removePackage(const std::string& identifier, const std::string& databaseFile);

// The end-of-run work drops every package without loops. Those that had none before were made to be filled later: they
// are asked for at the beginning and written again at the end.
std::vector<LCPackage> emptyPackages(LoopRows& rows);
void writePackages(std::span<const LCPackage> packages, const std::string& databaseFile);

}  // namespace lc
