#include "catalog/DatabaseOwnership.h"

#include "catalog/DatabaseKey.h"
#include "database/DatabaseLocations.h"
#include "platform/Path.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"
#include "VeskLoopManagement/platform/Environment.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>

namespace {

// --- Remembered places: a file for each, named after the place, which it holds ---

std::string noteOf(const std::string& resolvedFile) {
  return vesk::path::appending(vesk::Environment::shared().stateFolder(), "databases/" + lc::databaseKey(resolvedFile));
}

bool isRemembered(const std::string& resolvedFile) {
  return vesk::path::readFile(noteOf(resolvedFile)) == resolvedFile;
}

// --- The text that makes a table of ours ---

constexpr std::string_view kBeginningOfText = "CREATE TABLE ";
constexpr size_t kLengthOfText = 60;  // enough to be nobody else's, and short enough to stand in one page

// As SQLite keeps it: what stands before the table's name is its own.
std::string keptText(std::string_view format, std::string_view table) {
  const std::string statement = lc::sqlFormat(format, {"", table});
  return statement.substr(statement.find(std::string(table) + " ("), kLengthOfText);
}

bool beginsLikeATableOfOurs(std::string_view text) {
  static const std::array kTexts = {
      keptText(kCreateLoopsTableFormatString, kDefaultLoopsTablename),
      keptText(kCreateLoopsKeywordsTableString, kDefaultLoopsKeywordsTablename),
      keptText(kCreateCrateRelationTableString, kDefaultCrateLoopRelationTablename),
      keptText(kCreateUserDataTableString, kDefaultUserDataTablename),
  };
  return std::any_of(kTexts.begin(), kTexts.end(), [text](const std::string& each) { return text.starts_with(each); });
}

bool holdsATableOfOurs(std::string_view bytes) {
  for (size_t found = 0; (found = bytes.find(kBeginningOfText, found)) != std::string_view::npos;) {
    found += kBeginningOfText.size();
    if (beginsLikeATableOfOurs(bytes.substr(found))) return true;
  }
  return false;
}

// Ours says so in its first pages; only of a stranger everything is read.
bool holdsATableOfOurs(const std::filesystem::path& file) {
  constexpr size_t kBlock = size_t{1} << 20;
  constexpr size_t kOverlap = kBeginningOfText.size() + kLengthOfText;
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) return false;  // a device may never end
  std::ifstream stream(file, std::ios::binary);
  std::string bytes;
  while (stream) {
    bytes.erase(0, bytes.size() - std::min(bytes.size(), kOverlap));
    const size_t kept = bytes.size();
    bytes.resize(kept + kBlock);
    stream.read(bytes.data() + kept, static_cast<std::streamsize>(kBlock));
    bytes.resize(kept + static_cast<size_t>(stream.gcount()));
    if (holdsATableOfOurs(std::string_view(bytes))) return true;
  }
  return false;
}

}  // namespace

bool lc::isOurDatabase(const std::string& databaseFile) {
  const std::string resolved = vesk::path::resolvingSymlinks(databaseFile);
  return resolved == vesk::path::resolvingSymlinks(locations::databasePlace()) || isRemembered(resolved) ||
         holdsATableOfOurs(std::filesystem::path(resolved));
}

void lc::rememberDatabase(const std::string& databaseFile) {
  const std::string resolved = vesk::path::resolvingSymlinks(databaseFile);
  if (isRemembered(resolved)) return;
  const std::string note = noteOf(resolved);
  std::string reason = "it cannot be written";
  if (vesk::path::createDirectories(vesk::path::deletingLastComponent(note), &reason) &&
      vesk::path::writeFileAtomically(note, resolved)) {
    return;
  }
  vesk::log(fmt::format("The place of the loop database cannot be remembered in {} ({}): {}", note, reason, resolved));
}
