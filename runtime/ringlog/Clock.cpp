#include "runtime/ringlog/Clock.h"

#include <limits>

namespace Ringlog {

namespace {

std::int64_t wallNanoseconds() noexcept {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<std::int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

}  // namespace

Layout::ClockPair readClockPair() noexcept {
  // The thread may be interrupted between the readings: the tightest of a few tries counts.
  constexpr int tries = 5;
  Layout::ClockPair best{};
  std::uint64_t tightest = std::numeric_limits<std::uint64_t>::max();
  for (int i = 0; i < tries; ++i) {
    std::uint64_t const before = readTicks();
    std::int64_t const wall = wallNanoseconds();
    std::uint64_t const width = readTicks() - before;
    if (width >= tightest) continue;
    tightest = width;
    best = {before + width / 2, wall};
  }
  return best;
}

}  // namespace Ringlog
