#include "database/TestDatabase.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"

#include <sqlite3.h>

namespace {

const std::string kDecomposed = "Cafe\u0301 Beat.caf", kPrecomposed = "Caf\u00E9 Beat.caf";

Texts names(const TestDatabase& database) {
  return database.texts("SELECT fileName FROM Loops ORDER BY id");
}

bool isInTransaction(const TestDatabase& database) {
  return sqlite3_get_autocommit(database.connection()) == 0;
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
    database.run("INSERT OR REPLACE INTO Loops (id, fileURL) VALUES (-5506746406385753333, '" + std::string(url) +
                 "')");
    EXPECT_TRUE(LCSQLiteUtilities::replaceAbsolutePath(oldPrefix, newPrefix, database.connection()));
    EXPECT_EQ(database.text("SELECT fileURL FROM Loops"), result);
  }
  database.run("DROP TABLE Loops");
  EXPECT_FALSE(LCSQLiteUtilities::replaceAbsolutePath("/a", "/b", database.connection()));
  EXPECT_FALSE(isInTransaction(database));
}

TEST(FixingTypos, CorrectsKnownNamesWithAndWithoutExtension) {
  const TestDatabase database;
  database.run(
      "INSERT INTO Loops (fileName) VALUES ('Brazilian Caxia.caf'), ('No LIght Distant Vox'), "
      "('Chasing Shadows Clap:Snare 02.caf'), ('Afghanistan Sand Rabab 07.caf'), "
      "('Brazilian Caxia.wav')");
  LCSQLiteUtilities::fixTypos(database.connection());
  EXPECT_EQ(names(database), (Texts{"Brazilian Caixa.caf", "No Light Distant Vox", "Chasing Shadows Clap 02.caf",
                                    "Afghanistan Sand Rabab 07.caf", "Brazilian Caxia.wav"}));
}

TEST(PrecomposingNames, ReachesEveryNameOnceAndIsThenRemembered) {
  TestDatabase database;
  database.run("INSERT INTO Loops (fileName) VALUES ('" + kDecomposed + "')");
  database.reopen(LCOpenMode::readOnly);
  EXPECT_TRUE(LCSQLiteUtilities::fixFilenameUTF8EncodingForSQLite(database.connection()));
  EXPECT_EQ(names(database), Texts{kDecomposed});
  EXPECT_FALSE(isInTransaction(database));

  database.reopen();
  database.run(
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 499) "
      "INSERT INTO Loops (fileName) SELECT '" +
      kDecomposed + " ' || i FROM n");
  EXPECT_TRUE(LCSQLiteUtilities::fixFilenameUTF8EncodingForSQLite(database.connection()));
  EXPECT_EQ(database.text("SELECT count(*) FROM Loops WHERE fileName LIKE '" + kPrecomposed + "%'"), "500");
  EXPECT_EQ(database.text("SELECT count(*) FROM DatabaseMigrationInfos WHERE floatValue > 700000000"), "1");
  database.run("DELETE FROM Loops; INSERT INTO Loops (fileName) VALUES ('" + kDecomposed + "')");
  EXPECT_TRUE(LCSQLiteUtilities::fixFilenameUTF8EncodingForSQLite(database.connection()));
  EXPECT_EQ(names(database), Texts{kDecomposed});
}

TEST(LocalizingNames, RewritesThemIntoAndOutOfChineseOnly) {
  const auto environment = TestEnvironment::install();
  const TestDatabase database;
  EXPECT_FALSE(LCSQLiteUtilities::localizeFilenamesInSQLite(database.connection(), "zh_CN", nullptr));
  EXPECT_FALSE(isInTransaction(database)) << "there is no transcript column";
  database.run(
      "ALTER TABLE Loops ADD COLUMN chineseTranscript TEXT; INSERT INTO Loops (id, fileURL, fileName) VALUES "
      "(1, 'file:///L/Big%20Drum.caf', 'Big Drum.caf'), (2, 'FACT_CNTPad.caf', 'Pad.caf')");
  const auto localize = [&database](const std::string& locale, const LCSQLiteUtilities::LocalizationBlock& block) {
    EXPECT_FALSE(LCSQLiteUtilities::localizeFilenamesInSQLite(database.connection(), locale, block));
    EXPECT_FALSE(isInTransaction(database));
    return names(database);
  };
  EXPECT_EQ(localize("en_US", nullptr), (Texts{"Big Drum.caf", "Pad.caf"})) << "no Chinese involved";

  environment->setLocalizedString("Big Drum", "\u5927\u9F13", "LocalizableLoops");
  environment->setLocalizedString("Pad", "Pa\u0308d", "LocalizableLoops");
  EXPECT_EQ(localize("zh_Hans_CN", nullptr), (Texts{"\u5927\u9F13", "P\u00E4d"}));
  EXPECT_EQ(database.texts("SELECT chineseTranscript FROM Loops ORDER BY id"), (Texts{"DA GU", "PAD"}));

  const auto shouting = [](const std::string& baseName) { return baseName + "!"; };
  EXPECT_EQ(localize("zh_Hans_CN", shouting).back(), "P\u00E4d") << "done for this locale already";
  EXPECT_EQ(localize("en_US", shouting), (Texts{"Big Drum!", "Pad!"}));
  EXPECT_EQ(database.texts("SELECT textValue FROM DatabaseMigrationInfos"), Texts{"en_US"});
}
