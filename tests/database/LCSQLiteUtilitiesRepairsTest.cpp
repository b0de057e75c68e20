#include "database/TestDatabase.h"

namespace {

const std::string kDecomposed = "Cafe\u0301 Beat.caf", kPrecomposed = "Caf\u00E9 Beat.caf";

Rows names(const TestDatabase& database) {
  return database.rows("SELECT fileName FROM Loops ORDER BY id");
}

}  // namespace

TEST(ReplacingPaths, RewritesEveryOccurrenceInTheDecodedPath) {
  const std::array<const char*, 4> cases[] = {
      {"file:///q/z/q.caf", "/q", "/r", "file:///r/z/r.caf"},
      {"file:///My%20Disk/a%231.caf", "/My Disk", "/Other Disk", "file:///Other%20Disk/a%231.caf"},
      {"file:///q/z/Big%20Drum.caf", "", "/r", "file:///BASE/Big%20Drum.caf"},
      {"no URL at all", "no", "yes", "no URL at all"},
  };
  const TestDatabase database;
  for (const auto& [url, oldPrefix, newPrefix, result] : cases) {
    database.run("REPLACE INTO Loops (id, fileURL) VALUES (-5506746406385753333, '" + std::string(url) + "')");
    EXPECT_TRUE(LCSQLiteUtilities::replaceAbsolutePath(oldPrefix, newPrefix, database.connection()));
    EXPECT_EQ(database.rows("SELECT fileURL FROM Loops"), Rows{result});
  }
  database.run("DROP TABLE Loops");
  EXPECT_FALSE(LCSQLiteUtilities::replaceAbsolutePath("/a", "/b", database.connection()) || database.isInTransaction());
}

TEST(FixingTypos, CorrectsKnownNamesWithAndWithoutExtension) {
  const TestDatabase database;
  database.run(
      "INSERT INTO Loops (fileName) VALUES ('Brazilian Caxia.caf'), ('No LIght Distant Vox'), "
      "('Chasing Shadows Clap:Snare 02.caf'), ('Afghanistan Sand Rabab 07.caf'), ('Brazilian Caxia.wav')");
  LCSQLiteUtilities::fixTypos(database.connection());
  EXPECT_EQ(names(database), (Rows{"Brazilian Caixa.caf", "No Light Distant Vox", "Chasing Shadows Clap 02.caf",
                                   "Afghanistan Sand Rabab 07.caf", "Brazilian Caxia.wav"}));
}

TEST(PrecomposingNames, ReachesEveryNameOnceAndIsThenRemembered) {
  TestDatabase database;
  const std::string insert = "INSERT INTO Loops (fileName) SELECT '" + kDecomposed + "' ";
  const auto precompose = [&database] {
    EXPECT_TRUE(LCSQLiteUtilities::fixFilenameUTF8EncodingForSQLite(database.connection()));
    EXPECT_FALSE(database.isInTransaction());
    return database.rows("SELECT fileName, count(*) FROM Loops GROUP BY 1");
  };
  database.run(insert +
               "FROM (WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n LIMIT 500) SELECT i FROM n)");
  database.reopen(LCOpenMode::readOnly);
  EXPECT_EQ(precompose(), Rows{kDecomposed + "|500"});
  database.reopen();
  EXPECT_EQ(precompose(), Rows{kPrecomposed + "|500"});
  EXPECT_EQ(database.rows("SELECT count(*) FROM DatabaseMigrationInfos WHERE floatValue > 700000000"), Rows{"1"});
  database.run(insert);
  EXPECT_EQ(precompose(), (Rows{kDecomposed + "|1", kPrecomposed + "|500"}));
}

TEST(LocalizingNames, RewritesThemIntoAndOutOfChineseOnly) {
  const auto environment = TestEnvironment::install();
  const TestDatabase database;
  const auto localize = [&database](const std::string& locale, const LCSQLiteUtilities::LocalizationBlock& block) {
    EXPECT_FALSE(LCSQLiteUtilities::localizeFilenamesInSQLite(database.connection(), locale, block) ||
                 database.isInTransaction());
    return names(database);
  };
  localize("zh_CN", nullptr);  // there is no transcript column
  database.run(
      "ALTER TABLE Loops ADD COLUMN chineseTranscript TEXT; INSERT INTO Loops (id, fileURL, fileName) VALUES "
      "(1, 'file:///L/Big%20Drum.caf', 'Big Drum.caf'), (2, 'FACT_CNTPad.caf', 'Pad.caf')");
  EXPECT_EQ(localize("en_US", nullptr), (Rows{"Big Drum.caf", "Pad.caf"})) << "no Chinese involved";

  environment->setLocalizedString("Big Drum", "\u5927\u9F13", "LocalizableLoops");
  environment->setLocalizedString("Pad", "Pa\u0308d", "LocalizableLoops");
  EXPECT_EQ(localize("zh_Hans_CN", nullptr), (Rows{"\u5927\u9F13", "P\u00E4d"}));
  EXPECT_EQ(database.rows("SELECT chineseTranscript FROM Loops ORDER BY id"), (Rows{"DA GU", "PAD"}));

  const auto shouting = [](const std::string& baseName) { return baseName + "!"; };
  EXPECT_EQ(localize("zh_Hans_CN", shouting).back(), "P\u00E4d") << "done for this locale already";
  EXPECT_EQ(localize("en_US", shouting), (Rows{"Big Drum!", "Pad!"}));
  EXPECT_EQ(database.rows("SELECT textValue FROM DatabaseMigrationInfos"), Rows{"en_US"});
}

TEST(RewritingLoops, ChangesAllOfThemOrNoneAndRemembersNothing) {
  const char* const obstacles[] = {
      // The second loop cannot be written.
      "CREATE TRIGGER no BEFORE UPDATE ON Loops WHEN OLD.id = 2 BEGIN SELECT RAISE(ABORT, 'no'); END",
      // It cannot be read, for there is no such absolute number.
      "ALTER TABLE Loops RENAME TO Stored; CREATE VIEW Loops AS SELECT id, chineseTranscript, "
      "iif(id = 2, abs(-9223372036854775807 - 1), fileURL) AS fileURL, "
      "iif(id = 2, abs(-9223372036854775807 - 1), fileName) AS fileName FROM Stored; "
      "CREATE TRIGGER store INSTEAD OF UPDATE ON Loops BEGIN "
      "UPDATE Stored SET fileURL = NEW.fileURL, fileName = NEW.fileName WHERE id = NEW.id; END"};
  bool (*const rewritings[])(sqlite3*) = {
      LCSQLiteUtilities::fixFilenameUTF8EncodingForSQLite,
      [](sqlite3* connection) { return LCSQLiteUtilities::replaceAbsolutePath("/a", "/b", connection); },
      [](sqlite3* connection) { return LCSQLiteUtilities::localizeFilenamesInSQLite(connection, "zh_CN", nullptr); }};
  for (const char* obstacle : obstacles) {
    for (const auto rewrite : rewritings) {
      const TestDatabase database;
      database.run(
          "ALTER TABLE Loops ADD COLUMN chineseTranscript TEXT; INSERT INTO Loops (id, fileURL, fileName) "
          "SELECT value, 'file:///a/1.caf', '" +
          kDecomposed + "' FROM json_each('[1, 2]');" + obstacle);
      EXPECT_FALSE(rewrite(database.connection()) || database.isInTransaction());
      EXPECT_EQ(database.rows("SELECT fileURL, fileName FROM Loops WHERE id = 1"),
                Rows{"file:///a/1.caf|" + kDecomposed});
      EXPECT_EQ(database.rows("SELECT key FROM DatabaseMigrationInfos"), Rows{});
    }
  }
}
