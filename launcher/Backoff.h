#pragma once

#include <cstdint>

namespace Oru::Launcher {

// How long to wait before an agent that ended by itself is started again.
struct BackoffLimits {
  double initial = 0.5;  // seconds before the first restart
  double factor = 2;     // by which each further delay grows
  double max = 30;       // seconds, no delay is longer
  double stable = 10;    // seconds of running after which the next delay is the initial one again

  friend bool operator==(BackoffLimits const&, BackoffLimits const&) = default;
};

// The series of delays of one agent.
class Backoff {
 public:
  // The delay, in seconds, after a run of `ranFor` seconds; the next one will be longer, unless the
  // run is stable.
  double delayAfter(double ranFor, BackoffLimits const& limits);
  // The next delay is the initial one again.
  void reset() { delay_ = 0; }

 private:
  double delay_ = 0;
};

}  // namespace Oru::Launcher
