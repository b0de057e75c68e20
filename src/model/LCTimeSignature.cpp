#include "VeskLoopManagement/model/LCTimeSignature.h"

#include "VeskLoopManagement/platform/Text.h"

#include <charconv>

namespace {

// Decimal digits and nothing else, above 0.
std::optional<int64_t> positiveNumber(std::string_view text) {
  int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size() || number < 1) return std::nullopt;
  return number;
}

}  // namespace

std::string LCTimeSignature::text() const {
  return isKnown() ? std::to_string(top) + "/" + std::to_string(bottom) : std::string();
}

std::optional<LCTimeSignature> LCTimeSignature::parse(std::string_view text) {
  const size_t slash = text.find('/');
  if (slash == std::string_view::npos) return std::nullopt;
  const auto top = positiveNumber(text.substr(0, slash));
  const auto bottom = positiveNumber(text.substr(slash + 1));
  if (!top || !bottom) return std::nullopt;
  return LCTimeSignature{.top = *top, .bottom = *bottom};
}

LCTimeSignature LCTimeSignature::fromText(std::string_view text) {
  if (vesk::text::utf16Length(text) < 3) return {};
  const auto parts = vesk::text::split(text, '/');
  if (parts.size() != 2) return {};
  return {.top = vesk::text::integerValue(parts[0]), .bottom = vesk::text::integerValue(parts[1])};
}
