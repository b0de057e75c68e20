#include "database/StatementRunner.h"

#include "database/DatabaseDamage.h"

#include <sqlite3.h>

#include <algorithm>
#include <limits>
#include <set>

namespace {

using lc::runner::RowCallback;

// Between SQLite, which is C, and a callback that may throw: an exception ends the statement instead.
int callRowCallback(void* context, int count, char** values, char** names) {
  try {
    (*static_cast<const RowCallback*>(context))(count, values, names);
    return 0;
  } catch (...) {
    return 1;
  }
}

// Calls `collect` for each cell of each row: the column's name and the cell's text, null for NULL.
template <typename Collect>
RowCallback forEachCell(Collect collect) {
  return [collect](int count, char** values, char** names) {
    for (int column = 0; column < count; ++column) collect(names[column], values[column]);
  };
}

bool isTextColumnOfLoops(std::string_view name) {
  static const std::set<std::string_view> names = {"fileURL",  "instrumentType",    "instrumentSubType",
                                                   "genre",    "descriptors",       "author",
                                                   "fileName", "contentIdentifier", "chineseTranscript"};
  return names.contains(name);
}

int64_t clampedTo32Bits(int64_t value) {
  using Limits = std::numeric_limits<int32_t>;
  return std::clamp<int64_t>(value, Limits::min(), Limits::max());
}

LCCell loopsCell(std::string_view column, const char* value) {
  if (value == nullptr) return std::string();
  if (isTextColumnOfLoops(column)) return std::string(value);
  if (column == "id") return vesk::text::integerValueDetectingBase(value);
  return clampedTo32Bits(vesk::text::integerValue(value));
}

LCCell crateCell(std::string_view column, const char* value) {
  if (column == "isVirtualCrate") return vesk::text::integerValue(value) >= 1;
  return std::string(value);
}

}  // namespace

namespace lc::runner {

Outcome run(sqlite3* connection, const std::string& sql, const RowCallback& callback) {
  Outcome outcome;
  char* message = nullptr;
  auto* context = const_cast<RowCallback*>(&callback);
  outcome.status = sqlite3_exec(connection, sql.c_str(), callback ? callRowCallback : nullptr, context, &message);
  if (message) outcome.message = message;
  sqlite3_free(message);
  damage::recordIfMet(connection, outcome.status);
  return outcome;
}

bool succeeds(sqlite3* connection, const std::string& sql) {
  return connection && run(connection, sql).succeeded();
}

RowCallback genericRows(LCResultDictionary* result) {
  if (result == nullptr) return nullptr;
  return forEachCell([result](const char* column, const char* value) {
    (*result)[column].emplace_back(std::string(value ? value : ""));
  });
}

RowCallback loopRows(LCResultDictionary* result) {
  if (result == nullptr) return nullptr;
  return forEachCell(
      [result](const char* column, const char* value) { (*result)[column].push_back(loopsCell(column, value)); });
}

RowCallback keywordRows(LCResultDictionary* result) {
  if (result == nullptr) return nullptr;
  return forEachCell([result](const char* column, const char* value) {
    std::vector<LCCell>& cells = (*result)[column];  // there even when every cell is NULL
    if (value) cells.emplace_back(std::string(value));
  });
}

RowCallback crateRows(LCResultDictionary* result) {
  if (result == nullptr) return nullptr;
  return forEachCell([result](const char* column, const char* value) {
    std::vector<LCCell>& cells = (*result)[column];
    if (value) cells.push_back(crateCell(column, value));
  });
}

RowCallback combinedKeywords(vesk::StringSet* result) {
  if (result == nullptr) return nullptr;
  return forEachCell([result](std::string_view column, const char* value) {
    if (value == nullptr) return;
    if (column != "descriptors") {
      result->insert(value);
      return;
    }
    for (std::string& part : vesk::text::split(value, ',')) result->insert(std::move(part));
  });
}

}  // namespace lc::runner
