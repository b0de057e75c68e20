#include "database/LCTransaction.h"
#include "platform/Path.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"
#include "VeskLoopManagement/database/LCStatement.h"
#include "VeskLoopManagement/platform/Environment.h"
#include "VeskLoopManagement/platform/URL.h"

#include <fmt/format.h>
#include <sqlite3.h>

#include <array>
#include <chrono>
#include <utility>

// The side of LCSQLiteUtilities that looks for damage and repairs what older databases hold.

namespace {

// --- Damage ---

bool insertCorruptFlag(sqlite3* connection) {
  LCStatement insert(connection,
                     "INSERT OR REPLACE INTO DatabaseMigrationInfos (key, integerValue) "
                     "VALUES ('DATABASE_IS_CORRUPT', ?);");
  insert.bind(1, 1);
  return insert.run();
}

// The marker has one name, whatever the database file is called.
void writeCorruptMarkerFile(sqlite3* connection) {
  const char* file = sqlite3_db_filename(connection, "main");
  if (file == nullptr || *file == '\0') return;  // no file: a database in memory
  const std::string folder = vesk::path::deletingLastComponent(file);
  if (!vesk::path::isDirectory(folder)) return;
  vesk::path::writeFileAtomically(vesk::path::appending(folder, kCorruptDatabaseFileIndicatorName), "1");
}

// Whether preparing and first stepping of `sql` show no sign of damage. A missing table is none.
bool isReadable(sqlite3* connection, const char* sql) {
  LCStatement statement(connection, sql);
  if (statement.isPrepared()) statement.step();
  return !LCSQLiteUtilities::isBadStatusCode(statement.lastStatus());
}

bool passesQuickCheck(sqlite3* connection) {
  LCStatement statement(connection, "PRAGMA quick_check;");
  while (statement.step()) {
    if (statement.textAt(0) == "ok") return true;
  }
  return false;
}

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
  LCSQLiteUtilities utilities(connection);
  utilities.executeStatementWithNoReturnValue(
      lc::sqlFormat("UPDATE OR IGNORE Loops SET fileName = '%@.caf' WHERE fileName == '%@.caf'", {right, wrong}));
  utilities.executeStatementWithNoReturnValue(
      lc::sqlFormat("UPDATE OR IGNORE Loops SET fileName = '%@' WHERE fileName == '%@'", {right, wrong}));
}

// --- Names ---

double secondsSince2001() {
  using Seconds = std::chrono::duration<double>;
  constexpr double kUnixTimeOf2001 = 978307200.0;
  return Seconds(std::chrono::system_clock::now().time_since_epoch()).count() - kUnixTimeOf2001;
}

// Loop ids with the precomposed forms of those names that are not precomposed yet.
std::vector<std::pair<int64_t, std::string>> namesToPrecompose(sqlite3* connection) {
  std::vector<std::pair<int64_t, std::string>> names;
  LCStatement statement(connection, "SELECT id, fileName FROM Loops;");
  while (statement.step()) {
    const std::string name = statement.textAt(1);
    std::string precomposed = vesk::text::precomposed(name);
    if (precomposed != name) names.emplace_back(statement.int64At(0), std::move(precomposed));
  }
  return names;
}

void recordPrecomposedNames(sqlite3* connection) {
  LCStatement insert(connection,
                     "INSERT OR REPLACE INTO DatabaseMigrationInfos (key, floatValue) "
                     "VALUES ('FIXED_UTF8_CANONICAL_MAPPING_BUG', ?);");
  insert.bind(1, secondsSince2001());
  insert.run();
}

// --- Localization ---

bool isChineseLocale(std::string_view identifier) {
  return identifier.starts_with("zh");
}

// nullopt when names were never localized.
std::optional<std::string> storedLocalization(sqlite3* connection) {
  LCStatement statement(connection,
                        "SELECT textValue from DatabaseMigrationInfos WHERE key == 'LOOPS_LOCALIZATION_IDENTIFIER_V2'");
  if (!statement.step()) return std::nullopt;
  return statement.textAt(0);
}

void storeLocalization(sqlite3* connection, const std::string& localeIdentifier) {
  LCSQLiteUtilities::deleteLocalizationFlagInSQLite(connection);
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

// False when the names stay as they were: the transcript column is missing, or COMMIT failed.
bool rewriteNames(sqlite3* connection, const LCSQLiteUtilities::LocalizationBlock& block) {
  LCTransaction transaction{connection};
  LCStatement loops(connection, "SELECT id, fileURL FROM Loops;");
  LCStatement update(connection, "UPDATE Loops SET fileName = ? , chineseTranscript = ?  WHERE id = ?;");
  if (!loops.isPrepared() || !update.isPrepared()) return false;
  while (loops.step()) {
    const std::string displayName = displayNameOfLoop(baseNameOfLoop(loops.textAt(1)), block);
    update.bind(1, vesk::text::precomposed(displayName));
    update.bind(2, transcript(displayName));
    update.bind(3, loops.int64At(0));
    update.run();
  }
  return transaction.commit();
}

}  // namespace

bool LCSQLiteUtilities::isDatabaseCorruptFlagSetForSQLite(sqlite3* connection) {
  LCStatement statement(connection,
                        "SELECT integerValue from DatabaseMigrationInfos WHERE key == 'DATABASE_IS_CORRUPT'");
  return statement.step() && statement.int64At(0) != 0;
}

void LCSQLiteUtilities::setDatabaseIsCorruptFlagForSQLite(sqlite3* connection) {
  if (connection == nullptr) return;
  if (!insertCorruptFlag(connection)) writeCorruptMarkerFile(connection);
}

bool LCSQLiteUtilities::checkSQLiteDatabase(sqlite3* connection, bool doFastCheck) {
  if (connection == nullptr || isDatabaseCorruptFlagSetForSQLite(connection)) return false;
  if (!doFastCheck) return passesQuickCheck(connection);
  return isReadable(connection, "SELECT * FROM sqlite_master LIMIT 1;") &&
         isReadable(connection, "SELECT * FROM Loops LIMIT 1;");
}

bool LCSQLiteUtilities::isBadStatusCode(int status) {
  return status == SQLITE_IOERR || status == SQLITE_CORRUPT || status == SQLITE_CANTOPEN || status == SQLITE_NOTADB;
}

bool LCSQLiteUtilities::replaceAbsolutePath(const std::string& oldPrefix, const std::string& newPrefix,
                                            sqlite3* connection) {
  if (connection == nullptr) return false;
  LCTransaction transaction{connection};
  LCStatement loops(connection, "SELECT id, fileURL FROM Loops;");
  LCStatement update(connection, "UPDATE Loops SET fileURL = ? WHERE id = ?;");
  if (!loops.isPrepared() || !update.isPrepared()) return false;
  while (loops.step()) {
    const auto url = vesk::URL::fromString(loops.textAt(1));
    if (!url) continue;  // a text that is no URL stays as it is
    const std::string path = replacedPath(url->path(), oldPrefix, newPrefix);
    update.bind(1, vesk::URL::fileURLWithPath(path, false).absoluteString());
    update.bind(2, loops.textAt(0));
    update.run();
  }
  return transaction.commit();
}

void LCSQLiteUtilities::fixTypos(sqlite3* connection) {
  for (int number = 1; number <= kSandRababLoopCount; ++number) {
    const std::string name = fmt::format("Afghanistan Sand Rabab {:02}", number);
    correctName(connection, name, name);  // these rewrite the names to themselves, which is deliberate
  }
  for (const auto& [wrong, right] : kNameCorrections) correctName(connection, wrong, right);
}

bool LCSQLiteUtilities::fixFilenameUTF8EncodingForSQLite(sqlite3* connection) {
  if (connection == nullptr) return false;
  if (LCStatement(connection, "SELECT id from DatabaseMigrationInfos WHERE key == 'FIXED_UTF8_CANONICAL_MAPPING_BUG'")
          .step()) {
    return true;
  }
  LCTransaction transaction{connection};
  LCStatement update(connection, "UPDATE Loops SET fileName = ? WHERE id = ?;");
  // The names are collected first: reading them follows the index on them, which the updates change.
  for (const auto& [id, name] : namesToPrecompose(connection)) {
    update.bind(1, name);
    update.bind(2, id);
    update.run();
  }
  recordPrecomposedNames(connection);
  return transaction.commit();
}

bool LCSQLiteUtilities::localizeFilenamesInSQLite(sqlite3* connection, const std::string& localeIdentifier,
                                                  const LocalizationBlock& block) {
  if (connection == nullptr) return false;
  const std::optional<std::string> stored = storedLocalization(connection);
  if (stored == localeIdentifier) return false;
  const bool involvesChinese = isChineseLocale(localeIdentifier) || isChineseLocale(stored.value_or(""));
  if (involvesChinese && !rewriteNames(connection, block)) return false;
  storeLocalization(connection, localeIdentifier);
  return false;
}

void LCSQLiteUtilities::deleteLocalizationFlagInSQLite(sqlite3* connection) {
  LCSQLiteUtilities(connection)
      .executeStatementWithNoReturnValue(
          "DELETE FROM DatabaseMigrationInfos WHERE key == 'LOOPS_LOCALIZATION_IDENTIFIER_V2';");
}

bool LCSQLiteUtilities::isChina() {
  return isChineseLocale(vesk::Environment::shared().localeIdentifier());
}
