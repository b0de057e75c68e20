#include "database/AttachedDatabase.h"
#include "search/SearchDatabase.h"

#include <cstdlib>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

// A text and two numbers that tell by where they are found how values went over.
constexpr const char* kLateValues = "contentIdentifier = 'c', patchInfo = 7, ksLoopType = 8";
const std::string kLateColumns = "contentIdentifier, chineseTranscript, patchInfo, ksLoopType";

// The column for transcripts is made while this lives.
struct WithTranscripts {
  WithTranscripts() { LCSQLiteUtilities::setChineseTranscriptEnabled(true); }
  ~WithTranscripts() { LCSQLiteUtilities::setChineseTranscriptEnabled(false); }
};

}  // namespace

struct ImportTest : EngineTest {
  ImportTest() { setenv("TMPDIR", temporary.path().c_str(), 1); }
  ~ImportTest() override { unsetenv("TMPDIR"); }
  bool import(const std::string& identifier = "id",
              const std::optional<std::string>& placeholder = std::nullopt) const {
    return engine->importDatabaseFile(source.file(), identifier, placeholder);
  }

  const TemporaryFolder temporary;
  SearchDatabase source;
};

// Both were made with the column for transcripts.
struct ImportWithTranscripts : WithTranscripts, ImportTest {};

TEST_F(ImportWithTranscripts, CopiesEveryColumnOfNewLoopsAndLeavesOwnRowsAlone) {
  database.add(1, "own.wav", "title = 'mine'");
  database.add(20, "web.wav", "isWebLoop = 1");
  source.addVariedLoops();
  EXPECT_TRUE(source.engine()->saveLoadnessInfo({-14, -1, -18}, "n", 2));
  source.run(
      "UPDATE Loops SET fileName = 'web.wav', chineseTranscript = 'T', contentIdentifier = 'c', patchInfo = 7, "
      "ksLoopType = 8 WHERE id = 4; INSERT INTO Crates VALUES ('a', 'A', 'M', 0)");
  EXPECT_TRUE(import());
  const auto same = [&](const std::string& table, const std::string& key) {
    const std::string rows = "SELECT * FROM " + table + " WHERE " + key + " > 2 OR " + key + " < 0 ORDER BY 1, 2";
    EXPECT_FALSE(source.rows(rows).empty());
    EXPECT_EQ(database.rows(rows), source.rows(rows));
  };
  for (const char* table : {"Tagging", "LoopsKeywords", "CrateLoopRelation"}) same(table, "loopId");
  same("Loops", "id");
  EXPECT_EQ(database.rows("SELECT title, fileName FROM Loops WHERE id = 1"), Rows{"mine|own.wav"});
  EXPECT_EQ(database.rows("SELECT * FROM LoopsLoudnessV4"), Rows{"2|n|-14.0|-1.0|-18.0"});
  EXPECT_EQ(database.rows("SELECT * FROM Crates"), Rows{"a|A|M|0"});
  EXPECT_EQ(database.rows("SELECT count FROM keyword_distribution WHERE keywordId = 30"), Rows{"2"});
  engine->setSearchKeywords(names("Tuba"));
  EXPECT_EQ(sorted(idsFound(*engine)), (Ids{2, 8}));
}

TEST_F(ImportTest, GoesByThePositionOfColumns) {
  struct Case {
    const char* why;
    bool ownTranscript, sourceTranscript, now;
    Rows late;
  };
  for (const auto& [why, own, others, now, late] :
       {Case{"made with the column", true, true, true, {"c|NULL|7|8"}}, Case{"no such column", false, false, false, {}},
        Case{"added late: the transcript goes into patchInfo", false, false, true, {"c|8|NULL|7"}},
        Case{"off again, but there", true, true, false, {"c|NULL|7|8"}}}) {
    LCSQLiteUtilities::setChineseTranscriptEnabled(own);
    const SearchDatabase into;
    LCSQLiteUtilities::setChineseTranscriptEnabled(others);
    SearchDatabase from;
    from.add(5, "five.wav", kLateValues, {3});
    LCSQLiteUtilities::setChineseTranscriptEnabled(now);
    EXPECT_TRUE(into.engine()->importDatabaseFile(from.file(), "id", std::nullopt)) << why;
    LCSQLiteUtilities::setChineseTranscriptEnabled(false);
    EXPECT_EQ(late.empty() ? Rows{} : into.rows("SELECT " + kLateColumns + " FROM Loops"), late) << why;
    EXPECT_EQ(into.rows("SELECT * FROM Tagging"), Rows{"5|3"}) << why;
  }
}

TEST_F(ImportWithTranscripts, HappensOnceForAnIdentifierAndStaysAttachedNowhere) {
  EXPECT_FALSE(engine->importDatabaseFile(std::nullopt, "it's", std::nullopt));
  for (const char* missing : {"gone.db", "no/folder/gone.db"}) {
    EXPECT_FALSE(engine->importDatabaseFile(source.folder().path(missing), "it's", std::nullopt));
  }
  EXPECT_FALSE(engine->importDatabaseFile(source.folder().addFile("text.db", std::string(5000, 'x')), "x", {}));
  for (int count = 0; count < 12; ++count) EXPECT_TRUE(import("it's " + std::to_string(count)));
  EXPECT_EQ(rowsOf(engine->sqlite3Connection(), "SELECT name FROM pragma_database_list WHERE name <> 'temp'"),
            Rows{"main"});
  source.add(1, "late.wav");
  EXPECT_TRUE(import("it's 3") && engine->importDatabaseFile(std::nullopt, "it's 3", std::nullopt));
  EXPECT_EQ(engine->totalNumberOfLoops(), 0);
  EXPECT_EQ(database.rows("SELECT count(*), min(floatValue) > 8e8 FROM DatabaseMigrationInfos WHERE key LIKE 'it''s%'"),
            Rows{"12|1"});
}

TEST_F(ImportWithTranscripts, LeavesNothingWhenTheDatabaseIsLockedAndComesOverLater) {
  runSQL(engine->sqlite3Connection(), "PRAGMA busy_timeout = 1");
  OtherWriter writer(database);
  EXPECT_FALSE(import() || !sqlite3_get_autocommit(engine->sqlite3Connection()));
  writer.commit();
  EXPECT_TRUE(import());
}

TEST_F(ImportWithTranscripts, TakesACopyOfAFileThatNobodyMayWrite) {
  source.add(1, "a.wav");
  source.run("ALTER TABLE Loops DROP COLUMN contentIdentifier");
  source.close();
  const std::string bytes = vesk::path::readFile(source.file()).value();
  temporary.addFile("loops.db", "an earlier one");
  for (const auto& [file, comesOver] :
       {std::pair(source.file(), true),
        {temporary.addFile("other.db", bytes), false}}) {  // the copy would take its place
    fs::permissions(file, fs::perms::owner_read);
    EXPECT_EQ(engine->importDatabaseFile(file, file, std::nullopt), comesOver) << file;
    EXPECT_EQ(vesk::path::readFile(file), bytes) << file;
  }
  EXPECT_EQ(database.rows("SELECT id FROM Loops"), Rows{"1"});
}

TEST_F(ImportWithTranscripts, PointsEveryLoopOfTheSourceToThePlaceholder) {
  database.add(1, "own.wav");
  database.add(9, "other.wav");
  source.add(1, "/M/one.wav");
  source.add(2, "/M/S/two  #2.wav");
  EXPECT_TRUE(import("id", "file:///P"));
  EXPECT_EQ(database.rows("SELECT id, fileURL, fileName FROM Loops ORDER BY id"),
            (Rows{"1|file:///Pone.wav|own.wav", "2|file:///Ptwo%20%20%232.wav|two  #2.wav",
                  "9|file:///L/other.wav|other.wav"}));
}

TEST_F(ImportTest, CopiesCachingTablesOfThreeRangesOfKeywords) {
  const Ids keywords = {121, 122, 1000, 1001, 1017, 1018, 1020, 1021, 10001, 10008, 10009};
  source.add(1, "a.wav", "id = id", keywords);
  for (const auto& [last, copied] :
       {std::pair(0, Ids{121, 1001, 1017, 10001, 10008}), {1020, {121, 1001, 1017, 1018, 1020, 10001, 10008}}}) {
    if (last) LCSQLiteUtilities::setLastExtraKeywordId(last, source.connection());
    EXPECT_TRUE(import(std::to_string(last)));
    Ids filled;
    for (const int64_t id : keywords) {
      const std::string table = "tagging_cache_" + std::to_string(id);
      const bool isThere = LCSQLiteUtilities::isTableWithName(table, std::nullopt, database.connection());
      if (isThere && !database.rows("SELECT * FROM " + table).empty()) filled.push_back(id);
    }
    EXPECT_EQ(filled, copied) << last;
  }
}

TEST_F(ImportTest, AllTablesAreMadeAnewAndMarksAndFactsStay) {
  database.addVariedLoops();
  EXPECT_TRUE(import());
  engine->dropAndCreateAllTables();
  EXPECT_EQ(
      database.rows("SELECT id FROM Loops UNION SELECT loopId FROM Tagging UNION SELECT loopId FROM LoopsKeywords "
                    "UNION SELECT loopId FROM CrateLoopRelation UNION SELECT id FROM LoopsLoudnessV4"),
      Rows{});
  EXPECT_EQ(database.rows("SELECT count(*), (SELECT count(*) FROM Keywords WHERE id > 20000), (SELECT count(*) FROM "
                          "DatabaseMigrationInfos WHERE key = 'id') FROM UserData"),
            Rows{"4|0|1"});
}

TEST_F(ImportTest, ADatabaseThatStaysAttachedShowsInTheLog) {
  LCStatement alive;
  {
    const lc::AttachedDatabase attached(engine->sqlite3Connection(), source.file());
    alive = LCStatement(engine->sqlite3Connection(), "SELECT * FROM " + attached.table("Keywords"));
    EXPECT_TRUE(alive.step());
  }
  EXPECT_TRUE(environment->hasLogged("Can't detach database " + source.file()));
}
