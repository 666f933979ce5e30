#include "runtime/kesh/System.h"

#include <chrono>
#include <cmath>
#include <limits>

#include "runtime/vunda/Assert.h"

namespace Kesh {

namespace {

Vunda::Duration wallClock() {
  auto const now = std::chrono::system_clock::now().time_since_epoch();
  return Vunda::Duration(std::chrono::duration<double>(now).count());
}

Vunda::Duration nextAbove(Vunda::Duration time) {
  double const next = std::nextafter(time.seconds(), std::numeric_limits<double>::infinity());
  ORU_ASSERT(std::isfinite(next));
  return Vunda::Duration(next);
}

}  // namespace

constinit Vunda::Duration System::last_{};
constinit System::Clock System::clock_ = nullptr;

Vunda::Duration System::currentTime() {
  Vunda::Duration const now = clock_ ? clock_() : wallClock();
  last_ = std::isfinite(now.seconds()) && now > last_ ? now : nextAbove(last_);
  return last_;
}

void System::currentTimeFloorIs(Vunda::Duration floor) {
  if (std::isfinite(floor.seconds()) && floor > last_) last_ = floor;
}

void System::clockIs(Clock clock) {
  clock_ = clock;
  last_ = Vunda::Duration();
}

}  // namespace Kesh
