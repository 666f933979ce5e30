#pragma once

#include <bit>
#include <cstdint>

namespace Kordo {

// Mixes 32-bit words into one 32-bit hash: an accumulator that starts at a given state and takes
// four bytes at a time. `mix` rotates, so the order of the words matters; `value` spreads every bit
// over the whole result.
class HashMix {
 public:
  constexpr explicit HashMix(std::uint32_t state = 0) noexcept : state_(state) {}

  constexpr HashMix& mix(std::uint32_t word) noexcept {
    state_ = (std::rotl(state_, 5) ^ word) * 0x9e3779b1U;
    return *this;
  }

  constexpr std::uint32_t value() const noexcept {
    std::uint32_t h = state_;
    h = (h ^ (h >> 16)) * 0x85ebca6bU;
    return h ^ (h >> 13);
  }

 private:
  std::uint32_t state_;
};

}  // namespace Kordo
