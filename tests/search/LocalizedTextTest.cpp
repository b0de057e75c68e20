#include "search/LocalizedCollation.h"
#include "search/LocalizedLike.h"
#include "support/Rows.h"
#include "support/TestEnvironment.h"
#include "VeskLoopManagement/database/LCConnection.h"

#include <rapidcheck.h>

namespace {

bool matches(std::string_view pattern, std::string_view value) {
  return lc::LocalizedLikePattern(pattern).matches(value);
}

// The value of an SQL expression, "NULL" or the message of its failure.
std::string answerOf(const std::string& expression) {
  const LCConnection connection = lc::openConnection(":memory:", LCOpenMode::readWriteCreate);
  EXPECT_TRUE(lc::registerLocalizedLike(connection.get()));
  LCStatement statement(connection.get(), "SELECT " + expression);
  if (!statement.step()) return sqlite3_errmsg(connection.get());
  return statement.isNull(0) ? "NULL" : statement.textAt(0);
}

}  // namespace

TEST(LocalizedLike, ComparesCodePointsAfterSimpleFolding) {
  const std::tuple<std::string_view, std::string_view, bool> cases[] = {
      {"ÄRGER", "ärger", true}, {"Σ", "ς", true},
      {"ss", "ß", false},       {"ẞ", "ß", true},
      {"_", "ä", true},         {"_", "😀", true},
      {"%ER%", "ÄRGER", true},  {"a\\%", "a\\b", true},
      {"_", "\xFF", true},      {"\xEF\xBF\xBD", "\xC3", true},  // bytes that are no UTF-8
  };
  for (const auto& [pattern, value, isMatch] : cases) {
    EXPECT_EQ(matches(pattern, value), isMatch) << pattern << " | " << value;
  }
}

TEST(LocalizedLike, AgreesWithLikeOnPlainText) {
  EXPECT_TRUE(rc::check([] {
    const auto pattern = *rc::gen::resize(9, rc::gen::container<std::string>(rc::gen::element('a', 'b', '%', '_')));
    const auto value = *rc::gen::resize(12, rc::gen::container<std::string>(rc::gen::element('a', 'b')));
    RC_ASSERT(answerOf("'" + value + "' LIKE '" + pattern + "'") == (matches(pattern, value) ? "1" : "0"));
  }));
}

// Trying every way to share a text among many "%" would take longer than anybody lives.
TEST(LocalizedLike, AnswersHostilePatternsAtOnce) {
  std::string pattern;
  for (int count = 0; count < 1000; ++count) pattern += "%a";
  EXPECT_FALSE(matches(pattern + "%b", std::string(20000, 'a')));
  EXPECT_TRUE(matches(pattern + "%", std::string(1000, 'a')));
}

TEST(LocalizedLike, AnswersAsAnSQLFunction) {
  EXPECT_EQ(answerOf("LC_LOCALIZED_LIKE('%:%20b', 'a%20B', ':') || LC_LOCALIZED_LIKE('%:%20b', 'a:20B', ':')"), "10");
  EXPECT_EQ(answerOf("LC_LOCALIZED_LIKE('aß_b', 'a_b', 'ß')"), "1");
  for (const char* pair : {"NULL, 'a'", "'a', NULL"})
    EXPECT_EQ(answerOf("LC_LOCALIZED_LIKE(" + std::string(pair) + ")"), "NULL");
  EXPECT_EQ(answerOf("LC_LOCALIZED_LIKE('a', 'a', 'ää')"), "ESCAPE expression must be a single character");
  EXPECT_EQ(answerOf("LC_LOCALIZED_LIKE(printf('%.*c', 50000, 'a'), 'a')"), "0");
  EXPECT_EQ(answerOf("LC_LOCALIZED_LIKE(printf('%.*c', 50001, 'a'), 'a')"), "LIKE or GLOB pattern too complex");
  // A pattern or an escape character that changes from row to row.
  EXPECT_EQ(answerOf("group_concat(LC_LOCALIZED_LIKE(p, 'a%'), '') FROM (SELECT 'A%' AS p UNION ALL SELECT 'b%')"),
            "10");
  EXPECT_EQ(answerOf("group_concat(LC_LOCALIZED_LIKE('a|%', 'a%', e), '') FROM (SELECT 'x' AS e UNION ALL SELECT '|')"),
            "01");
}

TEST(LocalizedCollation, LetsTheFirstUnitDecideAlone) {
  const auto environment = TestEnvironment::install();
  // "b" comes before "B", whatever follows; where half a character ties, the whole decides.
  const std::tuple<std::u16string_view, std::u16string_view, int> cases[] = {{u"by", u"Ba", -1},
                                                                             {u"öa", u"oz", 1},
                                                                             {u"ba", u"by", -1},
                                                                             {u"", u"a", -1},
                                                                             {u"a", u"a", 0},
                                                                             {u"a", u"ab", -1},
                                                                             {u"\U0001F600a", u"\U0001F600b", -1}};
  for (const auto& [left, right, order] : cases) {
    EXPECT_EQ(lc::compareByFirstUnitThenWhole(left, right), order);
    EXPECT_EQ(lc::compareByFirstUnitThenWhole(right, left), -order);
  }
}
