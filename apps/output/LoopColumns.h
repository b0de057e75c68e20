// The columns in which loops stand as text: a table on a terminal, fields between tabs for scripts. Both come from one
// list of columns, and every value from the loop's JSON, so that all three say the same.
#pragma once

#include "TextTable.h"
#include "VeskLoopManagement/catalog/LCCatalogLoop.h"

#include <string>
#include <string_view>
#include <vector>

class Output;

struct LoopColumn;  // one of a list that lasts as long as the program
using LoopColumns = std::vector<const LoopColumn*>;

// The columns of "name,tempo,…"; throws a usage failure for words that are none.
LoopColumns columnsForWords(std::string_view words);
std::vector<std::string> columnWords();  // for messages and help

// The values of a loop between tabs, in full. A value's own tabs and line ends are replaced.
std::string tabSeparated(const LoopColumns& columns, const LCCatalogLoop& loop);

// The table on a terminal: columns with names, paths and lists share what the others leave, and no row wraps.
class LoopTable {
 public:
  // Without `columns`: the name and as many of the usual columns as have room.
  LoopTable(Output& output, LoopColumns columns);  // `output` must outlive the table

  void printHeader() const;
  void printRow(const LCCatalogLoop& loop) const;

 private:
  Output& m_output;
  LoopColumns m_columns;
  TextTable m_table;
};
