// LoopRows reads what the loop database says of loops, packages and keywords beyond the engine's result cache. It is
// the only place of the program that holds SQL. Borrows a connection, which must outlive it; one thread. Each question
// is one statement; results are handed on row by row. When the database cannot be read, a Failure is thrown.
#pragma once

#include "LoopRow.h"
#include "VeskLoopManagement/database/LCStatement.h"
#include "VeskLoopManagement/platform/URL.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Just enough to find a loop again.
struct LoopPlace {
  int64_t id = 0;
  std::string urlText;
  bool isPlaceholder = false;  // stands for a loop that is not on this disk yet
};

struct CrateRow {
  std::string identifier;
  std::string name;
  std::string manufacturer;
  bool isVirtual = false;
  int64_t loopCount = 0;
};

// A stored tempo from `lowest` to `highest`, both included.
struct TempoRange {
  int64_t lowest = 0;
  int64_t highest = 0;
};

// What a result can be narrowed by that the engine has no filter for.
struct ResultCondition {
  std::vector<TempoRange> tempos;  // in any of them; none: any tempo or none
  std::optional<int64_t> minimumRating;
  bool isRestricting() const { return !tempos.empty() || minimumRating; }
};

class LoopRows {
 public:
  explicit LoopRows(sqlite3* connection);

  // Handed each row in turn; false ends the reading.
  using RowHandler = std::function<bool(const LoopRow&)>;
  using PlaceHandler = std::function<bool(const LoopPlace&)>;

  // Rows of the connection's current search result, from `offset` on, `limit` of them (0: all).
  void forEachResult(int64_t offset, int64_t limit, const RowHandler& handler);
  void forEachResultPlace(int64_t offset, int64_t limit, const PlaceHandler& handler);

  // Keeps the rows of the current search result that meet the condition, in their order and numbered without gaps. What
  // the engine keeps of the result (its row cache, its available keywords) is of the rows before and has to be renewed.
  void narrowResult(const ResultCondition& condition);

  std::optional<LoopRow> rowWithId(int64_t loopId);
  std::optional<LoopPlace> placeWithId(int64_t loopId);
  std::optional<LoopPlace> placeWithURL(const vesk::URL& url);
  // Loops that stand under this URL, too: of files that were tagged anew since. Localized names are not found.
  std::vector<int64_t> otherIdsWithURL(const vesk::URL& url, int64_t loopId);
  // No favourite, 0 and "" for a loop that was never marked; nullopt for one that is unknown.
  std::optional<LoopMarks> marksWithId(int64_t loopId);
  bool hasMarks(int64_t loopId);  // also of a loop that was taken out: its marks stay
  bool isUnused();                // no loops and no marks
  // Loops whose URL begins with `folderURLText` ("": all), of one package when `crate` is given.
  void forEachPlaceBelow(std::string_view folderURLText, const std::optional<std::string>& crate,
                         const PlaceHandler& handler);
  // Up to three file names of the database that look like `name`, the most similar one first.
  std::vector<std::string> namesLike(std::string_view name);

  std::vector<CrateRow> crates();  // by name
  // Keywords of these categories (none: of any), by name.
  std::vector<KeywordRow> keywords(std::span<const int64_t> categories);

 private:
  LoopRow rowAt(const LCStatement& statement) const;
  void requireSuccess(const LCStatement& statement) const;
  void execute(LCStatement statement) const;
  std::string rowColumns() const;
  std::string rowJoins(std::string_view ofLoops) const;
  // What `read` makes of the statement's first row; the statement can be run again afterwards.
  template <typename Read>
  auto firstRow(LCStatement& statement, Read read) const -> std::optional<decltype(read(statement))>;

  sqlite3* m_connection;  // borrowed
  bool m_hasLoudness;
  // Kept: asked for every file of an indexing run, or for every loop of a long list.
  LCStatement m_placeWithId, m_otherIdsWithURL, m_marksWithId, m_hasMarks;
};
