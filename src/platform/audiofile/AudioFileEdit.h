// An audio file opened for reading and writing: the service's user data and info dictionary are edited in memory and
// written by one commit, the service's "optimise". Beside AudioFile, which only reads.
//
// What a commit does: the whole new file is laid out from the list of chunks, parsed as it would be read, streamed to a
// temporary sibling, synced, parsed and compared again byte for byte with what it was made of, and renamed over the
// file (FileReplacement). Memory stays flat however large the audio is. Without a commit nothing happens; a commit that
// would write what is there already does not touch the file. No audio byte and no chunk that was not edited changes,
// pads included; the order of all chunks stays.
//
// Where things go, and what is put right:
//   - A replaced chunk stays at its place; an appended one goes behind the last chunk, before bytes that trail the
//     form. In a WAV file whose audio chunk is empty it goes in front of that chunk, for an empty one with chunks
//     behind it looks like the file of a crashed recorder.
//   - The sizes of the form, and of audio that says "to the end" (0xFFFFFFFF, 0x7FFFFFFF, -1), are made true; the last
//     chunk gets the pad byte that it lacks. Both only together with an edit. In RF64 and BW64 files "ds64" holds the
//     sizes of form and audio; its table stays, and a chunk whose size stands there cannot be edited.
//   - CAF: edit count, "free" and "pakt" stay as they are.
// Files whose regularity is `ambiguous` are refused, and so are containers without chunks, such as Sound Designer II.
//
// Owns the open file. One thread at a time. Nothing throws.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/audiofile/Containers.h"
#include "platform/audiofile/EditedLayout.h"
#include "platform/FileReplacement.h"
#include "platform/WriteFailure.h"
#include "VeskLoopManagement/platform/audiofile/AudioFile.h"

namespace vesk {

// What a single edit answers; the disk has its say at the commit. The codes are the service's.
enum class EditError {
  none,              // 0
  chunkNotFound,     // "chk?"
  badIndex,          // "idx?": larger than the number of chunks with the id
  structuralChunk,   // "str?": format, audio and what describes them are no user data
  badID,             // "id? ": not four printable characters, or an id of forms
  tooLarge,          // "siz?": more than is ever read back (256 MiB)
  tooManyChunks,     // "cnt?": more than 50,000
  longSize,          // "ds6?": the chunk's size stands in the table of "ds64"
  emptyList,         // "lst?": a "LIST" without contents, for which others refuse the whole file
  noInfoDictionary,  // "inf?": only CAF has one that can be written
  badText,           // "txt?": it holds a zero, or a key is empty
  unreadable,        // "rd? ": what is there cannot be read
};
inline constexpr FourCC kChunkNotFoundCode = "chk?";
FourCC codeOf(EditError error);
std::string_view textOf(EditError error);  // for a person, after the chunk's id and a colon; "" for none

// The ids that are no user data in files of this kind.
bool isStructural(FourCC id, ContainerKind kind);

class AudioFileEdit {
 public:
  // Null when the file cannot be read, parsed or written, or should not; `failure` says why. Links are resolved.
  [[nodiscard]] static std::unique_ptr<AudioFileEdit> open(const std::string& path, WriteFailure& failure,
                                                           const ReplaceOptions& options = {});
  // The same over any bytes, for edited() and preview(); a commit is then refused.
  [[nodiscard]] static std::unique_ptr<AudioFileEdit> open(std::unique_ptr<ByteSource> bytes, WriteFailure& failure);
  ~AudioFileEdit();  // forgets what was not committed
  AudioFileEdit(const AudioFileEdit&) = delete;
  AudioFileEdit& operator=(const AudioFileEdit&) = delete;

  // The file as it is on disk, without the edits; borrowed, and until the next commit.
  const AudioFile& file() const { return *m_file; }
  const std::string& path() const { return m_path; }  // links resolved; empty over bytes

  // With the edits. Chunks with the same id are counted by `index` from 0 in file order.
  size_t userDataCount(FourCC id) const;
  std::optional<uint64_t> userDataSize(FourCC id, size_t index = 0) const;
  std::optional<std::vector<std::byte>> userData(FourCC id, size_t index = 0) const;

  // Replaces the chunk at `index`, or appends one when `index` is their number.
  [[nodiscard]] EditError setUserData(FourCC id, size_t index, std::span<const std::byte> payload);
  // Those behind it then have an index less by one.
  [[nodiscard]] EditError removeUserData(FourCC id, size_t index = 0);

  bool canSetInfo() const { return file().kind() == ContainerKind::caf; }
  // Merges: a key that is there gets its value in its place (and stands once from then on), others are appended in the
  // order given; all other pairs keep their bytes and their order. A value that already reads so changes nothing. All
  // or nothing. AudioFile answers "comment" for "comments" where a file has only that: who takes out one means both.
  [[nodiscard]] EditError mergeInfo(std::span<const InfoEdit> edits);
  std::optional<std::map<std::string, std::string>> infoDictionary() const;

  // Whether a commit would write.
  bool hasChanges() const;
  // The file as a commit would write it, without a disk: to parse it beforehand, or to store it. Null when the edits
  // cannot be written (too large, not read back as meant; reading failed); `failure` then says why. They share the
  // bytes with this object, and belong to its thread.
  std::unique_ptr<ByteSource> edited(WriteFailure& failure) const;
  std::unique_ptr<AudioFile> preview(WriteFailure& failure) const;

  // Writes the edits. `Unchanged`: there were none, and the file was not touched. After a failure the edits are still
  // there, but a file that changed meanwhile has to be opened again. After success the object goes on with the new
  // file.
  enum class Outcome { failed, unchanged, written };
  [[nodiscard]] Outcome commit(WriteFailure& failure);

 private:
  // A chunk with its edits. Those of the file come first, in its order, then those that were appended.
  struct Item {
    FourCC id;
    const AudioChunk* chunk = nullptr;                      // of the file, also when its payload is another now
    std::shared_ptr<const std::vector<std::byte>> payload;  // the new one; null: the chunk's own
    bool isRemoved = false;
  };

  AudioFileEdit() = default;
  bool attach(std::shared_ptr<ByteSource> source, WriteFailure& failure);
  bool attach(std::unique_ptr<FoundFile> found, WriteFailure& failure);
  EditError refusalOf(FourCC id) const;
  EditError refusalOf(const Item& item) const;
  std::optional<size_t> placeOf(FourCC id, size_t index) const;
  bool holdsAlready(const AudioChunk& chunk, const PlannedChunk& planned) const;
  std::vector<PlannedChunk> plannedChunks() const;
  bool isUnchanged(std::span<const PlannedChunk> chunks) const;
  std::optional<EditedLayout> laidOut(std::span<const PlannedChunk> chunks, WriteFailure& failure) const;
  bool fail(WriteFailure& failure, WriteError error, std::string_view what) const;

  std::string m_path;
  ReplaceOptions m_options;
  std::unique_ptr<FoundFile> m_found;  // null over bytes, and when the file was lost
  std::shared_ptr<ByteSource> m_source;
  std::unique_ptr<AudioFile> m_file;
  std::vector<Item> m_items;
  std::map<FourCC, std::vector<size_t>> m_itemsByID;  // indices into m_items, ascending, without those removed
  size_t m_count = 0;                                 // of the items that are not removed
};

}  // namespace vesk
