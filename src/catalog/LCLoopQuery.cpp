#include "VeskLoopManagement/catalog/LCLoopQuery.h"

#include <charconv>

namespace {

// Digits with at most one point among them: no sign, no exponent, nothing around them.
std::optional<double> plainDecimal(std::string_view text) {
  if (text.empty() || text.find_first_not_of("0123456789.") != std::string_view::npos) return std::nullopt;
  double number = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number, std::chars_format::fixed);
  if (error != std::errc{} || rest != end) return std::nullopt;
  return number;
}

// Both ends as they are written, in any order.
std::optional<LCTempoSpan> writtenSpan(std::string_view text) {
  const size_t separator = text.find_first_of("-~");
  const auto first = plainDecimal(text.substr(0, separator));
  if (!first) return std::nullopt;
  if (separator == std::string_view::npos) return LCTempoSpan{*first, *first};
  const bool isPercentage = text[separator] == '~';
  std::string_view second = text.substr(separator + 1);
  if (isPercentage) {
    if (!second.ends_with('%')) return std::nullopt;
    second.remove_suffix(1);
  }
  const auto number = plainDecimal(second);
  if (!number) return std::nullopt;
  if (!isPercentage) return LCTempoSpan{*first, *number};
  const double distance = *first * *number / 100;
  return LCTempoSpan{*first - distance, *first + distance};
}

}  // namespace

LCTempoSpan LCTempoSpan::around(double beatsPerMinute, double fraction) {
  const double distance = beatsPerMinute * fraction;
  return {beatsPerMinute - distance, beatsPerMinute + distance};
}

std::optional<LCTempoSpan> LCTempoSpan::fromText(std::string_view text) {
  const auto span = writtenSpan(text);
  if (!span || span->highest <= 0 || span->lowest > span->highest) return std::nullopt;
  return span;
}
