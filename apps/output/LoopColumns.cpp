#include "LoopColumns.h"

#include "Failure.h"
#include "LoopJSON.h"
#include "Output.h"
#include "TerminalText.h"
#include "VeskLoopManagement/platform/Text.h"

#include <fmt/format.h>

#include <algorithm>

struct LoopColumn {
  std::string_view word;
  std::string_view title;
  size_t width;       // on a terminal; 0: a share of what the others leave
  bool isNumber;      // stands on the right
  const char* field;  // where the loop's JSON has the value
};

namespace {

enum class Reader { person, script };

constexpr LoopColumn kColumns[] = {{"name", "Name", 0, false, "/fileName"},
                                   {"path", "Path", 0, false, "/path"},
                                   {"url", "URL", 0, false, "/url"},
                                   {"id", "Id", 20, true, "/id"},
                                   {"tempo", "Tempo", 5, true, "/tempo"},
                                   {"key", "Key", 8, false, "/key"},
                                   {"beats", "Beats", 5, true, "/beats"},
                                   {"signature", "Sig.", 4, false, "/signature"},
                                   {"length", "Length", 7, true, "/seconds"},
                                   {"type", "Type", 13, false, "/loopType"},
                                   {"instrument", "Instrument", 18, false, "/instrument"},
                                   {"genre", "Genre", 18, false, "/genre"},
                                   {"descriptors", "Descriptors", 0, false, "/descriptors"},
                                   {"crates", "Packages", 0, false, "/crates"},
                                   {"favorite", "Fav.", 4, false, "/favorite"},
                                   {"rating", "Rating", 6, true, "/rating"},
                                   {"comment", "Comment", 0, false, "/comment"},
                                   {"loudness", "LUFS", 6, true, "/loudness/integrated"},
                                   {"peak", "Peak", 6, true, "/loudness/truePeak"},
                                   {"target", "Target", 6, true, "/loudness/target"},
                                   {"gain", "Gain", 6, true, "/loudness/gain"}};

// Shown beside the name when nobody asks for others.
constexpr std::string_view kUsualColumns = "tempo,key,length,beats,instrument,signature,genre,type";

constexpr size_t kGap = 2;
constexpr size_t kNarrowestShare = 20;

// The loop's JSON with what reads better as text put in its place.
JSON shownFields(const LCCatalogLoop& loop, Reader reader) {
  JSON fields = jsonOfLoop(loop);
  fields["fileName"] = loop.fileName;  // JSON is never made of these bytes, so they may be ill-formed
  fields["path"] = loop.place.path();
  if (fields.contains("subInstrument")) fields["instrument"] = fields["subInstrument"];
  const std::string scale = fields.value("scale", "");
  if (fields.contains("key") && (scale == "minor" || scale == "major")) {
    const size_t length = reader == Reader::person ? 3 : scale.size();
    fields["key"] = fmt::format("{} {}", fields["key"].get<std::string>(), scale.substr(0, length));
  }
  if (reader == Reader::person && fields.contains("seconds")) {
    fields["seconds"] = fmt::format("{:.1f} s", fields["seconds"].get<double>());
  }
  if (fields.contains("favorite")) fields["favorite"] = fields["favorite"].get<bool>() ? "yes" : "";
  if (fields.value("rating", 0) == 0) fields.erase("rating");
  return fields;
}

std::string textOf(const JSON& value, Reader reader) {
  if (value.is_string()) return value.get<std::string>();
  if (value.is_number_float()) {
    return reader == Reader::person ? fmt::format("{:.1f}", value.get<double>())
                                    : fmt::format("{:.6g}", value.get<double>());
  }
  if (value.is_array()) return fmt::format("{}", fmt::join(value.get<std::vector<std::string>>(), ", "));
  return value.dump();
}

std::string valueIn(const JSON& fields, const LoopColumn& column, Reader reader) {
  const JSON::json_pointer field(column.field);
  return fields.contains(field) ? textOf(fields[field], reader) : std::string();
}

// What the columns take that have widths of their own, with a gap for each.
size_t fixedWidth(const LoopColumns& columns) {
  size_t width = 0;
  for (const auto* column : columns) {
    if (column->width > 0) width += column->width + kGap;
  }
  return width;
}

LoopColumns usualColumns(size_t width) {
  LoopColumns columns = columnsForWords("name");
  for (const auto* column : columnsForWords(kUsualColumns)) {
    if (fixedWidth(columns) + column->width + kGap + kNarrowestShare > width) break;
    columns.push_back(column);
  }
  return columns;
}

size_t sharedWidth(const LoopColumns& columns, size_t width) {
  const auto sharing = static_cast<size_t>(
      std::count_if(columns.begin(), columns.end(), [](const auto* column) { return column->width == 0; }));
  if (sharing == 0) return 0;
  const size_t taken = fixedWidth(columns) + (sharing - 1) * kGap + 1;
  return std::max(kNarrowestShare, (width - std::min(width, taken)) / sharing);
}

}  // namespace

LoopColumns columnsForWords(std::string_view words) {
  LoopColumns columns;
  for (const auto& word : vesk::text::split(words, ',')) {
    const auto* found =
        std::find_if(std::begin(kColumns), std::end(kColumns), [&](const auto& column) { return column.word == word; });
    if (found == std::end(kColumns)) {
      throw usageFailure(fmt::format("\"{}\" is no column", word),
                         fmt::format("Several with commas of {}.", fmt::join(columnWords(), ", ")));
    }
    columns.push_back(found);
  }
  return columns;
}

std::vector<std::string> columnWords() {
  std::vector<std::string> words;
  for (const auto& column : kColumns) words.emplace_back(column.word);
  return words;
}

std::string tabSeparated(const LoopColumns& columns, const LCCatalogLoop& loop) {
  const JSON fields = shownFields(loop, Reader::script);
  std::string line;
  for (size_t index = 0; index < columns.size(); ++index) {
    if (index > 0) line += '\t';
    line += onOneLine(valueIn(fields, *columns[index], Reader::script));
  }
  return line;
}

LoopTable::LoopTable(Output& output, LoopColumns columns) : m_output(output), m_columns(std::move(columns)) {
  const size_t width = output.resultTraits().columns;
  if (m_columns.empty()) m_columns = usualColumns(width);
  m_sharedWidth = sharedWidth(m_columns, width);
}

void LoopTable::printHeader() const {
  std::string line;
  for (size_t index = 0; index < m_columns.size(); ++index) line += padded(index, m_columns[index]->title);
  m_output.text(m_output.emphasized(line));
}

void LoopTable::printRow(const LCCatalogLoop& loop) const {
  const JSON fields = shownFields(loop, Reader::person);
  std::string line;
  for (size_t index = 0; index < m_columns.size(); ++index) {
    line += padded(index, printable(valueIn(fields, *m_columns[index], Reader::person)));
  }
  m_output.text(line.erase(line.find_last_not_of(' ') + 1));
}

// With the gap before it.
std::string LoopTable::padded(size_t index, std::string_view text) const {
  const LoopColumn& column = *m_columns[index];
  const size_t width = column.width > 0 ? column.width : m_sharedWidth;
  return std::string(index > 0 ? kGap : 0, ' ') +
         (column.isNumber ? paddedLeftToWidth(text, width) : paddedToWidth(text, width));
}
