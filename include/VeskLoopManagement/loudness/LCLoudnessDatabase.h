// Loudness values per loop, in a database file of their own or inside the loop database. An object that opened its file
// closes it; one that borrows a connection never does, and must not outlive it. One thread at a time. Failures are
// results.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "VeskLoopManagement/database/LCConnection.h"
#include "VeskLoopManagement/database/LCStatement.h"
#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/loudness/LCLoopLoudnessInfo.h"

class LC_EXPORT LCLoudnessDatabase {
 public:
  // Null only without a path. A file that does not open gives an object whose every answer is nullopt or false.
  [[nodiscard]] static std::unique_ptr<LCLoudnessDatabase> initWithDatabaseFile(const std::optional<std::string>& path,
                                                                                bool forWriting);
  // A new read-only object on the factory file; null when there is no such file.
  [[nodiscard]] static std::unique_ptr<LCLoudnessDatabase> factoryDatabase();
  // Borrows `connection`; creates no tables.
  [[nodiscard]] static std::unique_ptr<LCLoudnessDatabase> loudnessDatabaseForSqlite(sqlite3* connection);
  static bool generateDatabaseTablesForSQLite(sqlite3* connection);

  std::optional<LCLoopLoudnessInfo> loudnessInfoForLoopID(int64_t loopId);
  std::optional<LCLoopLoudnessInfo> loudnessInfoForFileName(const std::string& fileName);
  bool saveLoadnessInfo(const LCLoopLoudnessInfo& info, const std::string& fileName, int64_t loopId);  // spelled so
  sqlite3* database() const { return m_database; }

 private:
  LCLoudnessDatabase() = default;
  LCConnection m_owned;                                        // empty when borrowing
  sqlite3* m_database = nullptr;                               // m_owned's, or borrowed
  LCStatement m_insert, m_selectByLoopId, m_selectByFileName;  // prepared on first use
};
