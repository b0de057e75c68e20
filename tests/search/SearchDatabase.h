// A loop database built by plain SQL, without the indexer, and what hand-written SQL finds in it.
#pragma once

#include "support/TestEnvironment.h"
#include "VeskLoopManagement/database/LCConnection.h"
#include "VeskLoopManagement/search/LCSearchEngineDesktop.h"

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

using Ids = std::vector<int64_t>;

class SearchDatabase {
 public:
  SearchDatabase();  // all tables, no loops; "it's" and "Zorp" (20001) are keywords

  // A loop of 8 beats in 4/4, in the folder /L/ unless `name` is a path; `values` are further assignments.
  void add(int64_t id, const std::string& name, const std::string& values = "id = id", const Ids& keywordIds = {});
  // Ten loops with differing keys, signatures, names, texts, packages, keywords and marks.
  void addVariedLoops();
  void execute(const std::string& sql);
  Ids numbers(const std::string& sql);  // of the first column

  const TemporaryFolder& folder() const { return m_folder; }
  LCDatabaseConfiguration configuration(bool readOnly = false) const;
  std::unique_ptr<LCSearchEngineDesktop> engine() const {
    return LCSearchEngineDesktop::initWithDatabaseConfiguration(configuration());
  }

 private:
  TemporaryFolder m_folder;
  LCConnection m_connection;
};

// Sets without braces, so that a case of a table stays on its line.
template <typename... Name>
vesk::StringSet names(Name... name) {
  return {name...};
}
template <typename... Type>
std::set<int64_t> types(Type... type) {
  return {type...};
}

// Searches, and the ids of the result in its order.
Ids idsFound(LCSearchEngine& engine);
Ids sorted(Ids ids);
