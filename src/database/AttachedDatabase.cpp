#include "database/AttachedDatabase.h"

#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"
#include "VeskLoopManagement/platform/Environment.h"

#include <fmt/format.h>

#include <atomic>
#include <cstdint>
#include <utility>

namespace {

std::string nextName() {
  static std::atomic<int64_t> s_count = 0;
  return fmt::format("AttachedDB{}", s_count++);
}

// Says why, where it fails.
bool execute(sqlite3* connection, const std::string& sql, const char* intent, const std::string& path) {
  LCSQLiteUtilities utilities(connection);
  if (utilities.executeStatementWithNoReturnValue(sql)) return true;
  vesk::log(
      fmt::format("Can't {} database {}: {}", intent, path, utilities.lastErrorMessage().value_or("no connection")));
  return false;
}

}  // namespace

namespace lc {

AttachedDatabase::AttachedDatabase(sqlite3* connection, std::string path)
    : m_connection(connection),
      m_path(std::move(path)),
      m_name(nextName()),
      m_isAttached(execute(connection,
                           sqlFormat(R"(ATTACH DATABASE "%@" AS %@)", {sqlDoubleQuoteEscaped(m_path), m_name}),
                           "attach", m_path)) {}

AttachedDatabase::~AttachedDatabase() {
  if (m_isAttached) execute(m_connection, sqlFormat("DETACH DATABASE %@", {m_name}), "detach", m_path);
}

std::string AttachedDatabase::table(std::string_view table) const {
  return std::string(m_name).append(".").append(table);
}

}  // namespace lc
