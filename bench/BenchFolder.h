// Where the benchmarks keep what they make, and the random numbers they make it from.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

// $VESK_BENCH_DIR, or "bench" below the cache folder; created when missing.
std::string benchFolder();
// Whether the first argument is "--large", which is then taken away.
bool takeLargeOption(int& argc, char**& argv);

// The same numbers on every machine: only the generator itself is standardised, not the distributions, so these are
// ours.
class Random {
 public:
  explicit Random(uint64_t seed) : m_generator(seed) {}

  uint64_t number() { return m_generator(); }
  uint64_t below(uint64_t limit) { return m_generator() % limit; }  // `limit` not 0
  bool chance(int percent) { return below(100) < static_cast<uint64_t>(percent); }
  template <typename T>
  const T& oneOf(const std::vector<T>& values) {
    return values[below(values.size())];
  }
  // An index below `count`, small ones far more often: index i comes about 1 / (i + 1) as often as index 0.
  size_t skewed(size_t count);

 private:
  std::mt19937_64 m_generator;
};
