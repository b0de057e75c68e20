// What a connection answers to a SELECT: a text for each row, its columns joined by "|", NULL as "NULL".
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>
#include <vector>

#include "VeskLoopManagement/database/LCStatement.h"

using Rows = std::vector<std::string>;

inline Rows rowsOf(sqlite3* connection, const std::string& sql) {
  LCStatement statement(connection, sql);
  Rows rows;
  while (statement.step()) {
    std::string& row = rows.emplace_back();
    for (int column = 0; column < statement.columnCount(); ++column) {
      row += (column == 0 ? "" : "|") + (statement.isNull(column) ? "NULL" : statement.textAt(column));
    }
  }
  EXPECT_TRUE(statement.succeeded()) << sql << ": " << sqlite3_errmsg(connection);
  return rows;
}
