#include "launcher/Backoff.h"

#include <algorithm>

namespace Oru::Launcher {

double Backoff::delayAfter(double ranFor, BackoffLimits const& limits) {
  bool const first = delay_ == 0 || ranFor >= limits.stable;
  delay_ = std::min(limits.max, first ? limits.initial : delay_ * limits.factor);
  return delay_;
}

}  // namespace Oru::Launcher
