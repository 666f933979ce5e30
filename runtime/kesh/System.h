#pragma once

#include "runtime/vunda/Duration.h"
#include "runtime/vunda/Export.h"

namespace Kesh {

// The clock that generation times come from.
class ORU_EXPORT System {
 public:
  // Returns seconds since the epoch. Need not be monotonic.
  using Clock = Vunda::Duration (*)();

  // Wall-clock seconds, strictly greater than every value returned before and than the floor. When
  // the clock stands still, was set back, or gives no finite number, the next representable value
  // above the last one is returned: a generation can never be older than one already handed out.
  // Ends the process when no finite time is left above the last one.
  static Vunda::Duration currentTime();

  // From now on currentTime() stays above `floor`; a floor below the present one, or not finite,
  // changes nothing. A host raises it to every generation that it finds from before its start, and
  // sees to it that those are times.
  static void currentTimeFloorIs(Vunda::Duration floor);

  // Replaces the clock, null for the wall clock, and forgets the floor and the last value (for
  // tests and simulation).
  static void clockIs(Clock clock);

 private:
  static Vunda::Duration last_;
  static Clock clock_;
};

}  // namespace Kesh
