#include "catalog/Packages.h"

#include "catalog/CatalogError.h"
#include "catalog/QuerySettings.h"
#include "VeskLoopManagement/database/LCCrateManager.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/platform/Text.h"

namespace {

std::unique_ptr<LCCrateManager> managerOf(const std::string& databaseFile) {
  return LCCrateManager::initWithDatabaseConfiguration({databaseFile, false, kDefaultDatabaseSchemaVersion});
}

[[noreturn]] void fail(LCFailureKind kind, const char* message, const std::string& package) {
  throw lc::CatalogError{{.kind = kind, .message = message, .subject = package}};
}

void requireFree(const std::string& word, lc::LoopRows& rows) {
  for (const LCPackage& taken : rows.packages()) {
    if (taken.identifier == word || vesk::text::equalIgnoringCase(taken.name, word)) {
      fail(LCFailureKind::invalidRequest, "there is already a package of this name", word);
    }
  }
}

}  // namespace

LCPackage lc::packageFor(const LCNewPackage& package, LoopRows& rows) {
  if (package.name.empty()) fail(LCFailureKind::invalidRequest, "the package needs a name", {});
  LCPackage made{.name = package.name,
                 .manufacturer = package.manufacturer.value_or(std::string(LCFileIndexingUserLoopsManufacturer)),
                 .isVirtual = package.isVirtual};
  made.identifier =
      package.identifier.value_or(LCCrateManager::crateIdentifierForManufacturer(made.manufacturer, made.name, true));
  if (made.identifier.empty()) fail(LCFailureKind::invalidRequest, "the package needs an identifier", made.name);
  requireFree(made.name, rows);
  requireFree(made.identifier, rows);
  return made;
}

void lc::writePackage(const LCPackage& package, const std::string& databaseFile) {
  writePackages({&package, 1}, databaseFile);
}

void lc::removePackage(const std::string& identifier, const std::string& databaseFile) {
  const auto manager = managerOf(databaseFile);
  if (manager && manager->removeCrateAndRelationsWithIdentifier(identifier)) return;
  fail(LCFailureKind::databaseRefused, "the package could not be removed", identifier);
}

std::vector<LCPackage> lc::emptyPackages(LoopRows& rows) {
  std::vector<LCPackage> packages = rows.packages();
  std::erase_if(packages, [](const LCPackage& package) { return package.loopCount > 0; });
  return packages;
}

void lc::writePackages(std::span<const LCPackage> packages, const std::string& databaseFile) {
  if (packages.empty()) return;
  const auto manager = managerOf(databaseFile);
  for (const LCPackage& package : packages) {
    const auto& [identifier, name, manufacturer, isVirtual, loopCount] = package;
    if (manager && manager->createCrateWithIdentifier(identifier, name, manufacturer, isVirtual)) continue;
    fail(LCFailureKind::databaseRefused, "the package could not be made", name);
  }
}
