#include "catalog/TagChanges.h"

#include "VeskLoopManagement/catalog/LCNearNames.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"
#include "VeskLoopManagement/platform/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <set>

namespace {

using lc::TagRefusal;
using Kind = LCTagChange::Kind;

vesk::StringSet wordsOf(const std::optional<vesk::StringSet>& descriptors) {
  return descriptors.value_or(vesk::StringSet());
}

// --- Changing ---

void setField(LCFileData& record, LCTagField field, const std::string& text) {
  if (auto reason = lc::setTagText(record, field, text)) {
    throw TagRefusal{LCTagProblem::invalidValue, fmt::format("{}: \"{}\": {}", lc::tagFieldName(field), text, *reason)};
  }
}

void changeDescriptors(LCFileData& record, const LCTagChange& change) {
  LCFileData given;
  setField(given, LCTagField::descriptors, change.text);
  vesk::StringSet words = wordsOf(record.descriptors);
  for (const auto& word : wordsOf(given.descriptors)) {
    if (change.kind == Kind::addDescriptor) {
      words.erase("");  // of a list that was written empty
      words.insert(word);
    } else {
      words.erase(word);
    }
  }
  if (words.empty()) {
    lc::clearTag(record, LCTagField::descriptors);
  } else {
    record.descriptors = std::move(words);
  }
}

void change(LCFileData& record, const LCTagChange& change) {
  switch (change.kind) {
    case Kind::set:
      return setField(record, change.field, change.text);
    case Kind::clear:
      return lc::clearTag(record, change.field);
    case Kind::addDescriptor:
    case Kind::removeDescriptor:
      return changeDescriptors(record, change);
  }
}

// The field whose words are to be in the file, be they in its path or not.
std::optional<LCTagField> givenField(const LCTagChange& change) {
  if (change.kind == Kind::set) return change.field;
  return change.kind == Kind::addDescriptor ? std::optional(LCTagField::descriptors) : std::nullopt;
}

// --- Keywords ---

struct KeywordRule {
  LCTagField field;
  std::string_view noun;
  std::vector<int32_t> categories;
};

const std::vector<KeywordRule>& keywordRules() {
  static const std::vector<KeywordRule> rules = {
      {LCTagField::genre, "genre", {kCategoryGenre}},
      {LCTagField::instrument, "instrument", {kCategoryInstrumentType, kCategoryInstrumentTypeWithSubTypes}},
      {LCTagField::subInstrument, "kind of instrument", {kCategoryInstrumentSubType}},
      {LCTagField::descriptors, "descriptor", {kCategoryDescriptor}}};
  return rules;
}

bool isKeywordField(LCTagField field) {
  return std::ranges::any_of(keywordRules(), [field](const KeywordRule& rule) { return rule.field == field; });
}

// The words of a field that has some.
vesk::StringSet wordsOf(const LCFileData& record, LCTagField field) {
  vesk::StringSet words;
  if (field == LCTagField::descriptors) {
    words = wordsOf(record.descriptors);
  } else if (const auto text = lc::tagText(record, field)) {
    words.insert(*text);
  }
  words.erase("");
  return words;
}

[[noreturn]] void refuseKeyword(const std::string& word, const KeywordRule& rule) {
  LCNearNames near(word);
  for (const int32_t category : rule.categories) {
    for (const auto& name : LCKeywordHelper::keywordsForCategory(category)) near.consider(name);
  }
  const bool isOther = LCKeywordHelper::keywordCategoryForKeyword(word) != 0;
  throw TagRefusal{LCTagProblem::unknownKeyword,
                   isOther ? fmt::format("\"{}\" is a keyword, but no {}", word, rule.noun)
                           : fmt::format("unknown {} \"{}\"", rule.noun, word),
                   near.best()};
}

// --- Comparing ---

std::string quoted(const std::optional<std::string>& text) {
  return text ? fmt::format("\"{}\"", *text) : "empty";
}

void requireTag(const LCFileData& expected, const LCFileData& found, LCTagField field, bool isWanted) {
  if (lc::haveSameTag(expected, found, field)) return;
  throw TagRefusal{LCTagProblem::notCarried,
                   fmt::format("{} {} {}: it would read back as {}", lc::tagFieldName(field),
                               isWanted ? "cannot be" : "would not stay", quoted(lc::tagText(expected, field)),
                               quoted(lc::tagText(found, field)))};
}

// One pattern for all that is no number.
void makeComparable(std::optional<double>& number) {
  if (number && std::isnan(*number)) number = -std::numeric_limits<double>::infinity();
}
void makeComparable(float& number) {
  if (std::isnan(number)) number = -std::numeric_limits<float>::infinity();
}

LCFileData comparable(LCFileData record) {
  makeComparable(record.bpm);
  makeComparable(record.lengthInSeconds);
  for (auto* number : {&record.integratedLoudness, &record.targetIntegratedLoudness, &record.globalMaxTruePeak}) {
    makeComparable(*number);
  }
  return record;
}

// The record without its tags and what follows from them.
LCFileData withoutTags(LCFileData record) {
  for (const LCTagField field : lc::tagFields()) lc::clearTag(record, field);
  record.bpm = 0;
  record.hash = 0;
  record.hasAuthoredChunks = record.hasLoopTypeChunks = false;
  return comparable(std::move(record));
}

// A CAF file says nothing of its type; it follows from beats and signature.
bool followsFromOthers(LCTagField field, vesk::ContainerKind kind) {
  return field == LCTagField::fileType && kind == vesk::ContainerKind::caf;
}

std::optional<std::string> tempoText(const LCFileData& record) {
  return record.bpm > 0 ? std::optional(fmt::format("{:g}", record.bpm)) : std::nullopt;
}

}  // namespace

lc::WantedTags lc::wantedTags(const LCFileData& record, std::span<const LCTagChange> changes) {
  WantedTags wanted{.record = record, .fields = {}};
  std::set<LCTagField> given;
  for (const auto& each : changes) {
    change(wanted.record, each);
    if (const auto field = givenField(each)) given.insert(*field);
  }
  for (const LCTagField field : tagFields()) {
    const bool mayComeFromPath = given.contains(field) && isKeywordField(field);
    if (mayComeFromPath || !haveSameTag(record, wanted.record, field)) wanted.fields.push_back(field);
  }
  return wanted;
}

void lc::requireKnownKeywords(const LCFileData& record, const WantedTags& wanted) {
  for (const auto& rule : keywordRules()) {
    const vesk::StringSet before = wordsOf(record, rule.field);
    for (const auto& word : wordsOf(wanted.record, rule.field)) {
      const int32_t category = LCKeywordHelper::keywordCategoryForKeyword(word);
      const bool isOfKind = std::ranges::find(rule.categories, category) != rule.categories.end();
      if (!isOfKind && !before.contains(word)) refuseKeyword(word, rule);
    }
  }
}

std::optional<std::string> lc::remarkOnInstrument(const LCFileData& record, const WantedTags& wanted) {
  const auto instrument = tagText(wanted.record, LCTagField::instrument);
  const auto kind = tagText(wanted.record, LCTagField::subInstrument);
  const bool isNew = !haveSameTag(record, wanted.record, LCTagField::subInstrument) ||
                     !haveSameTag(record, wanted.record, LCTagField::instrument);
  const auto parent = kind && isNew ? LCKeywordHelper::parentKeywordForKeyword(*kind) : std::nullopt;
  if (!parent || parent == instrument) return std::nullopt;
  return fmt::format("{} is a kind of {}, and the instrument is {}", *kind, *parent, instrument.value_or("not given"));
}

void lc::requireCarried(const LCFileData& record, const WantedTags& wanted, const LCFileData& found,
                        vesk::ContainerKind kind) {
  for (const LCTagField field : tagFields()) {
    const bool isWanted = std::ranges::find(wanted.fields, field) != wanted.fields.end();
    if (isWanted || !followsFromOthers(field, kind)) requireTag(wanted.record, found, field, isWanted);
  }
  if (withoutTags(record) == withoutTags(found)) return;
  throw TagRefusal{LCTagProblem::notCarried, "other fields of the loop would not stay as they are"};
}

bool lc::areSameRecords(const LCFileData& left, const LCFileData& right) {
  return comparable(left) == comparable(right);
}

std::map<std::string, LCTagFieldChange> lc::fieldChanges(const LCFileData& before, const LCFileData& after) {
  std::map<std::string, LCTagFieldChange> changes;
  const auto add = [&](std::string_view name, std::optional<std::string> from, std::optional<std::string> to) {
    if (from != to) changes[std::string(name)] = {.from = std::move(from), .to = std::move(to)};
  };
  for (const LCTagField field : tagFields()) add(tagFieldName(field), tagText(before, field), tagText(after, field));
  add("tempo", tempoText(before), tempoText(after));
  return changes;
}
