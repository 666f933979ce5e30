#include "launcher/LoopClock.h"

#include <chrono>
#include <ctime>
#include <utility>

namespace Oru::Launcher {

namespace {

double secondsOf(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

class LoopTimer : public Timer {
 public:
  explicit LoopTimer(Mount::EventSource source) : source_(std::move(source)) {}

 private:
  Mount::EventSource source_;
};

}  // namespace

double LoopClock::sinceBoot() const { return secondsOf(CLOCK_BOOTTIME); }

double LoopClock::wallTime() const { return secondsOf(CLOCK_REALTIME); }

std::unique_ptr<Timer> LoopClock::after(double delay, std::function<void()> callback) {
  auto const microseconds =
      std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::duration<double>(delay));
  return std::make_unique<LoopTimer>(loop_.timer(microseconds, std::move(callback)));
}

}  // namespace Oru::Launcher
