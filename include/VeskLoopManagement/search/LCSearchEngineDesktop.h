// The search engine of a desktop loop browser, which is also the data source of an outline of loop folders.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/search/LCSearchEngine.h"

class LC_EXPORT LCSearchEngineDesktop : public LCSearchEngine {
 public:
  // Null when the database cannot be opened; the reason is logged.
  [[nodiscard]] static std::unique_ptr<LCSearchEngineDesktop> initWithDatabaseConfiguration(
      const LCDatabaseConfiguration& configuration);
  // On an open connection to the configuration's database, which the caller has found sound; it becomes the engine's.
  // Never null.
  [[nodiscard]] static std::unique_ptr<LCSearchEngineDesktop> initWithConnection(
      LCConnection connection, const LCDatabaseConfiguration& configuration);

  // Folder outline: items are folder paths, nullopt is the root. The disk is listed afresh at each question.
  std::vector<std::string> _childrenOfItem(const std::optional<std::string>& item) const;
  size_t numberOfChildrenOfItem(const std::optional<std::string>& item) const;
  std::optional<std::string> child(size_t index, const std::optional<std::string>& ofItem) const;
  bool isLeafItem(const std::optional<std::string>& item) const;
  std::optional<std::string> objectValueForItem(const std::optional<std::string>& item) const;

  std::string textSearchCollate() const override;
  std::string textSearchLikeFunction() const override;
  std::string createLoopsResultTableFormatString() const override;
  std::string selectBaseString() const override;
  std::vector<std::string> columnKeysToQuery() const override;
  std::optional<vesk::StringSet> instrumentsKeywordsToPresent() const override;

 private:
  explicit LCSearchEngineDesktop(const LCDatabaseConfiguration& configuration) : LCSearchEngine(configuration) {}

  mutable bool m_textSearchLikeFunctionRegistered = false;  // on this engine's connection
};
