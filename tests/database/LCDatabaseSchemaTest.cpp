#include "VeskLoopManagement/database/LCDatabaseSchema.h"

#include "database/TestDatabase.h"
#include "platform/Path.h"
#include "VeskLoopManagement/database/LCDatabaseConfiguration.h"

#include <sqlite3.h>

namespace {

Texts schemaOf(const TestDatabase& database) {
  return database.texts(
      "SELECT type || ' ' || name || ': ' || sql FROM sqlite_master WHERE sql NOT NULL AND name NOT LIKE 'sqlite_%' "
      "ORDER BY type, name");
}

}  // namespace

TEST(DatabaseSchema, IsThePublishedOneAndGeneratingItAgainWritesNothing) {
  const TestDatabase reference(std::nullopt), database;
  reference.run(vesk::path::readFile(TEST_DATA_DIR "/schema-100930.sql").value());
  EXPECT_EQ(schemaOf(database), schemaOf(reference));
  int commits = 0;
  const auto count = [](void* counter) {
    ++*static_cast<int*>(counter);
    return 0;
  };
  sqlite3_commit_hook(database.connection(), count, &commits);
  EXPECT_TRUE(LCSQLiteUtilities::generateDatabaseTablesForSQLite(database.connection(), kDefaultDatabaseSchemaVersion));
  EXPECT_EQ(schemaOf(database), schemaOf(reference));
  EXPECT_EQ(commits, 0) << "opening must not wait for another connection's indexing run";
}

TEST(DatabaseSchema, KeywordsAreTheBuiltInOnesAndTheGroupsUnlessRenamed) {
  const TestDatabase database;
  EXPECT_EQ(database.text("SELECT count(*) FROM Keywords WHERE id BETWEEN 1 AND 1017"), "138");
  EXPECT_EQ(database.text("SELECT id || categoryId FROM Keywords WHERE name = 'Drum Kit'"), "1125");
  EXPECT_EQ(database.texts("SELECT id || name || categoryId FROM Keywords WHERE id > 1017 ORDER BY id"),
            (Texts{"10001Brass3", "10002Woodwind3", "10003All Effects3", "10004Effects3", "10005Boom3", "10006House1",
                   "10007Hip Hop/RnB1", "10008OtherGenreConsolidated1"}));
  database.run("UPDATE Keywords SET name = 'Kit' WHERE id = 112; DELETE FROM Keywords WHERE id = 1");
  LCSQLiteUtilities::fillKeywordsTableForSQLite(database.connection());
  EXPECT_EQ(database.texts("SELECT name FROM Keywords WHERE id IN (1, 112) ORDER BY id"), (Texts{"Piano", "Kit"}));
}

TEST(DatabaseSchema, LateColumnsAreCreatedAndListedFromDifferentVersions) {
  using Case = std::tuple<int64_t, bool, size_t, size_t>;
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

TEST(DatabaseSchema, ALoopTakesItsRelationsAlongWhenItIsDeletedAndItsPlaceholderWhenItComes) {
  const TestDatabase database;
  database.run(
      "INSERT INTO Loops (id, fileName) VALUES (1, 'a'), (2, 'b');"
      "INSERT INTO Tagging VALUES (1, 9), (2, 9); INSERT INTO LoopsKeywords (loopId) VALUES (1), (2);"
      "INSERT INTO CrateLoopRelation VALUES ('c', 1), ('c', 2);"
      "INSERT INTO UserData (loopId, isFavorite) VALUES (1, 1), (2, 1);"
      "DELETE FROM Loops WHERE id = 1; INSERT OR REPLACE INTO Loops (id, fileName) VALUES (2, 'b2')");
  for (const std::string table : {"Tagging", "LoopsKeywords", "CrateLoopRelation"}) {
    EXPECT_EQ(database.texts("SELECT loopId FROM " + table), Texts{"2"}) << table << " of the one replaced stays";
  }
  EXPECT_EQ(database.text("SELECT count(*) FROM UserData"), "2") << "what people made stays";
  database.run("INSERT INTO Loops (id, fileName, isWebLoop) VALUES (3, 'a', 1), (4, 'b', 1), (5, 'a', 0), (6, 'a', 0)");
  EXPECT_EQ(database.texts("SELECT id FROM Loops ORDER BY id"), (Texts{"2", "4", "5", "6"}));
}

TEST(DatabaseSchema, BaseSelectsFillTheirResultTablesColumnByColumn) {
  const TestDatabase database;
  std::string columns = "id", values = "7";
  for (const std::string& name : database.texts("SELECT name FROM pragma_table_info('Loops') WHERE name != 'id'")) {
    columns += ", " + name;
    values += ", '" + name + "'";
  }
  database.run("INSERT INTO Loops (" + columns + ") VALUES (" + values + ");" +
               "INSERT INTO LoopsKeywords (loopId) VALUES (7);" +
               "INSERT INTO UserData (loopId, isFavorite) VALUES (7, 1)");
  const auto check = [&database](const std::string& create, const std::string& select, size_t columnCount) {
    database.run("DROP TABLE IF EXISTS tempTable; " + lc::sqlFormat(create, {"TEMPORARY", "tempTable"}));
    // A further join with a loopId of its own, and columns without their table's name.
    database.run("INSERT INTO tempTable " + vesk::text::replacingAll(select, "%@", "Loops") +
                 "JOIN LoopsKeywords ON LoopsKeywords.loopId = id WHERE isFavorite = 1 AND key = 'key' "
                 "AND fileURL like \"%URL%\" ORDER BY fileName COLLATE NOCASE ASC ");
    const Texts names = database.texts("SELECT name FROM pragma_table_info('tempTable')");
    EXPECT_EQ(names.size(), columnCount);
    for (const std::string& name : names) {
      const std::string expected = name == "id" ? "7" : name == "isFavorite" ? "1" : name;
      EXPECT_EQ(database.text("SELECT " + name + " FROM tempTable"), expected);
    }
  };
  const auto without = [](const std::string& text) { return vesk::text::replacingAll(text, "#PLACEHOLDER#", " "); };
  check(kCreateLoopsResultTableFormatString, kSelectLoopsFormatString, 34);
  check(without(kCreateLoopsResultTableFormatStringMobile), without(kSelectLoopsFormatStringMobile), 21);
}

TEST(SQLFormat, TakesArgumentsInOrderAndLooksAtNoneAgain) {
  EXPECT_EQ(lc::sqlFormat("a %@ b %@ %%@ %i 5%", {"%@", "%%"}), "a %@ b %% %@ %i 5%");
  EXPECT_EQ(lc::sqlFormat("%@ %@", {"x"}), "x %@");
}
