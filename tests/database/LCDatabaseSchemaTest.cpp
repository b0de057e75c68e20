#include "database/TestDatabase.h"

TEST(DatabaseSchema, IsThePublishedOneAndGeneratingItAgainOnlyReads) {
  const auto schemaOf = [](const TestDatabase& database) {
    return database.rows(
        "SELECT type, name, sql FROM sqlite_master WHERE sql NOT NULL AND name NOT LIKE 'sqlite_%' ORDER BY 1, 2");
  };
  const TestDatabase reference(std::nullopt), database;
  reference.run(vesk::path::readFile(TEST_DATA_DIR "/schema-100930.sql").value());
  EXPECT_EQ(schemaOf(database), schemaOf(reference));
  const OtherWriter writer(database);
  EXPECT_TRUE(LCSQLiteUtilities::generateDatabaseTablesForSQLite(database.connection(), kDefaultDatabaseSchemaVersion))
      << "opening must not wait for another connection's indexing run";
}

TEST(DatabaseSchema, KeywordsAreTheBuiltInOnesAndTheGroupsUnlessRenamed) {
  const TestDatabase database;
  EXPECT_EQ(database.rows("SELECT count(*) FROM Keywords WHERE id BETWEEN 1 AND 1017"), Rows{"138"});
  EXPECT_EQ(database.rows("SELECT * FROM Keywords WHERE name = 'Drum Kit' OR id > 1017 ORDER BY id"),
            (Rows{"112|Drum Kit|5", "10001|Brass|3", "10002|Woodwind|3", "10003|All Effects|3", "10004|Effects|3",
                  "10005|Boom|3", "10006|House|1", "10007|Hip Hop/RnB|1", "10008|OtherGenreConsolidated|1"}));
  database.run("UPDATE Keywords SET name = 'Kit' WHERE id = 112; DELETE FROM Keywords WHERE id = 1");
  LCSQLiteUtilities::fillKeywordsTableForSQLite(database.connection());
  EXPECT_EQ(database.rows("SELECT name FROM Keywords WHERE id IN (1, 112) ORDER BY id"), (Rows{"Piano", "Kit"}));
}

TEST(DatabaseSchema, LateColumnsAreCreatedAndListedFromDifferentVersions) {
  using Case = std::tuple<int64_t, bool, size_t, size_t>;
  for (const auto& [version, chineseTranscript, created, listed] :
       {Case{100925, false, 32, 33}, Case{100926, false, 32, 35}, Case{100929, true, 33, 35},
        Case{100930, false, 34, 35}, Case{100930, true, 35, 35}}) {
    LCSQLiteUtilities::setChineseTranscriptEnabled(chineseTranscript);
    const TestDatabase database(version);
    LCSQLiteUtilities::setChineseTranscriptEnabled(false);
    const Rows columns = database.rows("SELECT name FROM pragma_table_info('Loops') ORDER BY cid");
    const auto names = LCDatabaseConfiguration::loopsTableColumnNamesForDatabaseSchemaVersion(version);
    EXPECT_EQ(std::pair(columns.size(), names.size()), std::pair(created, listed)) << version;
    EXPECT_TRUE(created < listed || names == columns) << "rows are copied in this order";
  }
}

TEST(DatabaseSchema, ALoopTakesItsRelationsAlongWhenItIsDeletedAndItsPlaceholderWhenItComes) {
  const TestDatabase database;
  database.run(
      "INSERT INTO Loops (id, fileName) VALUES (1, 'a'), (2, 'b');"
      "INSERT INTO Tagging VALUES (1, 9), (2, 9); INSERT INTO LoopsKeywords (loopId) VALUES (1), (2);"
      "INSERT INTO CrateLoopRelation VALUES ('c', 1), ('c', 2); INSERT INTO UserData (loopId) VALUES (1), (2);"
      "DELETE FROM Loops WHERE id = 1; INSERT OR REPLACE INTO Loops (id, fileName) VALUES (2, 'b2')");
  for (const std::string table : {"Tagging", "LoopsKeywords", "CrateLoopRelation"}) {
    EXPECT_EQ(database.rows("SELECT loopId FROM " + table), Rows{"2"}) << table << " of the one replaced stays";
  }
  EXPECT_EQ(database.rows("SELECT loopId FROM UserData"), (Rows{"1", "2"})) << "what people made stays";
  database.run("INSERT INTO Loops (id, fileName, isWebLoop) VALUES (3, 'a', 1), (4, 'b', 1), (5, 'a', 0), (6, 'a', 0)");
  EXPECT_EQ(database.rows("SELECT id FROM Loops ORDER BY id"), (Rows{"2", "4", "5", "6"}));
}

TEST(SQLFormat, TakesArgumentsInOrderAndLooksAtNoneAgain) {
  EXPECT_EQ(lc::sqlFormat("a %@ b %@ %%@ %i 5%", {"%@", "%%"}), "a %@ b %% %@ %i 5%");
  EXPECT_EQ(lc::sqlFormat("%@ %@", {"x"}), "x %@");
}
