// Any bytes as an audio file, and as the companion file of a Sound Designer II file: every question is asked of what
// opens.
#include "VeskLoopManagement/platform/audiofile/AudioFile.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

// A file that lives in memory only, reachable by a path.
class MemoryFile {
 public:
  MemoryFile() : m_descriptor(::memfd_create("input", MFD_CLOEXEC)) { require(m_descriptor >= 0); }
  ~MemoryFile() { ::close(m_descriptor); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  std::string path() const { return "/proc/self/fd/" + std::to_string(m_descriptor); }
  void fill(const uint8_t* data, size_t size) const {
    require(::ftruncate(m_descriptor, 0) == 0);
    require(::pwrite(m_descriptor, data, size, 0) == static_cast<ssize_t>(size));
  }

 private:
  int m_descriptor;
};

// A folder in which the input is the companion "._loop" of an audio file without a header.
class Stage {
 public:
  Stage() {
    static constexpr uint8_t kSilence[64] = {};
    m_loop.fill(kSilence, sizeof kSilence);
    char folder[] = "/tmp/vesk-fuzz-XXXXXX";
    require(::mkdtemp(folder) != nullptr);
    m_folder = folder;
    require(::symlink(m_loop.path().c_str(), loopPath().c_str()) == 0);
    require(::symlink(m_input.path().c_str(), companionPath().c_str()) == 0);
  }
  ~Stage() {
    ::unlink(loopPath().c_str());
    ::unlink(companionPath().c_str());
    ::rmdir(m_folder.c_str());
  }

  const MemoryFile& input() const { return m_input; }
  std::string loopPath() const { return m_folder + "/loop"; }

 private:
  std::string companionPath() const { return m_folder + "/._loop"; }

  MemoryFile m_input;
  MemoryFile m_loop;
  std::string m_folder;
};

void askEverything(const vesk::AudioFile& file) {
  std::map<vesk::FourCC, size_t> seen;
  uint64_t position = 0;
  for (const vesk::AudioChunk& chunk : file.chunks()) {
    require(chunk.headerOffset >= position);
    require(chunk.dataOffset <= file.fileSize() && chunk.size <= file.fileSize() - chunk.dataOffset);
    position = chunk.dataOffset + chunk.size + (chunk.hasPad ? 1 : 0);
    const auto payload = file.userData(chunk.id, seen[chunk.id]++);
    require(payload && payload->size() == chunk.size);
  }
  require(file.kind() == vesk::ContainerKind::soundDesigner2 || position == file.contents().chunksEnd);
  require(file.dataFormat().has_value() && file.audioDataPacketCount().value_or(0) >= 0);
  file.packetTableInfo();
  file.infoDictionary();
  file.irregularities();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const Stage stage;
  stage.input().fill(data, size);
  if (const auto file = vesk::AudioFile::open(stage.input().path())) askEverything(*file);
  if (const auto file = vesk::AudioFile::open(stage.loopPath())) askEverything(*file);
  return 0;
}
