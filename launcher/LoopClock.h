#pragma once

#include "launcher/Clock.h"
#include "mount/EventLoop.h"

namespace Oru::Launcher {

// The machine's time, and timers of the event loop, which must outlive this.
class LoopClock : public Clock {
 public:
  explicit LoopClock(Mount::EventLoop& loop) : loop_(loop) {}

  double sinceBoot() const override;
  double wallTime() const override;
  std::unique_ptr<Timer> after(double delay, std::function<void()> callback) override;

 private:
  Mount::EventLoop& loop_;
};

}  // namespace Oru::Launcher
