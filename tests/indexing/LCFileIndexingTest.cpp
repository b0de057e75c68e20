#include "IndexingTest.h"

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <thread>

namespace {

const std::string& kWillStart = LCFileIndexingWillStartNotification;
const std::string& kDidFinish = LCFileIndexingDidFinishNotification;
const std::string& kReload = LCFileReloadBaseTablesNotification;

// Stops the indexing of the whole process at the first loop.
struct AbortingAnalyzer : LCLoudnessAnalyzerService {
  std::optional<LCLoopLoudnessInfo> loudnessInfoForURL(const vesk::URL&) override {
    LCFileIndexing::abortIndexingForTermination();
    return std::nullopt;
  }
};

}  // namespace

class LCFileIndexingRun : public IndexingTest {
 protected:
  std::vector<vesk::URL> addFolder(std::string_view relative, uint32_t* count = nullptr) {
    return indexer->addDirectoryURL(url(relative), "package", count, std::nullopt, false).value();
  }
};

TEST_F(LCFileIndexingRun, AFolderGivesALoopForEachTaggedFileAndNamesTheOthers) {
  addLoop("L/One.aif");
  addFile(
      "L/sub/Two.caf",
      fixture::cafFile({fixture::chunk("uuid", fixture::searchInfoPayload({{"genre", "Jazz"}, {"beat count", "8"}}))}));
  addFile("L/sub/Kick/Three.WAV", fixture::wavFile());  // tagged by its path
  addFile("L/Quiet.wav", fixture::wavFile());
  files.addFile("L/Read me.txt", "Jazz");
  std::filesystem::create_symlink(files.path("nowhere"), files.path("L/Broken.aif"));
  ASSERT_EQ(mkfifo(files.path("L/Pipe.wav").c_str(), 0600), 0);  // reading it would wait for ever

  uint32_t count = 0;
  const auto failures = addFolder("L", &count);
  EXPECT_EQ(failures, (std::vector<vesk::URL>{url("L/Pipe.wav"), url("L/Quiet.wav"), url("L/Read me.txt")}));
  EXPECT_EQ(count, 6u);  // nine names below the folder, two of them folders, less three failures
  EXPECT_EQ(rows("SELECT fileName, crateId FROM Loops JOIN CrateLoopRelation ON loopId = id ORDER BY fileName"),
            (Rows{"One.aif|package", "Three.WAV|package", "Two.caf|package"}));
  EXPECT_EQ(rows("SELECT count(*) FROM tagging_cache_65"), Rows{"1"});
  EXPECT_FALSE(LCFileIndexing::isFileIndexingRunning());
}

TEST_F(LCFileIndexingRun, NoFolderOrADestinationThatCannotBeMadeGivesNoRun) {
  addLoop("L/One.aif");
  uint32_t count = 17;
  EXPECT_EQ(indexer->addDirectoryURL(std::nullopt, "package", &count, std::nullopt, false), std::nullopt);
  EXPECT_EQ(indexer->addDirectoryURL(url("L"), "package", &count, url("L/One.aif/below"), false), std::nullopt);
  EXPECT_EQ(count, 17u);
  EXPECT_EQ(rows("SELECT * FROM Loops"), Rows{});
}

TEST_F(LCFileIndexingRun, FilesAreCopiedOrMovedIntoTheDestination) {
  for (const bool move : {false, true}) {
    const std::string source = move ? "moved" : "copied", target = source + " to";
    const std::string loop = addLoop(source + "/sub/One.aif");
    const std::string untagged = addFile(source + "/sub/Quiet.wav", fixture::wavFile());
    const auto time = std::filesystem::last_write_time(loop) - std::chrono::hours(1);
    std::filesystem::last_write_time(loop, time);
    files.addFolder(source + "/empty");

    const auto failures = indexer->addDirectoryURL(url(source), std::nullopt, nullptr, url(target), move);
    ASSERT_TRUE(failures);
    EXPECT_EQ(failures->size(), 1u);
    EXPECT_EQ(std::filesystem::exists(loop), !move);
    EXPECT_TRUE(std::filesystem::exists(untagged));  // what is no loop stays where it is
    EXPECT_EQ(std::filesystem::last_write_time(files.path(target + "/sub/One.aif")), time);
    EXPECT_FALSE(std::filesystem::exists(files.path(target + "/sub/Quiet.wav")));
    EXPECT_TRUE(std::filesystem::is_directory(files.path(target + "/empty")));
    EXPECT_EQ(rows("SELECT fileURL FROM Loops"), Rows{url(target + "/sub/One.aif").absoluteString()});
  }
}

TEST_F(LCFileIndexingRun, AFileThatCannotBeCopiedKeepsNoRowButCountsAsIndexed) {
  addLoop("L/One.aif");
  addLoop("L/It's.aif", "Bass");  // its row cannot be found by URL
  files.addFile("target/One.aif", "occupied");
  files.addFile("target/It's.aif", "occupied");
  for (const bool move : {false, true}) {
    uint32_t count = 0;
    const auto failures = indexer->addDirectoryURL(url("L"), "package", &count, url("target"), move);
    EXPECT_EQ(failures, std::vector<vesk::URL>{});
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(rows("SELECT fileURL FROM Loops"), Rows{});
    EXPECT_EQ(std::filesystem::file_size(files.path("target/One.aif")), 8u);
    EXPECT_TRUE(std::filesystem::exists(files.path("L/One.aif")));
  }
}

TEST_F(LCFileIndexingRun, RowsKeepTheURLThatTheCallerGaveThroughALink) {
  addLoop("store/Real.aif");
  files.addFolder("L");
  std::filesystem::create_symlink(files.path("store/Real.aif"), files.path("L/Link.aif"));
  std::filesystem::create_directory_symlink(files.path("store"), files.path("Stored"));
  const std::vector<vesk::URL> given = {url("L/Link.aif")};
  EXPECT_EQ(indexer->addFilenames(given, "package"), std::vector<vesk::URL>{});
  EXPECT_EQ(rows("SELECT fileName, fileURL FROM Loops"), Rows{"Link.aif|" + given[0].absoluteString()});
  const Rows id = rows("SELECT id FROM Loops");

  addFolder("Stored");  // the same loop by another way
  EXPECT_EQ(rows("SELECT fileName, fileURL FROM Loops"), Rows{"Real.aif|" + url("Stored/Real.aif").absoluteString()});
  EXPECT_EQ(rows("SELECT id FROM Loops"), id);
}

TEST_F(LCFileIndexingRun, ALoopIsRemovedByURLUnlessAnApostropheStandsInIt) {
  addLoop("L/One.aif");
  addLoop("L/It's.aif", "Bass");
  addFolder("L");
  EXPECT_TRUE(indexer->removeFileURL(url("L/One.aif")));
  EXPECT_TRUE(indexer->removeFileURL(url("L/Never.aif")));
  EXPECT_FALSE(indexer->removeFileURL(url("L/It's.aif")));
  EXPECT_EQ(rows("SELECT fileName FROM Loops"), Rows{"It's.aif"});

  const int64_t id = std::stoll(rows("SELECT id FROM Loops")[0]);
  indexer->executeStatementWithNoReturnValue("INSERT INTO UserData VALUES (" + std::to_string(id) + ", 1, 3, '')");
  EXPECT_TRUE(indexer->removeLoopWithId(id));
  EXPECT_EQ(rows("SELECT loopId FROM Tagging UNION SELECT loopId FROM LoopsKeywords UNION SELECT loopId FROM "
                 "CrateLoopRelation UNION SELECT id FROM Loops"),
            Rows{});
  EXPECT_EQ(rows("SELECT rating FROM UserData"), Rows{"3"});  // marks outlive their loop
}

TEST_F(LCFileIndexingRun, RemovingByNameTakesFoldersAndMissingFilesAndTellsObserversToReloadFirst) {
  addLoop("L/sub/One.aif", "Drums", "", "Jazz");
  addLoop("L/Gone.aif", "Bass");
  addLoop("L/Kept.aif", "Strings", "", "Jazz");
  addFolder("L");
  std::filesystem::remove(files.path("L/Gone.aif"));
  NotificationLog log;
  indexer->removeFilenames(std::vector<std::string>{files.path("L/sub"), files.path("L/Gone.aif")});
  EXPECT_EQ(rows("SELECT fileName FROM Loops"), Rows{"Kept.aif"});
  EXPECT_EQ(rows("SELECT count(*) FROM tagging_cache_65"), Rows{"1"});
  EXPECT_EQ(log.names, (std::vector<std::string>{kReload, kDidFinish}));
}

TEST_F(LCFileIndexingRun, ARunTellsItsEndAndReloadsWhenItWalkedAnything) {
  struct Case {
    std::vector<vesk::URL> urls;
    std::vector<std::string> notifications;
  };
  files.addFolder("empty");
  for (const auto& [urls, notifications] : {Case{{}, {kDidFinish}}, Case{{url("empty")}, {kDidFinish}},
                                            Case{{url("missing.aif")}, {kDidFinish, kReload}}}) {
    NotificationLog log;
    indexer->addFilenames(urls, std::nullopt);
    EXPECT_EQ(log.names, notifications);
  }
}

TEST_F(LCFileIndexingRun, SeveralRunsBetweenStartAndEndFinishOnce) {
  addLoop("L/One.aif", "Drums", "", "Jazz");
  NotificationLog log;
  LCFileIndexing::startMultipleIndexRuns();
  EXPECT_TRUE(LCFileIndexing::isFileIndexingRunning());
  addFolder("L");
  EXPECT_EQ(log.names, std::vector<std::string>{kWillStart});
  EXPECT_EQ(rows("SELECT count(*) FROM sqlite_master WHERE name = 'tagging_cache_65'"), Rows{"0"});
  LCFileIndexing::endMultipleIndexRuns(*indexer);
  EXPECT_EQ(log.names, (std::vector<std::string>{kWillStart, kDidFinish, kReload}));
  EXPECT_EQ(rows("SELECT count(*) FROM tagging_cache_65"), Rows{"1"});
  EXPECT_FALSE(LCFileIndexing::isFileIndexingRunning());
}

TEST_F(LCFileIndexingRun, OnAnotherThreadOnlyReloadIsPostedThere) {
  addLoop("L/One.aif");
  NotificationLog log;
  std::thread([&] {
    LCFileIndexing::startMultipleIndexRuns();
    addFolder("L");
    LCFileIndexing::endMultipleIndexRuns(*indexer);
  }).join();
  EXPECT_EQ(log.names, std::vector<std::string>{kReload});
  vesk::drainMainQueue();
  EXPECT_EQ(log.names, (std::vector<std::string>{kReload, kWillStart, kDidFinish}));
}

TEST_F(LCFileIndexingRun, AnAbortLeavesNothingWrittenAndStaysRunning) {
  addLoop("L/One.aif");
  addLoop("L/Two.aif", "Bass");
  // In a process of its own: the flag is never cleared.
  const auto abortedRun = [&] {
    NotificationLog log;
    indexer->setLoudnessAnalyzerService(std::make_shared<AbortingAnalyzer>(), false);
    uint32_t count = 17;
    const bool isAborted = !indexer->addDirectoryURL(url("L"), "package", &count, std::nullopt, false) && count == 0;
    const bool isOpen = !indexer->beginBatch();  // no transaction within the one that the run left
    indexer.reset();
    const bool isEmpty = rows("SELECT * FROM Loops").empty();
    std::_Exit(isAborted && isOpen && isEmpty && log.names.empty() && LCFileIndexing::isFileIndexingRunning() ? 0 : 1);
  };
  EXPECT_EXIT(abortedRun(), testing::ExitedWithCode(0), "");
}

TEST_F(LCFileIndexingRun, FilesWithoutKeywordsAreLoggedWhenAskedFor) {
  const auto environment = TestEnvironment::install();
  const std::vector<vesk::URL> untagged = {vesk::URL::fileURLWithPath(addFile("L/Quiet.wav", fixture::wavFile()))};
  indexer->addFilenames(untagged, std::nullopt);
  EXPECT_TRUE(environment->logLines().empty());
  LCFileIndexing::setErrorLoggingEnabled(true);
  indexer->addFilenames(untagged, std::nullopt);
  LCFileIndexing::setErrorLoggingEnabled(false);
  EXPECT_EQ(environment->logLines(), Rows{"No keywords found for file: " + untagged[0].path()});
}

TEST_F(LCFileIndexingRun, AudioFilesThatAreNoLoopsAreFound) {
  addLoop("loops/Tagged.aif");
  addFile("aiff/sub/Plain.AIF", fixture::aiffFile());
  addFile("wave/Any.dat", fixture::wavFile());
  files.addFile("damaged/Broken.caf", "no audio");
  files.addFile("texts/Read me.txt", "words");
  files.addFolder("linked");
  std::filesystem::create_symlink(files.path("wave/Any.dat"), files.path("linked/Any.dat"));
  struct Case {
    const char* given;
    bool found;
  };
  for (const auto& [given, found] : {Case{"loops", false}, Case{"loops/Tagged.aif", false}, Case{"aiff", true},
                                     Case{"wave", true},                           // told by its content
                                     Case{"damaged", true},                        // told by its name
                                     Case{"texts", false}, Case{"linked", false},  // links inside a folder do not count
                                     Case{"linked/Any.dat", true},                 // given itself, a link is followed
                                     Case{"missing.aif", false}}) {
    const std::vector<vesk::URL> urls = {url("texts"), url(given)};
    EXPECT_EQ(LCFileIndexing::anyNonVireoLoopsAudioFilesForURLs(urls), found) << given;
  }
  EXPECT_TRUE(LCFileIndexing::isFileIndexable(url("loops/Tagged.aif")));
  EXPECT_FALSE(LCFileIndexing::isFileIndexable(url("damaged/Broken.caf")));
}
