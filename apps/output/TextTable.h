// How the columns of a table share the width of a terminal, so that no row wraps. A plain value; it prints nothing.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct TextTableColumn {
  // Where something is cut out when there is no room: texts lose it before their end, paths nearer to their beginning,
  // and of numbers, which stand on the right, nothing
  // is cut.
  enum class Kind { text, path, number };

  std::string_view title;
  size_t width = 0;  // which it would like to have
  Kind kind = Kind::text;
  bool grows = false;  // shares what the others leave, beyond its width
};

class TextTable {
 public:
  static constexpr size_t kGap = 2;  // between two columns

  // Shrinks what can be cut, the widest column first. Where even that is not enough the last columns are left out.
  TextTable(std::vector<TextTableColumn> columns, size_t terminalWidth);

  // Lines without blanks at their ends.
  std::string header() const;
  // Cells beyond the columns that have room are not looked at.
  std::string row(std::span<const std::string> cells) const;

 private:
  std::vector<TextTableColumn> m_columns;  // with the widths that they got
};
