// A time signature, such as 6/8. A plain value.
#pragma once

#include "VeskLoopManagement/LCExport.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

struct LC_EXPORT LCTimeSignature {
  int64_t top = 0;  // 0: unknown
  int64_t bottom = 0;

  bool isKnown() const { return top > 0; }
  std::string text() const;  // "6/8"; "" when unknown
  // What a person types, "6/8": two numbers above 0; nullopt for anything else.
  static std::optional<LCTimeSignature> parse(std::string_view text);
  // As the search info of a file holds it. 0 and 0 unless `text` has at least 3 characters and is two parts with a "/"
  // between them.
  static LCTimeSignature fromText(std::string_view text);
  bool operator==(const LCTimeSignature&) const = default;
};
