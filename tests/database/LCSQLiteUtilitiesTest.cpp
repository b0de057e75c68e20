// Statements, and the utilities but for the repairs.
#include "database/TestDatabase.h"
#include "platform/Path.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"

#include <sqlite3.h>

#include <limits>

namespace {

// "column=sText;i7;b1; ": s for texts, i for integers, b for truth values.
std::string described(const LCResultDictionary& result) {
  std::string text;
  for (const auto& [column, cells] : result) {
    text += column + "=";
    for (const LCCell& cell : cells) text += std::string(1, "sib"[cell.index()]) + lc::cellText(cell) + ";";
    text += " ";
  }
  return text;
}

struct SQLiteUtilities : testing::Test {
  TestDatabase database;
  sqlite3* connection = database.connection();
};

}  // namespace

TEST_F(SQLiteUtilities, ResultShapesDifferInTypesAndInNull) {
  using U = LCSQLiteUtilities;
  U utilities(connection);
  using Collect = bool (U::*)(const std::string&, LCResultDictionary*);
  const std::tuple<Collect, const char*, const char*> cases[] = {
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

TEST_F(SQLiteUtilities, TablesAndColumnsThatCannotBeLookedUpCountAsPresent) {
  EXPECT_TRUE(LCSQLiteUtilities::isTableWithName("Loops", std::nullopt, connection));
  EXPECT_FALSE(LCSQLiteUtilities::isTableWithName("Absent", std::nullopt, connection));
  EXPECT_TRUE(LCSQLiteUtilities::isTableWithName("Loops", "nodb", connection));
  EXPECT_TRUE(LCSQLiteUtilities::isColumnAvailableWithName("ksLoopType", "Loops", std::nullopt, connection));
  EXPECT_FALSE(LCSQLiteUtilities::isColumnAvailableWithName("it's", "Loops", std::nullopt, connection));
}

TEST_F(SQLiteUtilities, ExtendingIsYesUnlessTheColumnCouldNotBeAdded) {
  const auto extend = [this](const char* table, const char* column) {
    return LCSQLiteUtilities::extendTable(table, std::nullopt, column, "TEXT", database.connection());
  };
  EXPECT_TRUE(extend("Loops", "mood"));
  EXPECT_TRUE(extend("Absent", "mood")) << "cannot be prepared";
  database.reopen(LCOpenMode::readOnly);
  EXPECT_TRUE(extend("Loops", "mood")) << "there already";
  EXPECT_FALSE(extend("Loops", "weight"));
}

TEST_F(SQLiteUtilities, DroppingTheTablesKeepsWhatTheUserMade) {
  EXPECT_TRUE(LCSQLiteUtilities::dropDatabaseTablesForSQLite(connection));
  EXPECT_EQ(
      database.texts("SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite_%' ORDER BY 1"),
      (Texts{"DatabaseMigrationInfos", "UserData", "keyword_distribution"}));
}

TEST_F(SQLiteUtilities, FactsAreUpdatedInPlaceAndHaveTheirOwnMarksWhenMissing) {
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
    const LCConnection connection = lc::openConnection(folder.addFile("d.db", contents), LCOpenMode::readOnly);
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

TEST(DamageCheck, DamageMetByAStatementIsRecordedInTheDatabaseOrElseBesideIt) {
  TestDatabase database;
  const auto page = std::stoul(database.text("SELECT rootpage FROM sqlite_master WHERE name = 'Loops'"));
  const auto pageSize = std::stoul(database.text("PRAGMA page_size"));
  const auto overwrite = [&database, pageSize](size_t number) {  // pages count from 1
    database.close();
    std::string bytes = vesk::path::readFile(database.file()).value();
    bytes.replace((number - 1) * pageSize, pageSize, pageSize, '\xFF');
    database.folder().addFile("x.db", bytes);
    database.reopen();
    LCSQLiteUtilities utilities(database.connection());
    EXPECT_FALSE(utilities.executeStatementWithNoReturnValue("SELECT * FROM Loops"));
    return utilities.lastOSStatus();
  };
  const std::string marker = database.folder().path("LoopsDatabaseV10.db-isDamaged");
  EXPECT_EQ(overwrite(page), SQLITE_CORRUPT);
  EXPECT_TRUE(LCSQLiteUtilities::isDatabaseCorruptFlagSetForSQLite(database.connection()));
  EXPECT_FALSE(vesk::path::exists(marker));
  EXPECT_EQ(overwrite(1), SQLITE_NOTADB);
  EXPECT_EQ(vesk::path::readFile(marker), "1");
}

TEST(Statement, BindsValuesAsTheyAre) {
  const TestDatabase database = TestDatabase(std::nullopt);
  LCStatement statement(database.connection(), "SELECT typeof(?1), ?1");
  const auto bound = [&statement] {
    EXPECT_TRUE(statement.step());
    std::string result = statement.textAt(0) + " " + statement.textAt(1);
    statement.reset();
    return result;
  };
  EXPECT_TRUE(statement.bind(1, std::string_view()));
  EXPECT_EQ(bound(), "text ") << "an empty text is not NULL";
  EXPECT_TRUE(statement.bind32(1, (int64_t{1} << 32) + 3));
  EXPECT_EQ(bound(), "integer 3");
  EXPECT_TRUE(statement.bind(1, int64_t{-5506746406385753333}));
  EXPECT_EQ(bound(), "integer -5506746406385753333");
  EXPECT_TRUE(statement.bind(1, std::optional<std::string>()));
  EXPECT_EQ(bound(), "integer -5506746406385753333") << "a missing text leaves the earlier value";
  EXPECT_FALSE(statement.bind(2, "there is no such parameter"));
}
