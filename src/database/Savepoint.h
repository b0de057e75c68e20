// Savepoint: a part of a transaction that is undone when it is left without having been kept; what the transaction did
// before stays. Savepoints nest: the last one opened is the first
// kept or left. Outside a transaction it is one by itself. One thread at a time.
#pragma once

struct sqlite3;

namespace lc {

class Savepoint {
 public:
  explicit Savepoint(sqlite3* connection);  // borrowed, outlives the savepoint; may be null
  ~Savepoint();
  Savepoint(const Savepoint&) = delete;
  Savepoint& operator=(const Savepoint&) = delete;

  bool isOpen() const { return m_isOpen; }  // neither refused nor kept
  [[nodiscard]] bool keep();                // false: it is undone when it is left

 private:
  sqlite3* m_connection;
  bool m_isOutermost;
  bool m_isOpen;
};

}  // namespace lc
