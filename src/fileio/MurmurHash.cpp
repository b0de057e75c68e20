#include "VeskLoopManagement/fileio/MurmurHash.h"

#include <cstddef>

namespace {

uint64_t littleEndian(const unsigned char* bytes, size_t width) {
  uint64_t value = 0;
  for (size_t i = 0; i < width; ++i) value |= uint64_t{bytes[i]} << (8 * i);
  return value;
}

constexpr uint32_t kMultiplier32 = 0x5bd1e995;
constexpr uint64_t kMultiplier64 = 0xc6a4a7935bd1e995;

void mixWord(uint32_t& lane, uint32_t word) {
  word *= kMultiplier32;
  word ^= word >> 24;
  word *= kMultiplier32;
  lane = (lane * kMultiplier32) ^ word;
}

}  // namespace

uint64_t lc::MurmurHash64A(const void* data, uint32_t length, uint64_t seed) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  uint64_t hash = seed ^ (length * kMultiplier64);
  size_t left = length;
  for (; left >= 8; bytes += 8, left -= 8) {
    uint64_t word = littleEndian(bytes, 8) * kMultiplier64;
    word ^= word >> 47;
    word *= kMultiplier64;
    hash = (hash ^ word) * kMultiplier64;
  }
  if (left > 0) hash = (hash ^ littleEndian(bytes, left)) * kMultiplier64;

  hash ^= hash >> 47;
  hash *= kMultiplier64;
  return hash ^ (hash >> 47);
}

uint64_t lc::MurmurHash64B(const void* data, uint32_t length, uint64_t seed) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  uint32_t first = static_cast<uint32_t>(seed) ^ length;
  uint32_t second = static_cast<uint32_t>(seed >> 32);
  size_t left = length;
  for (; left >= 8; bytes += 8, left -= 8) {
    mixWord(first, static_cast<uint32_t>(littleEndian(bytes, 4)));
    mixWord(second, static_cast<uint32_t>(littleEndian(bytes + 4, 4)));
  }
  if (left >= 4) {
    mixWord(first, static_cast<uint32_t>(littleEndian(bytes, 4)));
    bytes += 4;
    left -= 4;
  }
  if (left > 0) second = (second ^ static_cast<uint32_t>(littleEndian(bytes, left))) * kMultiplier32;

  first = (first ^ (second >> 18)) * kMultiplier32;
  second = (second ^ (first >> 22)) * kMultiplier32;
  first = (first ^ (second >> 17)) * kMultiplier32;
  second = (second ^ (first >> 19)) * kMultiplier32;
  return uint64_t{first} << 32 | second;
}
