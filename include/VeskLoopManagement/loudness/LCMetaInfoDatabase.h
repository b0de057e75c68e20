// Meta infos per loop, in a database file of their own or inside the loop database. Ownership, threads and failures as
// in LCLoudnessDatabase, except that borrowing a connection creates the table in it at once.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "VeskLoopManagement/database/LCConnection.h"
#include "VeskLoopManagement/database/LCStatement.h"
#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/model/LCMetaInfo.h"

class LC_EXPORT LCMetaInfoDatabase {
 public:
  static constexpr int64_t kAnyType = -1;

  [[nodiscard]] static std::unique_ptr<LCMetaInfoDatabase> initWithDatabaseFile(const std::optional<std::string>& path,
                                                                                bool forWriting);
  [[nodiscard]] static std::unique_ptr<LCMetaInfoDatabase> databaseForSqlite(sqlite3* connection);

  std::vector<LCMetaInfo> metaInfosForLoopID(int64_t loopId, int64_t type = kAnyType);
  std::vector<LCMetaInfo> instrumentKeywordsForLoopId(int64_t loopId);
  // False when one could not be written; the others are written all the same.
  bool saveMetaInfos(std::span<const LCMetaInfo> metaInfos, int64_t loopId);

 private:
  LCMetaInfoDatabase() = default;
  LCConnection m_owned;
  sqlite3* m_database = nullptr;
  LCStatement m_insertWithString, m_insertWithoutString, m_selectByLoopId, m_selectByLoopIdAndType;
};
