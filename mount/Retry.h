#pragma once

#include <algorithm>
#include <chrono>
#include <utility>

#include "mount/EventLoop.h"

namespace Oru::Mount {

// Tries something again that failed, after a delay that grows from a tenth of a second to five
// seconds. Nothing is scheduled while nothing is to be tried.
class Retry {
 public:
  // `attempt` may call later() and settled().
  Retry(EventLoop& loop, EventLoop::Callback attempt) : loop_(loop), attempt_(std::move(attempt)) {}

  // It failed: tries again after the next delay, unless that is under way.
  void later() {
    if (timer_) return;
    delay_ = std::clamp(delay_ * 2, first, longest);
    timer_ = loop_.timer(delay_, [this] {
      timer_.reset();
      attempt_();
    });
  }
  // Nothing is left to be tried.
  void settled() {
    timer_.reset();
    delay_ = {};
  }

 private:
  static constexpr std::chrono::milliseconds first{100};
  static constexpr std::chrono::milliseconds longest{5000};

  EventLoop& loop_;
  EventLoop::Callback const attempt_;
  EventSource timer_;
  std::chrono::milliseconds delay_{0};
};

}  // namespace Oru::Mount
