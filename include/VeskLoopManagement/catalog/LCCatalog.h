// LCCatalog is the face of the library for hosts of today: one object for one loop database. It opens the database once
// and looks at it first, so that nothing is deleted or made by surprise; it answers searches as held results, single
// loops, families, keywords and packages as typed values, and keeps the user's marks, each without touching the others.
//
// One catalog belongs to one thread at a time; several catalogs on one database, in one process or many, wait for each
// other for up to 5 s. Nothing throws: what can fail answers an LCOutcome. Putting files in is LCLibraryScan's work.
#pragma once

#include "VeskLoopManagement/catalog/LCCatalogLoop.h"
#include "VeskLoopManagement/catalog/LCFailure.h"
#include "VeskLoopManagement/catalog/LCLoopQuery.h"
#include "VeskLoopManagement/catalog/LCLoopResult.h"
#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/platform/URL.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace lc {
class CatalogSession;
}

enum class LCCatalogAccess {
  read,    // nothing is written; the file may lie in a read-only folder
  mark,    // the user's marks and packages are written; the database must exist
  create,  // the same, and a missing database is made; a damaged one is put aside first, never deleted. A file that
           // never was a loop database is refused, as with the others, and left untouched.
};

enum class LCCatalogLayout { desktop, mobile };  // which variant of the engine answers

struct LCCatalogOptions {
  LCCatalogAccess access = LCCatalogAccess::read;
  LCCatalogLayout layout = LCCatalogLayout::desktop;
  // Only with `read`: everything is answered from the database as it was at the first question, whatever others write.
  // They cannot finish writing as long as the catalog lives, so this is for short questions.
  bool holdsSnapshot = false;
};

// A change of marks: what is given is set, the rest stays.
struct LCMarkChange {
  std::optional<bool> isFavorite = {};
  std::optional<int64_t> rating = {};       // 0 takes it away; else 1 to 5
  std::optional<std::string> comment = {};  // "" takes it away
};

struct LCMarkedLoop {
  LCLoopPlace place;
  LCLoopMarks marks;  // after the change
  bool isChanged = false;
};

// One loop, in one of the ways in which people and programs name it.
struct LC_EXPORT LCLoopReference {
  std::optional<int64_t> id = {};     // decides when given
  std::optional<vesk::URL> url = {};  // as stored, or of a file that a link leads to
  // The file name, a beginning that one loop alone has, or the name as a table shortens it, with "…" in the middle.
  // Asked when there is neither a loop nor a file at `url`.
  std::optional<std::string> name = {};
  std::string text = {};  // as it was given, for messages

  static LCLoopReference ofId(int64_t id);
  static LCLoopReference ofURL(const vesk::URL& url);
  static LCLoopReference ofPath(std::string_view absolutePath);
};

// A package to be made.
struct LCNewPackage {
  std::string name = {};
  std::optional<std::string> manufacturer = {};  // else that of the user's own loops
  std::optional<std::string> identifier = {};    // else made of manufacturer and name
  bool isVirtual = false;
};

// Which rows to take out: loops below a folder, of a package, whose files are gone. All that is given must fit.
struct LCPlaceQuery {
  std::optional<std::string> folder = {};   // absolute path
  std::optional<std::string> package = {};  // identifier
  bool onlyMissing = false;                 // placeholders are not missing
};

// How far a long operation is. Called on the thread that works.
struct LCRemovalObserver {
  std::function<void(const LCLoopPlace&)> removed = {};  // a row that is gone now
  std::function<void()> finishing = {};                  // the end-of-run work begins
  std::function<bool()> shouldContinue = {};             // asked between batches; false ends the work
};

class LC_EXPORT LCCatalog {
 public:
  // The database of this user: the library's default file. Makes no folder.
  static std::string defaultDatabaseFile();
  static LCOutcome<std::unique_ptr<LCCatalog>> open(const std::string& databaseFile,
                                                    const LCCatalogOptions& options = {});
  ~LCCatalog();
  LCCatalog(const LCCatalog&) = delete;
  LCCatalog& operator=(const LCCatalog&) = delete;

  const std::string& databaseFile() const;
  // Where a damaged database was put when this one was opened with `create`.
  const std::optional<std::string>& damagedFileKeptAs() const;

  // --- Searching ---
  // Ends the result before. An unknown keyword or package is `notFound` with near names; a known keyword that no loop
  // carries finds nothing.
  LCOutcome<LCLoopResult> search(const LCLoopQuery& query);

  // --- Single loops ---
  LCOutcome<LCCatalogLoop> loop(const LCLoopReference& reference);
  // Cheaper. With near names when not found; a name that stands for several is `ambiguous`, with their paths.
  LCOutcome<LCLoopPlace> place(const LCLoopReference& reference);
  // Whose file name is `name`, or, when there is none, begins with it, or else has anything in the place of its "…";
  // upper and lower case are the same.
  LCOutcome<std::vector<LCLoopPlace>> placesWithName(std::string_view name);
  LCOutcome<std::vector<LCLoopPlace>> places(const LCPlaceQuery& query);
  // Those of `places` that fit; the folder is not asked for.
  LCOutcome<std::vector<LCLoopPlace>> placesAmong(std::span<const LCLoopPlace> places, const LCPlaceQuery& query);
  LCOutcome<std::vector<std::string>> keywordsOfLoop(int64_t loopId);
  // The numbered variants of a loop; with `rootNote` only those with this note in any octave, up to two semitones
  // around it, or without key, and the loop itself.
  LCOutcome<LCLoopFamily> family(int64_t loopId, std::optional<int64_t> rootNote = std::nullopt);

  // --- Keywords and packages of the whole database ---
  LCOutcome<std::vector<LCFacet>> keywords(bool withUnused = false);  // in the order of facets
  LCOutcome<std::vector<LCPackage>> packages();                       // by name
  // By identifier or, ignoring case, by name. `ambiguous` when several have this name.
  LCOutcome<LCPackage> package(std::string_view identifierOrName);

  // --- Writing ---
  // All or none, in the order given. With `dryRun` only tells.
  LCOutcome<std::vector<LCMarkedLoop>> mark(std::span<const LCLoopPlace> places, const LCMarkChange& change,
                                            bool dryRun = false);
  // Made without loops, and kept so by scans. `invalidRequest` when its name or identifier is taken.
  LCOutcome<LCPackage> createPackage(const LCNewPackage& package, bool dryRun = false);
  // By identifier or name. Its loops stay. Answers what it was.
  LCOutcome<LCPackage> removePackage(std::string_view identifierOrName, bool dryRun = false);
  // Takes rows out; files, marks and packages stay. In batches; answers how many are out when it ended.
  LCOutcome<int64_t> remove(std::span<const LCLoopPlace> places, const LCRemovalObserver& observer = {});

 private:
  explicit LCCatalog(std::shared_ptr<lc::CatalogSession> session);
  std::shared_ptr<lc::CatalogSession> m_session;
};
