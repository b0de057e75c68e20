#include "VeskLoopManagement/model/LCTagField.h"

#include "VeskLoopManagement/model/LCMusicalKey.h"
#include "VeskLoopManagement/model/LCTimeSignature.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace {

using Text = std::optional<std::string>;
using Problem = std::optional<std::string>;  // with a text, a sentence; nullopt: none

constexpr int64_t kLoop = 1;
constexpr int64_t kOneShot = 2;
constexpr int64_t kHighestMIDINote = 127;

template <typename Number>
std::optional<Number> numberFromText(std::string_view text) {
  Number number{};
  const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || rest != text.data() + text.size()) return std::nullopt;
  return number;
}

template <typename Number>
std::string numberText(Number number) {
  char digits[32];
  return {digits, std::to_chars(digits, digits + sizeof digits, number).ptr};
}

Text nonEmpty(const Text& text) {
  return text && !text->empty() ? text : std::nullopt;
}

// --- Tags that are texts ---

template <Text LCFileData::*Member>
struct TextTag {
  static Text text(const LCFileData& record) { return nonEmpty(record.*Member); }
  static Problem set(LCFileData& record, const std::string& text) {
    if (text.empty()) return "an empty text is no tag; clear the field instead";
    if (text.find('\0') != std::string::npos) return "a text cannot hold a zero byte";
    record.*Member = text;
    return std::nullopt;
  }
  static void clear(LCFileData& record) { (record.*Member).reset(); }
};

struct DescriptorsTag {
  static Text text(const LCFileData& record) {
    vesk::StringSet words = record.descriptors.value_or(vesk::StringSet());
    words.erase("");
    return nonEmpty(vesk::text::joined(words, ", "));
  }
  static Problem set(LCFileData& record, const std::string& text) {
    vesk::StringSet words;
    for (const std::string& part : vesk::text::split(text, ',')) {
      std::string word = vesk::text::trimmed(part);
      if (word.empty()) return "a descriptor is empty";
      words.insert(std::move(word));
    }
    record.descriptors = std::move(words);
    return std::nullopt;
  }
  static void clear(LCFileData& record) { record.descriptors.reset(); }
};

// --- Music ---

struct BeatsTag {
  static Text text(const LCFileData& record) {
    return record.beatCount > 0 ? Text(numberText(record.beatCount)) : std::nullopt;
  }
  static Problem set(LCFileData& record, const std::string& text) {
    const auto beats = numberFromText<int32_t>(text);
    if (!beats || *beats < 1) return "beats are a number above 0";
    record.beatCount = *beats;
    return std::nullopt;
  }
  static void clear(LCFileData& record) { record.beatCount = 0; }
};

// A note outside the octave of names is told by its number.
struct KeyTag {
  static Text text(const LCFileData& record) {
    const auto name = lc::noteName(record.midiRootNote);
    if (!name) return std::nullopt;
    const bool isNamed = LCMusicalKey::fromText(*name)->note == record.midiRootNote;
    return isNamed ? *name : numberText(record.midiRootNote);
  }
  static Problem set(LCFileData& record, const std::string& text) {
    if (const auto note = numberFromText<int64_t>(text)) {
      if (*note < 1 || *note > kHighestMIDINote) return "MIDI notes are numbers from 1 to 127";
      record.midiRootNote = *note;
      return std::nullopt;
    }
    const auto key = LCMusicalKey::fromText(text);
    if (!key) return "keys are notes such as F#, Bb or Am, or MIDI notes";
    const bool isKnown = lc::noteName(record.midiRootNote).has_value();
    if (!isKnown || lc::semitonesBetween(record.midiRootNote, key->note) != 0) record.midiRootNote = key->note;
    if (key->scale) record.keyType = static_cast<int64_t>(*key->scale);
    return std::nullopt;
  }
  static void clear(LCFileData& record) { record.midiRootNote = 0; }
};

struct ScaleTag {
  static Text text(const LCFileData& record) { return lc::scaleName(record.keyType); }
  static Problem set(LCFileData& record, const std::string& text) {
    const auto number = numberFromText<int64_t>(text);
    const auto scale = lc::scaleFromText(number ? lc::scaleName(*number).value_or("") : text);
    if (!scale) return "scales are minor, major, neither and both";
    record.keyType = static_cast<int64_t>(*scale);
    return std::nullopt;
  }
  static void clear(LCFileData& record) { record.keyType = 0; }
};

struct SignatureTag {
  static Text text(const LCFileData& record) {
    return nonEmpty(LCTimeSignature{record.signatureTop, record.signatureBottom}.text());
  }
  static Problem set(LCFileData& record, const std::string& text) {
    const auto signature = LCTimeSignature::parse(text);
    constexpr int64_t kMost = std::numeric_limits<int16_t>::max();
    if (!signature || signature->top > kMost || signature->bottom > kMost) return "signatures are such as 4/4";
    record.signatureTop = signature->top;
    record.signatureBottom = signature->bottom;
    return std::nullopt;
  }
  static void clear(LCFileData& record) { record.signatureTop = record.signatureBottom = 0; }
};

struct FileTypeTag {
  static Text text(const LCFileData& record) {
    if (record.fileType == kLoop) return "loop";
    if (record.fileType == kOneShot) return "one-shot";
    return std::nullopt;
  }
  static Problem set(LCFileData& record, const std::string& text) {
    const bool isLoop = text == "loop" || text == numberText(kLoop);
    if (!isLoop && text != "one-shot" && text != numberText(kOneShot)) return "a file is a loop or a one-shot";
    record.fileType = isLoop ? kLoop : kOneShot;
    return std::nullopt;
  }
  static void clear(LCFileData& record) { record.fileType = 0; }
};

// --- Numbers of the additional data ---

template <std::optional<double> LCFileData::*Member>
struct LevelTag {
  static Text text(const LCFileData& record) {
    return record.*Member ? Text(numberText(*(record.*Member))) : std::nullopt;
  }
  static Problem set(LCFileData& record, const std::string& text) {
    const auto level = numberFromText<double>(text);
    if (!level || !std::isfinite(*level)) return "levels are numbers such as -14.5";
    record.*Member = *level;
    return std::nullopt;
  }
  static void clear(LCFileData& record) { (record.*Member).reset(); }
};

struct IconTag {
  static Text text(const LCFileData& record) {
    return record.iconId ? Text(numberText(record.iconId->integerValue())) : std::nullopt;
  }
  static Problem set(LCFileData& record, const std::string& text) {
    const auto number = numberFromText<int64_t>(text);
    if (!number) return "an icon is a whole number";
    record.iconId = vesk::Number{*number};
    return std::nullopt;
  }
  static void clear(LCFileData& record) { record.iconId.reset(); }
};

struct PreferFileNameTag {
  static Text text(const LCFileData& record) {
    if (!record.preferFileName) return std::nullopt;
    return record.preferFileName->integerValue() != 0 ? "true" : "false";
  }
  static Problem set(LCFileData& record, const std::string& text) {
    if (text != "true" && text != "false") return "it is true or false";
    record.preferFileName = vesk::Number{text == "true"};
    return std::nullopt;
  }
  static void clear(LCFileData& record) { record.preferFileName.reset(); }
};

struct PatchTag {
  static Text text(const LCFileData& record) {
    return record.patchInfo > 0 ? Text(numberText(record.patchInfo)) : std::nullopt;
  }
  static Problem set(LCFileData& record, const std::string& text) {
    const auto number = numberFromText<int64_t>(text);
    if (!number || *number < 1) return "it is a whole number above 0";
    record.patchInfo = *number;
    return std::nullopt;
  }
  static void clear(LCFileData& record) { record.patchInfo = 0; }
};

// --- All of them ---

struct Entry {
  LCTagField field;
  std::string_view name;
  std::string_view recordName;  // "" where the record has no single field for it, or one of the same name
  Text (*text)(const LCFileData&);
  Problem (*set)(LCFileData&, const std::string&);
  void (*clear)(LCFileData&);
};

template <typename Tag>
constexpr Entry entry(LCTagField field, std::string_view name, std::string_view recordName = {}) {
  return {field, name, recordName, Tag::text, Tag::set, Tag::clear};
}

using enum LCTagField;
constexpr Entry kEntries[] = {
    entry<TextTag<&LCFileData::title>>(title, "title"),
    entry<TextTag<&LCFileData::authorTag>>(author, "author", "authorTag"),
    entry<TextTag<&LCFileData::copyrightTag>>(copyright, "copyright", "copyrightTag"),
    entry<TextTag<&LCFileData::commentTag>>(comment, "comment", "commentTag"),
    entry<TextTag<&LCFileData::instrumentTypeTag>>(instrument, "instrument", "instrumentTypeTag"),
    entry<TextTag<&LCFileData::instrumentSubTypeTag>>(subInstrument, "subInstrument", "instrumentSubTypeTag"),
    entry<TextTag<&LCFileData::genreTag>>(genre, "genre", "genreTag"),
    entry<DescriptorsTag>(descriptors, "descriptors"),
    entry<TextTag<&LCFileData::collectionTag>>(collection, "collection", "collectionTag"),
    entry<TextTag<&LCFileData::themeTag>>(theme, "theme", "themeTag"),
    entry<BeatsTag>(beats, "beats", "beatCount"),
    entry<KeyTag>(key, "key", "midiRootNote"),
    entry<ScaleTag>(scale, "scale", "keyType"),
    entry<SignatureTag>(signature, "signature"),
    entry<FileTypeTag>(fileType, "fileType"),
    entry<LevelTag<&LCFileData::integratedLoudness>>(integratedLoudness, "integratedLoudness"),
    entry<LevelTag<&LCFileData::globalMaxTruePeak>>(truePeak, "truePeak", "globalMaxTruePeak"),
    entry<LevelTag<&LCFileData::targetIntegratedLoudness>>(targetLoudness, "targetLoudness",
                                                           "targetIntegratedLoudness"),
    entry<IconTag>(iconId, "iconId"),
    entry<PreferFileNameTag>(preferFileName, "preferFileName"),
    entry<PatchTag>(patchInfo, "patchInfo"),
};

const Entry& entryOf(LCTagField field) {
  return kEntries[static_cast<size_t>(field)];
}

}  // namespace

std::span<const LCTagField> lc::tagFields() {
  static const auto fields = [] {
    std::vector<LCTagField> all;
    for (const Entry& known : kEntries) all.push_back(known.field);
    return all;
  }();
  return fields;
}

std::string_view lc::tagFieldName(LCTagField field) {
  return entryOf(field).name;
}

std::optional<LCTagField> lc::tagFieldFromName(std::string_view name) {
  if (name.empty()) return std::nullopt;
  for (const Entry& known : kEntries) {
    if (name == known.name || name == known.recordName) return known.field;
  }
  return std::nullopt;
}

std::optional<std::string> lc::tagText(const LCFileData& record, LCTagField field) {
  return entryOf(field).text(record);
}

std::optional<std::string> lc::setTagText(LCFileData& record, LCTagField field, std::string_view text) {
  return entryOf(field).set(record, vesk::text::trimmed(text));
}

void lc::clearTag(LCFileData& record, LCTagField field) {
  entryOf(field).clear(record);
}

bool lc::haveSameTag(const LCFileData& left, const LCFileData& right, LCTagField field) {
  return tagText(left, field) == tagText(right, field);
}
