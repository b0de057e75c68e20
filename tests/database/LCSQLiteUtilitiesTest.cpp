#include "database/LCSQLiteUtilities.h"

#include "database/TestDatabase.h"
#include "platform/Path.h"

#include <sqlite3.h>

#include <limits>

namespace {

std::string described(const LCResultDictionary& result) {
  std::string text;
  for (const auto& [column, cells] : result) {
    text += column + "=";
    for (const LCCell& cell : cells) text += std::string(1, "sib"[cell.index()]) + cellText(cell) + ";";
    text += " ";
  }
  return text;
}

// Overwrites the page on which the rows of `table` stand.
void damageTable(TestDatabase& database, const std::string& table) {
  const auto page = std::stoul(database.text("SELECT rootpage FROM sqlite_master WHERE name = '" + table + "'"));
  const auto pageSize = std::stoul(database.text("PRAGMA page_size"));
  database.close();
  std::string bytes = vesk::path::readFile(database.file()).value();
  bytes.replace((page - 1) * pageSize, pageSize, pageSize, '\xFF');
  database.folder().addFile("x.db", bytes);
  database.reopen();
}

}  // namespace

TEST(SQLiteUtilities, ResultShapesDifferInTypesAndInNull) {
  const TestDatabase database;
  LCSQLiteUtilities utilities(database.connection());
  using U = LCSQLiteUtilities;
  struct Case {
    bool (U::*collect)(const std::string&, LCResultDictionary*);
    const char* sql;
    const char* result;  // s text, i integer, b truth value
  };
  const Case cases[] = {
      {&U::executeStatementWithGenericReturnValue, "SELECT 1 AS a, NULL AS b", "a=s1; b=s; "},
      {&U::executeStatementWithLoopsReturnValue,
       "SELECT '07' AS fileName, -5506746406385753333 AS id, 3.9 AS lengthInSeconds, 'Title' AS title, NULL AS "
       "isFavorite, 5000000000 AS tempo, '0x10' AS key",
       "fileName=s07; id=i-5506746406385753333; isFavorite=s; key=i0; lengthInSeconds=i3; tempo=i2147483647; "
       "title=i0; "},
      {&U::executeStatementWithKeywordsReturnValue, "SELECT 'a' AS name, NULL AS none UNION ALL SELECT NULL, NULL",
       "name=sa; none= "},
      {&U::executeStatementWithCrateReturnValue,
       "SELECT 'c' AS identifier, 2 AS isVirtualCrate UNION ALL SELECT NULL, 0",
       "identifier=sc; isVirtualCrate=b1;b0; "},
  };
  for (const auto& [collect, sql, expected] : cases) {
    LCResultDictionary result;
    EXPECT_TRUE((utilities.*collect)(sql, &result));
    EXPECT_EQ(described(result), expected) << sql;
  }
  vesk::StringSet keywords;
  EXPECT_TRUE(utilities.executeStatementWithCombinedKeywordsReturnValue(
      "SELECT 'a,b' AS genre, 'x,,y' AS descriptors, NULL AS instrumentType", &keywords));
  EXPECT_EQ(keywords, (vesk::StringSet{"a,b", "x", "", "y"}));
}

TEST(SQLiteUtilities, TablesAndColumnsThatCannotBeLookedUpCountAsPresent) {
  const TestDatabase database;
  sqlite3* connection = database.connection();
  EXPECT_TRUE(LCSQLiteUtilities::isTableWithName("Loops", std::nullopt, connection));
  EXPECT_FALSE(LCSQLiteUtilities::isTableWithName("Absent", std::nullopt, connection));
  EXPECT_TRUE(LCSQLiteUtilities::isTableWithName("Loops", "nodb", connection));
  EXPECT_TRUE(LCSQLiteUtilities::isColumnAvailableWithName("ksLoopType", "Loops", std::nullopt, connection));
  EXPECT_FALSE(LCSQLiteUtilities::isColumnAvailableWithName("it's", "Loops", std::nullopt, connection));
}

TEST(SQLiteUtilities, ExtendingIsYesUnlessTheColumnCouldNotBeAdded) {
  TestDatabase database;
  const auto extend = [&database](const char* table, const char* column) {
    return LCSQLiteUtilities::extendTable(table, std::nullopt, column, "TEXT", database.connection());
  };
  EXPECT_TRUE(extend("Loops", "mood"));
  EXPECT_TRUE(extend("Absent", "mood")) << "cannot be prepared";
  database.reopen(LCOpenMode::readOnly);
  EXPECT_TRUE(extend("Loops", "mood")) << "there already";
  EXPECT_FALSE(extend("Loops", "weight"));
}

TEST(SQLiteUtilities, DroppingTheTablesKeepsWhatTheUserMade) {
  const TestDatabase database;
  EXPECT_TRUE(LCSQLiteUtilities::dropDatabaseTablesForSQLite(database.connection()));
  EXPECT_EQ(
      database.texts("SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite_%' ORDER BY 1"),
      (Texts{"DatabaseMigrationInfos", "UserData", "keyword_distribution"}));
}

TEST(SQLiteUtilities, FactsAreUpdatedInPlaceAndHaveTheirOwnMarksWhenMissing) {
  TestDatabase database;
  sqlite3* connection = database.connection();
  EXPECT_EQ(LCSQLiteUtilities::lastExtraKeywordIdForSQLite(nullptr), -1);
  EXPECT_EQ(LCSQLiteUtilities::lastExtraKeywordIdForSQLite(connection), std::numeric_limits<int64_t>::max());
  EXPECT_EQ(LCSQLiteUtilities::databaseSchemaVersionForSQLite(connection), -1);
  EXPECT_EQ(LCSQLiteUtilities::indexingAppIdentifierForSQLite(connection), std::nullopt);
  for (const int64_t value : {int64_t{100930}, int64_t{1} << 40}) {
    EXPECT_TRUE(LCSQLiteUtilities::setDatabaseSchemaVersion(value, connection));
    EXPECT_TRUE(LCSQLiteUtilities::setLastExtraKeywordId(value + 1, connection));
    EXPECT_TRUE(LCSQLiteUtilities::setIndexingAppIdentifier("tool", connection));
    EXPECT_EQ(LCSQLiteUtilities::databaseSchemaVersionForSQLite(connection), value);
    EXPECT_EQ(LCSQLiteUtilities::lastExtraKeywordIdForSQLite(connection), value + 1);
    EXPECT_EQ(LCSQLiteUtilities::indexingAppIdentifierForSQLite(connection), "tool");
  }
  EXPECT_EQ(database.text("SELECT count(*) FROM DatabaseMigrationInfos"), "3");
}

TEST(DamageCheck, TellsDamageFromAMissingTable) {
  const TemporaryFolder folder;
  const auto isGood = [&folder](const std::string& contents, bool doFastCheck) {
    const LCConnection connection = openConnection(folder.addFile("d.db", contents), LCOpenMode::readOnly);
    return LCSQLiteUtilities::checkSQLiteDatabase(connection.get(), doFastCheck);
  };
  for (const bool doFastCheck : {true, false}) {
    EXPECT_TRUE(isGood("", doFastCheck)) << "no tables yet";
    EXPECT_FALSE(isGood(std::string(8192, 'x'), doFastCheck));
    EXPECT_FALSE(isGood(std::string("SQLite format 3\0", 16) + std::string(4080, '\0'), doFastCheck));
    const TestDatabase database;
    EXPECT_TRUE(LCSQLiteUtilities::checkSQLiteDatabase(database.connection(), doFastCheck));
    LCSQLiteUtilities::setDatabaseIsCorruptFlagForSQLite(database.connection());
    EXPECT_FALSE(LCSQLiteUtilities::checkSQLiteDatabase(database.connection(), doFastCheck)) << "flagged";
  }
}

TEST(DamageCheck, DamageMetByAStatementIsRecordedInTheDatabase) {
  TestDatabase database;
  damageTable(database, "Loops");
  LCSQLiteUtilities utilities(database.connection());
  EXPECT_FALSE(utilities.executeStatementWithNoReturnValue("SELECT * FROM Loops"));
  EXPECT_EQ(utilities.lastOSStatus(), SQLITE_CORRUPT);
  EXPECT_TRUE(LCSQLiteUtilities::isDatabaseCorruptFlagSetForSQLite(database.connection()));
  EXPECT_FALSE(vesk::path::exists(database.folder().path(kCorruptDatabaseFileIndicatorName)));
}

TEST(DamageCheck, DamageThatCannotBeRecordedInsideIsMarkedBeside) {
  const TemporaryFolder folder;
  const std::string marker = folder.path("LoopsDatabaseV10.db-isDamaged");
  const LCConnection connection = openConnection(folder.addFile("x.db", std::string(8192, 'x')), LCOpenMode::readOnly);
  EXPECT_FALSE(LCSQLiteUtilities(connection.get()).executeStatementWithNoReturnValue("SELECT * FROM Loops"));
  EXPECT_EQ(vesk::path::readFile(marker), "1");
}
