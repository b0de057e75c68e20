#include "VeskLoopManagement/search/LCSearchEngineDesktop.h"

#include "platform/Path.h"
#include "search/LocalizedLike.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCPathUtilities.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <system_error>

namespace {

// The name of the text operator for what is not ASCII: one for all engines of the process, as their statements are
// compared.
std::atomic<const char*> textSearchLikeFunctionName = "LIKE";

// The visible folders directly in `folder`, as full paths, in no particular order.
std::vector<std::string> visibleFoldersIn(const std::string& folder) {
  std::vector<std::string> folders;
  std::error_code error;
  for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    std::string path = vesk::path::appending(folder, name);
    if (!name.starts_with(".") && vesk::path::isDirectory(path)) folders.push_back(std::move(path));
  }
  return folders;
}

// By name as a person reads it; names that read alike by their bytes.
bool comesBefore(const std::string& left, const std::string& right) {
  const int order = vesk::text::localizedCompare(left, right);
  return order != 0 ? order < 0 : left < right;
}

}  // namespace

std::unique_ptr<LCSearchEngineDesktop> LCSearchEngineDesktop::initWithDatabaseConfiguration(
    const LCDatabaseConfiguration& configuration) {
  std::unique_ptr<LCSearchEngineDesktop> engine(new LCSearchEngineDesktop(configuration));
  return engine->setupWithDatabaseFile() ? std::move(engine) : nullptr;
}

std::unique_ptr<LCSearchEngineDesktop> LCSearchEngineDesktop::initWithConnection(
    LCConnection connection, const LCDatabaseConfiguration& configuration) {
  std::unique_ptr<LCSearchEngineDesktop> engine(new LCSearchEngineDesktop(configuration));
  engine->setupWithConnection(std::move(connection));
  return engine;
}

// --- Folder outline ---

std::vector<std::string> LCSearchEngineDesktop::_childrenOfItem(const std::optional<std::string>& item) const {
  const std::string userLoopsFolder = LCPathUtilities::userLoopsFolder(false);
  const std::vector<std::string> parents =
      item ? std::vector{*item}
           : std::vector{LCPathUtilities::factoryLoopFolder(), LCPathUtilities::userFactoryLoopFolder(false),
                         userLoopsFolder};
  std::vector<std::string> children;
  for (const std::string& parent : parents) {
    for (std::string& folder : visibleFoldersIn(parent)) {
      // Hosts show that one elsewhere.
      if (vesk::path::resolvingSymlinks(folder) != userLoopsFolder) children.push_back(std::move(folder));
    }
  }
  std::sort(children.begin(), children.end(), comesBefore);
  return children;
}

size_t LCSearchEngineDesktop::numberOfChildrenOfItem(const std::optional<std::string>& item) const {
  return _childrenOfItem(item).size();
}

std::optional<std::string> LCSearchEngineDesktop::child(size_t index, const std::optional<std::string>& ofItem) const {
  const std::vector<std::string> children = _childrenOfItem(ofItem);
  return index < children.size() ? std::optional(children[index]) : std::nullopt;
}

bool LCSearchEngineDesktop::isLeafItem(const std::optional<std::string>& item) const {
  return item && _childrenOfItem(item).empty();
}

std::optional<std::string> LCSearchEngineDesktop::objectValueForItem(const std::optional<std::string>& item) const {
  return item ? std::optional(vesk::path::lastComponent(*item)) : std::nullopt;
}

// --- What the search asks ---

std::string LCSearchEngineDesktop::textSearchCollate() const {
  return "NOCASE";
}

// The function is registered on each connection at its first question; when that fails, plain LIKE serves.
std::string LCSearchEngineDesktop::textSearchLikeFunction() const {
  if (!sqlite3Connection()) return "LIKE";
  if (!m_textSearchLikeFunctionRegistered) {
    textSearchLikeFunctionName = lc::registerLocalizedLike(sqlite3Connection()) ? "LC_LOCALIZED_LIKE" : "LIKE";
    m_textSearchLikeFunctionRegistered = true;
  }
  return textSearchLikeFunctionName.load();
}

std::string LCSearchEngineDesktop::createLoopsResultTableFormatString() const {
  return std::string(kCreateLoopsResultTableFormatString);
}

std::string LCSearchEngineDesktop::selectBaseString() const {
  return formattedWithLoopsTable(kSelectLoopsFormatString);
}

std::vector<std::string> LCSearchEngineDesktop::columnKeysToQuery() const {
  return {"id",         "fileURL",         "fileName",  "keyType",
          "key",        "numberOfBeats",   "tempo",     vireoLoopTypeColumnName(),
          "isFavorite", "lengthInSeconds", "isWebLoop", std::string(kLoopsContentIdentifierColumn)};
}

std::optional<vesk::StringSet> LCSearchEngineDesktop::instrumentsKeywordsToPresent() const {
  return std::nullopt;
}
