// Statements, and the utilities but for the repairs.
#include "database/TestDatabase.h"

#include <limits>

namespace {

using U = LCSQLiteUtilities;

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

TEST_F(SQLiteUtilities, WhatCannotBeLookedUpCountsAsPresentAndAMissingColumnIsAddedOnce) {
  for (const auto& [table, isThere] : {std::pair("Loops", true), std::pair("Absent", false)}) {
    EXPECT_EQ(U::isTableWithName(table, std::nullopt, connection), isThere);
    EXPECT_TRUE(U::isTableWithName(table, "nodb", connection));
    EXPECT_TRUE(U::extendTable(table, std::nullopt, "mood", "TEXT", connection)) << "or cannot be prepared";
    EXPECT_EQ(U::isColumnAvailableWithName("mood", table, std::nullopt, connection), isThere);
  }
  EXPECT_FALSE(U::isColumnAvailableWithName("it's", "Loops", std::nullopt, connection));
  database.reopen(LCOpenMode::readOnly);
  EXPECT_TRUE(U::extendTable("Loops", std::nullopt, "mood", "TEXT", database.connection())) << "there already";
  EXPECT_FALSE(U::extendTable("Loops", std::nullopt, "weight", "TEXT", database.connection()));
}

TEST_F(SQLiteUtilities, DroppingTheTablesKeepsWhatTheUserMade) {
  EXPECT_TRUE(U::dropDatabaseTablesForSQLite(connection));
  EXPECT_EQ(
      database.rows("SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite_%' ORDER BY 1"),
      (Rows{"DatabaseMigrationInfos", "UserData", "keyword_distribution"}));
}

TEST_F(SQLiteUtilities, FactsAreUpdatedInPlaceAndHaveTheirOwnMarksWhenMissing) {
  const auto facts = [this] {
    return std::tuple(U::databaseSchemaVersionForSQLite(connection), U::lastExtraKeywordIdForSQLite(connection),
                      U::indexingAppIdentifierForSQLite(connection));
  };
  EXPECT_EQ(U::lastExtraKeywordIdForSQLite(nullptr), -1);
  EXPECT_EQ(facts(), std::tuple(-1, std::numeric_limits<int64_t>::max(), std::nullopt));
  for (const int64_t value : {int64_t{100930}, int64_t{1} << 40}) {
    EXPECT_TRUE(U::setDatabaseSchemaVersion(value, connection) && U::setLastExtraKeywordId(value + 1, connection) &&
                U::setIndexingAppIdentifier("tool", connection));
    EXPECT_EQ(facts(), std::tuple(value, value + 1, "tool"));
  }
  EXPECT_EQ(database.rows("SELECT count(*) FROM DatabaseMigrationInfos"), Rows{"3"});
}

TEST_F(SQLiteUtilities, TheCheckTellsDamageFromAMissingTable) {
  const auto check = U::checkSQLiteDatabase;
  const std::tuple<std::string, bool> files[] = {
      {"", true},
      {std::string(8192, 'x'), false},
      {std::string("SQLite format 3\0", 16) + std::string(4080, '\0'), false}};
  for (const auto& [contents, isGood] : files) {
    const LCConnection file = lc::openConnection(database.folder().addFile("d.db", contents), LCOpenMode::readOnly);
    for (const bool doFastCheck : {true, false}) EXPECT_EQ(check(file.get(), doFastCheck), isGood) << contents;
  }
  for (const bool isGood : {true, false}) {
    for (const bool doFastCheck : {true, false}) EXPECT_EQ(check(connection, doFastCheck), isGood);
    U::setDatabaseIsCorruptFlagForSQLite(connection);
  }
}

TEST_F(SQLiteUtilities, DamageMetByAStatementIsRecordedInTheDatabaseOrElseBesideIt) {
  const auto page = std::stoul(database.rows("SELECT rootpage FROM sqlite_master WHERE name = 'Loops'").at(0));
  const auto pageSize = std::stoul(database.rows("PRAGMA page_size").at(0));
  const auto overwrite = [this, pageSize](size_t number) {  // pages count from 1
    database.close();
    std::string bytes = vesk::path::readFile(database.file()).value();
    bytes.replace((number - 1) * pageSize, pageSize, pageSize, '\xFF');
    database.folder().addFile("loops.db", bytes);
    database.reopen();
    LCSQLiteUtilities utilities(database.connection());
    EXPECT_FALSE(utilities.executeStatementWithNoReturnValue("SELECT * FROM Loops"));
    return utilities.lastOSStatus();
  };
  const std::string marker = database.folder().path("LoopsDatabaseV10.db-isDamaged");
  EXPECT_EQ(overwrite(page), SQLITE_CORRUPT);
  EXPECT_TRUE(U::isDatabaseCorruptFlagSetForSQLite(database.connection()) && !vesk::path::exists(marker));
  EXPECT_EQ(overwrite(1), SQLITE_NOTADB);
  EXPECT_EQ(vesk::path::readFile(marker), "1");
}

TEST_F(SQLiteUtilities, StatementsBindValuesAsTheyAre) {
  LCStatement statement(connection, "SELECT typeof(?1) || ' ' || ?1");
  const auto answer = [&statement](bool isBound) {
    const std::string text = isBound && statement.step() ? statement.textAt(0) : "none";
    statement.reset();
    return text;
  };
  EXPECT_EQ(answer(statement.bind(1, std::string_view())), "text ");  // an empty text is not NULL
  EXPECT_EQ(answer(statement.bind(1, int64_t{-5506746406385753333})), "integer -5506746406385753333");
  EXPECT_EQ(answer(statement.bind32(1, (int64_t{1} << 32) + 3)), "integer 3");
  EXPECT_EQ(answer(statement.bind(1, std::optional<std::string>())), "integer 3");  // a missing text leaves the value
  EXPECT_FALSE(statement.bind(2, "there is no such parameter"));
}
