#pragma once

#include <chrono>
#include <functional>

#include "mount/EventLoop.h"
#include "tests/mount/LoopTurns.h"

namespace Oru::Launcher::TestTools {

// Longer than anything should take, on a loaded machine too.
inline constexpr std::chrono::seconds patience{20};

// Runs the loop until the condition holds; returns whether it came to hold in time. What the
// condition depends on must come through the loop.
inline bool runUntil(Mount::EventLoop& loop, std::function<bool()> const& condition) {
  return OruTest::turnUntil(loop, condition, patience);
}

}  // namespace Oru::Launcher::TestTools
