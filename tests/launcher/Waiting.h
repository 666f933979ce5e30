#pragma once

#include <chrono>
#include <functional>

#include "mount/EventLoop.h"

namespace Oru::Launcher::TestTools {

// Longer than anything should take, on a loaded machine too.
inline constexpr std::chrono::seconds patience{20};

// Runs the loop until the condition holds; returns whether it came to hold in time. What the
// condition depends on must come through the loop.
inline bool runUntil(Mount::EventLoop& loop, std::function<bool()> const& condition) {
  auto const end = std::chrono::steady_clock::now() + patience;
  while (!condition()) {
    auto const left = std::chrono::duration_cast<std::chrono::microseconds>(
        end - std::chrono::steady_clock::now());
    if (left.count() <= 0) return false;
    loop.turn(left);
  }
  return true;
}

}  // namespace Oru::Launcher::TestTools
