#include "database/LCSQLiteUtilities.h"
#include "database/TestDatabase.h"

#include <fmt/format.h>

namespace {

constexpr const char* kDecomposed = "Cafe\u0301 Beat.caf";
constexpr const char* kPrecomposed = "Caf\u00E9 Beat.caf";

std::vector<std::string> names(const TestDatabase& database) {
  return database.texts("SELECT fileName FROM Loops ORDER BY id");
}

int countStatement(unsigned, void* count, void*, void*) {
  ++*static_cast<int*>(count);
  return 0;
}

// Loops with the transcript column, named `name` in a folder of that library.
TestDatabase databaseWithTranscripts() {
  LCSQLiteUtilities::setChineseTranscriptEnabled(true);
  TestDatabase database;
  LCSQLiteUtilities::setChineseTranscriptEnabled(false);
  EXPECT_TRUE(
      database.run("INSERT INTO Loops (id, fileURL, fileName) VALUES "
                   "(1, 'file:///L/Big%20Drum.caf', 'Big Drum.caf'), (2, 'FACT_CNTPad.caf', 'Pad.caf')"));
  return database;
}

bool isInTransaction(const TestDatabase& database) {
  return sqlite3_get_autocommit(database.connection()) == 0;
}

}  // namespace

TEST(ReplacingPaths, RewritesEveryOccurrenceInTheDecodedPath) {
  struct Case {
    const char *url, *oldPrefix, *newPrefix, *result;
  };
  for (const auto& [url, oldPrefix, newPrefix, result] : {
           Case{"file:///q/z/q.caf", "/q", "/r", "file:///r/z/r.caf"},
           Case{"file:///My%20Disk/a%231.caf", "/My Disk", "/Other Disk", "file:///Other%20Disk/a%231.caf"},
           Case{"file:///q/z/Big%20Drum.caf", "", "/r", "file:///BASE/Big%20Drum.caf"},
           Case{"file:///q/z.caf", "/none", "/r", "file:///q/z.caf"},
           Case{"no URL at all", "no", "yes", "no URL at all"},
       }) {
    const TestDatabase database;
    LCStatement insert(database.connection(), "INSERT INTO Loops (id, fileURL) VALUES (-5506746406385753333, ?)");
    insert.bind(1, url);
    ASSERT_TRUE(insert.run());
    EXPECT_TRUE(LCSQLiteUtilities::replaceAbsolutePath(oldPrefix, newPrefix, database.connection()));
    EXPECT_EQ(database.text("SELECT fileURL FROM Loops"), result);
  }
}

TEST(ReplacingPaths, WithoutLoopsIsNoAndLeavesNoTransaction) {
  const TestDatabase database = TestDatabase::withoutTables();
  EXPECT_FALSE(LCSQLiteUtilities::replaceAbsolutePath("/a", "/b", database.connection()));
  EXPECT_FALSE(isInTransaction(database));
}

TEST(FixingTypos, CorrectsKnownNamesWithAndWithoutExtension) {
  const TestDatabase database;
  ASSERT_TRUE(
      database.run("INSERT INTO Loops (fileName) VALUES ('Brazilian Caxia.caf'), ('No LIght Distant Vox'), "
                   "('Chasing Shadows Clap:Snare 02.caf'), ('Afghanistan Sand Rabab 07.caf'), "
                   "('Brazilian Caxia.wav')"));
  int statements = 0;
  sqlite3_trace_v2(database.connection(), SQLITE_TRACE_STMT, countStatement, &statements);
  LCSQLiteUtilities::fixTypos(database.connection());
  sqlite3_trace_v2(database.connection(), 0, nullptr, nullptr);
  EXPECT_EQ(statements, 72);
  EXPECT_EQ(names(database),
            (std::vector<std::string>{"Brazilian Caixa.caf", "No Light Distant Vox", "Chasing Shadows Clap 02.caf",
                                      "Afghanistan Sand Rabab 07.caf", "Brazilian Caxia.wav"}));
}

TEST(PrecomposingNames, ReachesEveryNameOnceAndIsThenRemembered) {
  const TestDatabase database;
  ASSERT_TRUE(
      database.run(fmt::format("WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 500) "
                               "INSERT INTO Loops (fileName) SELECT '{} ' || i FROM n",
                               kDecomposed)));
  ASSERT_TRUE(database.run("INSERT INTO Loops (fileName) VALUES (NULL)"));
  EXPECT_TRUE(LCSQLiteUtilities::fixFilenameUTF8EncodingForSQLite(database.connection()));
  EXPECT_EQ(database.text(fmt::format("SELECT count(*) FROM Loops WHERE fileName LIKE '{}%'", kPrecomposed)), "500");
  EXPECT_EQ(database.text("SELECT count(*) FROM Loops WHERE fileName IS NULL"), "1");
  EXPECT_EQ(database.text("SELECT count(*) FROM DatabaseMigrationInfos WHERE floatValue > 700000000"), "1");

  ASSERT_TRUE(database.run(fmt::format("DELETE FROM Loops; INSERT INTO Loops (fileName) VALUES ('{}')", kDecomposed)));
  EXPECT_TRUE(LCSQLiteUtilities::fixFilenameUTF8EncodingForSQLite(database.connection()));
  EXPECT_EQ(names(database), std::vector<std::string>{kDecomposed});
}

TEST(PrecomposingNames, OfAReadOnlyDatabaseIsYesAndChangesNothing) {
  TestDatabase database;
  ASSERT_TRUE(database.run(fmt::format("INSERT INTO Loops (fileName) VALUES ('{}')", kDecomposed)));
  database.reopen(LCOpenMode::readOnly);
  EXPECT_TRUE(LCSQLiteUtilities::fixFilenameUTF8EncodingForSQLite(database.connection()));
  EXPECT_EQ(names(database), std::vector<std::string>{kDecomposed});
  EXPECT_FALSE(isInTransaction(database));
}

TEST(LocalizingNames, RewritesThemIntoAndOutOfChineseOnly) {
  const auto environment = TestEnvironment::install();
  const TestDatabase database = databaseWithTranscripts();
  const auto localize = [&database](const std::string& locale, const LCSQLiteUtilities::LocalizationBlock& block) {
    EXPECT_FALSE(LCSQLiteUtilities::localizeFilenamesInSQLite(database.connection(), locale, block));
    EXPECT_FALSE(isInTransaction(database));
    return names(database);
  };
  EXPECT_EQ(localize("en_US", nullptr), (std::vector<std::string>{"Big Drum.caf", "Pad.caf"})) << "no Chinese involved";

  environment->setLocalizedString("Big Drum", "\u5927\u9F13", "LocalizableLoops");
  environment->setLocalizedString("Pad", "Pa\u0308d", "LocalizableLoops");
  EXPECT_EQ(localize("zh_Hans_CN", nullptr), (std::vector<std::string>{"\u5927\u9F13", "P\u00E4d"}));
  EXPECT_EQ(database.texts("SELECT chineseTranscript FROM Loops ORDER BY id"),
            (std::vector<std::string>{"DA GU", "PAD"}));

  const auto shouting = [](const std::string& baseName) { return baseName + "!"; };
  EXPECT_EQ(localize("zh_Hans_CN", shouting).back(), "P\u00E4d") << "done for this locale already";
  EXPECT_EQ(localize("en_US", shouting), (std::vector<std::string>{"Big Drum!", "Pad!"}));
  EXPECT_EQ(database.texts("SELECT textValue FROM DatabaseMigrationInfos"), std::vector<std::string>{"en_US"});
}

TEST(LocalizingNames, WithoutTranscriptColumnStoresNothing) {
  const TestDatabase database;
  EXPECT_FALSE(LCSQLiteUtilities::localizeFilenamesInSQLite(database.connection(), "zh_CN", nullptr));
  EXPECT_FALSE(isInTransaction(database));
  EXPECT_EQ(database.text("SELECT count(*) FROM DatabaseMigrationInfos"), "0");
}
