// Content packages ("crates"): a factory collection, an add-on, a folder of the user's, the user's single files.
// LCCrateManager creates, lists and removes their rows on a connection of its own; its class side forms and classifies
// identifiers. One thread at a time. Texts given to createCrateWithIdentifier are spliced into double quotes; `"` is
// doubled there.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "VeskLoopManagement/database/LCConnection.h"
#include "VeskLoopManagement/database/LCDatabaseConfiguration.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"
#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/platform/URL.h"

LC_EXPORT extern const std::string kContentIdentifierPrefix;
LC_EXPORT extern const std::string kFactoryIndexToolIdentifier;
LC_EXPORT extern const std::string LCFileIndexingUserDomainSingleFilesCrateIdentifier;
LC_EXPORT extern const std::string LCFileIndexingLocalDomainSingleFilesCrateIdentifier;
inline constexpr std::string_view LCFileIndexingUserLoopsManufacturer = "User Loops";
inline constexpr std::string_view LCFileIndexingSingleFilesCrateName = "SingleFiles";

class LC_EXPORT LCCrateManager {
 public:
  // Opens (and creates) the configuration's database file with all tables; null when it cannot be opened.
  [[nodiscard]] static std::unique_ptr<LCCrateManager> initWithDatabaseConfiguration(
      const LCDatabaseConfiguration& configuration);

  bool createCrateWithIdentifier(std::string_view identifier, std::string_view name, std::string_view manufacturer,
                                 bool isVirtual);
  std::optional<std::string> createCrateForSingleFiles();  // the identifier; nullopt when it could not be created
  bool createCrateForDirectoryURL(const std::optional<vesk::URL>& url, const std::string& name,
                                  std::string* identifier);
  std::optional<LCResultDictionary> availableCrates();
  bool removeCrateWithIdentifier(const std::string& identifier);              // relations stay
  bool removeCrateAndRelationsWithIdentifier(const std::string& identifier);  // both or neither; its loops stay

  static std::string crateIdentifierForManufacturer(std::string_view manufacturer, std::string_view crateName,
                                                    bool userDomain);
  static int compareIdentifier(const std::string& identifier, const std::string& other);
  static bool isLocalDomainCrateIdentifier(const std::string& identifier);
  static bool isLegacyCrateIdentifier(const std::optional<std::string>& identifier);

 private:
  explicit LCCrateManager(LCConnection connection) : m_connection(std::move(connection)) {}
  LCConnection m_connection;
};
