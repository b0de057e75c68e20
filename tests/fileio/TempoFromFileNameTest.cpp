#include "fileio/TempoFromFileName.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <unicode/regex.h>
#include <unicode/unistr.h>

#include <memory>
#include <vector>

namespace {

// The name up to the match that the expression itself finds, a line break, and the match.
std::optional<std::string> matchOfExpression(const std::string& name) {
  UErrorCode status = U_ZERO_ERROR;
  static const std::unique_ptr<icu::RegexPattern> pattern(
      icu::RegexPattern::compile(UNICODE_STRING_SIMPLE("\\d+\\.?\\d*\\s?(?i)bpm"), 0, status));
  const auto text = icu::UnicodeString::fromUTF8(name);
  const std::unique_ptr<icu::RegexMatcher> matcher(pattern->matcher(text, status));
  if (!matcher->find(status)) return std::nullopt;
  std::string found;
  text.tempSubStringBetween(0, matcher->start(status)).toUTF8String(found) += "\n";
  return matcher->group(status).toUTF8String(found);
}

std::optional<std::string> matchOfScanner(const std::string& name) {
  const auto found = lc::findTempoText(name);
  if (!found) return std::nullopt;
  return std::string(name.data(), found->data()).append("\n").append(*found);
}

}  // namespace

TEST(TempoFromFileName, IsTheNumberOfTheFirstMatch) {
  EXPECT_EQ(lc::findTempoInFileName("7.25.110bpm"), 25.110000610351562f);  // a number has one point
  EXPECT_EQ(lc::findTempoInFileName("1200bpm 96bpm"), 1200.0f);
  EXPECT_EQ(lc::findTempoInFileName("\u0661\u0662\u0660bpm"), 0.0f);  // digits, but not of a number that we read
  EXPECT_EQ(lc::findTempoInFileName("96\xFF bpm"), std::nullopt);     // no UTF-8
  EXPECT_EQ(lc::findTempoInFileName("\xFF\xC3 96bpm\xE2"), 96.0f);
}

RC_GTEST_PROP(TempoFromFileName, FindsWhatTheRegularExpressionFinds, ()) {
  static const std::vector<std::string> pieces = {
      "1",  "2",  "7",    ".",      ".", " ",      "b",      "p",      "m",      "bpm",    "BPM",        "x",
      "\t", "\n", "\x1C", "\u0085", "é", "\u0660", "\u00A0", "\u2003", "\u200B", "\u2460", "\U0001D7CE", "bpm"};
  std::string name;
  for (const auto& piece : *rc::gen::container<std::vector<std::string>>(rc::gen::elementOf(pieces))) name += piece;
  RC_ASSERT(matchOfScanner(name) == matchOfExpression(name));
}

// A scanner that tries every digit as a start needs 10^12 steps for these.
TEST(TempoFromFileName, NamesOfAMillionDigitsTakeNoTime) {
  const std::string digits(1 << 20, '1');
  EXPECT_EQ(lc::findTempoInFileName(digits), std::nullopt);
  EXPECT_EQ(lc::findTempoInFileName(digits + "." + digits + " bp"), std::nullopt);
  EXPECT_GT(lc::findTempoInFileName(digits + "bpm"), 1e30f);
}
