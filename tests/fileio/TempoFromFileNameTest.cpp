#include "fileio/TempoFromFileName.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <unicode/regex.h>
#include <unicode/unistr.h>

#include <memory>
#include <string>
#include <vector>

namespace {

// What the expression itself finds, as the text before the match and the match.
std::optional<std::pair<std::string, std::string>> matchOfExpression(const std::string& name) {
  UErrorCode status = U_ZERO_ERROR;
  static const std::unique_ptr<icu::RegexPattern> pattern(
      icu::RegexPattern::compile(UNICODE_STRING_SIMPLE("\\d+\\.?\\d*\\s?(?i)bpm"), 0, status));
  const auto text = icu::UnicodeString::fromUTF8(name);
  const std::unique_ptr<icu::RegexMatcher> matcher(pattern->matcher(text, status));
  if (!matcher->find(status)) return std::nullopt;
  std::pair<std::string, std::string> found;
  text.tempSubStringBetween(0, matcher->start(status)).toUTF8String(found.first);
  matcher->group(status).toUTF8String(found.second);
  return found;
}

std::optional<std::pair<std::string, std::string>> matchOfScanner(const std::string& name) {
  const auto found = findTempoText(name);
  if (!found) return std::nullopt;
  return std::pair{name.substr(0, static_cast<size_t>(found->data() - name.data())), std::string(*found)};
}

}  // namespace

TEST(TempoFromFileName, IsTheNumberOfTheFirstMatch) {
  struct Case {
    std::string name;
    std::optional<float> tempo;
  };
  const Case cases[] = {
      {"Groove 120 BPM.aif", 120.0f},
      {"Groove120bPm", 120.0f},
      {"7.25.110bpm", 25.110000610351562f},  // a number has one point
      {"96.bpm", 96.0f},
      {".5bpm", 5.0f},
      {"1200bpm 96bpm", 1200.0f},  // only the first match is asked
      {"96 bp 97bpm", 97.0f},
      {"a 96  bpm", std::nullopt},      // one blank at most
      {"96\u00A0bpm", 96.0f},           // a no-break space is white space
      {"\u0661\u0662\u0660bpm", 0.0f},  // digits, but not ones that we can turn into a number
      {"bpm 120", std::nullopt},
      {"120b.p.m.", std::nullopt},
      {"96\xFF"
       "bpm",
       std::nullopt},  // no UTF-8
      {"\xFF\xC3 96bpm\xE2", 96.0f},
  };
  for (const auto& [name, tempo] : cases) EXPECT_EQ(findTempoInFileName(name), tempo) << name;
}

RC_GTEST_PROP(TempoFromFileName, FindsWhatTheRegularExpressionFinds, ()) {
  static const std::vector<std::string> pieces = {
      "1",  "2",  "7",    ".",      ".", " ",      "b",      "p",      "m",      "bpm",    "BPM",        "x",
      "\t", "\n", "\x1C", "\u0085", "é", "\u0660", "\u00A0", "\u2003", "\u200B", "\u2460", "\U0001D7CE", "bpm"};
  const auto chosen = *rc::gen::container<std::vector<std::string>>(rc::gen::elementOf(pieces));
  std::string name;
  for (const auto& piece : chosen) name += piece;
  RC_ASSERT(matchOfScanner(name) == matchOfExpression(name));
}

// A scanner that tries every digit as a start needs 10^12 steps for these.
TEST(TempoFromFileName, NamesOfAMillionDigitsTakeNoTime) {
  const std::string digits(1 << 20, '1');
  EXPECT_EQ(findTempoInFileName(digits), std::nullopt);
  EXPECT_EQ(findTempoInFileName(digits + "." + digits + " bp"), std::nullopt);
  EXPECT_GT(findTempoInFileName(digits + "bpm"), 1e30f);
  std::string points;
  for (int i = 0; i < (1 << 19); ++i) points += "1.";
  EXPECT_EQ(findTempoInFileName(points), std::nullopt);
}
