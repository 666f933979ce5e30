#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ctime>

#include "runtime/ringlog/Layout.h"

// The counter that stamps the records: the cheapest one that runs evenly and alike on all cores.
namespace Ringlog {

#if defined(__x86_64__)

inline constexpr Layout::ClockKind clockKind = Layout::ClockKind::TimeStampCounter;

// Writes the counter's value to `at`: its two halves as they come, without joining them first.
inline void storeTicks(std::byte* at) noexcept {
  std::uint32_t low;
  std::uint32_t high;
  asm volatile("rdtsc" : "=a"(low), "=d"(high));
  std::memcpy(at, &low, sizeof low);
  std::memcpy(at + sizeof low, &high, sizeof high);
}

inline std::uint64_t readTicks() noexcept {
  std::uint64_t ticks;
  storeTicks(reinterpret_cast<std::byte*>(&ticks));
  return ticks;
}

#else

#if defined(__aarch64__)

inline constexpr Layout::ClockKind clockKind = Layout::ClockKind::VirtualCounter;

inline std::uint64_t readTicks() noexcept {
  std::uint64_t ticks;
  asm volatile("mrs %0, cntvct_el0" : "=r"(ticks));
  return ticks;
}

#else

inline constexpr Layout::ClockKind clockKind = Layout::ClockKind::MonotonicClock;

inline std::uint64_t readTicks() noexcept {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1000000000u +
         static_cast<std::uint64_t>(now.tv_nsec);
}

#endif

inline void storeTicks(std::byte* at) noexcept {
  std::uint64_t const ticks = readTicks();
  std::memcpy(at, &ticks, sizeof ticks);
}

#endif

// The counter and the wall clock, read as close together as the machine allows.
Layout::ClockPair readClockPair() noexcept;

}  // namespace Ringlog
