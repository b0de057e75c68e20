// A loop database built by plain SQL, without the indexer, and an engine over it.
#pragma once

#include "database/TestDatabase.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"
#include "VeskLoopManagement/search/LCSearchEngineDesktop.h"

#include <functional>

using Engine = LCSearchEngine;
using Ids = std::vector<int64_t>;

class SearchDatabase : public TestDatabase {
 public:
  SearchDatabase();  // all tables, no loops; "it's" and "Zorp" (20001) are keywords

  // A loop of 8 beats in 4/4, in the folder /L/ unless `name` is a path; `values` are further assignments.
  void add(int64_t id, const std::string& name, const std::string& values = "id = id", const Ids& keywordIds = {});
  void addNamed(const std::vector<std::string>& names) {  // loops 1, 2, 3 …
    for (size_t index = 0; index < names.size(); ++index) add(static_cast<int64_t>(index) + 1, names[index]);
  }
  // Ten loops with differing keys, signatures, names, texts, packages, keywords and marks.
  void addVariedLoops();
  std::unique_ptr<LCSearchEngineDesktop> engine(bool readOnly = false) const {
    return LCSearchEngineDesktop::initWithDatabaseConfiguration(configuration(readOnly));
  }
};

struct EngineTest : testing::Test {
  const TestEnvironment::Guard environment = TestEnvironment::install();
  SearchDatabase database;
  std::unique_ptr<LCSearchEngineDesktop> engine = database.engine();
};

// A set without braces, so that a case of a table stays on its line.
template <typename... Name>
vesk::StringSet names(Name... name) {
  return {name...};
}

// Searches, and the ids of the result in its order.
Ids idsFound(LCSearchEngine& engine);
Ids sorted(Ids ids);
