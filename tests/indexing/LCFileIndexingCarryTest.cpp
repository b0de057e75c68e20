#include "IndexingTest.h"

struct LCFileIndexingCarry : IndexingTest {
  // Loop 1 stands for a loop before it was renamed, 2 for the same one afterwards.
  void addLoop(int64_t id, float seconds = 4) {
    LCFileData loop = loopTagged(id, {"Jazz"});
    loop.lengthInSeconds = seconds;
    add(loop, "package " + std::to_string(id));
  }
};

TEST_F(LCFileIndexingCarry, WhatTheNewLoopHasWinsAndNothingStaysWithTheOldOne) {
  struct Case {
    std::string table, oldRow, newRow;  // values behind the id
    Rows carried;
    float newSeconds = 4;
  };
  const std::string loudness = "LoopsLoudnessV4";
  const std::vector<Case> cases = {
      {"UserData", "1, 3, 'old'", "", {"1|3|old"}},
      {"UserData", "1, 3, 'old'", "0, 5, 'new'", {"1|5|new"}},
      {"UserData", "0, 3, 'old'", "1, 0, ''", {"1|3|old"}},
      {"UserData", "NULL, 2, NULL", "NULL, NULL, NULL", {"0|2|"}},
      {"UserData", "", "1, 2, 'new'", {"1|2|new"}},
      {loudness, "'Loop 1.caf', -9, -1, -18", "", {"Loop 2.caf|-9.0|-1.0|-18.0"}},
      {loudness, "'/q/Loop 1.caf', -9, -1, -18", "", {"/q/Loop 2.caf|-9.0|-1.0|-18.0"}},
      {loudness, "'elsewhere', -9, -1, -18", "", {"elsewhere|-9.0|-1.0|-18.0"}},
      {loudness, "'Loop 1.caf', -9, -1, -18", "'mine', -7, 0, -20", {"mine|-7.0|0.0|-20.0"}},
      {loudness, "'Loop 1.caf', -9, -1, -18", "", {}, 5},  // of other audio
      {"LoopsMetaInfos", "'Topper', 0.5, 1, 1", "", {"Topper|0.5|1|1"}},
      {"LoopsMetaInfos", "NULL, 0.5, 1, 1), (1, 'x', 0, 0, 1", "", {"NULL|0.5|1|1", "x|0.0|0|1"}},
      {"LoopsMetaInfos", "'Topper', 0.5, 1, 1", "'Drums', 1, 0, 2", {"Drums|1.0|0|2"}},
  };
  execute(std::string(kCreateLoopsLoudnessTableString));
  for (const auto& [table, oldRow, newRow, carried, newSeconds] : cases) {
    addLoop(1);
    addLoop(2, newSeconds);
    const std::string id = table == loudness ? "id" : "loopId";
    if (!oldRow.empty()) execute("INSERT INTO " + table + " VALUES (1, " + oldRow + ")");
    if (!newRow.empty()) execute("INSERT INTO " + table + " VALUES (2, " + newRow + ")");
    EXPECT_TRUE(indexer->carryLoopWithId(1, 2));
    Rows found = rows("SELECT * FROM " + table + " ORDER BY 2");
    for (auto& row : found) row.erase(0, row.starts_with("2|") ? 2 : 0);  // everything belongs to loop 2
    EXPECT_EQ(found, carried) << table << " " << oldRow << " " << newRow;
    EXPECT_EQ(rows("SELECT crateId, loopId, Loops.id FROM CrateLoopRelation, Loops ORDER BY 1"),
              (Rows{"package 1|2|2", "package 2|2|2"}));
    EXPECT_EQ(rows("SELECT DISTINCT loopId FROM Tagging UNION SELECT loopId FROM LoopsKeywords"), Rows{"2"});
    execute("DELETE FROM " + table + "; DELETE FROM Loops");
  }
}

TEST_F(LCFileIndexingCarry, ALoopIsNeverGivenUpForOneThatIsNotThere) {
  addLoop(1);
  execute("INSERT INTO UserData VALUES (1, 1, 2, '')");
  EXPECT_FALSE(indexer->carryLoopWithId(1, 2));
  EXPECT_TRUE(indexer->carryLoopWithId(1, 1));
  EXPECT_EQ(rows("SELECT loopId, rating, Loops.id FROM UserData, Loops"), Rows{"1|2|1"});
}

TEST_F(LCFileIndexingCarry, ManyAreCarriedInTheirOrderWithoutLoudnessAndMetaInfosAndLeaveNoIndexBehind) {
  std::vector<LCLoopCarry> carries;
  for (int64_t id = 1; id <= 20; ++id) {
    addLoop(id);
    carries.push_back({.loopId = id, .toLoopId = id + 1});
  }
  addLoop(21);
  execute(
      "INSERT INTO UserData VALUES (1, 0, 0, 'first'); DROP TABLE LoopsMetaInfos; "
      "DROP TRIGGER IF EXISTS trigger_delete_loops_references_LoopsMetaInfos");
  EXPECT_TRUE(indexer->beginBatch() && indexer->carryLoopsWithIds(carries) && indexer->commitBatch());
  EXPECT_EQ(rows("SELECT Loops.id, userComment, (SELECT count(*) FROM CrateLoopRelation WHERE loopId = 21) FROM Loops "
                 "JOIN UserData ON loopId = Loops.id"),
            Rows{"21|first|21"});
  EXPECT_EQ(indexes(), Rows{"index_loops_fileName_isWebLoop"});
}
