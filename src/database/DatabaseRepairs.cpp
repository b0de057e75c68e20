#include "database/DatabaseRepairs.h"

#include "database/DatabaseFacts.h"
#include "database/LCTransaction.h"
#include "database/StatementRunner.h"
#include "platform/Path.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCStatement.h"
#include "VeskLoopManagement/platform/Environment.h"
#include "VeskLoopManagement/platform/URL.h"

#include <fmt/format.h>
#include <sqlite3.h>

#include <array>
#include <utility>

namespace {

// --- Paths ---

std::string replacedPath(const std::string& path, const std::string& oldPrefix, const std::string& newPrefix) {
  if (oldPrefix.empty()) return "/BASE/" + vesk::path::lastComponent(path);
  return vesk::text::replacingAll(path, oldPrefix, newPrefix);
}

// --- Typos ---

constexpr int kSandRababLoopCount = 31;

struct NameCorrection {
  const char* wrong;
  const char* right;
};

constexpr std::array<NameCorrection, 5> kNameCorrections = {{
    {"Brazilian Caxia", "Brazilian Caixa"},
    {"Endless Streets Arpegiated Bells", "Endless Streets Arpeggiated Bells"},
    {"Chasing Shadows Clap:Snare 01", "Chasing Shadows Clap 01"},
    {"Chasing Shadows Clap:Snare 02", "Chasing Shadows Clap 02"},
    {"No LIght Distant Vox", "No Light Distant Vox"},
}};

void correctName(sqlite3* connection, std::string_view wrong, std::string_view right) {
  for (const char* update : {"UPDATE OR IGNORE Loops SET fileName = '%@.caf' WHERE fileName == '%@.caf'",
                             "UPDATE OR IGNORE Loops SET fileName = '%@' WHERE fileName == '%@'"}) {
    lc::runner::succeeds(connection, lc::sqlFormat(update, {right, wrong}));
  }
}

// --- Names ---

constexpr std::string_view kNamesArePrecomposed = "FIXED_UTF8_CANONICAL_MAPPING_BUG";

using LoopNames = std::vector<std::pair<int64_t, std::string>>;

// Loop ids with the precomposed forms of those names that are not precomposed yet; nullopt when the rows broke off.
std::optional<LoopNames> namesToPrecompose(sqlite3* connection) {
  LoopNames names;
  LCStatement statement(connection, "SELECT id, fileName FROM Loops;");
  if (!statement.isPrepared()) return names;  // no table, no names
  while (statement.step()) {
    const std::string name = statement.textAt(1);
    std::string precomposed = vesk::text::precomposed(name);
    if (precomposed != name) names.emplace_back(statement.int64At(0), std::move(precomposed));
  }
  if (!statement.succeeded()) return std::nullopt;
  return names;
}

bool storePrecomposedNames(sqlite3* connection) {
  // The names are collected first: reading them follows the index on them, which the updates change.
  const std::optional<LoopNames> names = namesToPrecompose(connection);
  if (!names) return false;
  LCStatement update(connection, "UPDATE Loops SET fileName = ? WHERE id = ?;");
  for (const auto& [id, name] : *names) {
    update.bind(1, name);
    update.bind(2, id);
    if (!update.run()) return false;
  }
  return true;
}

// --- Localization ---

bool isChineseLocale(std::string_view identifier) {
  return identifier.starts_with("zh");
}

void storeLocalization(sqlite3* connection, const std::string& localeIdentifier) {
  lc::repairs::forgetLocalization(connection);
  LCStatement insert(connection,
                     "INSERT OR REPLACE INTO DatabaseMigrationInfos (key, textValue) "
                     "VALUES ('LOOPS_LOCALIZATION_IDENTIFIER_V2', ?);");
  insert.bind(1, localeIdentifier);
  insert.run();
}

// The key of a loop's display name: its name without folders and extension. Older files abbreviate loop folders.
std::string baseNameOfLoop(const std::string& fileURL) {
  const auto url = vesk::URL::fromString(fileURL);
  std::string path = url ? url->path() : fileURL;
  for (const char* abbreviation : {"FACT_CNT", "RPLC_AP_LO", "ADDI_AP_LO"}) {
    path = vesk::text::replacingAll(path, abbreviation, "/Loops/");
  }
  return vesk::path::deletingExtension(vesk::path::lastComponent(path));
}

std::string displayNameOfLoop(const std::string& baseName, const LCSQLiteUtilities::LocalizationBlock& block) {
  if (block) return block(baseName);
  return vesk::Environment::shared().localizedString(baseName, "LocalizableLoops").value_or(baseName);
}

std::string transcript(const std::string& displayName) {
  using namespace vesk::text;
  return uppercase(withoutDiacritics(latinFromMandarin(displayName)));
}

// False when the names stay as they were: the transcript column is missing, or a row could not be written.
bool rewriteNames(sqlite3* connection, const LCSQLiteUtilities::LocalizationBlock& block) {
  LCTransaction transaction{connection, LCTransaction::Begin::immediately};
  if (!transaction.isOpen()) return false;
  LCStatement loops(connection, "SELECT id, fileURL FROM Loops;");
  LCStatement update(connection, "UPDATE Loops SET fileName = ? , chineseTranscript = ?  WHERE id = ?;");
  if (!loops.isPrepared() || !update.isPrepared()) return false;
  while (loops.step()) {
    const std::string displayName = displayNameOfLoop(baseNameOfLoop(loops.textAt(1)), block);
    update.bind(1, vesk::text::precomposed(displayName));
    update.bind(2, transcript(displayName));
    update.bind(3, loops.int64At(0));
    if (!update.run()) return false;
  }
  return loops.succeeded() && transaction.commit();
}

}  // namespace

namespace lc::repairs {

bool replacePaths(const std::string& oldPrefix, const std::string& newPrefix, sqlite3* connection) {
  if (connection == nullptr) return false;
  LCTransaction transaction{connection, LCTransaction::Begin::immediately};
  if (!transaction.isOpen()) return false;
  LCStatement loops(connection, "SELECT id, fileURL FROM Loops;");
  LCStatement update(connection, "UPDATE Loops SET fileURL = ? WHERE id = ?;");
  if (!loops.isPrepared() || !update.isPrepared()) return false;
  while (loops.step()) {
    const auto url = vesk::URL::fromString(loops.textAt(1));
    if (!url) continue;  // a text that is no URL stays as it is
    const std::string path = replacedPath(url->path(), oldPrefix, newPrefix);
    update.bind(1, vesk::URL::fileURLWithPath(path, false).absoluteString());
    update.bind(2, loops.textAt(0));
    if (!update.run()) return false;
  }
  return loops.succeeded() && transaction.commit();
}

std::optional<std::vector<std::string>> moveFolder(const std::string& oldFolder, const std::string& newFolder,
                                                   sqlite3* connection) {
  const std::string beginning = oldFolder.ends_with('/') ? oldFolder : oldFolder + "/";
  LCStatement loops(connection, "SELECT id, fileURL FROM Loops;");
  LCStatement update(connection, "UPDATE Loops SET fileURL = ? WHERE id = ?;");
  std::vector<std::string> moved;
  while (loops.step()) {
    const auto url = vesk::URL::fromString(loops.textAt(1));
    if (!url || !url->path().starts_with(beginning)) continue;
    moved.push_back(vesk::path::appending(newFolder, url->path().substr(beginning.size())));
    update.bind(1, vesk::URL::fileURLWithPath(moved.back(), false).absoluteString());
    update.bind(2, loops.int64At(0));
    if (!update.run()) return std::nullopt;
  }
  if (!loops.succeeded()) return std::nullopt;
  return moved;
}

void fixTypos(sqlite3* connection) {
  for (int number = 1; number <= kSandRababLoopCount; ++number) {
    const std::string name = fmt::format("Afghanistan Sand Rabab {:02}", number);
    correctName(connection, name, name);  // these rewrite the names to themselves, which is deliberate
  }
  for (const auto& [wrong, right] : kNameCorrections) correctName(connection, wrong, right);
}

// Recording comes first: a transaction whose first statement writes waits for another connection's writing.
bool precomposeNames(sqlite3* connection) {
  if (connection == nullptr) return false;
  if (facts::isStepRecorded(kNamesArePrecomposed, connection) || sqlite3_db_readonly(connection, "main") == 1)
    return true;
  LCTransaction transaction{connection};
  return facts::recordStep(kNamesArePrecomposed, connection) && storePrecomposedNames(connection) &&
         transaction.commit();
}

void localizeNames(sqlite3* connection, const std::string& localeIdentifier,
                   const LCSQLiteUtilities::LocalizationBlock& block) {
  if (connection == nullptr) return;
  if (localization(connection) == localeIdentifier) return;
  if (rewritesNames(localeIdentifier, connection) && !rewriteNames(connection, block)) return;
  storeLocalization(connection, localeIdentifier);
}

std::optional<std::string> localization(sqlite3* connection) {
  LCStatement statement(connection,
                        "SELECT textValue from DatabaseMigrationInfos WHERE key == 'LOOPS_LOCALIZATION_IDENTIFIER_V2'");
  if (!statement.step()) return std::nullopt;
  return statement.textAt(0);
}

bool rewritesNames(const std::string& localeIdentifier, sqlite3* connection) {
  const std::string stored = localization(connection).value_or("");
  return stored != localeIdentifier && (isChineseLocale(localeIdentifier) || isChineseLocale(stored));
}

void forgetLocalization(sqlite3* connection) {
  runner::succeeds(connection, "DELETE FROM DatabaseMigrationInfos WHERE key == 'LOOPS_LOCALIZATION_IDENTIFIER_V2';");
}

bool isChina() {
  return isChineseLocale(vesk::Environment::shared().localeIdentifier());
}

}  // namespace lc::repairs
