#include "tools/Times.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace Oru::Tools {

double now() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

std::string timeText(double seconds) {
  if (seconds == 0.0) return "-";
  auto const milliseconds = std::llround(seconds * 1000);
  auto const time = static_cast<std::time_t>(milliseconds / 1000);
  std::tm parts{};
  char text[64];
  if (::localtime_r(&time, &parts) == nullptr ||
      std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts) == 0)
    return "-";
  char fraction[8];
  std::snprintf(fraction, sizeof fraction, ".%03d", static_cast<int>(milliseconds % 1000));
  return std::string(text) + fraction;
}

std::string durationText(double seconds) {
  char text[64];
  if (seconds < 59.95) {
    std::snprintf(text, sizeof text, "%.1f s", seconds > 0 ? seconds : 0.0);
    return text;
  }
  auto const whole = static_cast<long long>(seconds);
  struct Unit {
    long long length;
    char const *name, *partName;
    long long part;
  };
  constexpr Unit units[] = {{86400, "d", "h", 3600}, {3600, "h", "min", 60}, {60, "min", "s", 1}};
  for (auto const& unit : units) {
    if (whole < unit.length && unit.length > 60) continue;
    std::snprintf(text, sizeof text, "%lld %s %lld %s", whole / unit.length, unit.name,
                  whole % unit.length / unit.part, unit.partName);
    break;
  }
  return text;
}

}  // namespace Oru::Tools
