// Content packages ("crates"): a factory collection, an add-on, a folder of the user's, the user's single files.
// LCCrateManager creates, lists and removes their rows on a connection of its own; its class side forms and classifies
// identifiers. One thread at a time. Texts given to createCrateWithIdentifier are spliced into double quotes; `"` is
// doubled there.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "VeskLoopManagement/database/LCConnection.h"
#include "VeskLoopManagement/database/LCDatabaseConfiguration.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"
#include "VeskLoopManagement/platform/URL.h"

extern const std::string kContentIdentifierPrefix;
extern const std::string kFactoryIndexToolIdentifier;
extern const std::string LCFileIndexingUserDomainSingleFilesCrateIdentifier;
extern const std::string LCFileIndexingLocalDomainSingleFilesCrateIdentifier;
extern const std::string LCFileIndexingUserLoopsManufacturer;
extern const std::string LCFileIndexingSingleFilesCrateName;

class LCCrateManager {
 public:
  // Opens (and creates) the configuration's database file with all tables; null when it cannot be opened.
  [[nodiscard]] static std::unique_ptr<LCCrateManager> initWithDatabaseConfiguration(
      const LCDatabaseConfiguration& configuration);

  bool createCrateWithIdentifier(const std::string& identifier, const std::string& name,
                                 const std::string& manufacturer, bool isVirtual);
  std::optional<std::string> createCrateForSingleFiles();  // the identifier; nullopt when it could not be created
  bool createCrateForDirectoryURL(const std::optional<vesk::URL>& url, const std::string& name,
                                  std::string* identifier);
  std::optional<LCResultDictionary> availableCrates();
  bool removeCrateWithIdentifier(const std::string& identifier);  // relations stay

  static std::string crateIdentifierForManufacturer(const std::string& manufacturer, const std::string& crateName,
                                                    bool userDomain);
  static int compareIdentifier(const std::string& identifier, const std::string& other);
  static bool isLocalDomainCrateIdentifier(const std::string& identifier);
  static bool isLegacyCrateIdentifier(const std::optional<std::string>& identifier);

 private:
  explicit LCCrateManager(LCConnection connection) : m_connection(std::move(connection)) {}
  LCConnection m_connection;
};
