#include "search/SearchDatabase.h"

#include <algorithm>

SearchDatabase::SearchDatabase() {
  run("INSERT INTO Keywords (id, name, categoryId) VALUES (20001, 'Zorp', 0), (20002, 'it''s', 0)");
}

void SearchDatabase::add(int64_t id, const std::string& name, const std::string& values, const Ids& keywordIds) {
  const vesk::URL url = vesk::URL::fileURLWithPath(name.starts_with("/") ? name : "/L/" + name, false);
  const std::string idText = std::to_string(id), fileName = lc::sqlEscaped(vesk::path::lastComponent(name));
  run(lc::sqlFormat("INSERT INTO Loops (id, fileURL, fileName, numberOfBeats, timeSignatureTop, timeSignatureBottom, "
                    "lengthInSeconds, key, hasMidi, isWebLoop) VALUES (%@, '%@', '%@', 8, 4, 4, 4.0, 0, 0, 0);"
                    "INSERT INTO LoopsKeywords (loopId) VALUES (%@); UPDATE Loops SET ",
                    {idText, lc::sqlEscaped(url.absoluteString()), fileName, idText}) +
      values + " WHERE id = " + idText);
  for (const int64_t keyword : keywordIds) {  // and what the end of an indexing run makes of them
    const std::string key = std::to_string(keyword);
    run(lc::sqlFormat(
        "INSERT INTO Tagging VALUES (%@, %@); CREATE TABLE IF NOT EXISTS tagging_cache_%@ (loopId INTEGER PRIMARY KEY);"
        "INSERT INTO tagging_cache_%@ VALUES (%@)",
        {idText, key, key, key, idText}));
  }
  run("DELETE FROM keyword_distribution; INSERT INTO keyword_distribution SELECT keywordId, count(*) FROM Tagging "
      "GROUP BY keywordId");
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
  run("DELETE FROM LoopsKeywords WHERE loopId = 10;"
      "INSERT INTO UserData (loopId, isFavorite, rating) VALUES (2, 1, 4), (5, 1, 2), (6, 0, 5), (8, 0, 0);"
      "UPDATE Loops SET tempo = CASE WHEN id < 0 THEN -1 WHEN id < 6 THEN 100 + id WHEN id < 9 THEN 0 END;"
      "INSERT INTO CrateLoopRelation VALUES ('a', 1), ('a', 2), ('b', 2), ('b', 5), ('c\"d', 9)");
}

Ids idsFound(LCSearchEngine& engine) {
  engine.doSearch();
  Ids ids;
  for (const auto& id : rowsOf(engine.sqlite3Connection(), "SELECT id FROM tempTable ORDER BY rowid"))
    ids.push_back(std::stoll(id));
  return ids;
}

Ids sorted(Ids ids) {
  std::sort(ids.begin(), ids.end());
  return ids;
}
