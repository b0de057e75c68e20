#include "search/LCSearchEngineDesktop.h"
#include "search/SearchDatabase.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

struct FilterTest : testing::Test {
  SearchDatabase database;
  std::unique_ptr<LCSearchEngineDesktop> engine =
      LCSearchEngineDesktop::initWithDatabaseConfiguration(database.configuration());
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
    std::function<void(LCSearchEngine&)> set;
    std::string filter;
  };
  const Case cases[] = {
      {[](auto&) {}, ""},
      {[](auto& e) { e.setTimeSignatureTop(3, 0), e.setEnabledLoopTypes(std::nullopt), e.setSearchString(""); }, ""},
      {[](auto& e) { e.setTimeSignatureTop(0, 4), e.setEnabledCrateIdentifier(names()), e.setPathPrefix(""); }, ""},
      {[](auto& e) { e.setUseKestrelLoopTypes(true), e.setEnabledLoopTypes(types(6, 1)); }, " (ksLoopType IN (1,6))"},
      // The name of the table in this clause is fixed.
      {[](auto& e) { e.setCrateLoopRelationTablename("Other"), e.setEnabledCrateIdentifier(names("b", "a\"x")); },
       R"( ((CrateLoopRelation.crateId = "a""x") OR (CrateLoopRelation.crateId = "b")))"},
      {[](auto& e) { e.setPathPrefix("/missing/it's 100%"); }, R"( (fileURL like "file:///missing/it's%20100%25%"))"},
      {[](auto& e) { e.setSpecialNameSearchString("a\"_b"); }, R"( (fileName LIKE "%a""_b%"))"},
      {[](auto& e) { e.setSearchString("x"); }, textClause("LIKE", "x", "x", R"((LIKE("%x%", fileName)))")},
      {[](auto& e) { e.setSearchString("x y"); },
       textClause("LIKE", "x%%20y", "x y", R"(((LIKE("%x%", fileName)) AND (LIKE("%y%", fileName))))")},
      {[](auto& e) { e.setSearchString("ä\"  y"); },  // two blanks: the empty word in between matches every name
       textClause("LC_LOCALIZED_LIKE", "ä\"\"%%20%%20y", "ä\"\"  y",
                  R"(((LC_LOCALIZED_LIKE("%ä""%", fileName)) AND (LC_LOCALIZED_LIKE("%%", fileName)))"
                  R"( AND (LC_LOCALIZED_LIKE("%y%", fileName))))")},
  };
  for (const auto& [set, filter] : cases) {
    engine = LCSearchEngineDesktop::initWithDatabaseConfiguration(database.configuration());
    set(*engine);
    EXPECT_EQ(engine->generateFilterString(), filter);
  }
}

TEST_F(FilterTest, JoinsItsClausesInAFixedOrder) {
  engine->setSpecialNameSearchString("n");
  engine->setPathPrefix("/missing");
  engine->setEnabledCrateIdentifier(names("c"));
  engine->setFilterOutWebLoops(true);
  engine->setKeyType(1);
  engine->setRootKey(64);
  engine->setEnabledLoopTypes(types(0));
  engine->setTimeSignatureTop(4, 4);
  EXPECT_EQ(engine->generateFilterString(),
            " ((timeSignatureTop=4 AND timeSignatureBottom=4) OR timeSignatureTop=0) AND (hasMidi IN (0)) AND "
            "((key < 55 AND key > 49) OR key = 0 OR key = -1) AND (keyType = 1) AND (isWebLoop = 0) AND "
            R"(((CrateLoopRelation.crateId = "c")) AND (fileURL like "file:///missing%") AND (fileName LIKE "%n%"))");
}

TEST_F(FilterTest, OfAFolderThatExistsEndsInASlash) {
  engine->setPathPrefix(database.folder().path());
  EXPECT_EQ(engine->generateFilterString(), " (fileURL like \"file://" + database.folder().path() + "/%\")");
}

// The stored key of root key R is R - 12; with near matches its two neighbours on either side pass, around the octave.
TEST_F(FilterTest, LetsNeighbouringKeysPassAroundTheOctave) {
  for (int64_t key = -1; key <= 70; ++key) {
    database.add({.id = 1000 + key, .fileName = std::to_string(key) + ".wav", .key = key});
  }
  const auto keysFound = [&](int64_t root, bool near) {
    engine->setRootKey(root);
    engine->setFilterForMoreRelevantResults(near);
    return sorted(
        database.numbers("SELECT key FROM Loops WHERE key BETWEEN 48 AND 59 AND" + engine->generateFilterString()));
  };
  for (int64_t root = 60; root <= 71; ++root) {
    std::vector<int64_t> expected;
    for (int64_t step = -2; step <= 2; ++step) expected.push_back(48 + (root - 60 + step + 12) % 12);
    EXPECT_EQ(keysFound(root, true), sorted(expected)) << root;
    EXPECT_EQ(keysFound(root, false), std::vector<int64_t>{root - 12}) << root;
  }
  EXPECT_EQ(keysFound(78, true), (std::vector<int64_t>{48, 49, 50, 51, 52, 53, 54, 55, 56}));
  EXPECT_EQ(database.numbers("SELECT count(*) FROM Loops WHERE key < 1 AND" + engine->generateFilterString()),
            std::vector<int64_t>{2});  // unknown keys pass
}

TEST_F(FilterTest, OfKeysHasTheTextsOfItsTwoForms) {
  struct Case {
    int64_t key;
    std::string clause, lookupClause;
  };
  for (const auto& [key, clause, lookupClause] : {
           Case{59, "", ""},
           Case{60, " ((key < 51 OR key > 57) OR key = 0  OR key = -1)",
                " AND ((key < 51 OR key > 57) OR key = 0 OR key = -1)"},
           Case{66, " ((key < 57 AND key > 51) OR key = 0 OR key = -1)",
                " AND ((key < 57 AND key > 51) OR key = 0 OR key = -1)"},
           Case{78, " ((key < 57 OR key > 63) OR key = 0  OR key = -1)",
                " AND ((key < 57 OR key > 63) OR key = 0 OR key = -1)"},
       }) {
    engine->setRootKey(key);
    EXPECT_EQ(engine->generateFilterString(), clause);
    EXPECT_EQ(LCSearchEngine::keyFilterStringForKey(key), lookupClause);
  }
}

TEST(FileURLSearchString, EscapesBlanksByACharacterThatTheNameDoesNotUse) {
  struct Case {
    std::string name, pattern, clause;
  };
  for (const auto& [name, pattern, clause] : {
           Case{"Funky Beat 01", "Funky:%20Beat:%2001", R"(ESCAPE ":")"}, Case{"p:q r", "p:q|%20r", R"(ESCAPE "|")"},
           Case{"50%ä", "50%ä", R"(ESCAPE ":")"},  // nothing but blanks is converted
       }) {
    std::string escape;
    EXPECT_EQ(LCSearchEngine::_convertToFileURLSearchString(name, &escape), pattern);
    EXPECT_EQ(escape, clause);
    EXPECT_EQ(LCSearchEngine::_convertToFileURLSearchString(name, nullptr), pattern);
  }
  EXPECT_EQ(LCSearchEngine::_convertToFileURLSearchString(std::nullopt, nullptr), std::nullopt);
}
