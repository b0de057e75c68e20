// Reading the tags of one loop file, once per container (AIFF, WAV, CAF), files of 16 KB taken in turn, all in the page
// cache.
//   parse/…         LCFileParser: from URL to record with identity
//   enhanced/…      the same with the bulky payloads
//   floor/…         open, read the first and the last 1 KiB, close: the bytes that hold headers and tags
//   sf_open/…       libsndfile opens and closes the same file (headers and its own text chunks; it knows no loop tags)
#include "BenchLoops.h"

#include "VeskLoopManagement/fileio/LCFileParser.h"
#include "VeskLoopManagement/platform/URL.h"

#include <benchmark/benchmark.h>
#include <sndfile.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>

namespace {

template <typename Work>
void forEachFile(benchmark::State& state, const std::vector<std::string>& files, const Work& work) {
  size_t next = 0;
  for (auto _ : state) {
    if (!work(files[next])) {
      state.SkipWithError("a file could not be read");
      return;
    }
    next = next + 1 < files.size() ? next + 1 : 0;
  }
  state.SetItemsProcessed(state.iterations());
}

bool parse(const std::string& path, bool enhanced) {
  const auto parser = LCFileParser::fileParserForURL(vesk::URL::fileURLWithPath(path, false));
  if (!parser) return false;
  const LCFileData* fileData = enhanced ? parser->enhancedFileData() : parser->fileData();
  return fileData && fileData->hash != 0 && fileData->anySearchTags();
}

bool readHeaderBytes(const std::string& path) {
  constexpr size_t kBytes = 1024;
  std::array<char, kBytes> buffer{};
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) return false;
  struct stat status {};
  bool done = fstat(file, &status) == 0 && pread(file, buffer.data(), kBytes, 0) > 0;
  done = done && pread(file, buffer.data(), kBytes, status.st_size - static_cast<off_t>(kBytes)) > 0;
  close(file);
  benchmark::DoNotOptimize(buffer);
  return done;
}

bool openWithSndfile(const std::string& path) {
  SF_INFO info{};
  SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
  if (!file) return false;
  sf_close(file);
  return info.frames > 0;
}

void registerContainer(const std::string& extension) {
  const auto files = std::make_shared<std::vector<std::string>>(benchLoops(extension));
  const auto add = [&](const std::string& name, auto work) {
    benchmark::RegisterBenchmark((name + "/" + extension).c_str(), [files, work](benchmark::State& state) {
      forEachFile(state, *files, work);
    })->Unit(benchmark::kMicrosecond);
  };
  add("parse", [](const std::string& path) { return parse(path, false); });
  add("enhanced", [](const std::string& path) { return parse(path, true); });
  add("floor", readHeaderBytes);
  add("sf_open", openWithSndfile);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  for (const char* extension : {"aif", "wav", "caf"}) registerContainer(extension);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
