#include "search/SearchDatabase.h"

#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"
#include "VeskLoopManagement/database/LCStatement.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>

namespace {

Ids firstColumn(sqlite3* connection, const std::string& sql) {
  LCStatement statement(connection, sql);
  Ids values;
  while (statement.step()) values.push_back(statement.int64At(0));
  EXPECT_TRUE(statement.succeeded()) << sqlite3_errmsg(connection) << " in " << sql;
  return values;
}

}  // namespace

SearchDatabase::SearchDatabase()
    : m_connection(lc::openConnection(m_folder.path("loops.db"), LCOpenMode::readWriteCreate)) {
  execute("PRAGMA synchronous = OFF");  // nobody needs this file after a crash
  LCSQLiteUtilities::generateDatabaseTablesForSQLite(m_connection.get(), kDefaultDatabaseSchemaVersion);
  execute("INSERT INTO Keywords (id, name, categoryId) VALUES (20001, 'Zorp', 0), (20002, 'it''s', 0)");
}

LCDatabaseConfiguration SearchDatabase::configuration(bool readOnly) const {
  return {m_folder.path("loops.db"), readOnly, kDefaultDatabaseSchemaVersion};
}

void SearchDatabase::execute(const std::string& sql) {
  EXPECT_EQ(sqlite3_exec(m_connection.get(), sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
      << sqlite3_errmsg(m_connection.get()) << " in " << sql;
}

Ids SearchDatabase::numbers(const std::string& sql) {
  return firstColumn(m_connection.get(), sql);
}

void SearchDatabase::add(int64_t id, const std::string& name, const std::string& values, const Ids& keywordIds) {
  const vesk::URL url = vesk::URL::fileURLWithPath(name.starts_with("/") ? name : "/L/" + name, false);
  LCStatement insert(m_connection.get(),
                     "INSERT INTO Loops (id, fileURL, fileName, numberOfBeats, timeSignatureTop, timeSignatureBottom, "
                     "lengthInSeconds, key, hasMidi, isWebLoop) VALUES (?1, ?2, ?3, 8, 4, 4, 4.0, 0, 0, 0)");
  insert.bind(1, id);
  insert.bind(2, url.absoluteString());
  insert.bind(3, name.substr(name.rfind('/') + 1));
  EXPECT_TRUE(insert.run()) << name;
  const std::string idText = std::to_string(id);
  execute("UPDATE Loops SET " + values + " WHERE id = " + idText);
  execute("INSERT INTO LoopsKeywords (loopId) VALUES (" + idText + ")");
  for (const int64_t keyword : keywordIds) {  // and what the end of an indexing run makes of them
    const std::string table = "tagging_cache_" + std::to_string(keyword);
    execute("INSERT INTO Tagging VALUES (" + idText + "," + std::to_string(keyword) + ")");
    execute("CREATE TABLE IF NOT EXISTS " + table + " (loopId INTEGER PRIMARY KEY)");
    execute("INSERT INTO " + table + " VALUES (" + idText + ")");
  }
  execute("DELETE FROM keyword_distribution");
  execute("INSERT INTO keyword_distribution SELECT keywordId, count(*) FROM Tagging GROUP BY keywordId");
}

void SearchDatabase::addVariedLoops() {
  constexpr int64_t kPiano = 1, kTuba = 3, kElectricBass = 30, kDrumKit = 112, kBongo = 120, kZorp = 20001;
  add(1, "apple Bass 01.wav", "key = 48, keyType = 1", {kElectricBass, kZorp});
  add(2, "Apple Tree.wav", "key = 51, keyType = 2, comment = 'bass 100% \"live\"', instrumentTypeId = 3",
      {kTuba, kZorp});
  add(-3, "_under.wav", "key = 54, timeSignatureTop = 3, title = 'Don''t stop'", {kPiano});
  add(4, "Zebra  two.wav",
      "key = 55, numberOfBeats = 4, timeSignatureTop = 6, timeSignatureBottom = 8, hasMidi = 1, lengthInSeconds = 3.5",
      {kDrumKit, kZorp, kElectricBass});
  add(5, "/L/Sub/Zebra one.wav",
      "key = 59, numberOfBeats = 4, hasMidi = 2, ksLoopType = 1, lengthInSeconds = 9.25, theme = 'Night'", {kBongo});
  add(6, "Straße Ärger.wav", "key = -1, numberOfBeats = 16, timeSignatureTop = 0, isWebLoop = 1");
  add(7, "/L/Bass%20Box/web.wav", "key = 49, isWebLoop = 1, author = 'Ärger'");
  add(8, "100% \"live\".wav", "key = 57, collection = 'x then 20 y'", {kTuba});
  add(9, "x 1 a20y.wav", "key = 50");
  add(10, "no keyword row.wav");
  execute("DELETE FROM LoopsKeywords WHERE loopId = 10");
  execute("INSERT INTO UserData (loopId, isFavorite, rating) VALUES (2, 1, 4), (5, 1, 2), (6, 0, 5), (8, 0, 0)");
  execute("UPDATE Loops SET tempo = CASE WHEN id < 0 THEN -1 WHEN id < 6 THEN 100 + id WHEN id < 9 THEN 0 END");
  execute("INSERT INTO CrateLoopRelation VALUES ('a', 1), ('a', 2), ('b', 2), ('b', 5), ('c\"d', 9)");
}

Ids idsFound(LCSearchEngine& engine) {
  engine.doSearch();
  return firstColumn(engine.sqlite3Connection(), "SELECT id FROM tempTable ORDER BY rowid");
}

Ids sorted(Ids ids) {
  std::sort(ids.begin(), ids.end());
  return ids;
}
