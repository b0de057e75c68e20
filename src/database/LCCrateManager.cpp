#include "VeskLoopManagement/database/LCCrateManager.h"

#include "database/LCTransaction.h"
#include "resources/ResourceTables.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCStatement.h"
#include "VeskLoopManagement/platform/Text.h"

#include <string_view>

namespace {

constexpr std::string_view kUserDomain = ".UserDomain";
constexpr std::string_view kLocalDomain = ".LocalDomain";

const std::string kCreateCratesSQL =
    "CREATE TABLE IF NOT EXISTS Crates "
    "(identifier TEXT PRIMARY KEY, crateName TEXT, manufacturer TEXT, isVirtualCrate INTEGER);";
const std::string kCreateCrateLoopRelationSQL =
    "CREATE TABLE IF NOT EXISTS CrateLoopRelation "
    "(crateId TEXT, loopId INTEGER, UNIQUE (crateId, loopId) ON CONFLICT REPLACE);";

std::string prefixed(std::string_view rest) {
  return std::string(lc::resources::contentIdentifierPrefix()).append(rest);
}

}  // namespace

const std::string kContentIdentifierPrefix = prefixed("");
const std::string kFactoryIndexToolIdentifier = prefixed(".factory-index-tool");
const std::string LCFileIndexingUserDomainSingleFilesCrateIdentifier = prefixed(".UserDomain.User LoopsSingleFiles");
const std::string LCFileIndexingLocalDomainSingleFilesCrateIdentifier = prefixed(".LocalDomain.User LoopsSingleFiles");

std::unique_ptr<LCCrateManager> LCCrateManager::initWithDatabaseConfiguration(
    const LCDatabaseConfiguration& configuration) {
  LCConnection connection = lc::openConnection(configuration.databaseFile(), LCOpenMode::readWriteCreate);
  if (!connection) return nullptr;
  LCSQLiteUtilities::generateDatabaseTablesForSQLite(connection.get(), configuration.schemaVersion());
  return std::unique_ptr<LCCrateManager>(new LCCrateManager(std::move(connection)));
}

bool LCCrateManager::createCrateWithIdentifier(std::string_view identifier, std::string_view name,
                                               std::string_view manufacturer, bool isVirtual) {
  LCSQLiteUtilities utilities(m_connection.get());
  if (!utilities.executeStatementWithNoReturnValue(kCreateCratesSQL)) return false;
  if (!utilities.executeStatementWithNoReturnValue(kCreateCrateLoopRelationSQL)) return false;
  return utilities.executeStatementWithNoReturnValue(
      lc::sqlFormat("INSERT OR IGNORE INTO Crates (identifier, crateName, manufacturer, isVirtualCrate) "
                    "VALUES (\"%@\", \"%@\", \"%@\", %@);",
                    {lc::sqlDoubleQuoteEscaped(identifier), lc::sqlDoubleQuoteEscaped(name),
                     lc::sqlDoubleQuoteEscaped(manufacturer), isVirtual ? "1" : "0"}));
}

std::optional<std::string> LCCrateManager::createCrateForSingleFiles() {
  const std::string& identifier = LCFileIndexingUserDomainSingleFilesCrateIdentifier;
  if (!createCrateWithIdentifier(identifier, LCFileIndexingSingleFilesCrateName, LCFileIndexingUserLoopsManufacturer,
                                 false)) {
    return std::nullopt;
  }
  return identifier;
}

// The identifier keeps its doubled apostrophes: it stands between double quotes, where they mean two.
bool LCCrateManager::createCrateForDirectoryURL(const std::optional<vesk::URL>& url, const std::string& name,
                                                std::string* identifier) {
  if (!url) return false;
  const std::string folderIdentifier = lc::sqlEscaped(url->absoluteString());
  if (!createCrateWithIdentifier(folderIdentifier, name, "USER", false)) return false;
  if (identifier) *identifier = folderIdentifier;
  return true;
}

std::optional<LCResultDictionary> LCCrateManager::availableCrates() {
  LCResultDictionary crates;
  if (!LCSQLiteUtilities(m_connection.get()).executeStatementWithCrateReturnValue("SELECT * FROM Crates;", &crates)) {
    return std::nullopt;
  }
  return crates;
}

bool LCCrateManager::removeCrateWithIdentifier(const std::string& identifier) {
  return LCSQLiteUtilities(m_connection.get())
      .executeStatementWithNoReturnValue(
          lc::sqlFormat("DELETE FROM Crates WHERE identifier = \"%@\";", {lc::sqlDoubleQuoteEscaped(identifier)}));
}

bool LCCrateManager::removeCrateAndRelationsWithIdentifier(const std::string& identifier) {
  LCTransaction transaction{m_connection.get(), LCTransaction::Begin::immediately};
  LCStatement relations(m_connection.get(), "DELETE FROM CrateLoopRelation WHERE crateId = ?1");
  relations.bind(1, identifier);
  return transaction.isOpen() && relations.run() && removeCrateWithIdentifier(identifier) && transaction.commit();
}

std::string LCCrateManager::crateIdentifierForManufacturer(std::string_view manufacturer, std::string_view crateName,
                                                           bool userDomain) {
  return prefixed(userDomain ? kUserDomain : kLocalDomain).append(".").append(manufacturer).append(crateName);
}

int LCCrateManager::compareIdentifier(const std::string& identifier, const std::string& other) {
  return vesk::compareCodeUnits(identifier, other);
}

bool LCCrateManager::isLocalDomainCrateIdentifier(const std::string& identifier) {
  return identifier.starts_with(prefixed(kLocalDomain));
}

bool LCCrateManager::isLegacyCrateIdentifier(const std::optional<std::string>& identifier) {
  if (!identifier) return false;
  const std::string_view prefix = lc::resources::contentIdentifierPrefix();
  return identifier->starts_with(prefix) &&
         lc::resources::legacyCrateIdentifierSuffixes().contains(identifier->substr(prefix.size()));
}
