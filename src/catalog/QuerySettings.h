// Puts a query into the settings of an engine. Throws a CatalogError for what makes no sense or names what is unknown.
#pragma once

#include "catalog/LoopRows.h"
#include "VeskLoopManagement/catalog/LCLoopQuery.h"
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include <span>

namespace lc {

constexpr int64_t kNearSemitones = 2;  // so far a note may be away that is near

// False when no loop can match, whatever the engine would answer. `libraryFolders`: paths; words match what lies below.
bool applyQuery(const LCLoopQuery& query, LCSearchEngine& engine, LoopRows& rows,
                std::span<const std::string> libraryFolders);

// By identifier or, ignoring case, by name; throws when there is none or when several have this name.
LCPackage requiredPackage(LoopRows& rows, std::string_view identifierOrName);
// nullopt when there is none.
std::optional<LCPackage> findPackage(LoopRows& rows, std::string_view identifierOrName);

}  // namespace lc
