#include "search/SearchDatabase.h"

#include "database/LCDatabaseSchema.h"
#include "database/LCStatement.h"

#include <sqlite3.h>

#include <algorithm>
#include <stdexcept>

namespace {

std::vector<int64_t> firstColumn(sqlite3* connection, const std::string& sql) {
  LCStatement statement(connection, sql);
  std::vector<int64_t> values;
  while (statement.step()) values.push_back(statement.int64At(0));
  if (!statement.succeeded()) throw std::runtime_error(std::string(sqlite3_errmsg(connection)) + " in " + sql);
  return values;
}

}  // namespace

SearchDatabase::SearchDatabase()
    : m_file(m_folder.path("loops.db")), m_connection(openConnection(m_file, LCOpenMode::readWriteCreate)) {
  execute("PRAGMA synchronous = OFF");  // nobody needs this file after a crash
  LCSQLiteUtilities::generateDatabaseTablesForSQLite(m_connection.get(), kDefaultDatabaseSchemaVersion);
  execute("INSERT INTO Keywords (id, name, categoryId) VALUES (20001, 'Zorp', 0), (20002, 'it''s', 0)");
}

LCDatabaseConfiguration SearchDatabase::configuration(bool readOnly) const {
  return {m_file, readOnly, kDefaultDatabaseSchemaVersion};
}

void SearchDatabase::execute(const std::string& sql) {
  char* message = nullptr;
  if (sqlite3_exec(m_connection.get(), sql.c_str(), nullptr, nullptr, &message) == SQLITE_OK) return;
  const std::string reason = message ? message : "unknown";
  sqlite3_free(message);
  throw std::runtime_error(reason + " in " + sql);
}

std::vector<int64_t> SearchDatabase::numbers(const std::string& sql) {
  return firstColumn(m_connection.get(), sql);
}

void SearchDatabase::add(const LoopRow& row) {
  LCStatement insert(m_connection.get(),
                     "INSERT INTO Loops (id, fileURL, fileName, key, numberOfBeats, timeSignatureTop, "
                     "timeSignatureBottom, tempo, keyType, hasMidi, isWebLoop, ksLoopType, lengthInSeconds, theme, "
                     "collection, comment, author, title, instrumentTypeId) VALUES "
                     "(?1,?2,?3,?4,?5,?6,?7,?8,?9,?10,?11,?12,?13,?14,?15,?16,?17,?18,?19)");
  int index = 0;
  insert.bind(++index, row.id);
  insert.bind(++index, vesk::URL::fileURLWithPath(row.folder + row.fileName, false).absoluteString());
  insert.bind(++index, row.fileName);
  for (const int64_t number :
       {row.key, row.beats, row.top, row.bottom, row.tempo, row.keyType, row.hasMidi, row.isWebLoop, row.ksLoopType}) {
    insert.bind(++index, number);
  }
  insert.bind(++index, row.seconds);
  for (const auto& text : {row.theme, row.collection, row.comment, row.author, row.title}) insert.bind(++index, text);
  insert.bind(++index, row.instrumentTypeId);
  if (!insert.run()) throw std::runtime_error("no row for " + row.fileName);
  const std::string id = std::to_string(row.id);
  if (row.hasLoopsKeywordsRow) execute("INSERT INTO LoopsKeywords (loopId) VALUES (" + id + ")");
  for (const int64_t keyword : row.keywordIds) {
    execute("INSERT INTO Tagging (loopId, keywordId) VALUES (" + id + "," + std::to_string(keyword) + ")");
  }
}

void SearchDatabase::buildKeywordTables() {
  for (const int64_t keyword : numbers("SELECT DISTINCT keywordId FROM Tagging")) {
    const std::string id = std::to_string(keyword);
    execute("CREATE TABLE tagging_cache_" + id + " (loopId INTEGER PRIMARY KEY)");
    execute("INSERT INTO tagging_cache_" + id + " SELECT loopId FROM Tagging WHERE keywordId = " + id);
  }
  execute("DELETE FROM keyword_distribution");
  execute("INSERT INTO keyword_distribution SELECT keywordId, count(*) FROM Tagging GROUP BY keywordId");
}

void addVariedLoops(SearchDatabase& database) {
  for (const LoopRow& row : std::vector<LoopRow>{
           {.id = 1, .fileName = "apple Bass 01.wav", .key = 48, .keyType = 1, .keywordIds = {kElectricBass, kZorp}},
           {.id = 2,
           .fileName = "Apple Tree.wav",
           .key = 51,
           .keyType = 2,
           .comment = "bass 100% \"live\"",
           .instrumentTypeId = kTuba,
           .keywordIds = {kTuba, kZorp}},
           {.id = -3, .fileName = "_under.wav", .key = 54, .top = 3, .title = "Don't stop", .keywordIds = {kPiano}},
           {.id = 4,
           .fileName = "Zebra  two.wav",
           .key = 55,
           .beats = 4,
           .top = 6,
           .bottom = 8,
           .hasMidi = 1,
           .seconds = 3.5,
           .keywordIds = {kDrumKit, kZorp, kElectricBass}},
           {.id = 5,
           .fileName = "Zebra one.wav",
           .folder = "/L/Sub/",
           .key = 59,
           .beats = 4,
           .hasMidi = 2,
           .ksLoopType = 1,
           .seconds = 9.25,
           .theme = "Night",
           .keywordIds = {kBongo}},
           {.id = 6, .fileName = "Straße Ärger.wav", .key = -1, .beats = 16, .top = 0, .bottom = 0, .isWebLoop = 1},
           {.id = 7, .fileName = "web.wav", .folder = "/L/Bass%20Box/", .key = 49, .isWebLoop = 1, .author = "Ärger"},
           {.id = 8, .fileName = "100% \"live\".wav", .key = 57, .collection = "x then 20 y", .keywordIds = {kTuba}},
           {.id = 9, .fileName = "x 1 a20y.wav", .key = 50},
           {.id = 10, .fileName = "no keyword row.wav", .hasLoopsKeywordsRow = false}}) {
    database.add(row);
  }
  database.execute("INSERT INTO UserData (loopId, isFavorite) VALUES (2, 1), (5, 1), (8, 0)");
  database.execute("INSERT INTO CrateLoopRelation VALUES ('a', 1), ('a', 2), ('b', 2), ('b', 5), ('c\"d', 9)");
  database.buildKeywordTables();
}

std::vector<int64_t> resultIds(const LCSearchEngine& engine) {
  return firstColumn(engine.sqlite3Connection(), "SELECT id FROM tempTable ORDER BY rowid");
}

std::vector<int64_t> sorted(std::vector<int64_t> ids) {
  std::sort(ids.begin(), ids.end());
  return ids;
}
