#pragma once

#include <chrono>

#include "mount/EventLoop.h"

namespace OruTest {

// Turns the loop until the condition holds; false when it does not within the time, which is there
// to end a test that would wait for ever.
template <class Condition>
bool turnUntil(Oru::Mount::EventLoop& loop, Condition condition,
               std::chrono::seconds timeout = std::chrono::seconds(30)) {
  auto const end = std::chrono::steady_clock::now() + timeout;
  while (!condition()) {
    auto const left = std::chrono::duration_cast<std::chrono::microseconds>(
        end - std::chrono::steady_clock::now());
    if (left.count() <= 0) return false;
    loop.turn(left);
  }
  return true;
}

// Turns the loop until nothing is ready.
inline void settle(Oru::Mount::EventLoop& loop) {
  while (loop.turn(std::chrono::microseconds(0))) {
  }
}

}  // namespace OruTest
