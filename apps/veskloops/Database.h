// Which database a command works on. Failures are thrown.
#pragma once

#include "Context.h"
#include "VeskLoopManagement/catalog/LCCatalog.h"

#include <memory>
#include <string>

// The absolute path of the database file: option, environment, default.
std::string databaseFile(const Context& context);

// For a command that only reads: it sees the database as it is now, whatever is written meanwhile.
std::unique_ptr<LCCatalog> openForReading(const Context& context, LCCatalogLayout layout = LCCatalogLayout::desktop);
// The same, or null with a warning for what is wrong; without a word when there is no database.
std::unique_ptr<LCCatalog> openForReadingIfPossible(const Context& context);
std::unique_ptr<LCCatalog> openForMarking(const Context& context);
