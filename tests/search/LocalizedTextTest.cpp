#include "database/LCConnection.h"
#include "database/LCStatement.h"
#include "search/LocalizedCollation.h"
#include "search/LocalizedLike.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <sqlite3.h>

namespace {

bool matches(std::string_view pattern, std::string_view value) {
  return LocalizedLikePattern(pattern).matches(value);
}

// The rule written down plainly, for ASCII in lower case; takes exponential time.
bool matchesSlowly(std::string_view pattern, std::string_view value) {
  if (pattern.empty()) return value.empty();
  if (pattern[0] == '%') {
    for (size_t taken = 0; taken <= value.size(); ++taken) {
      if (matchesSlowly(pattern.substr(1), value.substr(taken))) return true;
    }
    return false;
  }
  return !value.empty() && (pattern[0] == '_' || pattern[0] == value[0]) &&
         matchesSlowly(pattern.substr(1), value.substr(1));
}

struct Answer {
  bool isNull = false;
  int64_t value = 0;
  std::string error;
};

Answer answerOf(const std::string& expression) {
  const LCConnection connection = openConnection(":memory:", LCOpenMode::readWriteCreate);
  EXPECT_TRUE(registerLocalizedLike(connection.get()));
  LCStatement statement(connection.get(), "SELECT " + expression);
  Answer answer;
  if (statement.step()) {
    answer.isNull = statement.isNull(0);
    answer.value = statement.int64At(0);
  } else {
    answer.error = sqlite3_errmsg(connection.get());
  }
  return answer;
}

}  // namespace

TEST(LocalizedLike, ComparesCodePointsAfterSimpleFolding) {
  struct Case {
    std::string_view pattern, value;
    bool isMatch;
  };
  for (const auto& [pattern, value, isMatch] : {
           Case{"ÄRGER", "ärger", true}, Case{"Σ", "ς", true}, Case{"ss", "ß", false}, Case{"ẞ", "ß", true},
           Case{"_", "ä", true},  // a character, not a byte
           Case{"_", "😀", true}, Case{"__", "ä", false}, Case{"%_", "", false}, Case{"%", "", true}, Case{"", "", true},
           Case{"", "a", false}, Case{"a", "", false}, Case{"%ER%", "ÄRGER", true},
           Case{"a\\%", "a\\b", true},                                   // no escape character unless one is given
           Case{"_", "\xFF", true}, Case{"\xEF\xBF\xBD", "\xC3", true},  // bytes that are no UTF-8
       }) {
    EXPECT_EQ(matches(pattern, value), isMatch) << pattern << " | " << value;
  }
}

TEST(LocalizedLike, AgreesWithThePlainRule) {
  EXPECT_TRUE(rc::check([] {
    const auto pattern = *rc::gen::resize(9, rc::gen::container<std::string>(rc::gen::element('a', 'b', '%', '_')));
    const auto value = *rc::gen::resize(12, rc::gen::container<std::string>(rc::gen::element('a', 'b')));
    RC_ASSERT(matches(pattern, value) == matchesSlowly(pattern, value));
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
  EXPECT_EQ(answerOf("LC_LOCALIZED_LIKE('%Ä%', 'xäx')").value, 1);
  EXPECT_EQ(answerOf("LC_LOCALIZED_LIKE('%:%20b', 'a%20B', ':')").value, 1);
  EXPECT_EQ(answerOf("LC_LOCALIZED_LIKE('%:%20b', 'a:20B', ':')").value, 0);
  EXPECT_EQ(answerOf("LC_LOCALIZED_LIKE('aß_b', 'a_b', 'ß')").value, 1);
  EXPECT_TRUE(answerOf("LC_LOCALIZED_LIKE(NULL, 'a')").isNull);
  EXPECT_TRUE(answerOf("LC_LOCALIZED_LIKE('a', NULL)").isNull);
  for (const char* escape : {"''", "'ab'", "'ää'"}) {
    EXPECT_EQ(answerOf(std::string("LC_LOCALIZED_LIKE('a', 'a', ") + escape + ")").error,
              "ESCAPE expression must be a single character");
  }
  const auto long_ = [](int bytes) {
    return "LC_LOCALIZED_LIKE(printf('%.*c', " + std::to_string(bytes) + ", 'a'), 'a')";
  };
  EXPECT_EQ(answerOf(long_(50000)).error, "");
  EXPECT_EQ(answerOf(long_(50001)).error, "LIKE or GLOB pattern too complex");
  // A pattern or an escape character that changes from row to row.
  EXPECT_EQ(
      answerOf("group_concat(LC_LOCALIZED_LIKE(p, 'a%', e), '') = '101' FROM (SELECT 'A%' AS p, 'x' AS e UNION ALL "
               "SELECT 'b%', 'x' UNION ALL SELECT 'A|%', '|')")
          .value,
      1);
  EXPECT_EQ(answerOf("group_concat(LC_LOCALIZED_LIKE('a|%', 'a%', e), '') = '01' FROM (SELECT 'x' AS e UNION ALL "
                     "SELECT '|')")
                .value,
            1);
}

TEST(LocalizedCollation, LetsTheFirstUnitDecideAlone) {
  const auto environment = TestEnvironment::install();
  struct Case {
    std::u16string_view left, right;
    int order;
  };
  for (const auto& [left, right, order] : {
           Case{u"by", u"Ba", -1},  // "b" before "B", whatever follows
           Case{u"öa", u"oz", 1}, Case{u"ba", u"by", -1}, Case{u"", u"a", -1}, Case{u"", u"", 0}, Case{u"a", u"a", 0},
           Case{u"a", u"ab", -1}, Case{u"\U0001F600a", u"\U0001F600b", -1},  // half a character ties: the whole decides
       }) {
    EXPECT_EQ(compareByFirstUnitThenWhole(left, right), order);
    EXPECT_EQ(compareByFirstUnitThenWhole(right, left), -order);
  }
}
