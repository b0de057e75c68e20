#include "TextTable.h"

#include "TerminalText.h"

#include <algorithm>

namespace {

using Kind = TextTableColumn::Kind;

constexpr size_t kNarrowest = 4;  // of what can be cut

size_t widthOf(const std::vector<TextTableColumn>& columns) {
  size_t width = columns.empty() ? 0 : (columns.size() - 1) * TextTable::kGap;
  for (const auto& column : columns) width += column.width;
  return width;
}

TextTableColumn* widestToCut(std::vector<TextTableColumn>& columns) {
  TextTableColumn* widest = nullptr;
  for (auto& column : columns) {
    const bool canShrink = column.kind != Kind::number && column.width > kNarrowest;
    if (canShrink && (widest == nullptr || column.width > widest->width)) widest = &column;
  }
  return widest;
}

void shrink(std::vector<TextTableColumn>& columns, size_t room) {
  while (widthOf(columns) > room) {
    if (auto* widest = widestToCut(columns)) {
      --widest->width;
    } else if (columns.size() > 1) {
      columns.pop_back();
    } else {
      return;
    }
  }
}

void grow(std::vector<TextTableColumn>& columns, size_t room) {
  std::vector<TextTableColumn*> growing;
  for (auto& column : columns) {
    if (column.grows) growing.push_back(&column);
  }
  const size_t width = widthOf(columns);
  if (growing.empty() || width >= room) return;
  for (size_t index = 0; index < growing.size(); ++index) {
    growing[index]->width += (room - width + index) / growing.size();
  }
}

std::string padded(const TextTableColumn& column, std::string_view text) {
  if (column.kind == Kind::number) return paddedLeftToWidth(text, column.width);
  return paddedToWidth(column.kind == Kind::path ? cutPathToWidth(text, column.width) : text, column.width);
}

}  // namespace

// The last column of the terminal stays free: some wrap as soon as it is written.
TextTable::TextTable(std::vector<TextTableColumn> columns, size_t terminalWidth) : m_columns(std::move(columns)) {
  const size_t room = std::max<size_t>(terminalWidth, 2) - 1;
  shrink(m_columns, room);
  grow(m_columns, room);
}

std::string TextTable::header() const {
  std::vector<std::string> titles;
  for (const auto& column : m_columns) titles.emplace_back(column.title);
  return row(titles);
}

std::string TextTable::row(std::span<const std::string> cells) const {
  std::string text;
  for (size_t index = 0; index < std::min(m_columns.size(), cells.size()); ++index) {
    if (index > 0) text.append(kGap, ' ');
    text += padded(m_columns[index], cells[index]);
  }
  return text.erase(text.find_last_not_of(' ') + 1);
}
