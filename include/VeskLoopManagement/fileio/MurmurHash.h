// The 64-bit hashes of the public MurmurHash2 family. Loop ids are made with MurmurHash64B; MurmurHash64A is offered to
// hosts. Pure functions. Words are read in little-endian order, so the result is the same on every machine.
#pragma once

#include "VeskLoopManagement/LCExport.h"

#include <cstdint>

namespace lc {

// The variant for 64-bit processors. `data` may be null when `length` is 0.
LC_EXPORT uint64_t MurmurHash64A(const void* data, uint32_t length, uint64_t seed);
// The variant for 32-bit processors: two lanes of 32 bits, the low half of `seed` in the first one.
LC_EXPORT uint64_t MurmurHash64B(const void* data, uint32_t length, uint64_t seed);

}  // namespace lc
