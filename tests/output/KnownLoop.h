// A loop of which everything is known, with what may neither steer a terminal nor break a line.
#pragma once

#include "VeskLoopManagement/catalog/LCCatalogLoop.h"

#include <cstdint>
#include <limits>

inline const LCCatalogLoop kLoop = {
    .place = {.id = std::numeric_limits<int64_t>::min(), .urlText = "file:///l/Funk%20%1B%5B31m%FF.aif"},
    .fileName = "Funk \x1b[31m\xFF.aif",
    .tempo = 90,
    .beatCount = 8,
    .signature = {3, 4},
    .rootNote = 50,
    .keyType = 1,
    .loopType = kLoopTypeMIDI,
    .lengthInSeconds = static_cast<double>(4.1f),
    .genre = LCLoopKeyword{.name = "Jazz"},
    .instrument = LCLoopKeyword{.name = "Bass"},
    .subInstrument = LCLoopKeyword{.name = "Electric Bass"},
    .descriptors = {"Dark", "Dry"},
    .packages = {"x\ty"},
    .marks = LCLoopMarks{.isFavorite = true, .rating = 4, .comment = "a\nb"},
    .loudness = {.integratedLoudness = -14.5, .globalMaxTruePeak = -0.5, .targetIntegratedLoudness = -18}};
