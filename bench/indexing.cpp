// Indexing runs over the 3,000 loop files (a third AIFF, WAV, CAF each; about 330 folders), all in the page cache.
//   run/new           into an empty database: read, write, end-of-run work, one transaction
//   run/again         the same files into the database that already has them
//   run/parse_only    the folder walked and every file parsed, no database
//   floor/walk_4KiB   the folder walked and the first 4 KiB of every file read
// the end-of-run work alone (group keywords, table per keyword, distribution, empty packages) on a copy of a database
// of
//   end_of_run/10000, /100000, with --large also /1000000 loops
//   end_of_small_run/…   the same after 200 loops were written: those of the keywords that they have only
// and scans of a library of 20,000 files in 200 folders that has not changed since the last one:
//   floor/find_20000     find FOLDER -printf, the peer: inode, size and times of every file
//   rescan/unchanged_20000
//   rescan/force_20000   every file is read again
#include "BenchFolder.h"
#include "BenchLoops.h"
#include "LoopDatabases.h"

#include "catalog/IndexingRun.h"
#include "database/LCTransaction.h"
#include "platform/Path.h"
#include "support/AudioFixture.h"
#include "VeskLoopManagement/catalog/LCLibraryScan.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/fileio/LCFileParser.h"
#include "VeskLoopManagement/indexing/LCFileIndexing.h"

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>

namespace {

std::string emptyDatabasePath() {
  const std::string path = vesk::path::appending(benchFolder(), "run.db");
  std::error_code error;
  std::filesystem::remove(path, error);
  return path;
}

std::unique_ptr<LCFileIndexing> indexerFor(const std::string& path) {
  return LCFileIndexing::initWithDatabaseConfiguration({path, false, kDefaultDatabaseSchemaVersion});
}

// Whether every file was indexed.
bool indexLoopFiles(LCFileIndexing& indexer, const vesk::URL& folder) {
  const auto failures = indexer.addDirectoryURL(folder, "bench", nullptr, std::nullopt, false);
  return failures && failures->empty();
}

void indexIntoEmptyDatabase(benchmark::State& state) {
  const vesk::URL folder = vesk::URL::fileURLWithPath(benchLoopsFolder());
  for (auto _ : state) {
    state.PauseTiming();
    auto indexer = indexerFor(emptyDatabasePath());
    state.ResumeTiming();
    if (!indexer || !indexLoopFiles(*indexer, folder)) state.SkipWithError("not every file was indexed");
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kBenchLoopCount));
}

void indexAgain(benchmark::State& state) {
  const vesk::URL folder = vesk::URL::fileURLWithPath(benchLoopsFolder());
  const auto indexer = indexerFor(emptyDatabasePath());
  if (!indexer || !indexLoopFiles(*indexer, folder)) state.SkipWithError("not every file was indexed");
  for (auto _ : state) {
    if (!indexLoopFiles(*indexer, folder)) state.SkipWithError("not every file was indexed");
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kBenchLoopCount));
}

template <typename Work>
void walk(benchmark::State& state, const Work& work) {
  const std::string folder = benchLoopsFolder();
  for (auto _ : state) {
    for (const std::string& subpath : vesk::path::subpaths(folder)) {
      const std::string path = vesk::path::appending(folder, subpath);
      if (!vesk::path::isDirectory(path) && !work(path)) state.SkipWithError("a file could not be read");
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kBenchLoopCount));
}

bool parse(const std::string& path) {
  const auto parser = LCFileParser::fileParserForURL(vesk::URL::fileURLWithPath(path, false));
  return parser && parser->fileData();
}

bool readFirstBytes(const std::string& path) {
  std::array<char, 4096> buffer{};
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return false;
  const bool done = read(file, buffer.data(), buffer.size()) > 0;
  close(file);
  benchmark::DoNotOptimize(buffer);
  return done;
}

void endOfRun(benchmark::State& state) {
  const std::string copy = vesk::path::appending(benchFolder(), "end-of-run.db");
  std::filesystem::copy_file(loopDatabase(static_cast<size_t>(state.range(0))), copy,
                             std::filesystem::copy_options::overwrite_existing);
  const auto indexer = indexerFor(copy);
  if (!indexer) state.SkipWithError("the database could not be opened");
  for (auto _ : state) indexer->finishIndexingInBlock(true);
  state.counters["MB"] = static_cast<double>(std::filesystem::file_size(copy)) / 1e6;
}

void endOfSmallRun(benchmark::State& state) {
  const std::string copy = vesk::path::appending(benchFolder(), "end-of-run.db");
  std::filesystem::copy_file(loopDatabase(static_cast<size_t>(state.range(0))), copy,
                             std::filesystem::copy_options::overwrite_existing);
  const auto indexer = indexerFor(copy);
  if (!indexer) return state.SkipWithError("the database could not be opened");
  lc::IndexingRun(*indexer, lc::IndexingRun::Kind::scan).finish();
  int64_t loopId = 0;
  for (auto _ : state) {
    state.PauseTiming();
    lc::IndexingRun run(*indexer, lc::IndexingRun::Kind::scan);
    LCTransaction batch(indexer->sqlite3Connection(), LCTransaction::Begin::immediately);
    run.claim();
    for (int number = 0; number < 200; ++number) {
      const LCFileData loop{.hash = ++loopId,
                            .descriptors = vesk::StringSet{"Dry", "Harmonica"},
                            .storedFileURL = vesk::URL::fileURLWithPath("/new/" + std::to_string(loopId), false)};
      if (!indexer->writeFileData(loop, std::nullopt)) state.SkipWithError("a loop could not be written");
    }
    if (!batch.commit()) state.SkipWithError("the loops could not be written");
    state.ResumeTiming();
    run.finish();
  }
}

// --- A library that does not change ---

constexpr size_t kLibraryFiles = 20000;

std::string libraryFolder() {
  const std::string folder = vesk::path::appending(benchFolder(), "library-1");
  const std::string whole = folder + ".whole";
  if (vesk::path::exists(whole)) return folder;
  const auto bytes = fixture::wavFile({}, 1, 100, 16, 8000);
  for (size_t number = 0; number < kLibraryFiles; ++number) {
    const std::string home = vesk::path::appending(folder, "Pack " + std::to_string(number / 100));
    vesk::path::createDirectories(home);
    fixture::writeFile(vesk::path::appending(home, "Amber Loop " + std::to_string(number) + ".wav"), bytes);
  }
  vesk::path::writeFileAtomically(whole, "");
  return folder;
}

LCScanReport scanLibrary(bool readsEveryFile) {
  LCScanObserver observer;
  const std::string database = vesk::path::appending(benchFolder(), "library.db");
  const auto report =
      LCLibraryScan::run(database, {.paths = {libraryFolder()}, .readsEveryFile = readsEveryFile}, observer);
  return report ? *report : LCScanReport{};
}

void rescan(benchmark::State& state, bool readsEveryFile) {
  scanLibrary(false);
  for (auto _ : state) {
    const auto report = scanLibrary(readsEveryFile);
    const int64_t right = readsEveryFile ? report.indexed : report.unchanged;
    if (right != static_cast<int64_t>(kLibraryFiles)) state.SkipWithError("not every file was as expected");
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kLibraryFiles));
}

void find(benchmark::State& state) {
  const std::string command = "find '" + libraryFolder() + "' -printf '%p %i %s %T@ %C@\\n' > /dev/null";
  for (auto _ : state) {
    if (std::system(command.c_str()) != 0) state.SkipWithError("find failed");
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kLibraryFiles));
}

}  // namespace

int main(int argc, char** argv) {
  const bool large = takeLargeOption(argc, argv);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;

  using benchmark::RegisterBenchmark;
  RegisterBenchmark("run/new", indexIntoEmptyDatabase)->Unit(benchmark::kMillisecond)->UseRealTime();
  RegisterBenchmark("run/again", indexAgain)->Unit(benchmark::kMillisecond)->UseRealTime();
  RegisterBenchmark("run/parse_only", [](benchmark::State& state) { walk(state, parse); })
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
  RegisterBenchmark("floor/walk_4KiB", [](benchmark::State& state) { walk(state, readFirstBytes); })
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
  RegisterBenchmark("end_of_run", endOfRun)->Unit(benchmark::kMillisecond)->UseRealTime()->Arg(10000)->Arg(100000);
  RegisterBenchmark("end_of_small_run", endOfSmallRun)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime()
      ->Arg(10000)
      ->Arg(100000);
  if (large) {
    for (const auto& [name, work] : {std::pair("end_of_run", &endOfRun), {"end_of_small_run", &endOfSmallRun}}) {
      RegisterBenchmark(name, work)->Unit(benchmark::kMillisecond)->UseRealTime()->Arg(1000000)->Iterations(1);
    }
  }
  RegisterBenchmark("floor/find_20000", find)->Unit(benchmark::kMillisecond)->UseRealTime();
  RegisterBenchmark("rescan/unchanged_20000", rescan, false)->Unit(benchmark::kMillisecond)->UseRealTime();
  RegisterBenchmark("rescan/force_20000", rescan, true)->Unit(benchmark::kMillisecond)->UseRealTime();
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
