// What a fuzz target finds wrong, apart from what the sanitizers find.
#pragma once

#include <cstdlib>

inline void require(bool condition) {
  if (!condition) std::abort();
}
