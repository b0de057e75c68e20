// A prepared statement. Inert when the SQL did not compile or the connection was null: every call is then harmless and
// answers false, 0 or "". One thread at a time.
#pragma once

#include "VeskLoopManagement/LCExport.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

class LC_EXPORT LCStatement {
 public:
  LCStatement() = default;                                 // inert
  LCStatement(sqlite3* connection, std::string_view sql);  // `connection` is borrowed and outlives the statement

  // Prepares itself when it is inert, and answers itself: for statements that their owner prepares on first use and
  // keeps.
  LCStatement& preparedOnce(sqlite3* connection, std::string_view sql);

  bool isPrepared() const { return m_statement != nullptr; }

  // `index` counts from 1, as in "?1"; false when there is no such parameter.
  bool bind(int index, int64_t value);
  template <std::integral Integer>
  bool bind(int index, Integer value) {
    return bind(index, static_cast<int64_t>(value));
  }
  bool bind32(int index, int64_t value);  // cut to 32 bits
  bool bind(int index, double value);
  bool bind(int index, std::string_view text);
  bool bind(int index, const std::string& text);
  bool bind(int index, const char* text);
  bool bind(int index, const std::optional<std::string>& text);  // nullopt leaves the parameter as it is
  bool bindBlob(int index, std::span<const std::byte> bytes);    // borrowed until the statement is run or bound anew
  void clearBindings();

  bool step();                                 // true: a row is ready; false: no more rows, or an error
  bool succeeded() const;                      // after step() answered false: the statement ran to its end
  int lastStatus() const { return m_status; }  // SQLite's result code of the last prepare or step
  bool run();                                  // steps to the end, resets; true when nothing failed
  void reset();                                // ready to run again; bindings stay

  // `column` counts from 0; ask only after step() answered true.
  int columnCount() const;
  std::string columnName(int column) const;
  bool isNull(int column) const;
  int64_t int64At(int column) const;
  double doubleAt(int column) const;
  std::string textAt(int column) const;
  std::vector<std::byte> blobAt(int column) const;

 private:
  struct Finalizer {
    void operator()(sqlite3_stmt* statement) const;
  };
  std::unique_ptr<sqlite3_stmt, Finalizer> m_statement;
  int m_status = 0;
};
