#include "database/LCDatabaseSchema.h"

#include "database/LCDatabaseConfiguration.h"
#include "database/TestDatabase.h"
#include "platform/Path.h"

#include <algorithm>

namespace {

std::vector<std::string> schemaOf(sqlite3* connection) {
  return firstColumn(connection,
                     "SELECT type || ' ' || name || ': ' || sql FROM sqlite_master WHERE sql NOT NULL "
                     "AND name NOT LIKE 'sqlite_%' ORDER BY type, name");
}

int countCommit(void* commits) {
  ++*static_cast<int*>(commits);
  return 0;
}

}  // namespace

TEST(DatabaseSchema, IsThePublishedOne) {
  TestDatabase reference = TestDatabase::withoutTables();
  ASSERT_TRUE(reference.run(vesk::path::readFile(TEST_DATA_DIR "/schema-100930.sql").value()));
  const TestDatabase database;
  EXPECT_EQ(schemaOf(database.connection()), schemaOf(reference.connection()));
}

TEST(DatabaseSchema, GeneratingAgainWritesNothing) {
  const TestDatabase database;
  int commits = 0;
  sqlite3_commit_hook(database.connection(), countCommit, &commits);
  const auto before = schemaOf(database.connection());
  EXPECT_TRUE(LCSQLiteUtilities::generateDatabaseTablesForSQLite(database.connection(), kDefaultDatabaseSchemaVersion));
  EXPECT_EQ(schemaOf(database.connection()), before);
  EXPECT_EQ(commits, 0) << "opening must not wait for another connection's indexing run";
}

TEST(DatabaseSchema, KeywordsAreTheBuiltInOnesAndTheGroups) {
  const TestDatabase database;
  EXPECT_EQ(database.text("SELECT count(*) FROM Keywords WHERE id BETWEEN 1 AND 1017"), "138");
  EXPECT_EQ(database.text("SELECT id || categoryId FROM Keywords WHERE name = 'Drum Kit'"), "1125");
  EXPECT_EQ(
      database.texts("SELECT id || name || categoryId FROM Keywords WHERE id > 1017 ORDER BY id"),
      (std::vector<std::string>{"10001Brass3", "10002Woodwind3", "10003All Effects3", "10004Effects3", "10005Boom3",
                                "10006House1", "10007Hip Hop/RnB1", "10008OtherGenreConsolidated1"}));
}

TEST(DatabaseSchema, FillingKeepsARenamedKeywordAndRestoresAMissingOne) {
  const TestDatabase database;
  ASSERT_TRUE(database.run("UPDATE Keywords SET name = 'Kit' WHERE id = 112; DELETE FROM Keywords WHERE id = 1"));
  LCSQLiteUtilities::fillKeywordsTableForSQLite(database.connection());
  EXPECT_EQ(database.texts("SELECT name FROM Keywords WHERE id IN (1, 112) ORDER BY id"),
            (std::vector<std::string>{"Piano", "Kit"}));
}

TEST(DatabaseSchema, LateColumnsAreCreatedAndListedFromDifferentVersions) {
  struct Case {
    int64_t version;
    bool chineseTranscript;
    size_t created, listed;
  };
  for (const auto& [version, chineseTranscript, created, listed] :
       {Case{100925, false, 32, 33}, Case{100926, false, 32, 35}, Case{100929, true, 33, 35},
        Case{100930, false, 34, 35}, Case{100930, true, 35, 35}}) {
    LCSQLiteUtilities::setChineseTranscriptEnabled(chineseTranscript);
    const TestDatabase database(version);
    LCSQLiteUtilities::setChineseTranscriptEnabled(false);
    const auto columns = database.texts("SELECT name FROM pragma_table_info('Loops') ORDER BY cid");
    const auto names = LCDatabaseConfiguration::loopsTableColumnNamesForDatabaseSchemaVersion(version);
    EXPECT_EQ(columns.size(), created) << version;
    EXPECT_EQ(names.size(), listed) << version;
    EXPECT_TRUE(columns.size() < listed || names == columns) << "rows are copied in this order";
  }
}

TEST(DatabaseSchema, DeletingALoopTakesItsRelationsAndLeavesUserData) {
  const TestDatabase database;
  ASSERT_TRUE(
      database.run("INSERT INTO Loops (id, fileName) VALUES (1, 'a'), (2, 'b');"
                   "INSERT INTO Tagging VALUES (1, 9), (2, 9); INSERT INTO LoopsKeywords (loopId) VALUES (1), (2);"
                   "INSERT INTO CrateLoopRelation VALUES ('c', 1), ('c', 2);"
                   "INSERT INTO UserData (loopId, isFavorite) VALUES (1, 1), (2, 1);"
                   "DELETE FROM Loops WHERE id = 1"));
  for (const char* table : {"Tagging", "LoopsKeywords", "CrateLoopRelation"}) {
    EXPECT_EQ(database.texts(std::string("SELECT loopId FROM ") + table), std::vector<std::string>{"2"}) << table;
  }
  EXPECT_EQ(database.text("SELECT count(*) FROM UserData"), "2");
}

TEST(DatabaseSchema, ARealLoopReplacesThePlaceholderOfItsName) {
  const TestDatabase database;
  ASSERT_TRUE(
      database.run("INSERT INTO Loops (id, fileName, isWebLoop) VALUES (1, 'a', 1), (2, 'b', 1), (3, 'a', 0);"
                   "INSERT INTO Loops (id, fileName, isWebLoop) VALUES (4, 'a', 0)"));
  EXPECT_EQ(database.texts("SELECT id FROM Loops ORDER BY id"), (std::vector<std::string>{"2", "3", "4"}));
}

TEST(DatabaseSchema, ReplacingALoopKeepsItsRelations) {
  const TestDatabase database;
  ASSERT_TRUE(
      database.run("INSERT INTO Loops (id, fileName) VALUES (1, 'a'); INSERT INTO Tagging VALUES (1, 9);"
                   "INSERT OR REPLACE INTO Loops (id, fileName) VALUES (1, 'a2')"));
  EXPECT_EQ(database.text("SELECT count(*) FROM Tagging"), "1") << "recursive triggers must be off";
}

// What a search does with the base texts: further joins with a loopId of their own, and columns without their table's
// name.
TEST(DatabaseSchema, BaseSelectsFillTheirResultTablesColumnByColumn) {
  const TestDatabase database;
  std::string columns;
  std::string values;
  for (const std::string& name : database.texts("SELECT name FROM pragma_table_info('Loops')")) {
    columns += (columns.empty() ? "" : ", ") + name;
    values += values.empty() ? "7" : ", '" + name + "'";
  }
  ASSERT_TRUE(database.run("INSERT INTO Loops (" + columns + ") VALUES (" + values + ");" +
                           "INSERT INTO LoopsKeywords (loopId) VALUES (7); INSERT INTO Tagging VALUES (7, 1);" +
                           "INSERT INTO CrateLoopRelation VALUES ('c', 7);" +
                           "INSERT INTO UserData (loopId, isFavorite) VALUES (7, 1)"));
  struct Layout {
    std::string create, select;
    size_t columnCount;
  };
  const auto without = [](std::string text) { return vesk::text::replacingAll(text, "#PLACEHOLDER#", " "); };
  for (const auto& [create, select, columnCount] :
       {Layout{kCreateLoopsResultTableFormatString, kSelectLoopsFormatString, 34},
        Layout{without(kCreateLoopsResultTableFormatStringMobile), without(kSelectLoopsFormatStringMobile), 21}}) {
    const std::string base = vesk::text::replacingAll(select, "%@", "Loops");
    ASSERT_TRUE(database.run("DROP TABLE IF EXISTS tempTable"));
    ASSERT_TRUE(database.run(sqlFormat(create, {"TEMPORARY", "tempTable"})));
    ASSERT_TRUE(database.run("INSERT INTO tempTable " + base +
                             "JOIN (select loopId from Tagging) AS dummy ON Loops.id=dummy.loopId"
                             " JOIN LoopsKeywords ON LoopsKeywords.loopId = id"
                             " JOIN CrateLoopRelation ON CrateLoopRelation.loopId = id "
                             " WHERE isFavorite = 1 AND key = 'key' AND fileURL like \"%URL%\""
                             " AND timeSignatureTop='timeSignatureTop' AND like(\"%comment%\", comment)"
                             " ORDER BY fileName COLLATE NOCASE ASC "));
    const auto names = database.texts("SELECT name FROM pragma_table_info('tempTable')");
    EXPECT_EQ(names.size(), columnCount);
    for (const std::string& name : names) {
      const std::string expected = name == "id" ? "7" : name == "isFavorite" ? "1" : name;
      EXPECT_EQ(database.text("SELECT " + name + " FROM tempTable"), expected);
    }
  }
}

TEST(SQLFormat, TakesArgumentsInOrderAndLooksAtNoneAgain) {
  EXPECT_EQ(sqlFormat("a %@ b %@ %%@ %i 5%", {"%@", "%%"}), "a %@ b %% %@ %i 5%");
  EXPECT_EQ(sqlFormat("%@ %@", {"x"}), "x %@");
}
