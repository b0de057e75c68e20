#include "IndexingTest.h"

class LCFileIndexingFinish : public IndexingTest {
 protected:
  void addTagged(int64_t id, const std::string& keyword, const std::optional<std::string>& package = std::nullopt) {
    LCFileData fileData;
    fileData.hash = id;
    fileData.genreTag = keyword;
    indexer->addFileDataToDatabase(fileData, package);
  }
};

TEST_F(LCFileIndexingFinish, MembersOfAGroupGetTheKeywordOfTheGroup) {
  struct Case {
    const char* keyword;
    Rows groups;
  };
  const std::vector<Case> cases = {{"Harmonica", {"10001"}},  // with the brass, not the woodwind
                                   {"Bagpipe", {"10002"}},
                                   {"Piccolo", {}},
                                   {"Impacts & Crashes", {"10003", "10004"}},  // not "Boom"
                                   {"Explosions", {"10003", "10004", "10005"}},
                                   {"Mixed", {"10003"}},
                                   {"Motions & Transitions", {"10003"}},
                                   {"Texture/Atmosphere", {"10003", "10004"}},
                                   {"Tech House", {"10006"}},
                                   {"Bass House", {}},
                                   {"Urban", {"10007"}}};
  indexer->prepareIndexing();
  for (size_t id = 0; id < cases.size(); ++id) addTagged(static_cast<int64_t>(id) + 1, cases[id].keyword);
  indexer->finishIndexingInBlock(true);
  for (size_t id = 0; id < cases.size(); ++id) {
    const std::string loopId = std::to_string(id + 1);
    EXPECT_EQ(rows("SELECT keywordId FROM Tagging WHERE keywordId > 10000 AND loopId = " + loopId), cases[id].groups)
        << cases[id].keyword;
  }
}

TEST_F(LCFileIndexingFinish, EveryKeywordHasATableOfItsLoopsAndTheDistributionCountsThem) {
  indexer->prepareIndexing();
  addTagged(-5, "Jazz");
  addTagged(6, "Jazz");
  addTagged(7, "Zorp");
  indexer->finishIndexingInBlock(true);
  indexer->removeLoopWithId(6);
  indexer->finishIndexingInBlock(true);  // made anew

  EXPECT_EQ(rows("SELECT loopId FROM tagging_cache_65"), Rows{"-5"});
  EXPECT_EQ(rows("SELECT loopId FROM tagging_cache_10009"), Rows{"7"});
  EXPECT_EQ(rows("SELECT count(*) FROM tagging_cache_10008"), Rows{"0"});
  EXPECT_EQ(rows("SELECT * FROM keyword_distribution"), (Rows{"65|1", "10009|1"}));
  EXPECT_EQ(
      rows("SELECT (SELECT count(*) FROM Keywords) - count(*) FROM sqlite_master WHERE name LIKE 'tagging_cache_%'"),
      Rows{"0"});
}

TEST_F(LCFileIndexingFinish, TheFileHoldsNoOtherTablesTriggersAndIndexesAfterwards) {
  addTagged(1, "Jazz");
  indexer->finishIndexingInBlock(true);
  EXPECT_EQ(
      rows("SELECT type, name FROM sqlite_master WHERE name NOT LIKE 'tagging_cache_%' AND name NOT LIKE 'sqlite_%' "
           "ORDER BY type, name"),
      (Rows{"index|index_loops_fileName_isWebLoop", "table|CrateLoopRelation", "table|Crates",
            "table|DatabaseMigrationInfos", "table|Keywords", "table|Loops", "table|LoopsKeywords",
            "table|LoopsMetaInfos", "table|Tagging", "table|UserData", "table|keyword_distribution",
            "trigger|trigger_delete_bundle_placeholder_loops", "trigger|trigger_delete_loops_references_LoopsMetaInfos",
            "trigger|trigger_delete_loops_references_crates", "trigger|trigger_delete_loops_references_keywords",
            "trigger|trigger_delete_loops_references_tagging"}));
}

TEST_F(LCFileIndexingFinish, PackagesWithoutLoopsAreRemoved) {
  indexer->executeStatementWithNoReturnValue(
      "INSERT INTO Crates VALUES ('full', 'Full', 'USER', 0), ('empty', 'Empty', 'USER', 0)");
  addTagged(1, "Jazz", "full");
  indexer->finishIndexingInBlock(true);
  EXPECT_EQ(rows("SELECT identifier FROM Crates"), Rows{"full"});
}
