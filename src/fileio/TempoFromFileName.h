// The tempo that a person wrote into a file's name, as in "Groove 120 BPM.aif". Pure functions; UTF-8 in, any bytes are
// safe.
#pragma once

#include <optional>
#include <string_view>

namespace lc {

// The first part of `fileName` that the regular expression \d+\.?\d*\s?(?i)bpm matches, where \d is every Unicode
// decimal digit and \s all Unicode white space; nullopt when there is none. A view into `fileName`. Takes linear time,
// which a backtracking engine does not: names of a million digits exist to hurt.
std::optional<std::string_view> findTempoText(std::string_view fileName);

// The number at the start of that part, 0 where it is written in digits other than 0 to 9. Any size: the caller judges.
std::optional<float> findTempoInFileName(std::string_view fileName);

}  // namespace lc
