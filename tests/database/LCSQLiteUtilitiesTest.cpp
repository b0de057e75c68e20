#include "database/LCSQLiteUtilities.h"

#include "database/TestDatabase.h"
#include "platform/Path.h"

#include <limits>
#include <stdexcept>

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

using Collect = bool (LCSQLiteUtilities::*)(const std::string&, LCResultDictionary*);

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
  struct Case {
    Collect collect;
    const char* sql;
    const char* result;  // s text, i integer, b truth value
  };
  const Case cases[] = {
      {&LCSQLiteUtilities::executeStatementWithGenericReturnValue, "SELECT 1 AS a, NULL AS b", "a=s1; b=s; "},
      {&LCSQLiteUtilities::executeStatementWithGenericReturnValue, "SELECT 1 AS a WHERE 0", ""},
      {&LCSQLiteUtilities::executeStatementWithLoopsReturnValue,
       "SELECT '07' AS fileName, -5506746406385753333 AS id, 3.9 AS lengthInSeconds, 'Title' AS title, "
       "NULL AS isFavorite, 5000000000 AS tempo",
       "fileName=s07; id=i-5506746406385753333; isFavorite=s; lengthInSeconds=i3; tempo=i2147483647; title=i0; "},
      {&LCSQLiteUtilities::executeStatementWithLoopsReturnValue, "SELECT '0x10' AS id, '0x10' AS key",
       "id=i16; key=i0; "},
      {&LCSQLiteUtilities::executeStatementWithKeywordsReturnValue,
       "SELECT 'a' AS name, NULL AS none UNION ALL SELECT NULL, NULL", "name=sa; none= "},
      {&LCSQLiteUtilities::executeStatementWithCrateReturnValue,
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

TEST(SQLiteUtilities, AnExceptionOfTheCallbackEndsTheStatementOnly) {
  const TestDatabase database;
  LCSQLiteUtilities utilities(database.connection());
  EXPECT_FALSE(utilities.executeStatement("SELECT 1", [](int, char**, char**) { throw std::runtime_error("x"); }));
  EXPECT_TRUE(utilities.executeStatementWithNoReturnValue("SELECT 1"));
  EXPECT_FALSE(utilities.lastErrorMessage().has_value());
}

TEST(SQLiteUtilities, TablesAndColumnsThatCannotBeLookedUpCountAsPresent) {
  const TestDatabase database;
  sqlite3* connection = database.connection();
  struct Case {
    const char* table;
    std::optional<std::string> database;
    bool isTable;
  };
  for (const auto& [table, name, isTable] :
       {Case{"Loops", std::nullopt, true}, Case{"Absent", std::nullopt, false}, Case{"Loops", "temp", false},
        Case{"Loops", "nodb", true}, Case{"", std::nullopt, false}}) {
    EXPECT_EQ(LCSQLiteUtilities::isTableWithName(table, name, connection), isTable) << table;
  }
  EXPECT_TRUE(LCSQLiteUtilities::isColumnAvailableWithName("ksLoopType", "Loops", std::nullopt, connection));
  EXPECT_FALSE(LCSQLiteUtilities::isColumnAvailableWithName("chineseTranscript", "Loops", std::nullopt, connection));
  EXPECT_FALSE(LCSQLiteUtilities::isColumnAvailableWithName("it's", "Loops", std::nullopt, connection));
}

TEST(SQLiteUtilities, ExtendingIsYesUnlessTheColumnCouldNotBeAdded) {
  TestDatabase database;
  const auto extend = [&database](const char* table, const char* column) {
    return LCSQLiteUtilities::extendTable(table, std::nullopt, column, "TEXT", database.connection());
  };
  EXPECT_TRUE(extend("Loops", "mood"));
  EXPECT_TRUE(extend("Loops", "mood")) << "there already";
  EXPECT_TRUE(extend("Absent", "mood")) << "cannot be prepared";
  EXPECT_FALSE(extend("Loops", ""));
  EXPECT_EQ(database.text("SELECT count(*) FROM pragma_table_info('Loops') WHERE name = 'mood'"), "1");
  database.reopen(LCOpenMode::readOnly);
  EXPECT_TRUE(extend("Loops", "mood"));
  EXPECT_FALSE(extend("Loops", "weight"));
}

TEST(SQLiteUtilities, DroppingTheTablesKeepsWhatTheUserMade) {
  const TestDatabase database;
  EXPECT_TRUE(LCSQLiteUtilities::dropDatabaseTablesForSQLite(database.connection()));
  EXPECT_EQ(
      database.texts("SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite_%' ORDER BY 1"),
      (std::vector<std::string>{"DatabaseMigrationInfos", "UserData", "keyword_distribution"}));
}

TEST(SQLiteUtilities, MissingFactsHaveTheirOwnMarks) {
  const TestDatabase database;
  for (sqlite3* connection : {database.connection(), static_cast<sqlite3*>(nullptr)}) {
    EXPECT_EQ(LCSQLiteUtilities::databaseSchemaVersionForSQLite(connection), -1);
    EXPECT_EQ(LCSQLiteUtilities::lastExtraKeywordIdForSQLite(connection),
              connection ? std::numeric_limits<int64_t>::max() : -1);
    EXPECT_EQ(LCSQLiteUtilities::indexingAppIdentifierForSQLite(connection), std::nullopt);
    EXPECT_FALSE(LCSQLiteUtilities::setIndexingAppIdentifier("", connection));
    EXPECT_FALSE(LCSQLiteUtilities::isDatabaseCorruptFlagSetForSQLite(connection));
  }
  EXPECT_FALSE(LCSQLiteUtilities::setDatabaseSchemaVersion(1, nullptr));
}

TEST(SQLiteUtilities, FactsAreUpdatedInPlace) {
  TestDatabase database;
  sqlite3* connection = database.connection();
  for (const int64_t value : {int64_t{100930}, int64_t{1} << 40}) {
    EXPECT_TRUE(LCSQLiteUtilities::setDatabaseSchemaVersion(value, connection));
    EXPECT_TRUE(LCSQLiteUtilities::setLastExtraKeywordId(value + 1, connection));
    EXPECT_TRUE(LCSQLiteUtilities::setIndexingAppIdentifier("tool " + std::to_string(value), connection));
    EXPECT_EQ(LCSQLiteUtilities::databaseSchemaVersionForSQLite(connection), value);
    EXPECT_EQ(LCSQLiteUtilities::lastExtraKeywordIdForSQLite(connection), value + 1);
    EXPECT_EQ(LCSQLiteUtilities::indexingAppIdentifierForSQLite(connection), "tool " + std::to_string(value));
  }
  EXPECT_EQ(database.text("SELECT count(*) FROM DatabaseMigrationInfos"), "3");
  ASSERT_TRUE(database.run("ATTACH ':memory:' AS other"));
  EXPECT_EQ(LCSQLiteUtilities::lastExtraKeywordIdFromDatabaseName("other", connection),
            std::numeric_limits<int64_t>::max());
  database.reopen(LCOpenMode::readOnly);
  EXPECT_FALSE(LCSQLiteUtilities::setDatabaseSchemaVersion(1, database.connection()));
}

TEST(DamageCheck, TellsDamageFromAMissingTable) {
  struct Case {
    const char* what;
    std::string contents;
    bool passesFastCheck, passesFullCheck;
  };
  const TemporaryFolder folder;
  for (const auto& [what, contents, passesFastCheck, passesFullCheck] :
       {Case{"no tables yet", "", true, true}, Case{"no database", std::string(8192, 'x'), false, false},
        Case{"a header only", std::string("SQLite format 3\0", 16) + std::string(4080, '\0'), false, false}}) {
    const LCConnection connection = openConnection(folder.addFile("d.db", contents), LCOpenMode::readOnly);
    ASSERT_NE(connection, nullptr) << what;
    EXPECT_EQ(LCSQLiteUtilities::checkSQLiteDatabase(connection.get(), true), passesFastCheck) << what;
    EXPECT_EQ(LCSQLiteUtilities::checkSQLiteDatabase(connection.get(), false), passesFullCheck) << what;
  }
  EXPECT_FALSE(LCSQLiteUtilities::checkSQLiteDatabase(nullptr, true));
}

TEST(DamageCheck, AFlaggedDatabaseIsDamagedHoweverHealthy) {
  const TestDatabase database;
  EXPECT_TRUE(LCSQLiteUtilities::checkSQLiteDatabase(database.connection(), false));
  LCSQLiteUtilities::setDatabaseIsCorruptFlagForSQLite(database.connection());
  EXPECT_FALSE(LCSQLiteUtilities::checkSQLiteDatabase(database.connection(), true));
  EXPECT_FALSE(LCSQLiteUtilities::checkSQLiteDatabase(database.connection(), false));
}

TEST(DamageCheck, DamageMetByAStatementIsRecordedInTheDatabase) {
  TestDatabase database;
  damageTable(database, "Loops");
  LCSQLiteUtilities utilities(database.connection());
  EXPECT_FALSE(utilities.executeStatementWithNoReturnValue("SELECT * FROM Loops"));
  EXPECT_EQ(utilities.lastOSStatus(), SQLITE_CORRUPT);
  EXPECT_TRUE(utilities.lastErrorMessage().has_value());
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
