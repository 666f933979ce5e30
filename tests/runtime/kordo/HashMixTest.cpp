#include "runtime/kordo/HashMix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <unordered_set>

namespace {

using Kordo::HashMix;

static_assert(HashMix(5).mix(1).value() == HashMix(5).mix(1).value());

TEST(HashMix, StartsAtTheGivenState) {
  EXPECT_NE(HashMix(1).value(), HashMix(2).value());
  EXPECT_NE(HashMix(1).mix(7).value(), HashMix(2).mix(7).value());
  EXPECT_EQ(HashMix().mix(7).value(), HashMix(0).mix(7).value());
}

TEST(HashMix, TheOrderOfTheWordsMatters) {
  EXPECT_NE(HashMix().mix(1).mix(2).value(), HashMix().mix(2).mix(1).value());
}

TEST(HashMix, AskingForTheValueDoesNotChangeTheState) {
  HashMix hash;
  hash.mix(3);
  auto const once = hash.value();
  EXPECT_EQ(hash.value(), once);
  EXPECT_EQ(hash.mix(4).value(), HashMix().mix(3).mix(4).value());
}

TEST(HashMix, DifferentSingleWordsNeverCollide) {
  std::unordered_set<std::uint32_t> seen;
  for (std::uint32_t word = 0; word < 200000; ++word)
    seen.insert(HashMix(1).mix(word * 977).value());
  EXPECT_EQ(seen.size(), 200000U);
}

TEST(HashMix, EveryBitOfAWordReachesTheWholeResult) {
  for (unsigned in = 0; in < 32; ++in) {
    std::array<int, 32> changed{};
    for (std::uint32_t word = 1; word <= 1000; ++word) {
      auto const difference = HashMix().mix(word * 2654435761U).mix(9).value() ^
                              HashMix().mix((word * 2654435761U) ^ (1U << in)).mix(9).value();
      for (unsigned out = 0; out < 32; ++out) changed[out] += (difference >> out) & 1U;
    }
    for (unsigned out = 0; out < 32; ++out) {
      EXPECT_GT(changed[out], 100) << "bit " << in << " of the word, bit " << out << " of the hash";
    }
  }
}

TEST(HashMix, SuccessiveNumbersSpreadEvenlyOverTheLowAndTheHighBits) {
  std::array<int, 256> low{}, high{};
  for (std::uint32_t number = 0; number < 256 * 64; ++number) {
    auto const hash = HashMix().mix(number).value();
    ++low[hash & 0xff];
    ++high[hash >> 24];
  }
  EXPECT_LT(*std::max_element(low.begin(), low.end()), 2 * 64);
  EXPECT_LT(*std::max_element(high.begin(), high.end()), 2 * 64);
}

}  // namespace
