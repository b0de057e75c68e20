#include "fileio/LoopTagging.h"

#include "fileio/ChunkText.h"
#include "fileio/LCAdditionalDataChunk.h"
#include "fileio/LCAIFParser.h"
#include "fileio/LCBasicTaggingChunk.h"
#include "fileio/LCCAFParser.h"
#include "fileio/LCCategoryChunk.h"
#include "fileio/LCCollectionChunk.h"
#include "fileio/LCCommentsChunk.h"
#include "fileio/LCSearchInfo.h"
#include "fileio/LCWAVParser.h"
#include "fileio/UUIDChunks.h"
#include "platform/Path.h"
#include "VeskLoopManagement/fileio/LCChunkIDs.h"
#include "VeskLoopManagement/model/LCTimeSignature.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

namespace {

using Refusal = std::optional<std::string>;  // why not; nullopt: it is done
using vesk::EditError;
using vesk::FourCC;
using enum LCTagField;

enum class Family { aiff, wav, caf };

bool isKeyword(LCTagField field) {
  return field == instrument || field == subInstrument || field == genre || field == descriptors;
}

Family familyOf(vesk::ContainerKind kind) {
  switch (kind) {
    case vesk::ContainerKind::aiff:
    case vesk::ContainerKind::aifc:
      return Family::aiff;
    case vesk::ContainerKind::caf:
      return Family::caf;
    default:
      return Family::wav;
  }
}

// "" means none.
std::string textOrEmpty(const std::optional<std::string>& text) {
  return text.value_or("");
}

// --- One file ---

class Tagging {
 public:
  Tagging(vesk::AudioFileEdit& file, const LCFileData& wanted, std::span<const LCTagField> fields)
      : m_file(file), m_wanted(wanted), m_fields(fields.begin(), fields.end()) {}

  Refusal run() {
    switch (familyOf(m_file.file().kind())) {
      case Family::aiff:
        return firstOf({&Tagging::editTexts, &Tagging::editComments, &Tagging::editBasicTagging, &Tagging::editCategory,
                        &Tagging::editCollection, &Tagging::editAdditionalDataChunk});
      case Family::caf:
        return firstOf({&Tagging::refuseWhatCAFLacks, &Tagging::editInfo, &Tagging::editSearchInfo,
                        &Tagging::editAdditionalUUIDChunk});
      case Family::wav:
        break;
    }
    return firstOf({&Tagging::refuseWhatWAVLacks, &Tagging::editAdditionalDataChunk});
  }

 private:
  using Step = Refusal (Tagging::*)();

  Refusal firstOf(std::initializer_list<Step> steps) {
    for (const Step step : steps) {
      if (auto refusal = (this->*step)()) return refusal;
    }
    return std::nullopt;
  }

  bool changes(LCTagField field) const { return m_fields.contains(field); }
  bool changesAny(std::initializer_list<LCTagField> fields) const {
    return std::any_of(fields.begin(), fields.end(), [this](LCTagField field) { return changes(field); });
  }

  // AIFF
  Refusal editTexts();
  Refusal editComments();
  Refusal editBasicTagging();
  Refusal editCategory();
  Refusal editCollection();
  Refusal editCollectionInCategory(const vesk::Bytes& payload);
  // CAF
  Refusal refuseWhatCAFLacks();
  Refusal editInfo();
  Refusal editSearchInfo();
  // WAV
  Refusal refuseWhatWAVLacks();
  // Additional data, of all three
  Refusal editAdditionalDataChunk();
  Refusal editAdditionalUUIDChunk();
  std::optional<vesk::Bytes> additionalData(const std::optional<vesk::Bytes>& payload, std::string& refusal) const;

  // The edits; a chunk that is so already is left alone.
  std::optional<vesk::Bytes> chunk(FourCC id) const { return m_file.userData(id); }
  Refusal put(FourCC id, size_t index, std::span<const std::byte> payload);
  Refusal take(FourCC id, size_t index = 0);

  vesk::AudioFileEdit& m_file;
  const LCFileData& m_wanted;
  std::set<LCTagField> m_fields;
};

Refusal refusalOf(FourCC id, EditError error) {
  if (error == EditError::none) return std::nullopt;
  return fmt::format("{}: {}", id.text(), vesk::textOf(error));
}

Refusal Tagging::put(FourCC id, size_t index, std::span<const std::byte> payload) {
  const auto present = m_file.userData(id, index);
  if (present && std::ranges::equal(*present, payload)) return std::nullopt;
  return refusalOf(id, m_file.setUserData(id, index, payload));
}

Refusal Tagging::take(FourCC id, size_t index) {
  const EditError error = m_file.removeUserData(id, index);
  return error == EditError::chunkNotFound ? std::nullopt : refusalOf(id, error);
}

Refusal unreadable(FourCC id) {
  return fmt::format("its {} chunk is of a kind that is not understood", id.text());
}

// --- AIFF ---

Refusal Tagging::editTexts() {
  const std::tuple<LCTagField, FourCC, std::optional<std::string>> texts[] = {
      {title, kNameChunkCode, m_wanted.title},
      {author, kAuthorChunkCode, m_wanted.authorTag},
      {copyright, kCopyrightChunkCode, m_wanted.copyrightTag},
  };
  for (const auto& [field, id, text] : texts) {
    if (!changes(field)) continue;
    const std::string bytes = textOrEmpty(text);
    if (auto refusal = bytes.empty() ? take(id) : put(id, 0, std::as_bytes(std::span(bytes)))) return refusal;
  }
  return std::nullopt;
}

Refusal Tagging::editComments() {
  if (!changes(comment)) return std::nullopt;
  const LCCommentsChunk comments{.text = textOrEmpty(m_wanted.commentTag)};
  const auto payload = chunk(kCommentsChunkCode);
  const bool hasComments = payload && LCCommentsChunk::countOf(*payload) > 0;
  if (comments.text.empty() && (!hasComments || LCCommentsChunk::countOf(*payload) == 1)) {
    return take(kCommentsChunkCode);
  }
  if (!hasComments) return put(kCommentsChunkCode, 0, comments.encode());
  if (LCCommentsChunk::decode(*payload) == comments) return std::nullopt;
  const auto edited = comments.encodeOver(*payload);
  return edited ? put(kCommentsChunkCode, 0, *edited) : unreadable(kCommentsChunkCode);
}

Refusal Tagging::editBasicTagging() {
  if (!changesAny({beats, key, scale, signature, fileType})) return std::nullopt;
  const auto payload = chunk(kBasicTaggingChunkCode);
  const auto present = payload ? LCBasicTaggingChunk::decode(*payload) : std::nullopt;
  if (payload && !present) return unreadable(kBasicTaggingChunkCode);
  LCBasicTaggingChunk basic = present.value_or(LCBasicTaggingChunk());
  const auto narrow = [](int64_t number) { return static_cast<int16_t>(number); };
  if (!present || changes(beats)) basic.beatCount = static_cast<int32_t>(m_wanted.beatCount);
  if (!present || changes(key)) basic.midiRootNote = narrow(m_wanted.midiRootNote);
  if (!present || changes(scale)) basic.keyType = narrow(m_wanted.keyType);
  if (!present || changes(signature)) basic.signatureTop = narrow(m_wanted.signatureTop);
  if (!present || changes(signature)) basic.signatureBottom = narrow(m_wanted.signatureBottom);
  if (!present || changes(fileType)) basic.fileType = narrow(m_wanted.fileType);
  return put(kBasicTaggingChunkCode, 0, present ? basic.encodeOver(*payload) : basic.encode());
}

// A field that is emptied keeps its place: without the chunk, words of the path would stand for what was taken out.
Refusal Tagging::editCategory() {
  if (!changesAny({instrument, subInstrument, genre, descriptors})) return std::nullopt;
  const auto payload = chunk(kCategoryChunkCode);
  const auto present = payload ? LCCategoryChunk::decode(*payload) : std::nullopt;
  if (payload && (!present || !present->hasKnownVersion())) return unreadable(kCategoryChunkCode);
  LCCategoryChunk category = present.value_or(LCCategoryChunk());
  const auto set = [&](LCTagField field, std::optional<std::string>& text, const std::optional<std::string>& wanted) {
    if (!present || changes(field)) text = textOrEmpty(wanted);
  };
  set(instrument, category.instrumentType, m_wanted.instrumentTypeTag);
  set(subInstrument, category.instrumentSubType, m_wanted.instrumentSubTypeTag);
  set(genre, category.genre, m_wanted.genreTag);
  if (!present || changes(descriptors)) category.descriptors = m_wanted.descriptors.value_or(vesk::StringSet());
  return put(kCategoryChunkCode, 0, present ? category.encodeOver(*payload) : category.encode());
}

Refusal Tagging::editCollection() {
  if (!changesAny({collection, theme})) return std::nullopt;
  const auto category = chunk(kCategoryChunkCode);
  const auto decoded = category ? LCCategoryChunk::decode(*category) : std::nullopt;
  const bool isInCategory = decoded && decoded->version == 2;
  const auto payload = chunk(kCollectionChunkCode);
  if (!payload && isInCategory) return editCollectionInCategory(*category);

  const auto present = payload ? LCCollectionChunk::decode(*payload) : std::nullopt;
  if (payload && (!present || !present->hasKnownVersion())) return unreadable(kCollectionChunkCode);
  LCCollectionChunk edited = present.value_or(LCCollectionChunk());
  if (!present || changes(collection)) edited.collection = textOrEmpty(m_wanted.collectionTag);
  if (!present || changes(theme)) edited.theme = textOrEmpty(m_wanted.themeTag);
  const bool isEmpty = textOrEmpty(edited.collection).empty() && textOrEmpty(edited.theme).empty();
  if (!isEmpty) return put(kCollectionChunkCode, 0, present ? edited.encodeOver(*payload) : edited.encode());
  if (auto refusal = take(kCollectionChunkCode)) return refusal;
  return isInCategory ? editCollectionInCategory(*chunk(kCategoryChunkCode)) : std::nullopt;
}

Refusal Tagging::editCollectionInCategory(const vesk::Bytes& payload) {
  LCCategoryChunk category = *LCCategoryChunk::decode(payload);
  if (changes(collection)) category.collection = textOrEmpty(m_wanted.collectionTag);
  if (changes(theme)) category.theme = textOrEmpty(m_wanted.themeTag);
  return put(kCategoryChunkCode, 0, category.encodeOver(payload));
}

// --- CAF ---

Refusal Tagging::refuseWhatCAFLacks() {
  for (const LCTagField field : {collection, theme, fileType}) {
    if (changes(field)) return fmt::format("CAF files have no place for {}", lc::tagFieldName(field));
  }
  const bool isNamed = m_wanted.midiRootNote == 0 || lc::keySignatureFromRootNote(m_wanted.midiRootNote);
  if (changes(key) && !isNamed) return "CAF files hold only the notes 48 (C) to 59 (B)";
  const bool isSigned = m_wanted.signatureTop > 0;
  if (changes(signature) && isSigned && m_wanted.beatCount < 1) return "a one-shot, without beats, has no signature";
  return std::nullopt;
}

Refusal Tagging::editInfo() {
  std::vector<vesk::InfoEdit> edits;
  const auto add = [&](LCTagField field, const char* itsKey, const std::optional<std::string>& text) {
    if (changes(field)) edits.emplace_back(itsKey, text);
  };
  add(author, "artist", m_wanted.authorTag);
  add(copyright, "copyright", m_wanted.copyrightTag);
  add(comment, "comments", m_wanted.commentTag);
  if (!m_wanted.commentTag) add(comment, "comment", std::nullopt);  // which is read where there are no "comments"
  add(title, "title", m_wanted.title);
  if (edits.empty()) return std::nullopt;
  return refusalOf("info", m_file.mergeInfo(edits));
}

// What the wanted record calls for; without a text there is no entry.
struct SearchInfoEntry {
  LCTagField field;
  std::string_view key;
  std::optional<std::string> text;
};

std::optional<std::string> nonEmpty(const std::optional<std::string>& text) {
  return text && !text->empty() ? text : std::nullopt;
}

// Descriptors that stay keep their order.
std::optional<std::string> joinedDescriptors(const LCSearchInfo& present, const LCFileData& wanted) {
  vesk::StringSet words = wanted.descriptors.value_or(vesk::StringSet());
  words.erase("");
  std::vector<std::string> items;
  if (const auto found = present.entries.find(kDescriptorChunkID); found != present.entries.end()) {
    for (const std::string& item : found->second) {
      if (words.erase(item) > 0) items.push_back(item);
    }
  }
  items.insert(items.end(), words.begin(), words.end());
  return nonEmpty(fmt::format("{}", fmt::join(items, ",")));
}

std::vector<SearchInfoEntry> searchInfoEntries(const LCSearchInfo& present, const LCFileData& wanted) {
  const auto ifAny = [](bool isAny, std::string text) { return isAny ? std::optional(std::move(text)) : std::nullopt; };
  const LCTimeSignature itsSignature{wanted.signatureTop, wanted.signatureBottom};
  return {
      {instrument, kCategoryChunkID, nonEmpty(wanted.instrumentTypeTag)},
      {subInstrument, kSubcategoryChunkID, nonEmpty(wanted.instrumentSubTypeTag)},
      {genre, kGenreChunkID, nonEmpty(wanted.genreTag)},
      {descriptors, kDescriptorChunkID, joinedDescriptors(present, wanted)},
      {key, kKeySignatureChunkID, lc::keySignatureFromRootNote(wanted.midiRootNote)},
      {scale, kKeyTypeChunkID, ifAny(wanted.keyType > 0, lc::textFromKeyType(wanted.keyType))},
      {beats, kBeatCountChunkID, ifAny(wanted.beatCount > 0, fmt::format("{}", wanted.beatCount))},
      {signature, kTimeSignatureChunkID, ifAny(itsSignature.isKnown(), itsSignature.text())},
  };
}

bool hasKeywords(const LCSearchInfo& searchInfo) {
  const auto keys = {kCategoryChunkID, kSubcategoryChunkID, kGenreChunkID, kDescriptorChunkID};
  return std::any_of(keys.begin(), keys.end(),
                     [&](std::string_view itsKey) { return searchInfo.entries.contains(itsKey); });
}

// Of several search infos the last one that says anything counts.
Refusal Tagging::editSearchInfo() {
  if (!changesAny({instrument, subInstrument, genre, descriptors, key, scale, beats, signature})) return std::nullopt;
  const auto index = lc::lastUUIDChunk(m_file, kSearchInfoIdentifier, [](std::span<const std::byte> payload) {
    return !LCSearchInfo::decode(payload).entries.empty();
  });
  const auto payload = index ? lc::uuidPayload(m_file, *index) : std::nullopt;
  if (payload && payload->size() > LCSearchInfo::kLargestSize) return unreadable(kUUIDChunkCode);
  vesk::Bytes edited = payload.value_or(LCSearchInfo().encode());
  const LCSearchInfo present = LCSearchInfo::decode(edited);
  // The first keyword of a file, or the last one: those of its path must not come in, and those that came in stay.
  const bool touchesKeywords = std::any_of(m_fields.begin(), m_fields.end(), isKeyword);
  const bool hadKeywords = hasKeywords(present);
  for (const auto& entry : searchInfoEntries(present, m_wanted)) {
    if (!changes(entry.field) && !(isKeyword(entry.field) && touchesKeywords && !hadKeywords)) continue;
    const auto found = present.entries.find(entry.key);
    const bool isSo = found == present.entries.end()
                          ? !entry.text
                          : entry.text && fmt::format("{}", fmt::join(found->second, ",")) == *entry.text;
    if (!isSo) edited = LCSearchInfo::edited(edited, entry.key, entry.text);
  }
  if (touchesKeywords && !hasKeywords(LCSearchInfo::decode(edited))) {
    edited = LCSearchInfo::edited(edited, kCategoryChunkID, "");
  }
  const size_t place = index.value_or(m_file.userDataCount(kUUIDChunkCode));
  return put(kUUIDChunkCode, place, lc::uuidChunk(kSearchInfoIdentifier, edited));
}

// --- WAV ---

Refusal Tagging::refuseWhatWAVLacks() {
  for (const LCTagField field : m_fields) {
    const bool isAdditional = field >= integratedLoudness;
    if (!isAdditional) return fmt::format("WAV files have no place for {}", lc::tagFieldName(field));
  }
  return std::nullopt;
}

// --- Additional data ---

// The payload as it is to be, empty: without it. nullopt: as it is, or refused.
std::optional<vesk::Bytes> Tagging::additionalData(const std::optional<vesk::Bytes>& payload,
                                                   std::string& refusal) const {
  if (!changesAny({integratedLoudness, truePeak, targetLoudness, iconId, preferFileName, patchInfo})) {
    return std::nullopt;
  }
  const bool isNew = !payload || payload->empty();
  const auto present = isNew ? std::optional(LCAdditionalDataChunk()) : LCAdditionalDataChunk::decode(*payload);
  if (!present) {
    refusal = "its additional data are of a kind that is not understood";
    return std::nullopt;
  }
  const auto wanted = LCAdditionalDataChunk::ofRecord(m_wanted);
  LCAdditionalDataChunk edited = *present;
  if (changes(integratedLoudness)) edited.integratedLoudness = wanted.integratedLoudness;
  if (changes(truePeak)) edited.globalMaxTruePeak = wanted.globalMaxTruePeak;
  if (changes(targetLoudness)) edited.targetIntegratedLoudness = wanted.targetIntegratedLoudness;
  if (changes(iconId)) edited.iconId = wanted.iconId;
  if (changes(preferFileName)) edited.preferFileName = wanted.preferFileName;
  if (changes(patchInfo)) edited.patchInfo = wanted.patchInfo;
  if (edited == *present) return std::nullopt;
  auto bytes = isNew ? edited.encode() : edited.encodeOver(*payload);
  if (!bytes) refusal = "its additional data cannot be written";
  return bytes;
}

Refusal Tagging::editAdditionalDataChunk() {
  std::string refusal;
  const auto edited = additionalData(chunk(kAdditionalDataChunkCode), refusal);
  if (!edited) return refusal.empty() ? std::nullopt : Refusal(refusal);
  return edited->empty() ? take(kAdditionalDataChunkCode) : put(kAdditionalDataChunkCode, 0, *edited);
}

// Of several the last one that says anything counts.
Refusal Tagging::editAdditionalUUIDChunk() {
  const auto index = lc::lastUUIDChunk(m_file, kAdditionalDataIdentifier, [](std::span<const std::byte> payload) {
    return LCAdditionalDataChunk::decode(payload).has_value();
  });
  std::string refusal;
  const auto edited = additionalData(index ? lc::uuidPayload(m_file, *index) : std::nullopt, refusal);
  if (!edited) return refusal.empty() ? std::nullopt : Refusal(refusal);
  if (edited->empty()) return take(kUUIDChunkCode, *index);
  const size_t place = index.value_or(m_file.userDataCount(kUUIDChunkCode));
  return put(kUUIDChunkCode, place, lc::uuidChunk(kAdditionalDataIdentifier, *edited));
}

// --- The whole file ---

bool hasExtensionOf(const std::string& path, Family family) {
  const std::string extension = vesk::path::lowercaseExtension(path);
  switch (family) {
    case Family::aiff:
      return extension == "aif" || extension == "aiff" || extension == "aifc";
    case Family::caf:
      return extension == "caf";
    case Family::wav:
      break;
  }
  return extension == "wav" || extension == "wave";
}

template <typename Parser>
std::optional<LCFileData> parsed(const vesk::URL& url, vesk::AudioFile file, bool isBigEndian) {
  Parser parser(url, std::move(file), isBigEndian);
  parser.fileData();
  return parser.takeFileData();
}

}  // namespace

std::optional<std::string> lc::editTags(vesk::AudioFileEdit& file, const LCFileData& wanted,
                                        std::span<const LCTagField> fields) {
  // It is read by its extension, so what is written by its contents would not be found.
  if (!file.path().empty() && !hasExtensionOf(file.path(), familyOf(file.file().kind()))) {
    return "its extension is that of another container";
  }
  return Tagging(file, wanted, fields).run();
}

std::optional<LCFileData> lc::recordWithEdits(const vesk::AudioFileEdit& file, const vesk::URL& url,
                                              std::string& reason) {
  vesk::WriteFailure failure;
  const auto preview = file.preview(failure);
  if (!preview) {
    reason = failure.message;
    return std::nullopt;
  }
  switch (familyOf(preview->kind())) {
    case Family::aiff:
      return parsed<LCAIFParser>(url, std::move(*preview), true);
    case Family::caf:
      return parsed<LCCAFParser>(url, std::move(*preview), true);
    case Family::wav:
      break;
  }
  return parsed<LCWAVParser>(url, std::move(*preview), false);
}
