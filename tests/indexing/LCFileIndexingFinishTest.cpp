#include "IndexingTest.h"

using LCFileIndexingFinish = IndexingTest;

TEST_F(LCFileIndexingFinish, MembersOfAGroupGetTheKeywordOfTheGroup) {
  int64_t id = 0;
  for (const char* keyword : {"Harmonica", "Bagpipe", "Piccolo", "Impacts & Crashes", "Explosions", "Mixed",
                              "Motions & Transitions", "Texture/Atmosphere", "Tech House", "Bass House", "Urban"}) {
    add(loopTagged(++id, {keyword}));
  }
  indexer->finishIndexingInBlock(true);
  // A harmonica goes with the brass; impacts and crashes have no "Boom" (10005); two are in no group.
  EXPECT_EQ(
      rows("SELECT descriptors, keywordId FROM Tagging JOIN LoopsKeywords USING (loopId) WHERE keywordId > 10000 ORDER "
           "BY loopId, keywordId"),
      (Rows{"Harmonica|10001", "Bagpipe|10002", "Impacts & Crashes|10003", "Impacts & Crashes|10004",
            "Explosions|10003", "Explosions|10004", "Explosions|10005", "Mixed|10003", "Motions & Transitions|10003",
            "Texture/Atmosphere|10003", "Texture/Atmosphere|10004", "Tech House|10006", "Urban|10007"}));
}

TEST_F(LCFileIndexingFinish, TablesOfEveryKeywordAndTheDistributionAreMadeAnewAndEmptyPackagesGo) {
  execute("INSERT INTO Crates VALUES ('full', 'Full', 'USER', 0), ('empty', 'Empty', 'USER', 0)");
  add(loopTagged(-5, {"Jazz"}), "full");
  add(loopTagged(7, {"Zorp"}));
  const std::vector<int64_t> others = {11, 12, 13, 14, 15, 16, 17, 18, 19, 20};
  for (const int64_t id : others) add(loopTagged(id, {"Jazz"}), "full");
  indexer->finishIndexingInBlock(true);
  EXPECT_EQ(rows("SELECT count(*) FROM tagging_cache_65"), Rows{"11"});
  EXPECT_TRUE(indexer->removeLoopsWithIds(others));
  indexer->finishIndexingInBlock(true);

  EXPECT_EQ(rows("SELECT loopId FROM tagging_cache_65"), Rows{"-5"});
  EXPECT_EQ(rows("SELECT loopId FROM tagging_cache_10009"), Rows{"7"});
  EXPECT_EQ(rows("SELECT count(*) FROM sqlite_master WHERE name LIKE 'tagging_cache_%'"),
            rows("SELECT count(*) FROM Keywords"));
  EXPECT_EQ(rows("SELECT * FROM keyword_distribution"), (Rows{"65|1", "10009|1"}));
  EXPECT_EQ(rows("SELECT identifier FROM Crates"), Rows{"full"});
  EXPECT_EQ(indexes(), Rows{"index_loops_fileName_isWebLoop"});  // those of the work are gone
}
