#pragma once

#include <algorithm>
#include <chrono>

namespace Oru::Mount {

// How long to wait before something that failed is tried again: a tenth of a second at first, and
// then twice as long each time, up to a minute. So the end of a failure is found at most about as late
// as the failure has lasted, and one that stays costs next to nothing.
class RetryDelay {
 public:
  std::chrono::milliseconds next() { return delay_ = std::clamp(delay_ * 2, first, longest); }
  // It succeeded: the next delay is the first one again.
  void reset() { delay_ = {}; }

 private:
  static constexpr std::chrono::milliseconds first{100};
  static constexpr std::chrono::milliseconds longest{60000};

  std::chrono::milliseconds delay_{0};
};

}  // namespace Oru::Mount
