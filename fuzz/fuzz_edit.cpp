// Any bytes as an audio file, with a script of edits in front of them: what an edit would write must read back as a
// plain list of chunks that got the same edits, with every other byte of the file in its place. Where the script says
// so, a real file is edited too, and must then hold the same bytes.
//   offset 0  uint8    0x80: also on the disk; else the number n of edits      then the file
//   offset 1  n times  4 bytes: what and which id, index, size, value
#include "platform/audiofile/AudioFileEdit.h"
#include "platform/audiofile/ByteReader.h"
#include "VeskLoopManagement/platform/audiofile/MemoryBytes.h"

#include "Require.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

using Bytes = std::vector<std::byte>;
using vesk::AudioFile;
using vesk::AudioFileEdit;
using vesk::EditError;
using vesk::FourCC;

struct PlainChunk {
  FourCC id;
  Bytes payload;
  bool operator==(const PlainChunk&) const = default;
};

Bytes allOf(vesk::ByteSource& bytes) {
  auto all = bytes.upTo(0, bytes.size());
  require(all.has_value());
  return std::move(*all);
}

// The chunks as a list, to which the edits are done in the plainest way.
class PlainFile {
 public:
  PlainFile(const AudioFile& file, const Bytes& bytes) {
    const auto at = [&](uint64_t offset) { return bytes.begin() + static_cast<ptrdiff_t>(offset); };
    for (const vesk::AudioChunk& chunk : file.chunks()) {
      chunks.push_back({chunk.id, Bytes(at(chunk.dataOffset), at(chunk.dataOffset + chunk.size))});
    }
    // The sizes of form and audio in it are the commit's.
    const bool hasSizes = !chunks.empty() && chunks.front().id == FourCC("ds64");
    if (hasSizes)
      std::fill_n(chunks.front().payload.begin(), std::min<size_t>(chunks.front().payload.size(), 16), std::byte{0});
    trailing.assign(at(file.contents().chunksEnd), bytes.end());
    using enum vesk::ContainerKind;
    const bool isNoWAV = file.kind() == aiff || file.kind() == aifc || file.kind() == caf;
    const bool endsEmpty = !chunks.empty() && chunks.back() == PlainChunk{"data", {}};
    m_end = chunks.size() - (endsEmpty && !isNoWAV ? 1 : 0);  // empty audio of WAV files stays the last
  }

  size_t count(FourCC id) const {
    return static_cast<size_t>(
        std::count_if(chunks.begin(), chunks.end(), [&](const PlainChunk& chunk) { return chunk.id == id; }));
  }

  void set(FourCC id, size_t index, const Bytes& payload) {
    const size_t place = placeOf(id, index);
    if (place < chunks.size()) {
      chunks[place].payload = payload;
    } else {
      chunks.insert(chunks.begin() + static_cast<ptrdiff_t>(m_end++), {id, payload});
    }
  }

  void remove(FourCC id, size_t index) {
    const size_t place = placeOf(id, index);
    require(place < m_end);
    chunks.erase(chunks.begin() + static_cast<ptrdiff_t>(place));
    --m_end;
  }

  std::vector<PlainChunk> chunks;
  Bytes trailing;

 private:
  size_t placeOf(FourCC id, size_t index) const {
    size_t place = 0;
    while (place < chunks.size() && (chunks[place].id != id || index-- > 0)) ++place;
    return place;
  }

  size_t m_end = 0;  // where chunks are appended
};

struct Step {
  uint8_t what = 0;
  uint8_t index = 0;
  Bytes payload;
  FourCC id;
};

FourCC idFor(uint8_t choice, const AudioFile& file) {
  static constexpr FourCC kIDs[] = {"cate", "NAME", "uuid", "LIST", "info", "COMM", "data", "ab\0d"};
  const auto& chunks = file.chunks();
  if (choice < std::size(kIDs) || chunks.empty()) return kIDs[choice % std::size(kIDs)];
  return chunks[choice % chunks.size()].id;
}

void apply(const Step& step, AudioFileEdit& edit, PlainFile* plain) {
  const size_t count = edit.userDataCount(step.id);
  require(!plain || plain->count(step.id) == count);
  switch (step.what % 4) {
    case 0: {
      const bool isRemoved = edit.removeUserData(step.id, step.index) == EditError::none;
      require(!isRemoved || step.index < count);
      if (isRemoved && plain) plain->remove(step.id, step.index);
      return;
    }
    case 1: {
      const std::string text(reinterpret_cast<const char*>(step.payload.data()), step.payload.size() % 16);
      const vesk::InfoEdit info[] = {{"key" + std::to_string(step.index % 4), text}, {"title", std::nullopt}};
      if (edit.mergeInfo(info) != EditError::none || !plain) return;
      const auto payload = edit.userData("info");
      if (payload) plain->set("info", 0, *payload);
      if (!payload && plain->count("info") > 0) plain->remove("info", 0);
      return;
    }
    default: {
      const EditError error = edit.setUserData(step.id, step.index, step.payload);
      if (error != EditError::none) return;
      require(step.index <= count && edit.userData(step.id, step.index) == step.payload);
      if (plain) plain->set(step.id, step.index, step.payload);
    }
  }
}

// Bytes that nobody edits: the audio with all that describes it, as the service understands it.
void requireSameAudio(const AudioFile& before, const AudioFile& after) {
  require(before.kind() == after.kind() && before.audioDataPacketCount() == after.audioDataPacketCount());
  require(before.packetTableInfo().has_value() == after.packetTableInfo().has_value());
  require(after.regularity() != vesk::Regularity::ambiguous);
}

// What reads the same is not written: every chunk is set to what it is.
void requireSettled(const Bytes& bytes) {
  vesk::WriteFailure failure;
  const auto again = AudioFileEdit::open(std::make_unique<vesk::MemoryBytes>(bytes), failure);
  require(again != nullptr);
  std::map<FourCC, size_t> seen;
  for (const vesk::AudioChunk& chunk : again->file().chunks()) {
    const size_t index = seen[chunk.id]++;
    const auto payload = again->userData(chunk.id, index);
    if (payload) static_cast<void>(again->setUserData(chunk.id, index, *payload));
  }
  require(!again->hasChanges());
}

// In memory where the system has such a place.
struct ScratchFolder {
  ScratchFolder() { std::filesystem::create_directory(path); }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder() { std::filesystem::remove_all(path); }

  const std::filesystem::path path =
      (std::filesystem::is_directory("/dev/shm") ? std::filesystem::path("/dev/shm")
                                                 : std::filesystem::temp_directory_path()) /
      ("vesk-fuzz-" + std::to_string(::getpid()));
};

void editOnDisk(const Bytes& before, const std::vector<Step>& steps, const Bytes& after) {
  static const ScratchFolder folder;
  const std::filesystem::path path = folder.path / "file";
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(before.data()), static_cast<std::streamsize>(before.size()));
  vesk::WriteFailure failure;
  const auto edit = AudioFileEdit::open(path, failure);
  require(edit != nullptr);
  for (const Step& step : steps) apply(step, *edit, nullptr);
  const auto expected = after == before ? AudioFileEdit::Outcome::unchanged : AudioFileEdit::Outcome::written;
  require(edit->commit(failure) == expected && !failure);
  std::ifstream stream(path, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(stream), {}};
  const auto written = std::as_bytes(std::span(text));
  require(std::equal(after.begin(), after.end(), written.begin(), written.end()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vesk::ByteReader reader(std::as_bytes(std::span(data, size)), std::endian::big);
  const uint8_t head = reader.u8();
  const auto script = reader.take(4 * size_t{head & 0x1Fu});
  if (reader.failed()) return 0;
  const auto input = reader.take(reader.left());
  const Bytes before(input.begin(), input.end());

  vesk::WriteFailure failure;
  const auto edit = AudioFileEdit::open(std::make_unique<vesk::MemoryBytes>(before), failure);
  if (!edit) return 0;
  PlainFile plain(edit->file(), before);
  std::vector<Step> steps;
  for (vesk::ByteReader words(script, std::endian::big); words.left() > 0;) {
    Step step{.what = words.u8()};
    step.id = idFor(step.what / 4, edit->file());
    step.index = words.u8();
    const uint8_t length = words.u8();
    step.payload.assign(length, std::byte{words.u8()});
    steps.push_back(step);
    apply(step, *edit, &plain);
  }
  const auto edited = edit->edited(failure);
  require(edited && !failure);  // what is so small never outgrows its container
  const Bytes after = allOf(*edited);
  const auto parsed = edit->preview(failure);
  require(parsed != nullptr);
  const PlainFile found(*parsed, after);
  require(found.chunks == plain.chunks && found.trailing == plain.trailing);
  require(edit->hasChanges() || after == before);
  requireSameAudio(edit->file(), *parsed);
  requireSettled(after);
  if ((head & 0x80) != 0) editOnDisk(before, steps, after);
  return 0;
}
