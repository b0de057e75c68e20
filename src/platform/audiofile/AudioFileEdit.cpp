#include "platform/audiofile/AudioFileEdit.h"

#include "platform/audiofile/ByteReader.h"
#include "platform/audiofile/ChunkWalk.h"
#include "platform/audiofile/SplicedFile.h"

#include <algorithm>
#include <array>

namespace vesk {
namespace {

constexpr FourCC kInfoID = "info";
constexpr FourCC kListID = "LIST";
constexpr size_t kListTypeSize = 4;
constexpr size_t kEmptyInfoSize = 4;  // a count of no pairs
constexpr std::string_view kHasNoChunks = "it is of a kind that has no chunks";

struct EditErrorName {
  EditError error;
  FourCC code;
  std::string_view text;
};

const EditErrorName& nameOf(EditError error) {
  using enum EditError;
  static constexpr std::array kNames = {
      EditErrorName{none, {}, ""},
      EditErrorName{chunkNotFound, kChunkNotFoundCode, "there is no such chunk"},
      EditErrorName{badIndex, "idx?", "there are not so many chunks"},
      EditErrorName{structuralChunk, "str?", "the chunk belongs to the audio and is no user data"},
      EditErrorName{badID, "id? ", "no chunk can have this id"},
      EditErrorName{tooLarge, "siz?", "it is larger than 256 MiB"},
      EditErrorName{tooManyChunks, "cnt?", "there are 50,000 chunks already"},
      EditErrorName{longSize, "ds6?", "its size stands in the table of 64-bit sizes (ds64)"},
      EditErrorName{emptyList, "lst?", "a list must not be empty"},
      EditErrorName{noInfoDictionary, "inf?", "the file has no info dictionary that can be written"},
      EditErrorName{badText, "txt?", "a text holds a zero, or a key is empty"},
      EditErrorName{unreadable, "rd? ", "what is there cannot be read"},
  };
  return *std::find_if(kNames.begin(), kNames.end(), [&](const EditErrorName& name) { return name.error == error; });
}

bool isOneOf(FourCC id, std::initializer_list<FourCC> ids) {
  return std::find(ids.begin(), ids.end(), id) != ids.end();
}

WriteError errorOf(OpenError error) {
  switch (error) {
    case OpenError::none:
      return WriteError::none;
    case OpenError::notFound:
      return WriteError::notFound;
    case OpenError::notReadable:
      return WriteError::notReadable;
    case OpenError::notAudio:
      return WriteError::notAudio;
    case OpenError::malformed:
      return WriteError::malformed;
  }
  return WriteError::malformed;
}

// All of a source, for another owner.
std::unique_ptr<SplicedBytes> sharing(const std::shared_ptr<ByteSource>& source) {
  Splice whole;
  whole.keep(0, source->size());
  return std::make_unique<SplicedBytes>(source, std::make_shared<const Splice>(std::move(whole)));
}

std::string joined(const std::vector<std::string>& sentences) {
  std::string text;
  for (const std::string& sentence : sentences) text += (text.empty() ? "" : "; ") + sentence;
  return text;
}

}  // namespace

FourCC codeOf(EditError error) {
  return nameOf(error).code;
}

std::string_view textOf(EditError error) {
  return nameOf(error).text;
}

bool isStructural(FourCC id, ContainerKind kind) {
  if (kind == ContainerKind::caf) return isOneOf(id, {"desc", "data", "pakt", "kuki", "chan"});
  if (isWAVKind(kind)) return isOneOf(id, {"fmt ", "data", "fact", "ds64"});
  return isOneOf(id, {"COMM", "SSND", "FVER"});
}

// --- Open ------------------------------------------------------------------------------------------------------------

std::unique_ptr<AudioFileEdit> AudioFileEdit::open(const std::string& path, WriteFailure& failure,
                                                   const ReplaceOptions& options) {
  failure = {};
  auto found = FoundFile::open(path, failure);
  if (!found) return nullptr;
  std::unique_ptr<AudioFileEdit> edit(new AudioFileEdit);
  edit->m_path = found->path();
  edit->m_options = options;
  const bool isOpen = edit->attach(std::move(found), failure) && edit->m_found->mayBeReplaced(options, failure);
  const bool hasCompanion = failure.error == WriteError::notAudio && AudioFile::open(path);  // which tells its kind
  if (hasCompanion) edit->fail(failure, WriteError::noChunks, kHasNoChunks);
  return isOpen ? std::move(edit) : nullptr;
}

std::unique_ptr<AudioFileEdit> AudioFileEdit::open(std::unique_ptr<ByteSource> bytes, WriteFailure& failure) {
  failure = {};
  std::unique_ptr<AudioFileEdit> edit(new AudioFileEdit);
  return edit->attach(std::shared_ptr<ByteSource>(std::move(bytes)), failure) ? std::move(edit) : nullptr;
}

AudioFileEdit::~AudioFileEdit() = default;

bool AudioFileEdit::attach(std::unique_ptr<FoundFile> found, WriteFailure& failure) {
  std::shared_ptr<ByteSource> bytes = bytesOf(*found);
  if (!bytes) return fail(failure, WriteError::notReadable, "too many files are open");
  if (!attach(std::move(bytes), failure)) return false;
  m_found = std::move(found);
  return true;
}

bool AudioFileEdit::attach(std::shared_ptr<ByteSource> source, WriteFailure& failure) {
  OpenError error = OpenError::none;
  std::string detail;
  auto file = AudioFile::open(sharing(source), &error, &detail);
  if (!file) return fail(failure, errorOf(error), detail);
  if (!hasChunkLayout(file->kind())) return fail(failure, WriteError::noChunks, kHasNoChunks);
  if (file->regularity() == Regularity::ambiguous) {
    return fail(failure, WriteError::irregular, "it is not safe to rewrite: " + joined(file->contents().ambiguous));
  }
  m_source = std::move(source);
  m_file = std::move(file);
  m_items.clear();
  m_itemsByID.clear();
  for (const AudioChunk& chunk : m_file->chunks()) {
    m_itemsByID[chunk.id].push_back(m_items.size());
    m_items.push_back({.id = chunk.id, .chunk = &chunk});
  }
  m_count = m_items.size();
  return true;
}

bool AudioFileEdit::fail(WriteFailure& failure, WriteError error, std::string_view what) const {
  failure = {.error = error, .message = m_path.empty() ? std::string(what) : m_path + ": " + std::string(what)};
  return false;
}

// --- User data -------------------------------------------------------------------------------------------------------

// The index into m_items.
std::optional<size_t> AudioFileEdit::placeOf(FourCC id, size_t index) const {
  const auto found = m_itemsByID.find(id);
  if (found == m_itemsByID.end() || index >= found->second.size()) return std::nullopt;
  return found->second[index];
}

size_t AudioFileEdit::userDataCount(FourCC id) const {
  const auto found = m_itemsByID.find(id);
  return found == m_itemsByID.end() ? 0 : found->second.size();
}

std::optional<uint64_t> AudioFileEdit::userDataSize(FourCC id, size_t index) const {
  const auto place = placeOf(id, index);
  if (!place) return std::nullopt;
  const Item& item = m_items[*place];
  return item.payload ? item.payload->size() : item.chunk->size;
}

std::optional<std::vector<std::byte>> AudioFileEdit::userData(FourCC id, size_t index) const {
  const auto place = placeOf(id, index);
  if (!place) return std::nullopt;
  const Item& item = m_items[*place];
  if (item.payload) return *item.payload;
  if (item.chunk->size > kMaximumUserDataSize) return std::nullopt;
  return m_source->upTo(item.chunk->dataOffset, item.chunk->size);
}

EditError AudioFileEdit::refusalOf(FourCC id) const {
  const ContainerKind kind = m_file->kind();
  if (isStructural(id, kind)) return EditError::structuralChunk;
  const bool isForm = kind != ContainerKind::caf && isOneOf(id, {"FORM", "RIFF", "RIFX", "RF64", "BW64"});
  return !id.isPrintable() || isForm ? EditError::badID : EditError::none;
}

// The entries of a table of long sizes belong to chunks by their order, which an edit would upset.
EditError AudioFileEdit::refusalOf(const Item& item) const {
  if (!hasLongSizes(m_file->kind()) || !item.chunk) return EditError::none;
  const auto size = m_source->upTo(item.chunk->headerOffset + 4, 4);
  if (!size || size->size() != 4) return EditError::unreadable;
  return ByteReader(*size, std::endian::little).u32() == kSizeElsewhere ? EditError::longSize : EditError::none;
}

EditError AudioFileEdit::setUserData(FourCC id, size_t index, std::span<const std::byte> payload) {
  if (const EditError refusal = refusalOf(id); refusal != EditError::none) return refusal;
  if (payload.size() > kMaximumUserDataSize) return EditError::tooLarge;
  if (id == kListID && isWAVKind(m_file->kind()) && payload.size() <= kListTypeSize) return EditError::emptyList;
  const size_t count = userDataCount(id);
  if (index > count) return EditError::badIndex;
  if (index == count) {
    if (m_count == kMaximumChunkCount) return EditError::tooManyChunks;
    m_itemsByID[id].push_back(m_items.size());
    m_items.push_back({.id = id});
    ++m_count;
  }
  Item& item = m_items[*placeOf(id, index)];
  if (const EditError refusal = refusalOf(item); refusal != EditError::none) return refusal;
  item.payload = std::make_shared<const std::vector<std::byte>>(payload.begin(), payload.end());
  return EditError::none;
}

EditError AudioFileEdit::removeUserData(FourCC id, size_t index) {
  if (const EditError refusal = refusalOf(id); refusal != EditError::none) return refusal;
  const auto place = placeOf(id, index);
  if (!place) return EditError::chunkNotFound;
  Item& item = m_items[*place];
  if (const EditError refusal = refusalOf(item); refusal != EditError::none) return refusal;
  item.payload = nullptr;
  item.isRemoved = true;
  auto& indices = m_itemsByID[id];
  indices.erase(indices.begin() + static_cast<ptrdiff_t>(index));
  --m_count;
  return EditError::none;
}

// --- Info dictionary -------------------------------------------------------------------------------------------------

EditError AudioFileEdit::mergeInfo(std::span<const InfoEdit> edits) {
  if (!canSetInfo()) return EditError::noInfoDictionary;
  for (const auto& [key, value] : edits) {
    const bool hasZero = key.find('\0') != std::string::npos || (value && value->find('\0') != std::string::npos);
    if (key.empty() || hasZero) return EditError::badText;
  }
  std::vector<std::byte> old;
  if (userDataCount(kInfoID) > 0) {
    auto payload = userData(kInfoID);
    if (!payload) return EditError::unreadable;
    old = std::move(*payload);
  }
  const auto merged = mergedCAFInfo(old, edits);
  if (!merged) return EditError::none;
  // Behind a chunk that is taken out a second one would show.
  const bool isToGo = merged->size() == kEmptyInfoSize && userDataCount(kInfoID) == 1;
  return isToGo ? removeUserData(kInfoID) : setUserData(kInfoID, 0, *merged);
}

std::optional<std::map<std::string, std::string>> AudioFileEdit::infoDictionary() const {
  WriteFailure failure;
  const auto file = preview(failure);
  return file ? file->infoDictionary() : std::nullopt;
}

// --- The new file ----------------------------------------------------------------------------------------------------

// Whether the chunk of the file at the planned one's place is the same.
bool AudioFileEdit::holdsAlready(const AudioChunk& chunk, const PlannedChunk& planned) const {
  if (chunk.id != planned.id || chunk.size != planned.payload->size()) return false;
  return m_source->upTo(chunk.dataOffset, chunk.size) == *planned.payload;
}

// In the order of the new file. What was replaced by the same, or removed and appended again at the same place, is
// kept.
std::vector<PlannedChunk> AudioFileEdit::plannedChunks() const {
  const auto& chunks = m_file->chunks();
  std::vector<PlannedChunk> planned;
  for (const Item& item : m_items) {
    if (!item.isRemoved) planned.push_back({item.id, item.payload ? nullptr : item.chunk, item.payload});
  }
  const auto appended = std::count_if(m_items.begin() + static_cast<ptrdiff_t>(chunks.size()), m_items.end(),
                                      [](const Item& item) { return !item.isRemoved; });
  // The last chunk of the file, when it is empty audio, goes behind those that were appended.
  const bool endsEmpty = isWAVKind(m_file->kind()) && !chunks.empty() && chunks.back().size == 0 &&
                         chunks.back().id == audioChunkID(m_file->kind());
  if (endsEmpty) std::rotate(planned.end() - appended - 1, planned.end() - appended, planned.end());
  for (size_t i = 0; i < std::min(planned.size(), chunks.size()); ++i) {
    if (!planned[i].kept && holdsAlready(chunks[i], planned[i])) planned[i] = {planned[i].id, &chunks[i], nullptr};
  }
  return planned;
}

bool AudioFileEdit::isUnchanged(std::span<const PlannedChunk> chunks) const {
  return std::equal(chunks.begin(), chunks.end(), m_file->chunks().begin(), m_file->chunks().end(),
                    [](const PlannedChunk& planned, const AudioChunk& chunk) { return planned.kept == &chunk; });
}

bool AudioFileEdit::hasChanges() const {
  return !isUnchanged(plannedChunks());
}

std::optional<EditedLayout> AudioFileEdit::laidOut(std::span<const PlannedChunk> chunks, WriteFailure& failure) const {
  std::string refusal;
  auto layout = layOut(m_file->contents(), *m_source, chunks, refusal);
  if (!layout) {
    fail(failure, m_source->failed() ? WriteError::notReadable : WriteError::tooLarge, refusal);
    return std::nullopt;
  }
  const auto parsed = AudioFile::open(std::make_unique<SplicedBytes>(m_source, layout->splice));
  if (parsed && readsAs(layout->expected, parsed->contents())) return layout;
  fail(failure, WriteError::notReadBack, "with these chunks it would not read back as it was meant");
  return std::nullopt;
}

std::unique_ptr<ByteSource> AudioFileEdit::edited(WriteFailure& failure) const {
  failure = {};
  const auto chunks = plannedChunks();
  if (isUnchanged(chunks)) return sharing(m_source);
  const auto layout = laidOut(chunks, failure);
  return layout ? std::make_unique<SplicedBytes>(m_source, layout->splice) : nullptr;
}

std::unique_ptr<AudioFile> AudioFileEdit::preview(WriteFailure& failure) const {
  auto bytes = edited(failure);
  if (!bytes) return nullptr;
  auto file = AudioFile::open(std::move(bytes));
  if (!file) fail(failure, WriteError::notReadable, "reading it failed");
  return file;
}

// --- Commit ----------------------------------------------------------------------------------------------------------

AudioFileEdit::Outcome AudioFileEdit::commit(WriteFailure& failure) {
  failure = {};
  const auto chunks = plannedChunks();
  if (isUnchanged(chunks)) return Outcome::unchanged;
  if (!m_found) {
    fail(failure, WriteError::changedMeanwhile, "it is not open for writing");
    return Outcome::failed;
  }
  const auto layout = laidOut(chunks, failure);
  if (!layout) return Outcome::failed;
  const auto readsAsMeant = [&](std::unique_ptr<ByteSource> written) {
    const auto parsed = AudioFile::open(std::move(written));
    return parsed && readsAs(layout->expected, parsed->contents());
  };
  const bool isReplaced = replaceBySplice(*m_found, layout->splice, readsAsMeant, m_options, failure);
  if (!isReplaced && failure.error != WriteError::notSynced) return Outcome::failed;

  WriteFailure lost;  // by somebody who replaced it at once: then this object has nothing to write to any more
  auto now = FoundFile::open(m_path, lost);
  if (!now || !attach(std::move(now), lost)) m_found = nullptr;
  return isReplaced ? Outcome::written : Outcome::failed;
}

}  // namespace vesk
