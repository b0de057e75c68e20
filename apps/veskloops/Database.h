// Which database a command works on, and under which conditions it may be opened. Everything that stands in the way is
// a Failure with exit code 5 that says what to do.
#pragma once

#include "Context.h"
#include "Failure.h"
#include "LoopRows.h"
#include "VeskLoopManagement/database/LCDatabaseConfiguration.h"
#include "VeskLoopManagement/indexing/LCFileIndexing.h"
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include <memory>
#include <span>
#include <string>

enum class EngineLayout { desktop, mobile };

// The absolute path of the database file: option, environment, default.
std::string databaseFile(const Context& context);
LCDatabaseConfiguration databaseConfiguration(const Context& context, bool readOnly);

// An engine on the existing database, opened read-only.
std::unique_ptr<LCSearchEngine> openForReading(const Context& context, EngineLayout layout = EngineLayout::desktop);
// The same, or null with a warning for what is wrong; without a word when there is no database.
std::unique_ptr<LCSearchEngine> openForReadingIfPossible(const Context& context);
// An engine on the existing database that writes marks, opened under the same conditions as an indexer.
std::unique_ptr<LCSearchEngine> openForMarking(const Context& context);
// An indexer on the existing database.
std::unique_ptr<LCFileIndexing> openForWriting(const Context& context);
// An indexer on the database, which is made when missing, and made anew when damaged, after the damaged file was put
// aside.
std::unique_ptr<LCFileIndexing> openOrCreate(const Context& context);

// What SQLite's result code means for a person.
Failure databaseFailure(int status, std::string_view detail = {});
// Starts a transaction that owns the database's writing at once; ends it. Throw when the database refuses.
void beginWriting(sqlite3* connection);
void commitWriting(sqlite3* connection);
// A part of a transaction that is undone when it is left without having been kept. The connection is borrowed.
class UndoableStep {
 public:
  explicit UndoableStep(sqlite3* connection);
  UndoableStep(const UndoableStep&) = delete;
  UndoableStep& operator=(const UndoableStep&) = delete;
  ~UndoableStep();
  void keep();

 private:
  sqlite3* m_connection;
  bool m_isKept = false;
};
// Both in a transaction of their own: all, or, when the database refuses, none, and throw.
void removeLoops(LCFileIndexing& indexer, std::span<const LoopPlace> places);
void carryLoops(LCFileIndexing& indexer, std::span<const LCLoopCarry> carries);
