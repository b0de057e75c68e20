#include "search/SearchDatabase.h"
#include "VeskLoopManagement/search/LCSearchEngineDesktop.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <tuple>

namespace {

using Engine = LCSearchEngine;

struct FilterTest : testing::Test {
  SearchDatabase database;
  std::unique_ptr<LCSearchEngineDesktop> engine = database.engine();
};

// The text clause with `like` as its operator; `url` and `text` as they stand in the URL's and the other conditions.
std::string textClause(const std::string& like, const std::string& url, const std::string& text,
                       const std::string& nameCondition) {
  const std::string blanks(20, ' ');
  std::string clause = " ((fileURL like \"%" + url + "%\")";
  for (const std::string column : {"comment", "title", "author", "collection", "theme"}) {
    clause += blanks + "OR ( " + like + "(\"%" + text + "%\", " + column + "))";
  }
  return clause + blanks + "OR " + nameCondition + blanks + ")";
}

}  // namespace

TEST_F(FilterTest, HasItsTextForEachSetting) {
  struct Case {
    std::function<void(Engine&)> set;
    std::string filter;
  };
  const Case cases[] = {
      {[](Engine& e) { e.setTimeSignatureTop(3, 0), e.setEnabledLoopTypes(std::nullopt), e.setSearchString(""); }, ""},
      {[](Engine& e) { e.setEnabledCrateIdentifier(names()), e.setPathPrefix(""); }, ""},
      {[](Engine& e) { e.setUseKestrelLoopTypes(true), e.setEnabledLoopTypes(types(6, 1)); }, " (ksLoopType IN (1,6))"},
      // The name of the table in this clause is fixed.
      {[](Engine& e) { e.setCrateLoopRelationTablename("Other"), e.setEnabledCrateIdentifier(names("b", "a\"x")); },
       R"( ((CrateLoopRelation.crateId = "a""x") OR (CrateLoopRelation.crateId = "b")))"},
      {[](Engine& e) { e.setPathPrefix("/missing/it's 100%"); }, R"( (fileURL like "file:///missing/it's%20100%25%"))"},
      {[](Engine& e) { e.setSpecialNameSearchString("a\"_b"); }, R"( (fileName LIKE "%a""_b%"))"},
      {[](Engine& e) { e.setSearchString("x"); }, textClause("LIKE", "x", "x", R"((LIKE("%x%", fileName)))")},
      {[](Engine& e) { e.setSearchString("ä\"  y"); },  // two blanks: the empty word in between matches every name
       textClause("LC_LOCALIZED_LIKE", "ä\"\"%%20%%20y", "ä\"\"  y",
                  R"(((LC_LOCALIZED_LIKE("%ä""%", fileName)) AND (LC_LOCALIZED_LIKE("%%", fileName)))"
                  R"( AND (LC_LOCALIZED_LIKE("%y%", fileName))))")},
      {[](Engine& e) {  // all clauses, in their order
         e.setSpecialNameSearchString("n"), e.setPathPrefix("/missing"), e.setEnabledCrateIdentifier(names("c"));
         e.setFilterOutWebLoops(true), e.setKeyType(1), e.setRootKey(64), e.setEnabledLoopTypes(types(0));
         e.setTimeSignatureTop(4, 4);
       },
       " ((timeSignatureTop=4 AND timeSignatureBottom=4) OR timeSignatureTop=0) AND (hasMidi IN (0)) AND "
       "((key < 55 AND key > 49) OR key = 0 OR key = -1) AND (keyType = 1) AND (isWebLoop = 0) AND "
       R"(((CrateLoopRelation.crateId = "c")) AND (fileURL like "file:///missing%") AND (fileName LIKE "%n%"))"},
  };
  for (const auto& [set, filter] : cases) {
    engine = database.engine();
    set(*engine);
    EXPECT_EQ(engine->generateFilterString(), filter);
  }
  engine = database.engine();
  engine->setPathPrefix(database.folder().path());  // of a folder that exists
  EXPECT_EQ(engine->generateFilterString(), " (fileURL like \"file://" + database.folder().path() + "/%\")");
}

// The stored key of root key R is R - 12; with near matches its two neighbours on either side pass, around the octave.
TEST_F(FilterTest, LetsNeighbouringKeysPassAroundTheOctave) {
  for (int64_t key = -1; key <= 70; ++key) database.add(1000 + key, "a.wav", "key = " + std::to_string(key));
  const auto keysFound = [&](int64_t root, bool near) {
    engine->setRootKey(root);
    engine->setFilterForMoreRelevantResults(near);
    return sorted(
        database.numbers("SELECT key FROM Loops WHERE key BETWEEN 48 AND 59 AND" + engine->generateFilterString()));
  };
  for (int64_t root = 60; root <= 71; ++root) {
    Ids expected;
    for (int64_t step = -2; step <= 2; ++step) expected.push_back(48 + (root - 60 + step + 12) % 12);
    EXPECT_EQ(keysFound(root, true), sorted(expected)) << root;
    EXPECT_EQ(keysFound(root, false), Ids{root - 12}) << root;
  }
  EXPECT_EQ(keysFound(78, true), (Ids{48, 49, 50, 51, 52, 53, 54, 55, 56}));
  EXPECT_EQ(database.numbers("SELECT count(*) FROM Loops WHERE key < 1 AND" + engine->generateFilterString()), Ids{2})
      << "unknown keys pass";
}

TEST_F(FilterTest, OfKeysHasTheTextsOfItsTwoForms) {
  const std::tuple<int64_t, std::string, std::string> cases[] = {
      {60, " ((key < 51 OR key > 57) OR key = 0  OR key = -1)", " AND ((key < 51 OR key > 57) OR key = 0 OR key = -1)"},
      {62, " ((key < 53 AND key > 47) OR key = 0 OR key = -1)",
       " AND ((key < 53 AND key > 47) OR key = 0 OR key = -1)"},
      {66, " ((key < 57 AND key > 51) OR key = 0 OR key = -1)",
       " AND ((key < 57 AND key > 51) OR key = 0 OR key = -1)"},
      {78, " ((key < 57 OR key > 63) OR key = 0  OR key = -1)", " AND ((key < 57 OR key > 63) OR key = 0 OR key = -1)"},
  };
  for (const auto& [key, clause, lookupClause] : cases) {
    engine->setRootKey(key);
    EXPECT_EQ(engine->generateFilterString(), clause);
    EXPECT_EQ(Engine::keyFilterStringForKey(key), lookupClause);
  }
  EXPECT_EQ(Engine::keyFilterStringForKey(59), "");
}

TEST(FileURLSearchString, EscapesBlanksByACharacterThatTheNameDoesNotUse) {
  std::string escape;
  EXPECT_EQ(Engine::_convertToFileURLSearchString("50%ä 01", &escape),
            "50%ä:%2001");  // nothing but blanks is converted
  EXPECT_EQ(escape, R"(ESCAPE ":")");
  EXPECT_EQ(Engine::_convertToFileURLSearchString("p:q r", &escape), "p:q|%20r");
  EXPECT_EQ(escape, R"(ESCAPE "|")");
}
