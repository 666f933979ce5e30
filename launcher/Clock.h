#pragma once

#include <functional>
#include <memory>

namespace Oru::Launcher {

// A callback to come; destroying it calls it off, from within the callback too.
class Timer {
 public:
  Timer() = default;
  Timer(Timer const&) = delete;
  Timer& operator=(Timer const&) = delete;
  virtual ~Timer() = default;
};

// Where the launcher has its times and timers from. All times are in seconds.
class Clock {
 public:
  Clock() = default;
  Clock(Clock const&) = delete;
  Clock& operator=(Clock const&) = delete;
  virtual ~Clock() = default;

  virtual double sinceBoot() const = 0;
  // Since the epoch, for people to read; it may be set back.
  virtual double wallTime() const = 0;
  // Calls `callback` once, `delay` from now, never from within this function.
  virtual std::unique_ptr<Timer> after(double delay, std::function<void()> callback) = 0;
};

}  // namespace Oru::Launcher
