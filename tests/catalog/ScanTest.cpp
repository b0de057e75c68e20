// What scans walk, write, copy, take out and count.
#include "catalog/FileStates.h"
#include "CatalogTest.h"
#include "VeskLoopManagement/catalog/LCLibraryFolders.h"
#include "VeskLoopManagement/fileio/LCFileParser.h"

#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;

using Scan = CatalogTest;

TEST_F(Scan, CountsEveryFileOnceAndSaysWhyTheBrokenOnesAreNotIn) {
  add("loops/A.aif");
  add("loops/sub/B.aif", loopFile({.genre = "Jazz"}));
  add("loops/C.aif", fixture::aiffFile());
  for (const char* name : {"loops/notes.txt", "loops/broken.aif", "loops/._A.aif"}) folder.addFile(name, "FORM");
  add("loops/__MACOSX/D.aif");
  add("outside/E.aif");
  fs::create_symlink("nowhere.aif", path("loops/gone.aif"));
  fs::create_directory_symlink("../loops", path("loops/cycle"));
  fs::create_directory_symlink("sub", path("loops/alias"));  // comes before "sub" by name
  fs::create_directory_symlink("../outside", path("loops/more"));
  ASSERT_EQ(mkfifo(path("loops/pipe.aif").c_str(), 0600), 0);  // reading it would wait for ever
  const auto report = scan({.paths = {"loops", "none.aif", "loops/pipe.aif", "loops/sub"}});
  EXPECT_EQ(report.walked, 9);
  EXPECT_EQ(figures(report), Rows{"4 4 1 4 1"});
  EXPECT_EQ(log.done, 9);
  EXPECT_EQ(log.failures,
            (Rows{"broken.aif: malformed", "gone.aif: unreadable", "none.aif: notFound", "pipe.aif: unreadable"}));
  EXPECT_EQ(paths(), (Rows{"loops/A.aif", "loops/sub/B.aif", "loops/C.aif", "outside/E.aif"}));
  EXPECT_EQ(names({.keywords = {"Jazz"}}), Rows{"B.aif"});  // the end-of-run tables are there
}

TEST_F(Scan, ADryRunTellsWhatItLeavesOutAndChangesNothing) {
  for (const char* path : {"l/a.aif", "l/old/b.aif", "l/x/old/c.aif", "l/x/d.aif", "l/e.wav"}) add(path);
  EXPECT_EQ(scan({.paths = {"l"}, .excludedPatterns = {"x/old", "*.wav"}, .isDryRun = true}).walked, 3);
  const auto told = scan({.paths = {"l"}, .package = "X", .copyTo = "out", .prunes = true, .isDryRun = true});
  EXPECT_EQ(figures(told), Rows{"5 5 1 0 0"});
  EXPECT_FALSE(fs::exists(file) || fs::exists(path("out")) || fs::exists(environment->cacheFolder()));
}

TEST_F(Scan, RemembersItsFoldersAndScansThemAgain) {
  for (const char* name : {"Drums/Jungle/A.aif", "Drums/B.aif", "Jungle/C.aif", "out/D.aif"}) add(name);
  LCLibraryFolders folders(file);
  const LCScanRequest again{.paths = {}, .scansRememberedFolders = true};
  EXPECT_EQ(kindOf(tryToScan(again)), "usage");
  EXPECT_FALSE(fs::exists(file));
  fs::create_directory_symlink("Drums", path("link"));
  const std::pair<LCScanRequest, Rows> cases[] = {
      {{.paths = {"Drums"}, .isDryRun = true}, {}},
      {{.paths = {"Jungle/C.aif"}}, {}},  // a file
      {{.paths = {"Drums/Jungle"}}, {"Drums/Jungle"}},
      {{.paths = {"link"}}, {"Drums"}},  // where it leads, and instead of what lies below
      {{.paths = {"Drums/Jungle"}}, {"Drums"}},
      {{.paths = {"out"}, .copyTo = "copies"}, {"Drums", "copies"}}};
  for (const auto& [request, remembered] : cases) {
    scan(request);
    Rows expected;
    for (const auto& each : remembered) expected.push_back(path(each));
    EXPECT_EQ(folders.list(), expected);
  }
  // Of a file that was named alone, its own folder counts.
  EXPECT_EQ(names({.words = {"jungle"}}), (Rows{"A.aif", "C.aif"}));
  EXPECT_EQ(names({.words = {"drums"}}), Rows{});
  add("Drums/New.aif", loopFile({.genre = "Jazz"}));
  EXPECT_EQ(scan(again).walked, 4);
  EXPECT_EQ(names({.genre = "Jazz"}), Rows{"New.aif"});
  EXPECT_TRUE(valueOf(folders.remove(path("link"))));
  fs::remove_all(environment->cacheFolder());
  EXPECT_EQ(LCLibraryFolders(file).list(), Rows{path("copies")});
  EXPECT_TRUE(LCLibraryFolders(path("other.db")).list().empty());
}

TEST_F(Scan, FilesOfOneIdentityAreToldOnlyWhileBothAreThere) {
  const std::string one = add("l/one/Same.aif"), two = add("l/two/Same.aif");
  const auto groups = scan({.paths = {"l"}}).sameIdentity.pathsOfLoop;
  ASSERT_EQ(groups.size(), 1u);
  EXPECT_EQ(groups.begin()->second, (std::set<std::string>{one, two}));
  EXPECT_EQ(paths(), Rows{"l/two/Same.aif"});
  fs::remove(two);  // as if it had been moved to "one"
  const auto report = scan({.paths = {"l"}});
  EXPECT_TRUE(report.walked == 1 && report.sameIdentity.pathsOfLoop.empty());
  EXPECT_EQ(paths(), Rows{"l/one/Same.aif"});
}

TEST_F(Scan, APackageIsMadeOnceAndFoundByNameAndIdentifier) {
  for (const char* name : {"a/A.aif", "b/B.aif", "c/C.aif"}) add(name);
  const std::string name = "My \"own\" it's", identifier = "com.vireo.loops.UserDomain.User LoopsMy \"own\" it's";
  scan({.paths = {"a"}, .package = name});
  scan({.paths = {"b"}, .package = "my \"OWN\" it's"});
  scan({.paths = {"c"}, .package = identifier});
  EXPECT_EQ(valueOf(open()->packages()), (std::vector<LCPackage>{{identifier, name, "User Loops", false, 3}}));
  EXPECT_EQ(names({.package = name}), (Rows{"A.aif", "B.aif", "C.aif"}));
  const auto unknown = tryToScan({.paths = {"a"}, .package = "com.vireo.loops.X"});  // no name, and no known identifier
  EXPECT_EQ(kindOf(unknown), "notFound");
}

TEST_F(Scan, CopiesAndMovesAreIndexedAndNothingIsOverwritten) {
  add("src/sub/A.aif");
  add("src/it's.aif", loopFile({.genre = "Funk"}));
  add("N.aif", loopFile({.genre = "Urban"}));
  scan({.paths = {"N.aif"}, .package = "Kept"});
  folder.addFile("taken/N.aif", "x");
  const Rows inside = {"src/out/sub/A.aif", "src/out/it's.aif", "N.aif"};
  const Rows moved = {"moved/A.aif", "src/out/it's.aif", "N.aif"};
  const std::tuple<const char*, const char*, bool, Rows, Rows> cases[] = {
      // failures; where the rows lead then
      {"src", "src/out", false, {}, inside},
      // Again: the copies are there already and stay indexed; the folder of the copies is not copied into itself.
      {"src", "src/out", false, {}, inside},
      {"src/out/sub/A.aif", "src/sub", true, {}, {"src/sub/A.aif", "src/out/it's.aif", "N.aif"}},
      {"src/sub/A.aif", "moved", true, {}, moved},
      {"N.aif", "taken/N.aif", false, {"N.aif: copyFailed"}, moved},
      {"N.aif", "taken", true, {"N.aif: destinationExists"}, moved}};
  for (const auto& [from, to, moves, failures, stored] : cases) {
    scan({.paths = {from}, .copyTo = to, .movesInsteadOfCopying = moves});
    EXPECT_EQ(log.failures, failures);
    EXPECT_EQ(paths(), stored) << from << " to " << to;
  }
  EXPECT_FALSE(fs::exists(path("src/sub/A.aif")));
  EXPECT_TRUE(fs::exists(path("N.aif")));
  EXPECT_EQ(names({.package = "Kept"}), Rows{"N.aif"});  // what could not be copied is as it was
}

TEST_F(Scan, PruningTakesOutWhatIsGoneBelowTheFolderOnlyAndKeepsPlaceholders) {
  for (const char* path : {"l/A.aif", "l/B.aif", "l/D.aif", "l2/C.aif"}) add(path);
  const fixture::Pairs tags = {{"category", "Drums"}, {"beat count", "4"}};
  add("l/Web.caf", fixture::cafFile({fixture::chunk("uuid", fixture::searchInfoPayload(tags)),
                                     fixture::chunk("uuid", fixture::uuidPayload(fixture::kWebLoopID))}));
  EXPECT_EQ(scan({.paths = {"l", "l2"}}).indexed, 5);
  for (const char* gone : {"l/A.aif", "l/D.aif", "l2/C.aif", "l/Web.caf"}) fs::remove(path(gone));
  EXPECT_EQ(scan({.paths = {"l"}, .prunes = true, .isDryRun = true}).removed, 2);
  EXPECT_EQ(names().size(), 5u);
  EXPECT_EQ(scan({.paths = {"l"}, .prunes = true, .batchSize = 1}).removed, 2);
  EXPECT_EQ(names(), (Rows{"B.aif", "C.aif", "Web.caf"}));
}

// The database ends the transaction of itself when the second file is written.
TEST_F(Scan, ABatchThatFailsEndsTheScanAndNothingIsRememberedOfItsFiles) {
  add("First.aif");
  scan({.paths = {"First.aif"}});
  execute(
      "CREATE TRIGGER refusing BEFORE INSERT ON Loops WHEN NEW.fileName = 'Z.aif' "
      "BEGIN SELECT RAISE(ROLLBACK, 'refused'); END");
  for (const char* name : {"l/A.aif", "l/B.aif", "l/Z.aif"}) add(name);
  for (const int64_t batchSize : {3, 2}) {
    EXPECT_EQ(kindOf(tryToScan({.paths = {"l"}, .batchSize = batchSize})), "database");
    EXPECT_EQ(names(), batchSize == 3 ? Rows{"First.aif"} : (Rows{"A.aif", "B.aif", "First.aif"}));
    lc::FileStates states(file, lc::FileStates::Use::readOnly);
    EXPECT_EQ(states.fileWithURL("file://" + path("l/A.aif")).has_value(), batchSize == 2);
  }
}

}  // namespace
