#include "fileio/MurmurHash.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>

namespace {

// The verification value of the hash family's public test suite: the keys {}, {0}, {0, 1}, … hashed with the seeds 256,
// 255, …, then the hash of all those hashes with the seed 0, of which the low half counts.
uint32_t verificationValue(uint64_t (*hash)(const void*, uint32_t, uint64_t)) {
  std::array<unsigned char, 256> key{};
  std::array<unsigned char, 256 * 8> hashes{};
  for (uint32_t i = 0; i < 256; ++i) {
    key[i] = static_cast<unsigned char>(i);
    const uint64_t value = hash(key.data(), i, 256 - i);
    for (size_t byte = 0; byte < 8; ++byte) hashes[i * 8 + byte] = static_cast<unsigned char>(value >> (8 * byte));
  }
  return static_cast<uint32_t>(hash(hashes.data(), hashes.size(), 0));
}

}  // namespace

TEST(MurmurHash, HasThePublishedVerificationValues) {
  EXPECT_EQ(verificationValue(MurmurHash64A), 0x1F0D3804u);
  EXPECT_EQ(verificationValue(MurmurHash64B), 0xDD537C05u);
}
