#pragma once

#include <utility>

#include "mount/EventLoop.h"
#include "mount/RetryDelay.h"

namespace Oru::Mount {

// Tries something again that failed, after a delay that grows. Nothing is scheduled while nothing is
// to be tried.
class Retry {
 public:
  // `attempt` may call later() and settled().
  Retry(EventLoop& loop, EventLoop::Callback attempt) : loop_(loop), attempt_(std::move(attempt)) {}

  // It failed: tries again after the next delay, unless that is under way.
  void later() {
    if (timer_) return;
    timer_ = loop_.timer(delay_.next(), [this] {
      timer_.reset();
      attempt_();
    });
  }
  // Nothing is left to be tried.
  void settled() {
    timer_.reset();
    delay_.reset();
  }

 private:
  EventLoop& loop_;
  EventLoop::Callback const attempt_;
  EventSource timer_;
  RetryDelay delay_;
};

}  // namespace Oru::Mount
