#include "TagJSON.h"

#include "VeskLoopManagement/platform/URL.h"

#include <fmt/format.h>

#include <algorithm>

namespace {

// The names that lists use for something else than a tag of the file: of search the user's comment.
bool isTagInLists(const std::string& name) {
  return name != "comment";
}

// The text of a value as people write it; nullopt clears the field. A number of 0 says "unknown".
std::optional<std::string> textOfValue(LCTagField field, const JSON& value) {
  if (value.is_string()) {
    auto text = value.get<std::string>();
    return text.empty() ? std::nullopt : std::optional(std::move(text));
  }
  if (value.is_boolean()) return value.get<bool>() ? "true" : "false";
  if (value.is_number()) {
    const bool isLevel = field == LCTagField::integratedLoudness || field == LCTagField::truePeak ||
                         field == LCTagField::targetLoudness || field == LCTagField::iconId;
    if (field == LCTagField::preferFileName) return value.get<double>() != 0 ? "true" : "false";
    return value.get<double>() == 0 && !isLevel ? std::nullopt : std::optional(value.dump());
  }
  if (!value.is_array()) return std::nullopt;
  std::vector<std::string> words;
  for (const JSON& word : value) {
    if (word.is_string() && !word.get<std::string>().empty()) words.push_back(word.get<std::string>());
  }
  return words.empty() ? std::nullopt : std::optional(fmt::format("{}", fmt::join(words, ",")));
}

LCTagChange changeTo(LCTagField field, const std::optional<std::string>& text) {
  using Kind = LCTagChange::Kind;
  return {.kind = text ? Kind::set : Kind::clear, .field = field, .text = text.value_or("")};
}

// The record of info has the two parts of a signature by themselves.
std::optional<LCTagChange> signatureOfRecord(const JSON& object) {
  if (!object.contains("signatureTop") || !object.contains("signatureBottom")) return std::nullopt;
  const JSON &top = object["signatureTop"], &bottom = object["signatureBottom"];
  if (!top.is_number_integer() || !bottom.is_number_integer()) return std::nullopt;
  const bool isKnown = top.get<int64_t>() > 0;
  return changeTo(LCTagField::signature,
                  isKnown ? std::optional(fmt::format("{}/{}", top.dump(), bottom.dump())) : std::nullopt);
}

std::vector<LCTagChange> changesOf(const JSON& object) {
  std::vector<LCTagChange> changes;
  for (const auto& [name, value] : object.items()) {
    const auto field = lc::tagFieldFromName(name);
    if (field && isTagInLists(name)) changes.push_back(changeTo(*field, textOfValue(*field, value)));
  }
  if (auto signature = signatureOfRecord(object)) changes.push_back(std::move(*signature));
  return changes;
}

// Where the file of an entry is; the URL is exact where the path is not.
std::optional<std::string> pathOf(const JSON& entry) {
  if (entry.contains("url") && entry["url"].is_string()) {
    const auto url = vesk::URL::fromString(entry["url"].get<std::string>());
    if (url) return url->path();
  }
  if (entry.contains("path") && entry["path"].is_string()) return entry["path"].get<std::string>();
  return std::nullopt;
}

TagsFromJSON tagsOfList(const JSON& list) {
  TagsFromJSON tags;
  for (const JSON& entry : list) {
    const auto path = entry.is_object() ? pathOf(entry) : std::nullopt;
    if (!path) return {.edits = {}, .problem = "an entry names no file by its \"path\" or \"url\""};
    const bool hasRecord = entry.contains("record") && entry["record"].is_object();
    tags.edits.push_back({.path = *path, .changes = changesOf(hasRecord ? entry["record"] : entry)});
  }
  return tags;
}

TagsFromJSON tagsOfObject(const JSON& object) {
  LCTagEdit edit;
  for (const auto& [name, value] : object.items()) {
    const auto field = lc::tagFieldFromName(name);
    if (!field) return {.edits = {}, .problem = fmt::format("\"{}\" is not the name of a tag", name)};
    edit.changes.push_back(changeTo(*field, textOfValue(*field, value)));
  }
  return {.edits = {std::move(edit)}, .problem = {}};
}

JSON textOrNull(const std::optional<std::string>& text) {
  return text ? JSON(*text) : JSON(nullptr);
}

}  // namespace

TagsFromJSON tagsFromJSON(std::string_view text) {
  const JSON json = JSON::parse(text, nullptr, false);
  if (json.is_discarded()) return {.edits = {}, .problem = "it is not JSON"};
  if (json.is_array()) return tagsOfList(json);
  if (!json.is_object()) return {.edits = {}, .problem = "it is neither a list of files nor an object of tags"};
  for (const char* name : {"files", "loops"}) {
    if (json.contains(name) && json[name].is_array()) return tagsOfList(json[name]);
  }
  return tagsOfObject(json);
}

JSON jsonOfTagFields(const std::map<std::string, LCTagFieldChange>& fields) {
  JSON object = JSON::object();
  for (const auto& [name, change] : fields) {
    object[name] = {{"from", textOrNull(change.from)}, {"to", textOrNull(change.to)}};
  }
  return object;
}

JSON jsonOfTagReport(const LCTagReport& report) {
  JSON object = JSON::object();
  addPath(object, report.path, vesk::URL::fileURLWithPath(report.path, false).absoluteString());
  object["changed"] = report.isChanged;
  if (report.oldId != 0) object["oldId"] = std::to_string(report.oldId);
  if (report.newId != 0) object["newId"] = std::to_string(report.newId);
  object["fields"] = jsonOfTagFields(report.fields);
  object["backup"] = textOrNull(report.backup);
  if (!report.notes.empty()) object["notes"] = report.notes;
  if (!report.problem) return object;
  JSON& failure = object["failure"];
  failure = {{"reason", lc::tagProblemName(*report.problem)}, {"detail", report.detail}};
  if (!report.nearNames.empty()) failure["suggestions"] = report.nearNames;
  return object;
}

JSON jsonOfTagHistoryEntry(const LCTagHistoryEntry& entry) {
  return {{"run", std::to_string(entry.runId)},
          {"startedAt", entry.startedAt},
          {"finished", entry.isFinished},
          {"files", entry.files},
          {"undone", entry.undone}};
}

std::string tagFieldChangeText(const std::string& name, const LCTagFieldChange& change) {
  return fmt::format("{}: {} → {}", name, change.from.value_or("–"), change.to.value_or("–"));
}
