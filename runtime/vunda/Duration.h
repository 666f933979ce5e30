#pragma once

#include <compare>
#include <iosfwd>

#include "runtime/vunda/Export.h"

namespace Vunda {

// A time in seconds, held as one double. Generation times are points in time (seconds since the
// epoch of the clock that made them); 0 means never set. Comparison is exact, without tolerance,
// and follows the rules of doubles: a NaN is unordered and differs from itself.
class Duration {
 public:
  constexpr Duration() noexcept = default;
  constexpr explicit Duration(double seconds) noexcept : seconds_(seconds) {}

  constexpr double seconds() const noexcept { return seconds_; }
  // Whether the time is set: different from 0. A NaN is set.
  constexpr explicit operator bool() const noexcept { return seconds_ != 0.0; }

  constexpr bool operator==(Duration const&) const noexcept = default;
  constexpr std::partial_ordering operator<=>(Duration const&) const noexcept = default;

 private:
  double seconds_ = 0.0;
};

// Writes the seconds as the stream writes a double.
ORU_EXPORT std::ostream& operator<<(std::ostream& out, Duration duration);

}  // namespace Vunda

namespace Kesh {

// The runtime's name for the same value.
using Seconds = Vunda::Duration;

}  // namespace Kesh
