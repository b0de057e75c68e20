// Writing one tag into one file of 1 MB or 100 MB (two channels of silence, tags behind the audio), over and over, with
// another text each time. All files are in the page cache; what the disk does behind it is in the time only where a
// program waits for it. Without "no_sync" that is the sync of the new file, of its folder and of the journal; with it,
// the same code runs while this program lets fsync() and fdatasync() do nothing.
//   commit/…        AudioFileEdit: open, change one chunk, commit, which writes the whole file anew, compares it and
//                   renames it. A title in AIFF ("NAME") and CAF ("info"), "LIST" in WAV
//   run/…           a file of an LCTagRun: the same, with the record read before and after, checked, and the journal,
//                   without a loop database. A title in AIFF and CAF, an icon in WAV, which has no place for titles
//   floor/copy/…    the file copied beside itself by the system, synced, renamed, the folder synced
//   taglib/…        the peer: TagLib sets the title (AIFF and WAV) in the file itself, moving what stands behind it. It
//                   makes no copy and waits for no disk: without "no_sync", this program syncs the file after it
#include "BenchFolder.h"

#include "platform/audiofile/AudioFileEdit.h"
#include "platform/FileDescriptor.h"
#include "platform/Path.h"
#include "support/AudioFixture.h"
#include "VeskLoopManagement/catalog/LCTagEdit.h"
#include "VeskLoopManagement/platform/Environment.h"

#include <aifffile.h>
#include <benchmark/benchmark.h>
#include <fmt/format.h>
#include <tag.h>
#include <wavfile.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <filesystem>

namespace {

bool isSyncing = true;

}  // namespace

// In place of the system's, for everything in this process, SQLite included.
#pragma GCC visibility push(default)
extern "C" int fsync(int descriptor) {
  return isSyncing ? static_cast<int>(::syscall(SYS_fsync, descriptor)) : 0;
}
extern "C" int fdatasync(int descriptor) {
  return isSyncing ? static_cast<int>(::syscall(SYS_fdatasync, descriptor)) : 0;
}
#pragma GCC visibility pop

namespace {

// The journal beside the files, begun anew.
class BenchEnvironment : public vesk::DefaultEnvironment {
 public:
  std::string stateFolder() const override { return vesk::path::appending(benchFolder(), "writing-state"); }
};

// --- Files ---

fixture::Bytes loopOf(std::string_view extension, uint32_t frames) {
  using namespace fixture;
  if (extension == "caf") {
    const Bytes searchInfo = searchInfoPayload({{"category", "Drums"}, {"genre", "Funk"}, {"descriptors", "Dry"}});
    return cafFile({cafInfoChunk({{"title", "A title"}}), chunk("uuid", searchInfo)}, 2, frames);
  }
  if (extension == "wav") {
    return wavFile(
        {chunk("acid", acidPayload(2, 60, 8, 4, 4, 120)), chunk("LIST", infoListPayload({{"INAM", "A title"}}))}, 2,
        frames);
  }
  return aiffFile({chunk("NAME", "A title"), chunk("basc", bascPayload(8, 60, 2, 4, 4, 1)),
                   chunk("cate", catePayload("Drums", "Kick", "Funk", {"Dry"}))},
                  2, frames);
}

// Its path, the file made anew.
std::string writtenLoop(const std::string& extension, int64_t megabytes) {
  constexpr int64_t kFrameSize = 4;
  const std::string folder = vesk::path::appending(benchFolder(), "writing");
  vesk::path::createDirectories(folder);
  std::string path = vesk::path::appending(folder, fmt::format("loop-{}.{}", megabytes, extension));
  fixture::writeFile(path, loopOf(extension, static_cast<uint32_t>(megabytes * 1000000 / kFrameSize)));
  return path;
}

// --- What is done once: each sets one text, and says whether it did ---

bool commitTitle(const std::string& path, const std::string& text) {
  vesk::WriteFailure failure;
  const auto edit = vesk::AudioFileEdit::open(path, failure);
  if (!edit) return false;
  auto error = vesk::EditError::none;
  if (edit->canSetInfo()) {
    const vesk::InfoEdit title[] = {{"title", text}};
    error = edit->mergeInfo(title);
  } else if (edit->file().kind() == vesk::ContainerKind::wav) {
    error = edit->setUserData("LIST", 0, fixture::infoListPayload({{"INAM", text}}));
  } else {
    error = edit->setUserData("NAME", 0, std::as_bytes(std::span(text)));
  }
  return error == vesk::EditError::none && edit->commit(failure) == vesk::AudioFileEdit::Outcome::written;
}

bool copyByTheSystem(const std::string& path, const std::string& /*text*/) {
  const std::string copy = path + ".copy";
  const vesk::FileDescriptor from{::open(path.c_str(), O_RDONLY | O_CLOEXEC)};
  const vesk::FileDescriptor to{::open(copy.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600)};
  const std::string folderPath = vesk::path::deletingLastComponent(path);
  const vesk::FileDescriptor folder{::open(folderPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
  struct stat status {};
  if (!from.isOpen() || !to.isOpen() || ::fstat(from.get(), &status) != 0) return false;
  for (auto left = static_cast<size_t>(status.st_size); left > 0;) {
    const ssize_t count = ::copy_file_range(from.get(), nullptr, to.get(), nullptr, left, 0);
    if (count <= 0) return false;
    left -= static_cast<size_t>(count);
  }
  return ::fsync(to.get()) == 0 && ::rename(copy.c_str(), path.c_str()) == 0 && ::fsync(folder.get()) == 0;
}

template <typename File>
bool setWithTagLib(const std::string& path, const std::string& text) {
  {
    File file(path.c_str());
    if (!file.isValid()) return false;
    file.tag()->setTitle(text);
    if (!file.save()) return false;
  }
  const vesk::FileDescriptor file{::open(path.c_str(), O_RDONLY | O_CLOEXEC)};
  return ::fsync(file.get()) == 0;
}

// --- What is measured ---

using Work = bool (*)(const std::string& path, const std::string& text);

std::string textNumber(int64_t number) {
  return fmt::format("Another title {}", number);
}

auto repeated(Work work) {
  return [work](benchmark::State& state, const std::string& path) {
    int64_t number = 0;
    for (auto _ : state) {
      if (!work(path, textNumber(++number))) return state.SkipWithError("it was not written");
    }
  };
}

// One run with the same file again and again.
void repeatInRun(benchmark::State& state, const std::string& path) {
  const bool isWAV = vesk::path::extension(path) == "wav";
  int64_t number = 0;
  LCTagOptions options;
  options.nextEdit = [&]() -> std::optional<LCTagEdit> {
    if (!state.KeepRunning()) return std::nullopt;
    ++number;
    if (isWAV) return LCTagEdit{path, {{.field = LCTagField::iconId, .text = std::to_string(number)}}};
    return LCTagEdit{path, {{.field = LCTagField::title, .text = textNumber(number)}}};
  };
  LCTagObserver observer;
  const auto report = LCTagRun::run(options, observer);
  if (!report || report->changed != number) state.SkipWithError("it was not written");
}

template <typename Measured>
void add(const std::string& name, const std::string& extension, int64_t megabytes, Measured measured) {
  for (const bool syncs : {true, false}) {
    const std::string title = fmt::format("{}{}/{}/{}", syncs ? "" : "no_sync/", name, extension, megabytes);
    benchmark::RegisterBenchmark(title.c_str(),
                                 [=](benchmark::State& state) {
                                   const std::string path = writtenLoop(extension, megabytes);
                                   ::sync();  // what was written before is not waited for in our time
                                   isSyncing = syncs;
                                   measured(state, path);
                                   isSyncing = true;
                                   state.SetItemsProcessed(state.iterations());
                                   std::filesystem::remove(path);
                                 })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  vesk::Environment::setShared(std::make_shared<BenchEnvironment>());
  std::filesystem::remove_all(vesk::Environment::shared().stateFolder());
  for (const int64_t megabytes : {1, 100}) {
    for (const char* extension : {"aif", "wav", "caf"}) {
      add("commit", extension, megabytes, repeated(commitTitle));
      add("run", extension, megabytes, repeatInRun);
    }
    add("floor/copy", "aif", megabytes, repeated(copyByTheSystem));
    add("taglib", "aif", megabytes, repeated(setWithTagLib<TagLib::RIFF::AIFF::File>));
    add("taglib", "wav", megabytes, repeated(setWithTagLib<TagLib::RIFF::WAV::File>));
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
