// Engines on threads of their own while an indexer writes: what they share is the taxonomy and the file. Faults show
// under ThreadSanitizer.
#include "search/SearchDatabase.h"
#include "VeskLoopManagement/indexing/LCFileIndexing.h"

#include <atomic>
#include <thread>

namespace {

constexpr int64_t kFirstId = 1700, kCount = 24;

constexpr auto keywordName = [](int64_t id) { return "Learned " + std::to_string(id); };

void writeKeywords(const LCDatabaseConfiguration& configuration) {
  const auto indexer = LCFileIndexing::initWithDatabaseConfiguration(configuration);
  indexer->prepareIndexing();
  for (int64_t id = kFirstId; id < kFirstId + kCount; ++id) {
    const std::string idText = std::to_string(id);
    LCFileData loop{.hash = id, .descriptors = names("Single", "Ensemble"), .genreTag = keywordName(id)};
    loop.storedFileURL = vesk::URL::fromString("file:///q/Loop%20" + idText + ".caf");
    EXPECT_TRUE(indexer->executeStatementWithNoReturnValue(lc::sqlFormat(
        "BEGIN; INSERT INTO Keywords (id, name, categoryId) VALUES (%@, '%@', 1)", {idText, keywordName(id)})));
    EXPECT_TRUE(indexer->addFileDataToDatabase(loop, "package") && indexer->commitBatch());
  }
  indexer->finishIndexingInBlock(true);
}

}  // namespace

TEST(SearchThreads, FourEnginesSearchAndLearnWhileAnIndexerWritesNewKeywords) {
  SearchDatabase database;
  database.addVariedLoops();
  std::atomic<bool> isWriting{true};
  const auto search = [&] {
    const auto engine = database.engine();
    int64_t known = 0;
    for (bool isLastRound = false; !isLastRound;) {
      isLastRound = !isWriting;
      engine->refreshKeywordsCache();
      engine->setSearchKeywords(names("Piano"));
      EXPECT_EQ(idsFound(*engine), Ids{-3});
      EXPECT_EQ(engine->availableKeywordsWithCounts().count("Piano"), 1u);
      const int64_t before = known;
      known = std::ssize(LCKeywordHelper::keywordsForCategory(kCategoryGenre));
      EXPECT_GE(known, before) << "what was learned stays";
    }
  };
  std::vector<std::thread> threads;
  for (int engine = 0; engine < 4; ++engine) threads.emplace_back(search);
  writeKeywords(database.configuration());
  isWriting = false;
  for (std::thread& thread : threads) thread.join();
  for (int64_t id = kFirstId; id < kFirstId + kCount; ++id) {
    EXPECT_EQ(LCKeywordHelper::keywordForKeywordId(id), keywordName(id));
  }
}
