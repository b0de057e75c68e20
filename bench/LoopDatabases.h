// Loop databases of any size, made from a seed by plain prepared statements and finished by the indexer's end-of-run
// work. About 5 keywords a loop from the built-in taxonomy: a few instruments, genres and folders hold most of the
// loops, as in real libraries; 2 in 100 loops are favourites.
#pragma once

#include <string>

// The database file; made at the first question and kept. Benchmarks that write work on a copy.
std::string loopDatabase(size_t loopCount);
// A folder that holds about 200 of the loops.
inline constexpr const char* kBenchPackFolder = "/Loops/Maker 3/Pack 0003";
