#include "Database.h"

#include "Arguments.h"
#include "Output.h"

#include <fmt/format.h>

namespace {

LCCatalogOptions readingOptions(LCCatalogLayout layout) {
  return {.access = LCCatalogAccess::read, .layout = layout, .holdsSnapshot = true};
}

}  // namespace

std::string databaseFile(const Context& context) {
  if (context.options.database && !context.options.database->empty()) return absolutePath(*context.options.database);
  return LCCatalog::defaultDatabaseFile();
}

std::unique_ptr<LCCatalog> openForReading(const Context& context, LCCatalogLayout layout) {
  return valueOf(LCCatalog::open(databaseFile(context), readingOptions(layout)));
}

std::unique_ptr<LCCatalog> openForReadingIfPossible(const Context& context) {
  auto catalog = LCCatalog::open(databaseFile(context), readingOptions(LCCatalogLayout::desktop));
  if (catalog) return *std::move(catalog);
  if (catalog.failure().kind != LCFailureKind::databaseMissing) {
    const Failure failure = failureFrom(catalog.failure());
    context.output.warning(fmt::format("{}: {}", failure.message, failure.subject), failure.nextStep);
  }
  return nullptr;
}

std::unique_ptr<LCCatalog> openForMarking(const Context& context) {
  return valueOf(LCCatalog::open(databaseFile(context), {.access = LCCatalogAccess::mark}));
}
