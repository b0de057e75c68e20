// Transactions within transactions, and what becomes of writing while another connection writes.
#include "database/LCTransaction.h"
#include "database/Savepoint.h"
#include "database/TestDatabase.h"

namespace {

void insert(const TestDatabase& database, const std::string& crate) {
  database.run("INSERT INTO Crates (identifier) VALUES ('" + crate + "')");
}

}  // namespace

TEST(Transaction, InsideAnotherOneIsAPartOfItThatIsKeptOrUndoneByItself) {
  const TestDatabase database;
  for (const bool isOuterCommitted : {false, true}) {
    {
      LCTransaction outer{database.connection()};
      insert(database, "outer");
      for (const bool isInnerCommitted : {false, true}) {
        LCTransaction inner{database.connection(), LCTransaction::Begin::immediately};
        for (const bool isKept : {false, true}) {
          lc::Savepoint step{database.connection()};
          insert(database, isKept && isInnerCommitted ? "inner" : "left");
          EXPECT_TRUE(!isKept || step.keep());
        }
        EXPECT_TRUE(!isInnerCommitted || inner.commit());
      }
      EXPECT_TRUE(database.isInTransaction()) << "the outer one is still open";
      EXPECT_TRUE(!isOuterCommitted || outer.commit());
    }
    EXPECT_EQ(database.rows("SELECT identifier FROM Crates ORDER BY 1"),
              isOuterCommitted ? (Rows{"inner", "outer"}) : Rows{});
  }
}

TEST(WritingWhileAnotherConnectionWrites, WaitsAndThenCompletesTheDatabase) {
  const auto generate = [](sqlite3* connection) {
    LCSQLiteUtilities::generateDatabaseTablesForSQLite(connection, kDefaultDatabaseSchemaVersion);
  };
  // What is missing, what completes it, and the answer to a question then.
  const std::tuple<const char*, void (*)(sqlite3*), const char*, const char*> cases[] = {
      {"ALTER TABLE Loops DROP COLUMN ksLoopType", generate, "SELECT count(*) FROM pragma_table_info('Loops')", "34"},
      {"DROP TRIGGER trigger_delete_loops_references_crates", generate,
       "SELECT count(*) FROM sqlite_master WHERE type = 'trigger'", "4"},
      {"DELETE FROM Keywords", LCSQLiteUtilities::fillKeywordsTableForSQLite, "SELECT count(*) FROM Keywords", "146"},
      {"INSERT INTO Loops (fileName) VALUES ('e\u0301')",
       [](sqlite3* connection) { LCSQLiteUtilities::fixFilenameUTF8EncodingForSQLite(connection); },
       "SELECT fileName FROM Loops", "\u00E9"},
      {"INSERT INTO Loops (fileURL) VALUES ('file:///a/x')",
       [](sqlite3* connection) { LCSQLiteUtilities::replaceAbsolutePath("/a", "/b", connection); },
       "SELECT fileURL FROM Loops", "file:///b/x"},
  };
  for (const auto& [missing, complete, question, answer] : cases) {
    SCOPED_TRACE(missing);
    const TestDatabase database;
    EXPECT_EQ(database.rows("PRAGMA busy_timeout"), Rows{"5000"}) << "how long connections wait by themselves";
    database.run(missing);
    OtherWriter writer(database);
    int waits = 0;
    const auto giveUp = [](void* counter, int) { return (++*static_cast<int*>(counter), 0); };
    sqlite3_busy_handler(database.connection(), giveUp, &waits);
    complete(database.connection());
    EXPECT_EQ(waits, 1) << "while the database stays locked, nothing else is tried";
    EXPECT_NE(database.rows(question), Rows{answer});
    const auto goOn = [](void* other, int) { return (static_cast<OtherWriter*>(other)->commit(), 1); };
    sqlite3_busy_handler(database.connection(), goOn, &writer);
    complete(database.connection());
    EXPECT_EQ(database.rows(question), Rows{answer});
    EXPECT_EQ(database.rows("SELECT identifier FROM Crates"), Rows{"other"});
  }
}
