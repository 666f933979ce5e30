#pragma once

#include <cstdint>

#include "runtime/vunda/ThreadControl.h"

namespace Vunda::Impl {

// The one place that decides between plain and atomic arithmetic on a use word (see ThreadControl).
// Always in line: what is left of it in the common mode is a test and an addition.

[[gnu::always_inline]] inline void useWordAdd(std::uint32_t& word) noexcept {
  if (ThreadControl::threadSafe()) {
    __atomic_fetch_add(&word, 1U, __ATOMIC_RELAXED);
  } else {
    ++word;
  }
}

// Returns what is left in the word.
[[gnu::always_inline]] inline std::uint32_t useWordSubtract(std::uint32_t& word) noexcept {
  if (ThreadControl::threadSafe()) return __atomic_sub_fetch(&word, 1U, __ATOMIC_ACQ_REL);
  return --word;
}

inline void useWordBitIs(std::uint32_t& word, std::uint32_t bit, bool value) noexcept {
  if (ThreadControl::threadSafe()) {
    if (value) {
      __atomic_fetch_or(&word, bit, __ATOMIC_RELAXED);
    } else {
      __atomic_fetch_and(&word, ~bit, __ATOMIC_RELAXED);
    }
  } else {
    word = value ? (word | bit) : (word & ~bit);
  }
}

inline std::uint32_t useWordRead(std::uint32_t const& word) noexcept {
  return __atomic_load_n(&word, __ATOMIC_RELAXED);
}

}  // namespace Vunda::Impl
