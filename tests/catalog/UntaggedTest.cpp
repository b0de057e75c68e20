// Whole libraries as people have them: files without tags, links, hidden files, namesakes, marks that outlive the
// cache.
#include "CatalogTest.h"

#include "VeskLoopManagement/fileio/LCRexFileParser.h"

namespace {

namespace fs = std::filesystem;

using Untagged = CatalogTest;

TEST_F(Untagged, EveryFileOfALibraryIsFoundByItsOwnAndItsFoldersName) {
  const char* types[] = {"wav", "aif", "aifc", "caf"};
  for (int number = 0; number < 40; ++number) {
    const fixture::Bytes bytes[] = {fixture::wavFile(), fixture::aiffFile(), fixture::aiffFile(), fixture::cafFile({})};
    add(fmt::format("l/Xyzzy {}/qq{}.{}", number % 5, number, types[number % 4]), bytes[number % 4]);
  }
  add("l/Xyzzy 0/same.wav", fixture::wavFile());
  add("l/Xyzzy 1/same.wav", fixture::wavFile());
  add("l/Tagged.aif");
  EXPECT_EQ(figures(scan({.paths = {"l"}, .isDryRun = true})), Rows{"43 42 42 0 0"});
  const auto report = scan({.paths = {"l"}});
  EXPECT_EQ(figures(report), Rows{"43 42 42 0 0"});
  EXPECT_EQ(std::ssize(report.sameIdentity.pathsOfLoop), 1);
  EXPECT_EQ(names({.words = {"Xyzzy"}}).size(), 41u);
  for (int number = 0; number < 40; ++number) {
    const std::string name = fmt::format("qq{}.{}", number, types[number % 4]);
    EXPECT_EQ(names({.words = {name}}), Rows{name});
  }
  EXPECT_EQ(rows("SELECT count(*) FROM Tagging JOIN Loops ON id = loopId WHERE fileName != 'Tagged.aif'"), Rows{"0"});
  for (const auto& loop : valueOf(valueOf(open()->search({.words = {"Xyzzy"}})).page({})).loops) {
    EXPECT_FALSE(loop.genre || loop.instrument || !loop.descriptors.empty()) << loop.fileName;
  }
  // Only tagged ones, copied and moved ones; what the AIFF writers of others leave counts as tagged.
  EXPECT_EQ(figures(scan({.paths = {"l"}, .onlyTagged = true})), Rows{"0 0 42 0 0"});
  EXPECT_EQ(figures(scan({.paths = {"l"}, .readsEveryFile = true, .onlyTagged = true})), Rows{"1 1 42 0 0"});
  EXPECT_EQ(figures(scan({.paths = {"l/Xyzzy 2"}, .copyTo = "c"})), Rows{"8 8 8 0 0"});
  EXPECT_EQ(figures(scan({.paths = {"c"}, .copyTo = "m", .movesInsteadOfCopying = true})), Rows{"8 8 8 0 0"});
  EXPECT_FALSE(fs::exists(path("c/qq2.aifc")) || !fs::exists(path("m/qq2.aifc")));
  add("e.aif", fixture::loopFile({.instrument = "", .subInstrument = "", .genre = "", .descriptors = {}}));
  EXPECT_EQ(figures(scan({.paths = {"e.aif"}, .onlyTagged = true})), Rows{"1 1 0 0 0"});
}

TEST_F(Untagged, AFileHasOnePlaceWhateverLinksLeadToIt) {
  add("real/sub/A.wav", fixture::wavFile());
  add("real/.hidden/B.wav", fixture::wavFile());
  add("real/.C.wav", fixture::wavFile());
  fs::create_symlink("nowhere", path("real/README"));
  fs::create_symlink("nowhere", path("real/D.aifc"));
  fs::create_directory_symlink("real", path("link"));
  fs::create_symlink(path("link/sub/A.wav"), path("E.wav"));
  EXPECT_EQ(figures(scan({.paths = {"link", "E.wav", "real/D.aifc"}})), Rows{"1 1 2 2 1"});
  EXPECT_EQ(log.failures, (Rows{"D.aifc: unreadable", "D.aifc: unreadable"}));
  EXPECT_EQ(paths(), Rows{"real/sub/A.wav"});
  const auto catalog = open();
  for (const char* way : {"real", "link"}) {
    EXPECT_EQ(paths({.folder = path(way)}).size(), 1u) << way;
    EXPECT_EQ(valueOf(catalog->places({.folder = path(way)})).size(), 1u) << way;
    EXPECT_EQ(kindOf(catalog->place(LCLoopReference::ofPath(path(way) + "/sub/A.wav"))), "") << way;
  }
  EXPECT_EQ(kindOf(catalog->place(LCLoopReference::ofPath(path("E.wav")))), "");
  EXPECT_EQ(scan({.paths = {"link"}, .withHidden = true}).loops, 2);  // the hidden ones
  fs::remove(path("real/sub/A.wav"));
  EXPECT_EQ(scan({.paths = {"link"}, .prunes = true}).removed, 1);
}

TEST_F(Untagged, MarksFollowTheirFileAlsoWithoutTheCache) {
  add("l/Amber.wav", fixture::wavFile());
  scan({.paths = {"l"}});
  const auto mark = [this](const char* name) {
    valueOf(open({.access = LCCatalogAccess::mark})->mark(std::vector{place(name)}, {.isFavorite = true}));
  };
  mark("Amber.wav");
  for (const auto& [from, to] : {std::pair("Amber.wav", "Birch.wav"), {"Birch.wav", "Cedar.wav"}}) {
    rename(std::string("l/") + from, std::string("l/") + to);
    fs::remove_all(environment->cacheFolder());
    EXPECT_EQ(scan({.paths = {"l"}}).carried, 1) << to;
    EXPECT_EQ(names({.onlyFavorites = true}), Rows{to});
  }
  // Nor with one that cannot be written, which is said once.
  fs::remove_all(environment->cacheFolder());
  fs::copy_file(path("l/Cedar.wav"), environment->cacheFolder());
  rename("l/Cedar.wav", "l/Dogwood.wav");
  log.warnings.clear();
  EXPECT_EQ(scan({.paths = {"l"}, .batchSize = 1}).carried, 1);
  ASSERT_EQ(log.warnings.size(), 1u);
  EXPECT_NE(log.warnings[0].find("will not follow"), std::string::npos) << log.warnings[0];
}

struct Adapter : LCREXFileAdapter {
  std::optional<LCFileData> fileDataForURL(const vesk::URL& url) override {
    LCFileData data;
    data.bpm = 97;
    return url.path().ends_with("bad.rex") ? std::nullopt : std::optional(data);
  }
};

TEST_F(Untagged, FilesWithoutAContainerOfTheirOwnAreFoundByWhatStandsBesideOrInThem) {
  const fixture::Bytes fork = fixture::soundDesignerFork('2', "44100.0000", '2');
  add("l/Low Tom", fixture::Bytes(400));
  add("l/._Low Tom", fork);
  add("l/High Tom.SD2", fixture::Bytes(800));
  add("l/.AppleDouble/High Tom.SD2", fork);
  add("l/lost.sd2", fixture::Bytes(400));
  add("l/cover.png", fixture::Bytes(400));
  add("l/._cover.png", fixture::bytesOf("no parameters of audio"));
  add("l/Snare.rx2", fixture::bytesOf("CAT "));
  add("l/bad.rex", fixture::bytesOf("CAT "));
  folder.addFile("l/Kick.loopdata", *vesk::path::readFile(TEST_DATA_DIR "/record.loopdata"));
  add("l/not.loopdata", fork);
  EXPECT_EQ(figures(scan({.paths = {"l"}})), Rows{"1 1 0 1 6"}) << "the switch is off, and there is no adapter";

  LCFileParser::setAllowsSDIIFiles(true);
  LCRexFileParser::registerREXFileAdapterClass([] { return std::make_unique<Adapter>(); });
  EXPECT_EQ(figures(scan({.paths = {"l"}, .readsPathKeywords = false})), Rows{"4 4 3 3 1"});
  EXPECT_EQ(log.failures, (Rows{"bad.rex: unreadable", "lost.sd2: malformed", "not.loopdata: malformed"}));
  EXPECT_EQ(paths({.loopTypes = {kLoopTypeAudio}}),
            (Rows{"l/High Tom.SD2", "l/Kick.loopdata", "l/Low Tom", "l/Snare.rx2"}));

  // The fork goes with the file, or both stay.
  add("m/Low Tom", fixture::Bytes(1));
  add("m/.AppleDouble/High Tom.SD2", fixture::Bytes(1));
  const LCScanRequest move{.paths = {"l/Low Tom", "l/High Tom.SD2"}, .copyTo = "m", .movesInsteadOfCopying = true};
  EXPECT_EQ(figures(scan(move)), Rows{"0 0 0 2 0"});
  fs::remove_all(path("m"));
  EXPECT_EQ(figures(scan(move)), Rows{"2 2 0 0 0"});
  EXPECT_TRUE(fs::exists(path("m/._Low Tom")) && fs::exists(path("m/.AppleDouble/High Tom.SD2")));
  EXPECT_FALSE(fs::exists(path("l/._Low Tom")) || fs::exists(path("l/.AppleDouble/High Tom.SD2")));
  LCRexFileParser::registerREXFileAdapterClass({});
  LCFileParser::setAllowsSDIIFiles(false);
}

}  // namespace
