// A second database file on a connection, for as long as this lives. Its name is used once in a process. Every
// statement on it must be gone before this is, else it stays attached, of which SQLite takes ten on one connection: a
// database that cannot be attached or detached is told to the log. One thread at a time; counting is safe on any.
#pragma once

#include <string>
#include <string_view>

struct sqlite3;

namespace lc {

class AttachedDatabase {
 public:
  AttachedDatabase(sqlite3* connection,
                   std::string path);  // borrowed, outlives this; may be null. Missing files are made.
  ~AttachedDatabase();
  AttachedDatabase(const AttachedDatabase&) = delete;
  AttachedDatabase& operator=(const AttachedDatabase&) = delete;

  bool isAttached() const { return m_isAttached; }
  const std::string& name() const { return m_name; }
  std::string table(std::string_view table) const;  // as statements name it

 private:
  sqlite3* m_connection;
  std::string m_path;
  std::string m_name;
  bool m_isAttached;
};

}  // namespace lc
