// The search engine of a mobile loop browser: fewer columns, localized sorting where asked, fewer instruments shown.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/search/LCSearchEngine.h"

class LC_EXPORT LCSearchEngineMobile : public LCSearchEngine {
 public:
  // Null when the database cannot be opened; the reason is logged.
  [[nodiscard]] static std::unique_ptr<LCSearchEngineMobile> initWithDatabaseConfiguration(
      const LCDatabaseConfiguration& configuration);
  // On an open connection to the configuration's database, which the caller has found sound; it becomes the engine's.
  // Never null.
  [[nodiscard]] static std::unique_ptr<LCSearchEngineMobile> initWithConnection(
      LCConnection connection, const LCDatabaseConfiguration& configuration);

  void fixDuplicateLoopsFromREDContent();

  std::string textSearchCollate() const override;
  std::string textSearchLikeFunction() const override;
  std::string createLoopsResultTableFormatString() const override;
  std::string selectBaseString() const override;
  std::vector<std::string> columnKeysToQuery() const override;
  std::optional<vesk::StringSet> instrumentsKeywordsToPresent() const override;

 private:
  explicit LCSearchEngineMobile(const LCDatabaseConfiguration& configuration) : LCSearchEngine(configuration) {}
};
