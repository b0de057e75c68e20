// What a fuzz target finds wrong, apart from what the sanitizers find.
#pragma once

#include <cstdio>
#include <cstdlib>

// `line` is that of the call.
inline void require(bool condition, int line = __builtin_LINE()) {
  if (condition) return;
  std::fprintf(stderr, "line %d: not as required\n", line);
  std::abort();
}
