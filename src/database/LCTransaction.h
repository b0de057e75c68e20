// LCTransaction: "BEGIN;" now, "COMMIT;" when told to, and a rollback when it is left without having committed.
// Inside a transaction that is open already, BEGIN fails and is ignored: then nothing is ever rolled back here, and
// commit() ends the outer transaction. One thread at a time.
#pragma once

struct sqlite3;

class LCTransaction {
 public:
  explicit LCTransaction(sqlite3* connection);  // `connection` is borrowed and outlives the transaction; may be null
  ~LCTransaction();
  LCTransaction(const LCTransaction&) = delete;
  LCTransaction& operator=(const LCTransaction&) = delete;

  [[nodiscard]] bool commit();  // whether COMMIT succeeded

 private:
  sqlite3* m_connection;
  bool m_isOurs;
};
