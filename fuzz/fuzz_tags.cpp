// Any bytes as an audio file, with a script of changes to tags in front of them: what is not refused reads back as the
// record that was wanted, leaves the audio and all chunks of other fields as they are, is settled when it is done
// again, and can be taken back byte by byte.
//   offset 0  uint8    0x80: in a folder whose name holds keywords; else the number n of changes
//   offset 1  n times  uint8 what (3 bits) and which field (5), uint8 the text's size or, from 0xF0 on, which known text,
//                      text
//   then the file
#include "catalog/AudioSurroundings.h"
#include "catalog/TagChanges.h"
#include "fileio/LoopTagging.h"
#include "platform/audiofile/ByteReader.h"
#include "VeskLoopManagement/fileio/LCChunkIDs.h"
#include "VeskLoopManagement/platform/audiofile/MemoryBytes.h"

#include "Require.h"

#include <algorithm>
#include <set>

namespace {

using Bytes = std::vector<std::byte>;
using Changes = std::vector<LCTagChange>;
using vesk::AudioFile;
using vesk::AudioFileEdit;
using vesk::FourCC;
using enum LCTagField;

std::unique_ptr<AudioFileEdit> editOf(const Bytes& bytes) {
  vesk::WriteFailure failure;
  return AudioFileEdit::open(std::make_unique<vesk::MemoryBytes>(bytes), failure);
}

Bytes allOf(vesk::ByteSource& bytes) {
  auto all = bytes.upTo(0, bytes.size());
  require(all.has_value());
  return std::move(*all);
}

// --- The script ---

// nullopt when the input ends before.
std::optional<Changes> changesIn(vesk::ByteReader& reader, size_t count) {
  static constexpr std::string_view kTexts[] = {"Jazz", "Drums", "Kick", "Dry, Dark", "6/8", "Bb",   "F#m", "8",
                                                "both", "true",  "-9.5", "one-shot",  "127", "loop", "2",   "\xFF"};
  Changes changes;
  while (changes.size() < count) {
    const uint8_t what = reader.u8();
    const uint8_t size = reader.u8();
    const auto given = reader.take(size < 0xF0 ? size : 0);
    if (reader.failed()) return std::nullopt;
    const auto fields = lc::tagFields();
    LCTagChange change{.kind = static_cast<LCTagChange::Kind>(what >> 5 & 3),
                       .field = fields[(what & 0x1F) % fields.size()]};
    change.text.assign(reinterpret_cast<const char*>(given.data()), given.size());
    if (size >= 0xF0) change.text = kTexts[size & 0xF];
    changes.push_back(std::move(change));
  }
  return changes;
}

// --- What must stay ---

struct Owner {
  FourCC id;
  std::set<LCTagField> fields;
};

const std::set<LCTagField> kAdditional = {integratedLoudness, truePeak, targetLoudness, iconId,
                                          preferFileName,     patchInfo};

// The first chunk of each id may change with its fields.
const Owner kOwners[] = {
    {kNameChunkCode, {title}},
    {kAuthorChunkCode, {author}},
    {kCopyrightChunkCode, {copyright}},
    {kCommentsChunkCode, {comment}},
    {kBasicTaggingChunkCode, {beats, key, scale, signature, fileType}},
    {kCategoryChunkCode, {instrument, subInstrument, genre, descriptors, collection, theme}},
    {kCollectionChunkCode, {collection, theme}},
    {kAdditionalDataChunkCode, kAdditional},
};
const Owner kOwnersInCAF[] = {
    {"info", {title, author, copyright, comment}},
};
const std::set<LCTagField> kInSearchInfo = {instrument, subInstrument, genre, descriptors,
                                            beats,      key,           scale, signature};

class Chunks {
 public:
  Chunks(const AudioFile& file, const Bytes& bytes, std::span<const LCTagField> fields)
      : m_isCAF(file.kind() == vesk::ContainerKind::caf), m_fields(fields.begin(), fields.end()) {
    std::map<FourCC, size_t> seen;
    for (const vesk::AudioChunk& chunk : file.chunks()) {
      const auto payload =
          std::span(bytes).subspan(static_cast<size_t>(chunk.dataOffset), static_cast<size_t>(chunk.size));
      if (chunk.id != FourCC("ds64") && !mayChange(chunk.id, payload, seen[chunk.id]++ == 0)) {
        others.emplace_back(chunk.id, Bytes(payload.begin(), payload.end()));
      }
    }
  }

  std::vector<std::pair<FourCC, Bytes>> others;  // that none of the fields may change, in their order

 private:
  bool holdsAny(const std::set<LCTagField>& fields) const {
    return std::ranges::any_of(fields, [this](LCTagField field) { return m_fields.contains(field); });
  }

  bool mayChange(FourCC id, std::span<const std::byte> payload, bool isFirst) const {
    const auto begins = [payload](const LCChunkIdentifier& identifier) {
      return payload.size() >= identifier.size() && std::equal(identifier.begin(), identifier.end(), payload.begin());
    };
    if (m_isCAF && id == kUUIDChunkCode) {
      return (begins(kSearchInfoIdentifier) && holdsAny(kInSearchInfo)) ||
             (begins(kAdditionalDataIdentifier) && holdsAny(kAdditional));
    }
    const auto owners = m_isCAF ? std::span<const Owner>(kOwnersInCAF) : std::span<const Owner>(kOwners);
    const auto owner = std::ranges::find(owners, id, &Owner::id);
    return isFirst && owner != owners.end() && holdsAny(owner->fields);
  }

  bool m_isCAF;
  std::set<LCTagField> m_fields;
};

void requireSameAudio(const AudioFile& before, const AudioFile& after) {
  require(before.kind() == after.kind() && before.audioDataPacketCount() == after.audioDataPacketCount());
  require(lc::audioPlaceIn(before).size == lc::audioPlaceIn(after).size);
  require(before.packetTableInfo().has_value() == after.packetTableInfo().has_value());
}

// The journal's way back.
void requireUndone(const AudioFile& former, const Bytes& before, const AudioFile& latter, const Bytes& after) {
  vesk::MemoryBytes old(before);
  const auto place = lc::audioPlaceIn(former);
  const auto kept = lc::surroundings(old, place);
  require(kept.has_value());
  auto splice = std::make_shared<const vesk::Splice>(lc::spliceAround(lc::audioPlaceIn(latter), place, *kept));
  vesk::SplicedBytes undone(std::make_shared<vesk::MemoryBytes>(after), std::move(splice));
  require(allOf(undone) == before);
}

// --- Changing ---

struct Tagged {
  lc::WantedTags wanted;
  LCFileData record;
};

// nullopt when it is refused, which leaves nothing but the file as it was.
std::optional<Tagged> tag(AudioFileEdit& edit, const vesk::URL& url, const Changes& changes) {
  std::string reason;
  const auto record = lc::recordWithEdits(edit, url, reason);
  require(record.has_value());
  try {
    Tagged tagged{.wanted = lc::wantedTags(*record, changes), .record = {}};
    if (const auto refusal = lc::editTags(edit, tagged.wanted.record, tagged.wanted.fields)) {
      require(!refusal->empty());
      return std::nullopt;
    }
    auto found = lc::recordWithEdits(edit, url, reason);
    require(found.has_value() != !reason.empty());
    if (!found) return std::nullopt;
    lc::requireCarried(*record, tagged.wanted, *found, edit.file().kind());
    tagged.record = std::move(*found);
    return tagged;
  } catch (const lc::TagRefusal& refusal) {
    require(!refusal.detail.empty());
    return std::nullopt;
  }
}

// A CAF file that had no file type has one as soon as it is tagged, and it cannot be cleared.
bool mayFollow(const AudioFile& file, const Changes& changes) {
  return file.kind() == vesk::ContainerKind::caf && std::ranges::any_of(changes, [](const LCTagChange& change) {
           return change.kind == LCTagChange::Kind::clear && change.field == fileType;
         });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vesk::ByteReader reader(std::as_bytes(std::span(data, size)), std::endian::big);
  const uint8_t head = reader.u8();
  const auto changes = changesIn(reader, head & 0x1F);
  if (!changes || reader.failed()) return 0;
  const auto input = reader.take(reader.left());
  const Bytes before(input.begin(), input.end());
  const auto edit = editOf(before);
  if (!edit) return 0;
  const auto url = vesk::URL::fileURLWithPath((head & 0x80) != 0 ? "/Drums/Jazz/Kick 120bpm" : "/fuzz/q", false);
  const auto tagged = tag(*edit, url, *changes);
  if (!tagged) return 0;

  vesk::WriteFailure failure;
  const auto edited = edit->edited(failure);
  const auto parsed = edit->preview(failure);
  require(edited && parsed);
  const Bytes after = allOf(*edited);
  require(edit->hasChanges() || after == before);
  for (const LCTagField field : tagged->wanted.fields) {
    require(lc::haveSameTag(tagged->record, tagged->wanted.record, field));
  }
  const auto& fields = tagged->wanted.fields;
  require(Chunks(edit->file(), before, fields).others == Chunks(*parsed, after, fields).others);
  requireSameAudio(edit->file(), *parsed);
  requireUndone(edit->file(), before, *parsed, after);

  const auto again = editOf(after);
  require(again != nullptr);
  const auto settled = tag(*again, url, *changes);
  if (!settled) {
    require(mayFollow(edit->file(), *changes));
    return 0;
  }
  require(!again->hasChanges() && lc::areSameRecords(settled->record, tagged->record));
  return 0;
}
