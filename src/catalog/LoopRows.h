// LoopRows reads what the loop database says of loops, packages and keywords beyond the engine's answers, and whether
// marks stand for a loop. Borrows a connection, which must outlive it; one thread. Each question is one statement;
// results are handed on row by row. When the database cannot be read, a CatalogError is thrown.
#pragma once

#include "VeskLoopManagement/catalog/LCCatalogLoop.h"
#include "VeskLoopManagement/database/LCStatement.h"
#include "VeskLoopManagement/platform/URL.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lc {

class LoopRows {
 public:
  explicit LoopRows(sqlite3* connection);

  // Handed each row in turn; false ends the reading.
  using LoopHandler = std::function<bool(const LCCatalogLoop&)>;
  using PlaceHandler = std::function<bool(const LCLoopPlace&)>;

  // --- The connection's current search result ---
  // Rows from `offset` on, `limit` of them (0: all). `begun` is called when the reading has begun, which keeps the
  // database as it is until the end.
  void forEachResult(int64_t offset, int64_t limit, const std::function<void()>& begun, const LoopHandler& handler);
  void forEachResult(int64_t offset, int64_t limit, const std::function<void()>& begun, const PlaceHandler& handler);

  // --- Single loops ---
  std::optional<LCCatalogLoop> loopWithId(int64_t loopId);
  std::optional<LCLoopPlace> placeWithId(int64_t loopId);
  std::optional<LCLoopPlace> placeWithURL(const vesk::URL& url);
  // Of this file name or, when there is none, of those that begin with it or, at last, have something in the place of
  // its "…"; by name, upper and lower case are the same.
  std::vector<LCLoopPlace> placesWithName(std::string_view name);
  // Loops that stand under this URL, too: of files that were tagged anew since. Localized names are not found.
  std::vector<int64_t> otherIdsWithURL(const vesk::URL& url, int64_t loopId);
  // No favourite, 0 and "" for a loop that was never marked; nullopt for one that is unknown.
  std::optional<LCLoopMarks> marksWithId(int64_t loopId);
  bool hasMarks(int64_t loopId);     // also of a loop that was taken out: its marks stay
  std::vector<int64_t> markedIds();  // in order; also of loops that were taken out
  bool isInPackage(int64_t loopId, const std::string& identifier);
  bool isUnused();  // no loops and no marks
  // Loops whose URL begins with `folderURLText` ("": all), of one package when `package` is given.
  void forEachPlaceBelow(std::string_view folderURLText, const std::optional<std::string>& package,
                         const PlaceHandler& handler);
  // Up to three file names of the database that look like `name`, the most similar one first.
  std::vector<std::string> namesLike(std::string_view name);

  // --- Packages and keywords ---
  std::vector<LCPackage> packages();  // by name
  std::vector<LCFacet> keywords();    // all, by name

 private:
  LCCatalogLoop loopAt(const LCStatement& statement) const;
  std::string rowColumns() const;
  std::string rowJoins(std::string_view ofLoops) const;
  // What `read` makes of the statement's first row; the statement can be run again afterwards.
  template <typename Read>
  auto firstRow(LCStatement& statement, Read read) const -> std::optional<decltype(read(statement))>;

  sqlite3* m_connection;  // borrowed
  bool m_hasLoudness;
  // Kept: asked for every file of an indexing run, or for every loop of a long list.
  LCStatement m_placeWithId, m_otherIdsWithURL, m_marksWithId, m_hasMarks, m_isInPackage;
};

}  // namespace lc
