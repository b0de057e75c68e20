#include "LoopColumns.h"

#include "Failure.h"
#include "LoopJSON.h"
#include "Output.h"
#include "TerminalText.h"
#include "VeskLoopManagement/platform/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

struct LoopColumn {
  std::string_view word;
  std::string_view title;
  size_t width;  // on a terminal, where those that grow share what the others leave
  TextTableColumn::Kind kind;
  const char* field;  // where the loop's JSON has the value
  bool grows = false;
};

namespace {

enum class Reader { person, script };

constexpr auto kText = TextTableColumn::Kind::text, kPath = TextTableColumn::Kind::path,
               kNumber = TextTableColumn::Kind::number;

constexpr LoopColumn kColumns[] = {{"name", "Name", 24, kText, "/fileName", true},
                                   {"folder", "Folder", 16, kPath, "/folder", true},
                                   {"path", "Path", 40, kPath, "/path", true},
                                   {"url", "URL", 40, kPath, "/url", true},
                                   {"id", "Id", 20, kNumber, "/id"},
                                   {"tempo", "Tempo", 5, kNumber, "/tempo"},
                                   {"key", "Key", 8, kText, "/key"},
                                   {"beats", "Beats", 5, kNumber, "/beats"},
                                   {"signature", "Sig.", 4, kText, "/signature"},
                                   {"length", "Length", 7, kNumber, "/seconds"},
                                   {"type", "Type", 13, kText, "/loopType"},
                                   {"instrument", "Instrument", 18, kText, "/instrument"},
                                   {"genre", "Genre", 18, kText, "/genre"},
                                   {"descriptors", "Descriptors", 20, kText, "/descriptors", true},
                                   {"crates", "Packages", 20, kText, "/crates", true},
                                   {"favorite", "Fav.", 4, kText, "/favorite"},
                                   {"rating", "Rating", 6, kNumber, "/rating"},
                                   {"comment", "Comment", 20, kText, "/comment", true},
                                   {"loudness", "LUFS", 6, kNumber, "/loudness/integrated"},
                                   {"peak", "Peak", 6, kNumber, "/loudness/truePeak"},
                                   {"target", "Target", 6, kNumber, "/loudness/target"},
                                   {"gain", "Gain", 6, kNumber, "/loudness/gain"}};

// Shown when nobody asks for others, as far as they have room.
constexpr std::string_view kUsualColumns = "name,folder,tempo,key,genre,length,instrument,beats,signature,type";

// The loop's JSON with what reads better as text put in its place.
JSON shownFields(const LCCatalogLoop& loop, Reader reader) {
  JSON fields = jsonOfLoop(loop);
  fields["fileName"] = loop.fileName;  // JSON is never made of these bytes, so they may be ill-formed
  fields["path"] = loop.place.path();
  fields["folder"] = std::filesystem::path(loop.place.path()).parent_path().string();
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

TextTable tableOf(const LoopColumns& columns, size_t width) {
  std::vector<TextTableColumn> shown;
  for (const auto* column : columns) {
    shown.push_back({.title = column->title, .width = column->width, .kind = column->kind, .grows = column->grows});
  }
  return {std::move(shown), width};
}

LoopColumns usualColumns(size_t width) {
  LoopColumns columns;
  size_t taken = 0;
  for (const auto* column : columnsForWords(kUsualColumns)) {
    taken += column->width + (columns.empty() ? 0 : TextTable::kGap);
    if (!columns.empty() && taken >= width) break;  // the last column of the terminal stays free
    columns.push_back(column);
  }
  return columns;
}

}  // namespace

LoopColumns columnsForWords(std::string_view words) {
  LoopColumns columns;
  for (const auto& word : vesk::text::split(words, ',')) {
    const auto* found =
        std::find_if(std::begin(kColumns), std::end(kColumns), [&](const auto& column) { return column.word == word; });
    if (found == std::end(kColumns)) {
      throw usageFailure(
          fmt::format("\"{}\" is not a column", word),
          fmt::format("Columns are {}; several with commas between them.", fmt::join(columnWords(), ", ")));
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

LoopTable::LoopTable(Output& output, LoopColumns columns)
    : m_output(output),
      m_columns(columns.empty() ? usualColumns(output.resultTraits().columns) : std::move(columns)),
      m_table(tableOf(m_columns, output.resultTraits().columns)) {}

void LoopTable::printHeader() const {
  m_output.text(m_output.emphasized(m_table.header()));
}

void LoopTable::printRow(const LCCatalogLoop& loop) const {
  const JSON fields = shownFields(loop, Reader::person);
  std::vector<std::string> cells;
  for (const auto* column : m_columns) cells.push_back(printable(valueIn(fields, *column, Reader::person)));
  m_output.text(m_table.row(cells));
}
