// Scans of what was scanned before: which files are read again, and that little work leaves what all of it would.
#include "CatalogTest.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/indexing/LCFileIndexing.h"

#include <random>

namespace {

namespace fs = std::filesystem;

using Rescan = CatalogTest;

TEST_F(Rescan, ReadsOnlyWhatItCannotKnow) {
  const std::string b = add("l/B.aif");
  add("l/sub/A.aif", loopFile({.genre = "Jazz"}));
  add("l/sub/C.wav", fixture::wavFile());
  add("l/broken.aif", fixture::bytesOf("FORM"));
  folder.addFile("l/notes.txt", "x");
  scan({.paths = {"l"}});
  const fs::path copy = path("copy.db");
  const auto rewrite = [&](const char* name) {
    const auto modified = fs::last_write_time(path(name));
    fs::copy_file(path(name), path("aside"));
    fs::copy_file(path("aside"), path(name), fs::copy_options::overwrite_existing);
    fs::remove(path("aside"));
    fs::last_write_time(path(name), modified);
  };
  struct Case {
    const char* why;
    int64_t read;
    std::function<void()> before = [] {};
    LCScanRequest request = {.paths = {"l"}};
  };
  const LCScanRequest all{.paths = {"l"}};
  const Case cases[] = {
      {"nothing has changed", 0},
      {"asked for", 3, {[] {}}, {.paths = {"l"}, .readsEveryFile = true}},
      {"written as it was, its time set back", 1, [&] { rewrite("l/B.aif"); }},
      {"a file alone", 0, [] {}, {.paths = {"l/B.aif"}}},
      {"passed over, and so not forgotten", 0, [] {}, {.paths = {"l"}, .excludedPatterns = {"*.aif"}}},
      {"taken again", 0},
      {"the row was taken out", 1,
       [&] { valueOf(open({.access = LCCatalogAccess::mark})->remove(std::vector{place("B.aif")})); }},
      {"into a package", 3, [] {}, {.paths = {"l"}, .package = "Mine"}},
      {"in it already", 0, [&] { fs::copy_file(file, copy); }, {.paths = {"l"}, .package = "Mine"}},
      {"other rules", 3, [] {}, {.paths = {"l"}, .readsPathKeywords = false}},
      {"the first rules again", 3},
      {"an older database", 3, [&] { fs::copy_file(copy, file, fs::copy_options::overwrite_existing); }},
      {"no cache", 3, [&] { fs::remove_all(environment->cacheFolder()); }},
      {"nothing", 0},
      {"no row of another database is believed", 3, [&] { fs::remove(file); }},
      {"tagged ones only", 0, [] {}, {.paths = {"l"}, .onlyTagged = true}},
      {"marked", 0, [&] { execute("INSERT INTO UserData SELECT id, 1, 0, '' FROM Loops"); }},
  };
  for (const auto& [why, read, before, request] : cases) {
    before();
    const auto modified = fs::exists(file) ? fs::last_write_time(file) : fs::file_time_type();
    const int64_t told = scan([&, dry = request]() mutable { return dry.isDryRun = true, dry; }()).unchanged;
    const auto report = scan(request);
    const int64_t taken = request.paths[0] != "l" || !request.excludedPatterns.empty() ? 1 : request.onlyTagged ? 2 : 3;
    EXPECT_EQ(report.indexed, read) << why;
    EXPECT_EQ(report.unchanged, taken - read) << why;
    EXPECT_EQ(told, report.unchanged) << why;
    EXPECT_EQ(fs::last_write_time(file) == modified, read == 0) << why;
    if (taken > 1) {
      EXPECT_EQ(log.failures, Rows{"broken.aif: malformed"}) << why;
      EXPECT_EQ(fmt::format("{} {}", report.untagged, report.unsupported), "1 1") << why;
    }
  }
  rename("l/B.aif", "l/D.aif");  // marks that were put on a file that was not read again
  fs::remove_all(environment->cacheFolder());
  EXPECT_EQ(scan(all).carried, 1);
}

TEST_F(Rescan, AFileTakesTheRowOfItsNamesakeThatIsGoneOrHasOtherTags) {
  add("l/one/Same.aif"), add("l/two/Same.aif"), add("m/Same.aif");
  scan({.paths = {"l", "m"}});
  EXPECT_EQ(paths(), Rows{"m/Same.aif"});
  const auto report = scan({.paths = {"l"}});
  EXPECT_TRUE(report.unchanged == 2 && report.sameIdentity.pathsOfLoop.size() == 1);
  EXPECT_EQ(paths(), Rows{"m/Same.aif"});
  add("m/Same.aif", loopFile({.genre = "Jazz"}));
  EXPECT_EQ(scan({.paths = {"l"}}).indexed, 1);
  EXPECT_EQ(paths(), Rows{"l/one/Same.aif"});
  fs::remove(path("l/one/Same.aif"));
  EXPECT_EQ(scan({.paths = {"l"}}).indexed, 1);
  EXPECT_EQ(paths(), Rows{"l/two/Same.aif"});
  add("m/Same.aif");
  scan({.paths = {"m"}, .readsEveryFile = true});
  EXPECT_EQ(paths(), Rows{"m/Same.aif"});
  fs::remove(path("m/Same.aif"));
  for (const bool isDryRun : {true, false}) {
    EXPECT_EQ(scan({.paths = {"m"}, .prunes = true, .isDryRun = isDryRun}).removed, 0);
    EXPECT_EQ(paths(), Rows{isDryRun ? "m/Same.aif" : "l/two/Same.aif"});
  }
}

TEST_F(Rescan, DoesTheWorkThatAKilledRunHasLeft) {
  add("l/A.aif");
  scan({.paths = {"l"}});
  const Rows distribution = rows("SELECT * FROM keyword_distribution");
  execute(
      "DELETE FROM keyword_distribution; DROP TABLE tagging_cache_65;"
      "INSERT INTO DatabaseMigrationInfos (key, textValue) VALUES ('UNFINISHED_RUN', 'another')");
  EXPECT_EQ(scan({.paths = {"l"}}).indexed, 0);
  EXPECT_EQ(rows("SELECT * FROM keyword_distribution"), distribution);
  EXPECT_EQ(rows("SELECT count(*) FROM tagging_cache_65"), Rows{"0"});
  EXPECT_EQ(rows("SELECT count(*) FROM DatabaseMigrationInfos WHERE key = 'UNFINISHED_RUN'"), Rows{"0"});
}

// Every table of the database, row by row; of Tagging the order of the rows is left open.
Rows contentsOf(const std::string& file) {
  const LCConnection connection = lc::openConnection(file, LCOpenMode::readOnly);
  Rows contents = rowsOf(connection.get(), "SELECT type, name, sql FROM sqlite_master ORDER BY name");
  for (const auto& table :
       rowsOf(connection.get(), "SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name")) {
    if (table == "DatabaseMigrationInfos") continue;
    const std::string order = table == "Tagging" ? "loopId, keywordId" : "rowid";
    for (const auto& row : rowsOf(connection.get(), "SELECT * FROM " + table + " ORDER BY " + order))
      contents.push_back(table + ": " + row);
  }
  return contents;
}

TEST_F(Rescan, ASmallRunLeavesWhatAllOfTheWorkWould) {
  std::mt19937 random(20261122);
  const auto below = [&](size_t limit) { return random() % limit; };
  const char* genres[] = {"Jazz", "Urban", "Tech House", "Zorp", "Quux", ""};  // of groups, and of no dictionary
  const vesk::StringSet descriptors[] = {{"Dry"}, {"Harmonica", "Dark"}, {"Explosions"}, {}};
  const auto name = [&] { return fmt::format("l/{}/L{}.aif", below(3), below(9)); };
  for (int number = 0; number < 20; ++number) add(fmt::format("l/0/F{}.aif", number));
  scan({.paths = {"l"}});
  for (int step = 0; step < 40; ++step) {
    for (size_t change = 0, count = below(4); change < count; ++change) {
      const std::string at = name(), to = name();
      switch (below(4)) {
        case 0:
          fs::remove(path(at));
          break;
        case 1:
          if (fs::exists(path(at)) && fs::exists(fs::path(path(to)).parent_path())) rename(at, to);
          break;
        default: {
          const auto& words = descriptors[below(4)];
          add(at, loopFile({.genre = genres[below(6)], .descriptors = {words.begin(), words.end()}}));
        }
      }
    }
    if (below(8) == 0) fs::remove_all(environment->cacheFolder());
    LCScanRequest request{.paths = {"l"}, .prunes = below(2) == 0, .batchSize = 1 + static_cast<int64_t>(below(3))};
    if (below(4) == 0) request.package = fmt::format("Package {}", below(3));
    scan(request);
    const std::string all = path("all.db");
    fs::copy_file(file, all, fs::copy_options::overwrite_existing);
    LCFileIndexing::initWithDatabaseConfiguration({all, false, kDefaultDatabaseSchemaVersion})
        ->finishIndexingInBlock(true);
    const Rows small = contentsOf(file), whole = contentsOf(all);
    const auto [one, other] = std::mismatch(small.begin(), small.end(), whole.begin(), whole.end());
    ASSERT_TRUE(one == small.end() && other == whole.end()) << step << ": " << *one << " is not " << *other;
  }
}

}  // namespace
