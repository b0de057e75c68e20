#include "IndexingTest.h"

#include "VeskLoopManagement/platform/Notifications.h"

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <thread>

namespace fs = std::filesystem;

static const std::string kWillStart(LCFileIndexingWillStartNotification),
    kDidFinish(LCFileIndexingDidFinishNotification), kReload(LCFileReloadBaseTablesNotification);

struct LCFileIndexingRun : IndexingTest {
  ~LCFileIndexingRun() override { vesk::NotificationCenter::shared().removeObserver(token); }

  // A tagged AIFF loop. Loops of one genre and type are the same loop.
  std::string addLoop(std::string_view relative, std::string_view type = "Drums", std::string_view genre = "") const {
    return files.addFile(relative, fixture::aiffFile({fixture::chunk("basc", fixture::bascPayload(8, 60, 2, 4, 4, 1)),
                                                      fixture::chunk("cate", fixture::catePayload(type, "", genre))}));
  }
  vesk::URL url(std::string_view relative) const { return vesk::URL::fileURLWithPath(files.path(relative)); }
  std::optional<std::vector<vesk::URL>> addFolder(std::string_view relative, uint32_t* count = nullptr) {
    return indexer->addDirectoryURL(url(relative), "package", count, std::nullopt, false);
  }

  TemporaryFolder files;
  Rows posted;  // every notification, in order
  const vesk::NotificationCenter::Token token =
      vesk::NotificationCenter::shared().addObserver("", [this](const std::string& name) { posted.push_back(name); });
};

TEST_F(LCFileIndexingRun, AFolderGivesALoopForEachTaggedFileAndNamesTheOthers) {
  addLoop("L/One.aif");
  const fixture::Pairs tags = {{"genre", "Jazz"}, {"beat count", "8"}};
  files.addFile("L/sub/Two.caf", fixture::cafFile({fixture::chunk("uuid", fixture::searchInfoPayload(tags))}));
  files.addFile("L/sub/Kick/Three.WAV", fixture::wavFile());  // tagged by its path
  files.addFile("L/Quiet.wav", fixture::wavFile());
  files.addFile("L/Read me.txt", "Jazz");
  fs::create_symlink(files.path("nowhere"), files.path("L/Broken.aif"));
  ASSERT_EQ(mkfifo(files.path("L/Pipe.wav").c_str(), 0600), 0);  // reading it would wait for ever

  const auto environment = TestEnvironment::install();
  LCFileIndexing::setErrorLoggingEnabled(true);
  uint32_t count = 0;
  EXPECT_EQ(addFolder("L", &count), (std::vector{url("L/Pipe.wav"), url("L/Quiet.wav"), url("L/Read me.txt")}));
  EXPECT_EQ(count, 6u);  // nine names below the folder, two of them folders, less three failures
  EXPECT_EQ(rows("SELECT fileName, crateId FROM Loops JOIN CrateLoopRelation ON loopId = id ORDER BY fileName"),
            (Rows{"One.aif|package", "Three.WAV|package", "Two.caf|package"}));
  EXPECT_EQ(rows("SELECT count(*) FROM tagging_cache_65"), Rows{"1"});
  LCFileIndexing::setErrorLoggingEnabled(false);
  EXPECT_TRUE(environment->hasLogged("No keywords found for file: " + files.path("L/Quiet.wav")));
}

TEST_F(LCFileIndexingRun, NoFolderOrADestinationThatCannotBeMadeGivesNoRun) {
  addLoop("L/One.aif");
  uint32_t count = 17;
  EXPECT_FALSE(indexer->addDirectoryURL(std::nullopt, "package", &count, std::nullopt, false));
  EXPECT_FALSE(indexer->addDirectoryURL(url("L"), "package", &count, url("L/One.aif/below"), false));
  EXPECT_TRUE(count == 17 && rows("SELECT * FROM Loops").empty());
}

TEST_F(LCFileIndexingRun, FilesAreCopiedOrMovedToWhereNothingIsYet) {
  for (const bool move : {false, true}) {
    const std::string source = move ? "moved" : "copied", target = source + " to";
    const std::string loop = addLoop(source + "/sub/One.aif");
    const auto time = fs::last_write_time(loop) - std::chrono::hours(1);
    fs::last_write_time(loop, time);
    files.addFolder(source + "/empty");
    // What is no loop and what has no room stays where it is. The row of one with an apostrophe is not found by URL.
    files.addFile(source + "/sub/Quiet.wav", fixture::wavFile()), addLoop(source + "/It's.aif", "Strings");
    files.addFile(target + "/It's.aif", "occupied");

    uint32_t count = 0;
    EXPECT_EQ(indexer->addDirectoryURL(url(source), "package", &count, url(target), move),
              std::vector{url(source + "/sub/Quiet.wav")});
    EXPECT_EQ(count, 4u);  // a loop without room counts as indexed
    EXPECT_EQ(rows("SELECT fileURL FROM Loops"), Rows{url(target + "/sub/One.aif").absoluteString()});
    Rows left = {"It's.aif", "empty", "sub", "sub/One.aif", "sub/Quiet.wav"};
    if (move) left.erase(left.begin() + 3);
    EXPECT_EQ(vesk::path::subpaths(files.path(source)), left);
    EXPECT_EQ(vesk::path::subpaths(files.path(target)), (Rows{"It's.aif", "empty", "sub", "sub/One.aif"}));
    EXPECT_EQ(fs::last_write_time(files.path(target + "/sub/One.aif")), time);
    EXPECT_EQ(fs::file_size(files.path(target + "/It's.aif")), 8u);
  }
}

TEST_F(LCFileIndexingRun, ARecordIsWrittenTogetherWithTheCopyOfItsFileOrNotAtAll) {
  using Kind = lc::FileTransferResult::Kind;
  using Way = lc::FileTransfer::Way;
  // The third says whether it is a factory loop, whose row is there already, so that it is not written again.
  using Case = std::tuple<const char*, const char*, bool, Kind>;
  const Case cases[] = {{"from.aif", "new/sub/to.aif", false, Kind::done},
                        {"from.aif", "taken.aif", false, Kind::destinationExists},
                        {"from.aif", "new/to.aif", true, Kind::refusedByDatabase},
                        {"missing.aif", "new/to.aif", false, Kind::copyFailed},
                        {"from.aif", "taken.aif/to.aif", false, Kind::copyFailed}};
  files.addFile("taken.aif", "occupied");
  int64_t id = 10;
  const auto check = [&](const Case& expected, Way way, bool isInBatch) {
    const auto& [source, destination, isFactoryLoop, kind] = expected;
    const bool isDone = kind == Kind::done;
    const std::string loop = addLoop("from.aif"), idText = std::to_string(++id), tag = "New " + idText;
    SCOPED_TRACE(destination + tag);
    const LCFileData former = loopTagged(id, {"Dark"});
    LCFileData record = loopTagged(id, {tag});
    record.isFactoryBundleLoop = isFactoryLoop;
    add(former);
    EXPECT_TRUE(!isInBatch || indexer->beginBatch());
    EXPECT_EQ(indexer->addFileDataAndTransferFile(record, std::nullopt, {url(source), url(destination), way}).kind,
              kind);
    add(loopTagged(-id, {tag}));
    EXPECT_TRUE(!isInBatch || indexer->commitBatch());
    EXPECT_EQ(rows("SELECT fileURL FROM Loops WHERE id = " + idText),
              Rows{(isDone ? url(destination) : *former.fileURL()).absoluteString()});
    EXPECT_EQ(rows("SELECT count(*) FROM Tagging JOIN Keywords ON id = keywordId WHERE name = '" + tag + "'"),
              Rows{isDone ? "2" : "1"})
        << "a keyword that went with the step comes again";
    EXPECT_EQ(fs::exists(loop), !isDone || way == Way::copy);
    EXPECT_EQ(fs::is_regular_file(files.path(destination)), isDone || kind == Kind::destinationExists);
    fs::remove_all(files.path("new"));
  };
  for (const Way way : {Way::copy, Way::move}) {
    for (const Case& expected : cases) {
      for (const bool isInBatch : {false, true}) check(expected, way, isInBatch);
    }
    LCStatement row(database.connection(), "SELECT id FROM Loops");
    EXPECT_TRUE(row.step());  // keeps what is written from being committed
    execute("PRAGMA busy_timeout = 1");
    const std::string loop = addLoop("from.aif");
    const auto result = indexer->addFileDataAndTransferFile(loopTagged(++id, {"Dark"}), std::nullopt,
                                                            {url("from.aif"), url("to.aif"), way});
    EXPECT_EQ(result.kind, Kind::refusedByDatabase);
    EXPECT_TRUE(fs::exists(loop) && !fs::exists(files.path("to.aif"))) << "the file is back in its place";
  }
}

TEST_F(LCFileIndexingRun, RowsKeepTheURLThatTheCallerGaveThroughALink) {
  addLoop("store/Real.aif");
  fs::create_symlink(files.path("store/Real.aif"), files.path("Link.aif"));
  fs::create_directory_symlink(files.path("store"), files.path("Stored"));
  EXPECT_EQ(indexer->addFilenames(std::vector{url("Link.aif")}, "package"), std::vector<vesk::URL>{});
  EXPECT_EQ(rows("SELECT fileName, fileURL FROM Loops"), Rows{"Link.aif|" + url("Link.aif").absoluteString()});

  addFolder("Stored");  // the same loop by another way
  EXPECT_EQ(rows("SELECT fileName, fileURL FROM Loops"), Rows{"Real.aif|" + url("Stored/Real.aif").absoluteString()});
}

TEST_F(LCFileIndexingRun, LoopsAreRemovedByURLOrPathUnlessAnApostropheStandsInIt) {
  addLoop("L/One.aif");
  addLoop("L/It's.aif", "Bass", "Jazz");
  addLoop("L/sub/Two.aif", "Strings", "Jazz");
  addLoop("L/Gone.aif", "Guitars");
  addFolder("L");
  EXPECT_TRUE(indexer->removeFileURL(url("L/One.aif")) && indexer->removeFileURL(url("L/Never.aif")));
  EXPECT_FALSE(indexer->removeFileURL(url("L/It's.aif")));
  EXPECT_EQ(rows("SELECT fileName FROM Loops ORDER BY 1"), (Rows{"Gone.aif", "It's.aif", "Two.aif"}));

  fs::remove(files.path("L/Gone.aif"));
  posted.clear();
  Rows paths(10, files.path("L/Never.aif"));  // so many that indexes are made for the work
  paths.insert(paths.end(), {files.path("L/sub"), files.path("L/Gone.aif")});
  indexer->removeFilenames(paths);
  EXPECT_EQ(rows("SELECT fileName FROM Loops"), Rows{"It's.aif"});
  EXPECT_EQ(rows("SELECT count(*) FROM tagging_cache_65"), Rows{"1"});
  EXPECT_EQ(indexes(), Rows{"index_loops_fileName_isWebLoop"});
  EXPECT_EQ(posted, (Rows{kReload, kDidFinish}));
}

TEST_F(LCFileIndexingRun, ARunTellsItsEndAndReloadsWhenItWalkedAnything) {
  files.addFolder("empty");
  for (const auto& urls : {std::vector<vesk::URL>{}, {url("empty")}, {url("missing.aif")}})
    indexer->addFilenames(urls, {});
  EXPECT_EQ(posted, (Rows{kDidFinish, kDidFinish, kDidFinish, kReload}));
}

TEST_F(LCFileIndexingRun, SeveralRunsBetweenStartAndEndFinishOnceAndOnlyReloadIsPostedOnAnotherThread) {
  addLoop("L/One.aif", "Drums", "Jazz");
  const auto severalRuns = [&] {
    posted.clear();
    LCFileIndexing::startMultipleIndexRuns();
    EXPECT_TRUE(LCFileIndexing::isFileIndexingRunning());
    addFolder("L");
    LCFileIndexing::endMultipleIndexRuns(*indexer);
    EXPECT_FALSE(LCFileIndexing::isFileIndexingRunning());
  };
  severalRuns();
  EXPECT_EQ(posted, (Rows{kWillStart, kDidFinish, kReload}));
  EXPECT_EQ(rows("SELECT count(*) FROM tagging_cache_65"), Rows{"1"});
  std::thread(severalRuns).join();
  EXPECT_EQ(posted, Rows{kReload});
  vesk::drainMainQueue();
  EXPECT_EQ(posted, (Rows{kReload, kWillStart, kDidFinish}));
}

TEST_F(LCFileIndexingRun, AnAbortLeavesNothingWrittenAndStaysRunning) {
  addLoop("L/One.aif");
  const auto abortedRun = [&] {
    LCFileIndexing::abortIndexingForTermination();
    indexer->addFilenames(std::vector{url("L/One.aif"), url("L")}, "package");
    const bool isOpen = !indexer->beginBatch();  // no transaction within the one that the run left
    uint32_t count = 17;
    const bool isAborted = !addFolder("L", &count) && count == 0;
    indexer.reset();
    const bool isEmpty = rows("SELECT * FROM Loops").empty();
    std::_Exit(isAborted && isOpen && isEmpty && posted.empty() && LCFileIndexing::isFileIndexingRunning() ? 0 : 1);
  };
  // In a process of its own: the flag is never cleared.
  EXPECT_EXIT(abortedRun(), testing::ExitedWithCode(0), "");
}

TEST_F(LCFileIndexingRun, AudioFilesThatAreNoLoopsAreFound) {
  addLoop("loops/Tagged.aif");
  files.addFile("aiff/sub/Plain.AIF", fixture::aiffFile());
  files.addFile("wave/Any.dat", fixture::wavFile());
  files.addFile("damaged/Broken.caf", "no audio");
  files.addFile("texts/Read me.txt", "words");
  fs::create_symlink(files.path("wave/Any.dat"), files.path("loops/Link.dat"));
  const auto found = [&](const char* given) {
    return LCFileIndexing::anyNonVireoLoopsAudioFilesForURLs(std::vector{url("texts"), url(given)});
  };
  // Told by its content ("wave") or its name ("damaged"). A link counts when it is given itself, not inside a folder.
  for (const char* given : {"aiff", "wave", "damaged", "loops/Link.dat"}) EXPECT_TRUE(found(given)) << given;
  for (const char* given : {"loops", "loops/Tagged.aif", "texts", "missing.aif"}) EXPECT_FALSE(found(given)) << given;
  EXPECT_TRUE(LCFileIndexing::isFileIndexable(url("loops/Tagged.aif")));
  EXPECT_FALSE(LCFileIndexing::isFileIndexable(url("damaged/Broken.caf")));
}
