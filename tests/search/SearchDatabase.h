// A loop database built by plain SQL, without the indexer, and what hand-written SQL finds in it.
#pragma once

#include "database/LCDatabaseConfiguration.h"
#include "search/LCSearchEngine.h"
#include "support/TestEnvironment.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Ids of keywords that the taxonomy knows, and of one that only this database has.
inline constexpr int64_t kPiano = 1, kTuba = 3, kElectricBass = 30, kDrumKit = 112, kBongo = 120, kZorp = 20001;

struct LoopRow {
  int64_t id = 0;
  std::string fileName;
  std::string folder = "/L/";
  int64_t key = 0, beats = 8, top = 4, bottom = 4, tempo = 120, keyType = 0, hasMidi = 0, isWebLoop = 0, ksLoopType = 0;
  double seconds = 4.0;
  std::optional<std::string> theme, collection, comment, author, title;
  int64_t instrumentTypeId = 0;
  std::vector<int64_t> keywordIds;
  bool hasLoopsKeywordsRow = true;
};

class SearchDatabase {
 public:
  SearchDatabase();  // all tables, no loops; "it's" and "Zorp" are keywords

  void add(const LoopRow& row);
  void buildKeywordTables();  // the tables made at the end of an indexing run
  void execute(const std::string& sql);
  std::vector<int64_t> numbers(const std::string& sql);  // of the first column

  const std::string& file() const { return m_file; }
  const TemporaryFolder& folder() const { return m_folder; }
  LCDatabaseConfiguration configuration(bool readOnly = false) const;

 private:
  TemporaryFolder m_folder;
  std::string m_file;
  LCConnection m_connection;
};

// Ten loops with differing keys, signatures, names, texts, packages, keywords and marks.
void addVariedLoops(SearchDatabase& database);

// Sets without braces, so that a case of a table stays on its line.
template <typename... Name>
vesk::StringSet names(Name... name) {
  return {name...};
}
template <typename... Type>
std::set<int64_t> types(Type... type) {
  return {type...};
}

// The ids of the engine's result, in its order.
std::vector<int64_t> resultIds(const LCSearchEngine& engine);
std::vector<int64_t> sorted(std::vector<int64_t> ids);
